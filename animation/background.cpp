#include <animation/type_steps.h>

#include <utility>

unsigned int CreateBackgroundAnimation(Backgroud_animationpara *para)
{
	return create_object(ANI_BACKGROUND, para);
}

void UpdateBackgroundAnimation(unsigned int id, Backgroud_animationpara *para)
{
	replace_record(id, para);
}

namespace
{

/* Mixes textures[0] with the fade target for in_frame + 1 frames; the last of them makes the
 * target the picture. */
void cross_fade(AnimationObj &obj, Backgroud_animationpara &para)
{
	RenderObj &renderobj = *obj.renderobj;
	uint16_t target = para.textures.mask_index;
	float progress = static_cast<float>(obj.curframeno) / static_cast<float>(para.in_frame);

	bind_texture(1, renderobj.textures[target]);
	renderobj.prealpha0 = 1.0f - progress;
	renderobj.prealpha1 = progress;
	renderobj.blendingmode = BLD_SOURCE_OVER;
	if (obj.curframeno == para.in_frame) {
		/* A record may name a texture that waits for UPD_TEXS: there is nothing to swap with. */
		if (target < renderobj.tex_num)
			std::swap(renderobj.textures[0], renderobj.textures[target]);
		para.textures.mask_index = ANIMATION_NO_TEXTURE;
	}
	clear_status(obj, ST_SHOW);
	set_status(obj, ST_FADEIN);
}

} // namespace

void GenBackgroundAnimationFrame(unsigned int id, void *)
{
	AnimationObj *obj = find_in_frame(id);
	if (!obj)
		return;
	auto &para = para_of<Backgroud_animationpara>(*obj);
	RenderObj &renderobj = *obj->renderobj;

	if (has_status(*obj, ST_PENDINGDESTROY)) {
		mark_finished(*obj);
		give_up_callers_textures(renderobj, para.textures, 0);
		return;
	}
	set_up(*obj, para, whole_picture, [&](RenderObj &target, const TextureArray &textures) {
		if (rebuild_textures(target, textures) > 1) {
			para.textures.mask_index = 1;
			obj->curframeno = 0;
		}
	});

	bind_texture(0, renderobj.textures[0]);
	renderobj.blendingmode = BLD_SOURCE;
	renderobj.prealpha0 = 1.0f;
	clear_status(*obj, ST_FADEIN);
	set_status(*obj, ST_SHOW);
	if (para.in_frame && obj->curframeno <= para.in_frame &&
	    para.textures.mask_index != ANIMATION_NO_TEXTURE)
		cross_fade(*obj, para);
	bind_alpha_texture(renderobj, para.textures);

	obj->curframeno = obj->curframeno + 1;
	renderobj.repaint = true;
}
