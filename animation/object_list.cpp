#include <animation/animation.h>
#include <animation/frame_object.h>
#include <animation/records.h>
#include <animation/status.h>
#include <base/lock.h>
#include <base/report.h>

#include <array>
#include <cstdlib>
#include <cstring>

AnimationObj *animationItemHead;
AnimationObj *frame_object;

AnimationObj *FindAnimationObj(unsigned int id)
{
	ListLock lock;
	AnimationObj *obj = animationItemHead;
	while (obj && obj->objId != id)
		obj = obj->next;
	return obj;
}

namespace
{

/* So many ids are looked at in one walk, since which of them are taken stands on the stack. */
constexpr unsigned int kIdsAtOnce = 2048;

/* The smallest id from first on that no object has, or first + kIdsAtOnce if it lies behind. */
unsigned int free_id_from(unsigned int first)
{
	std::array<unsigned char, kIdsAtOnce + 1> taken = {};
	for (const AnimationObj *obj = animationItemHead; obj; obj = obj->next)
		if (obj->objId - first < kIdsAtOnce)
			taken[obj->objId - first] = 1;
	const void *free = std::memchr(taken.data(), 0, taken.size());
	return first +
	       static_cast<unsigned int>(static_cast<const unsigned char *>(free) - taken.data());
}

} // namespace

unsigned int GenAnimationObjId(void)
{
	ListLock lock;
	unsigned int first = 0;
	unsigned int id = free_id_from(first);
	while (id == first + kIdsAtOnce)
		id = free_id_from(first = id);
	return id;
}

bool IsAnimationObjType(unsigned int id, AnimationType type)
{
	ListLock lock;
	AnimationObj *obj = FindAnimationObj(id);
	return obj && obj->animationtype == type;
}

AnimationStatus GetAnimationObjStatus(unsigned int id)
{
	ListLock lock;
	AnimationObj *obj = FindAnimationObj(id);
	return obj ? obj->status : ST_INVALID;
}

void InsertAnimationObj(unsigned int id, AnimationObj *obj)
{
	ListLock lock;
	AnimationObj *tail = nullptr;
	for (AnimationObj *other = animationItemHead; other; other = other->next) {
		if (other->objId == id) {
			REPORT("ERROR, should delete the item first\n");
			return;
		}
		tail = other;
	}
	obj->prev = tail;
	obj->next = nullptr;
	(tail ? tail->next : animationItemHead) = obj;
}

void RemoveAnimationObj(unsigned int id, DeleteObjMode mode)
{
	ListLock lock;
	AnimationObj *obj = FindAnimationObj(id);
	if (!obj) {
		REPORT("can not find item to del\n");
		return;
	}
	obj->delmode = mode;
	set_status(*obj, ST_PENDINGDESTROY);
}

namespace
{

void free_renderobj(RenderObj *renderobj)
{
	free(renderobj->position3d);
	free(renderobj->texturecoord0);
	free(renderobj->texturecoord1);
	free(renderobj->texturecoord2);
	if (renderobj->imagekhr) {
		glBindTexture(GL_TEXTURE_EXTERNAL_OES, 0);
		f_eglDestroyImageKHR(eglGetCurrentDisplay(), renderobj->imagekhr);
	}
	if (renderobj->tex_num) {
		glBindTexture(GL_TEXTURE_2D, 0);
		glDeleteTextures(static_cast<GLsizei>(renderobj->tex_num), renderobj->textures);
	}
	free(renderobj);
}

void unlink(AnimationObj &obj)
{
	(obj.prev ? obj.prev->next : animationItemHead) = obj.next;
	if (obj.next)
		obj.next->prev = obj.prev;
	if (frame_object == &obj)
		frame_object = nullptr;
}

} // namespace

void RemoveAnimationObjReal(unsigned int id)
{
	ListLock lock;
	AnimationObj *obj = find_in_frame(id);
	if (!obj)
		return;
	obj->status = ST_ONDESTROY;
	release_arrays(obj->animationtype, obj->animationpara);
	free(obj->animationpara);
	free_renderobj(obj->renderobj);
	unlink(*obj);
	free(obj);
}
