#include <animation/loop_steps.h>

unsigned int CreateFadeInOutLoopAnimation(FadeInOutLoop_animationpara *para)
{
	return create_object(ANI_FADEINOUT, para);
}

void UpdateFadeInOutLoopAnimation(unsigned int id, FadeInOutLoop_animationpara *para)
{
	replace_record(id, para);
}

namespace
{

constexpr CycleStates kStates = {ST_FADEIN, ST_FADEOUT};

/* Pictures of the flip-book: all but the alpha texture, which stands behind them. */
int pictures_of(const RenderObj &renderobj, const TextureArray &textures)
{
	if (renderobj.rendermode != RENDER_TEXTURED)
		return 0;
	bool has_alpha = textures.alpha_index != ANIMATION_NO_TEXTURE;
	return static_cast<int>(renderobj.tex_num) - has_alpha;
}

/* Index of the picture that a moving phase of several pictures has come to. */
int picture_step(const CyclePosition &at, int pictures)
{
	float detla = static_cast<float>(at.N) / static_cast<float>(pictures - 1);
	return static_cast<int>(static_cast<float>(at.n) / detla);
}

/* With several pictures, the entry runs through them, and the exit wipes the last one away with
 * the shapes of the others. */
void turn_pages(RenderObj &renderobj, int pictures, CyclePosition at)
{
	const GLuint *textures = renderobj.textures;
	GLuint last = textures[pictures - 1];
	switch (at.phase) {
	case Phase::kEntry:
		bind_texture(0, textures[picture_step(at, pictures)]);
		break;
	case Phase::kHold:
	case Phase::kSpent:
		bind_texture(0, last);
		break;
	case Phase::kExit:
		bind_texture(0, last);
		bind_texture(1, textures[picture_step(at, pictures)]);
		renderobj.blendingmode = BLD_SOURCE_SUB;
		break;
	case Phase::kHidden:
		bind_texture(0, last);
		bind_texture(1, last);
		renderobj.blendingmode = BLD_SOURCE_SUB;
		break;
	}
}

} // namespace

void GenFadeInOutLoopAnimationFrame(unsigned int id, void *)
{
	AnimationObj *obj = find_in_frame(id);
	if (!obj)
		return;
	auto &para = para_of<FadeInOutLoop_animationpara>(*obj);
	RenderObj &renderobj = *obj->renderobj;

	if (remove_immediately(*obj, para))
		return;
	set_up(*obj, para, whole_picture, rebuild_textures);

	int pictures = pictures_of(renderobj, para.textures);
	if (pictures == 1)
		bind_texture(0, renderobj.textures[0]);
	renderobj.blendingmode = BLD_SOURCE;
	renderobj.prealpha1 = 1.0f;
	if (!is_waiting(*obj, para)) {
		CyclePosition at = cycle_position(*obj, para);
		set_cycle_alpha(renderobj, at, {para.in_alpha, para.out_alpha, para.out_alpha});
		if (pictures > 1)
			turn_pages(renderobj, pictures, at);
		set_cycle_status(*obj, at, kStates);
	}
	bind_alpha_texture(renderobj, para.textures);
	close_loop_frame(*obj, para, cycle_end_of(para));
}
