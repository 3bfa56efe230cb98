#include <animation/animation.h>
#include <animation/records.h>
#include <animation/status.h>
#include <base/lock.h>
#include <base/report.h>

#include <cstdlib>

AnimationObj *animationItemHead;

AnimationObj *FindAnimationObj(unsigned int id)
{
	ListLock lock;
	AnimationObj *obj = animationItemHead;
	while (obj && obj->objId != id)
		obj = obj->next;
	return obj;
}

unsigned int GenAnimationObjId(void)
{
	ListLock lock;
	unsigned int candidate = 0;
	for (AnimationObj *obj = animationItemHead; obj;) {
		if (obj->objId == candidate) {
			candidate++;
			obj = animationItemHead;
		} else {
			obj = obj->next;
		}
	}
	return candidate;
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
	if (FindAnimationObj(id)) {
		REPORT("ERROR, should delete the item first\n");
		return;
	}
	obj->next = nullptr;
	obj->prev = animationItemHead;
	if (!animationItemHead) {
		animationItemHead = obj;
		return;
	}
	while (obj->prev->next)
		obj->prev = obj->prev->next;
	obj->prev->next = obj;
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
}

} // namespace

void RemoveAnimationObjReal(unsigned int id)
{
	ListLock lock;
	AnimationObj *obj = FindAnimationObj(id);
	if (!obj)
		return;
	obj->status = ST_ONDESTROY;
	release_arrays(obj->animationtype, obj->animationpara);
	free(obj->animationpara);
	free_renderobj(obj->renderobj);
	unlink(*obj);
	free(obj);
}
