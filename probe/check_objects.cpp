/* Calls about an object that is not the one that the program means. */
#include <probe/checks.h>

#include <map>
#include <mutex>

#include <pthread.h>

#include <probe/check_records.h>
#include <probe/findings.h>
#include <probe/live_objects.h>
#include <probe/pixel_watch.h>

namespace
{

struct Owner {
	const void *para = nullptr;     /* the record that the object was created from */
	const void *previous = nullptr; /* that of the object that had the id before */
};

struct {
	std::mutex lock; /* guards the rest; taken inside g_mutex, never the other way round */
	std::map<unsigned int, Owner> owners;
} ids;

/* True if the id was ever given out. */
bool was_given(unsigned int id)
{
	const std::lock_guard hold(ids.lock);
	return ids.owners.contains(id);
}

/* Records of a function's own may have one address after the other. */
bool is_on_stack(const void *address)
{
	pthread_attr_t facts;
	if (pthread_getattr_np(pthread_self(), &facts) != 0)
		return true;
	void *start = nullptr;
	std::size_t size = 0;
	pthread_attr_getstack(&facts, &start, &size);
	pthread_attr_destroy(&facts);
	const auto *const byte = static_cast<const char *>(address);
	return byte >= static_cast<char *>(start) && byte < static_cast<char *>(start) + size;
}

/* True if the record is that of the object that had the id before. */
bool is_stale(unsigned int id, const void *para)
{
	const std::lock_guard hold(ids.lock);
	const auto owner = ids.owners.find(id);
	return owner != ids.owners.end() && para == owner->second.previous &&
	       para != owner->second.para && !is_on_stack(para);
}

void tell_gone(const char *call, unsigned int id)
{
	if (id == ANIMATION_NO_OBJECT)
		tell({"id-none", call, id, words("%s got ANIMATION_NO_OBJECT", call),
		    "look at what the creation returned"});
	else if (was_given(id))
		tell({"id-gone", call, id, words("object %u has gone", id),
		    "forget the id once GetAnimationObjStatus returns ST_INVALID"});
	else
		tell({"id-unknown", call, id, words("no object ever had the id %u", id),
		    "use the id that the creation returned"});
}

void check_files(const Subject &about, const TextureArray &set)
{
	if (set.tex_num > ANIMATION_MAX_TEXTURES || (set.mode != TEX_PNG && set.mode != TEX_BMP))
		return;
	for (std::uint32_t i = 0; i < set.tex_num; i++)
		check_picture_file(about.call, set.textures_name[i], set.mode, about.object);
}

void check_ids(const Subject &about, const TextureArray &set)
{
	if (set.tex_num > ANIMATION_MAX_TEXTURES || set.mode != TEX_IDS)
		return;
	for (std::uint32_t i = 0; i < set.tex_num; i++)
		if (!is_texture_name(set.texids[i]))
			tell({"texture-unknown", about.call, about.object,
			    words("texids[%u] is %u, which is no texture", i, set.texids[i]),
			    "make it with CreateTexture..., and keep it until its objects have gone"});
}

void check_textures(const Subject &about, AnimationType type, const void *para)
{
	const auto facts = record_facts(type, para);
	if (!facts || !facts->textures)
		return;
	check_files(about, *facts->textures);
	check_ids(about, *facts->textures);
}

void check_type(const Subject &about, AnimationType called, AnimationType actual)
{
	if (called != ANI_MAX && called != actual &&
	    !(called == ANI_CHARACTERISTIC && actual == ANI_FADEINOUT))
		tell({"type-wrong", about.call, about.object,
		    words("object %u is of another type than this function's", about.object),
		    "the id may have been given out again: forget it when its object has gone"});
}

} // namespace

void check_creation(const char *call, AnimationType type, const void *para)
{
	if (!para) {
		tell({"record-missing", call, ANIMATION_NO_OBJECT, words("%s got no record", call),
		    "give the type's record"});
		return;
	}
	check_record({call}, type, para, true);
	check_textures({call}, type, para);
}

void note_creation(unsigned int id, AnimationType type, const void *para)
{
	if (id == ANIMATION_NO_OBJECT)
		return;
	{
		const std::lock_guard hold(ids.lock);
		Owner &owner = ids.owners[id];
		owner.previous = owner.para;
		owner.para = para;
	}
	watch_pixels(id, record_facts(type, para), true);
}

void check_update(const char *call, unsigned int id, AnimationType type, const void *para)
{
	const std::optional<LiveObject> object = find_live_object(id);
	if (!object)
		return tell_gone(call, id);
	const Subject about{call, id};
	check_type(about, type, object->type);
	if (!para || (type != ANI_MAX && type != object->type))
		return;
	if (is_stale(id, para))
		tell({"id-given-again", call, id,
		    words("object %u got the id of an object that has gone, and this record made that "
		          "older one: it may be the one that is meant",
		        id),
		    "forget an id once GetAnimationObjStatus returns ST_INVALID; give each object its own "
		    "record"});
	check_record(about, object->type, para, false);
	const auto facts = record_facts(object->type, para);
	if (facts && (facts->update & UPD_TEXS))
		check_textures(about, object->type, para);
	if (facts && facts->update == UPD_MISC && !object->was_set_up)
		tell({"update-before-set-up", call, id,
		    words("object %u has not had its first frame: UPD_MISC cancels its set-up, and it "
		          "shows nothing",
		        id),
		    "update with UPD_ALL until the object has started"});
	/* Before the start every update uploads again. */
	if (facts && ((facts->update & UPD_TEXS) || object->waits))
		watch_pixels(id, facts, false);
}

void check_removal(const char *call, unsigned int id, DeleteObjMode mode)
{
	const std::optional<LiveObject> object = find_live_object(id);
	if (!object)
		tell_gone(call, id);
	else if (mode == DEL_ON_HIDE && object->is_delayed)
		tell({"removal-lost", call, id,
		    words("object %u is in its start delay: a removal with DEL_ON_HIDE is lost", id),
		    "ask again when it has started, or use DEL_IMMEDIATELY"});
}

void check_query(const char *call, unsigned int id)
{
	/* To ask until an object has gone is the way to wait for it. */
	if (id != ANIMATION_NO_OBJECT && !was_given(id))
		tell_gone(call, id);
}
