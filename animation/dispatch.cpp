#include <animation/animation.h>
#include <animation/list_lock.h>
#include <animation/report.h>

unsigned int CreateAnimationObj(AnimationType type, void *para)
{
	switch (type) {
	case ANI_BACKGROUND:
		return CreateBackgroundAnimation(static_cast<Backgroud_animationpara *>(para));
	default:
		return ANIMATION_NO_OBJECT;
	}
}

void UpdateAnimationObj(unsigned int id, void *para)
{
	/* One hold from the look-up to the replacement: the object cannot go in between. */
	ListLock lock;
	AnimationObj *obj = FindAnimationObj(id);
	if (!obj)
		return;
	if (obj->status == ST_ONDESTROY)
		REPORT("ERROR: can not be updated during destroy\n");
	switch (obj->animationtype) {
	case ANI_BACKGROUND:
		UpdateBackgroundAnimation(id, static_cast<Backgroud_animationpara *>(para));
		break;
	default:
		break;
	}
}

void GenAnimationFrame(unsigned int id, void *data)
{
	AnimationObj *obj = FindAnimationObj(id);
	if (!obj)
		return;
	switch (obj->animationtype) {
	case ANI_BACKGROUND:
		GenBackgroundAnimationFrame(id, data);
		break;
	default:
		REPORT("ERROR: No such animation implemented\n");
		break;
	}
}
