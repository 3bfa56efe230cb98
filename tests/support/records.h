/* Records of the types of objects. */
#ifndef TESTS_SUPPORT_RECORDS_H
#define TESTS_SUPPORT_RECORDS_H

#include <animation/animation.h>

/* The whole viewport, beginning with its bottom edge. */
inline float viewport_strip[8] = {0, 576, 1152, 576, 0, 0, 1152, 0};

/* A record of the whole viewport without textures. */
template <class Para>
Para whole_viewport(ViewPortID vp_id = VP_LCD0)
{
	Para para = {};
	para.in_position2d = {4, viewport_strip, viewport_strip, vp_id};
	if constexpr (requires { para.textures; }) {
		para.textures.mode = TEX_DATA;
		para.textures.mask_index = ANIMATION_NO_TEXTURE;
		para.textures.alpha_index = ANIMATION_NO_TEXTURE;
	} else {
		para.texcoord = viewport_strip;
	}
	return para;
}

/* Calls act with each type and a record of it. */
template <class Act>
void for_each_type(Act act)
{
	act(ANI_BACKGROUND, whole_viewport<Backgroud_animationpara>());
	act(ANI_FLASH, whole_viewport<Flash_animationpara>());
	act(ANI_FADEINOUT, whole_viewport<FadeInOutLoop_animationpara>());
	act(ANI_GRADUALLYDISP, whole_viewport<GraduallyDispLoop_animationpara>());
	act(ANI_TEX_CUT, whole_viewport<TexCut_animationpara>());
	act(ANI_SEQUENCE, whole_viewport<SeqLoop_animationpara>());
	act(ANI_VIDEO_GST, whole_viewport<VideoGST_animationpara>());
	act(ANI_VIDEO_RAW, whole_viewport<VideoRAW_animationpara>());
}

#endif
