#include <probe/live_objects.h>

#include <algorithm>
#include <mutex>
#include <unordered_set>

#include <probe/checks.h>
#include <probe/list_lock.h>
#include <probe/record_facts.h>

namespace
{

struct {
	std::mutex lock; /* guards the rest */
	std::unordered_set<GLuint> alive;
} names;

bool shows(const AnimationObj &obj, GLuint texture)
{
	const auto facts = record_facts(obj.animationtype, obj.animationpara);
	if (!facts || !facts->textures || facts->textures->mode != TEX_IDS)
		return false;
	const TextureArray &set = *facts->textures;
	return std::find(set.texids, set.texids + set.tex_num, texture) != set.texids + set.tex_num;
}

LiveObject describe(const AnimationObj &obj)
{
	const auto facts = record_facts(obj.animationtype, obj.animationpara);
	const bool waits = obj.curframeno == ANIMATION_NOT_STARTED;
	return {obj.animationtype, obj.renderobj->position3d != nullptr, waits,
	    waits && facts && facts->pre_frame > 0};
}

} // namespace

std::optional<LiveObject> find_live_object(unsigned int id)
{
	const ListHold hold;
	for (const AnimationObj *obj = list_head(); obj; obj = obj->next)
		if (obj->objId == id)
			return describe(*obj);
	return std::nullopt;
}

unsigned int find_object_showing(GLuint texture)
{
	const ListHold hold;
	for (const AnimationObj *obj = list_head(); obj; obj = obj->next)
		if (shows(*obj, texture))
			return obj->objId;
	return ANIMATION_NO_OBJECT;
}

bool is_texture_name(GLuint name)
{
	const std::lock_guard hold(names.lock);
	return names.alive.contains(name);
}

void note_texture_made(GLuint name)
{
	const std::lock_guard hold(names.lock);
	names.alive.insert(name);
}

void note_texture_deleted(GLuint name)
{
	const std::lock_guard hold(names.lock);
	names.alive.erase(name);
}
