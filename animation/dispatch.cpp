#include <animation/animation.h>
#include <animation/frame_object.h>
#include <animation/pass.h>
#include <base/lock.h>
#include <base/report.h>

unsigned int CreateAnimationObj(AnimationType type, void *para)
{
	switch (type) {
	case ANI_BACKGROUND:
		return CreateBackgroundAnimation(static_cast<Backgroud_animationpara *>(para));
	case ANI_FLASH:
		return CreateFlashAnimation(static_cast<Flash_animationpara *>(para));
	case ANI_TEX_CUT:
		return CreateTexCutAnimation(static_cast<TexCut_animationpara *>(para));
	case ANI_FADEINOUT:
	case ANI_CHARACTERISTIC:
		return CreateFadeInOutLoopAnimation(static_cast<FadeInOutLoop_animationpara *>(para));
	case ANI_GRADUALLYDISP:
		return CreateGraduallyDispLoopAnimation(
		    static_cast<GraduallyDispLoop_animationpara *>(para));
	case ANI_SEQUENCE:
		return CreateSeqLoopAnimation(static_cast<SeqLoop_animationpara *>(para));
	case ANI_VIDEO_GST:
		return CreateVideoGSTAnimation(static_cast<VideoGST_animationpara *>(para));
	case ANI_VIDEO_RAW:
		return CreateVideoRAWAnimation(static_cast<VideoRAW_animationpara *>(para));
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
	case ANI_FLASH:
		UpdateFlashAnimation(id, static_cast<Flash_animationpara *>(para));
		break;
	case ANI_TEX_CUT:
		UpdateTexCutAnimation(id, static_cast<TexCut_animationpara *>(para));
		break;
	case ANI_FADEINOUT:
	case ANI_CHARACTERISTIC:
		UpdateFadeInOutLoopAnimation(id, static_cast<FadeInOutLoop_animationpara *>(para));
		break;
	case ANI_GRADUALLYDISP:
		UpdateGraduallyDispLoopAnimation(id, static_cast<GraduallyDispLoop_animationpara *>(para));
		break;
	case ANI_SEQUENCE:
		UpdateSeqLoopAnimation(id, static_cast<SeqLoop_animationpara *>(para));
		break;
	case ANI_VIDEO_GST:
		UpdateVideoGSTAnimation(id, static_cast<VideoGST_animationpara *>(para));
		break;
	case ANI_VIDEO_RAW:
		UpdateVideoRAWAnimation(id, static_cast<VideoRAW_animationpara *>(para));
		break;
	default:
		break;
	}
}

void GenAnimationFrame(unsigned int id, void *data)
{
	AnimationObj *obj = find_in_frame(id);
	if (!obj)
		return;
	const FrameObject in_generator(*obj);
	switch (obj->animationtype) {
	case ANI_BACKGROUND:
		GenBackgroundAnimationFrame(id, data);
		break;
	case ANI_FLASH:
		GenFlashAnimationFrame(id, data);
		break;
	case ANI_TEX_CUT:
		GenTexCutAnimationFrame(id, data);
		break;
	case ANI_FADEINOUT:
	case ANI_CHARACTERISTIC:
		GenFadeInOutLoopAnimationFrame(id, data);
		break;
	case ANI_GRADUALLYDISP:
		GenGraduallyDispLoopAnimationFrame(id, data);
		break;
	case ANI_SEQUENCE:
		GenSeqLoopAnimationFrame(id, data);
		break;
	case ANI_VIDEO_GST:
		GenVideoGSTAnimationFrame(id, data);
		break;
	case ANI_VIDEO_RAW:
		GenVideoRAWAnimationFrame(id, data);
		break;
	default:
		REPORT("ERROR: No such animation implemented\n");
		break;
	}
}

Pass pass_of(AnimationType type)
{
	switch (type) {
	case ANI_BACKGROUND:
		return Pass::kBackgrounds;
	case ANI_VIDEO_GST:
	case ANI_VIDEO_RAW:
		return Pass::kVideos;
	default:
		return Pass::kImages;
	}
}
