#include <animation/block_mask.h>
#include <animation/gradual_masks.h>
#include <animation/loop_steps.h>
#include <base/report.h>

#include <algorithm>
#include <cstdio>

namespace
{

/* Mask textures stand behind the caller's: four fixed bitmaps, then seven that frames fill. */
constexpr uint32_t kMasks = kOwnTextures<GraduallyDispLoop_animationpara>;
constexpr const char *kMaskFiles[kMasks] = {
    MASK_DIR "GT.bmp",
    MASK_DIR "GB.bmp",
    MASK_DIR "GL.bmp",
    MASK_DIR "GR.bmp",
    MASK_DIR "white.bmp",
    MASK_DIR "white.bmp",
    MASK_DIR "white.bmp",
    MASK_DIR "white.bmp",
    MASK_DIR "white.bmp",
    MASK_DIR "white.bmp",
    MASK_DIR "white.bmp",
};
static_assert(sizeof(MASK_DIR "white.bmp") <= sizeof(TextureArray::textures_name[0]),
    "the path of the mask folder is too long for a texture's file name");

constexpr CycleStates kStates = {ST_GRADEIN, ST_GRADEOUT};

void load_masks(RenderObj &renderobj, TextureArray &textures)
{
	GLuint *masks = renderobj.textures + textures.tex_num;
	glGenTextures(kMasks, masks);
	for (uint32_t i = 0; i < kMasks; i++) {
		char *name = textures.textures_name[textures.tex_num + i];
		snprintf(name, sizeof(textures.textures_name[0]), "%s", kMaskFiles[i]);
	}
	for (uint32_t i = 0; i < kMasks; i++) {
		glBindTexture(GL_TEXTURE_2D, masks[i]);
		load_texture_bmp(masks[i], textures.textures_name[textures.tex_num + i]);
	}
}

void rebuild_with_masks(RenderObj &renderobj, TextureArray &textures)
{
	uint32_t previous = callers_count(renderobj, kMasks);
	if (renderobj.tex_num)
		glDeleteTextures(kMasks, renderobj.textures + previous);
	resolve_textures(renderobj, textures, previous);
	load_masks(renderobj, textures);
	renderobj.tex_num = textures.tex_num + kMasks;
	count_pictures(renderobj, textures);
	set_constant_color(renderobj, textures);
}

/* Builds the mask of this step in its texture, which stays bound for the draw. */
void upload_mask(GLuint texture, GraduallyDispMode mode, MaskHalf half, const CyclePosition &at)
{
	Mask tdata;
	bind_texture(1, texture);
	if (mode == GRAD_BLOCKS)
		build_block_mask(half, at.n, at.N, &tdata);
	else
		build_mask(mode, half, at.n, at.N, &tdata);
	load_texture(texture, kMaskSize, kMaskSize, GL_BGRA_EXT, &tdata);
}

/* Binds the mask of a moving phase to texture unit 1. A mask that is first in the object's textures
 * is not used: then only the alpha changes. */
void apply_mask(
    RenderObj &renderobj, GraduallyDispMode mode, MaskHalf half, const CyclePosition &at)
{
	MaskKind kind = mask_kind(mode);
	if (kind == MaskKind::kNone || !renderobj.tex_num)
		return;
	uint32_t texidx =
	    callers_count(renderobj, kMasks) + static_cast<uint32_t>(mask_slot(mode, half));
	MaskWindow window = {0.0f, 0.0f, 1.0f, 1.0f};
	if (kind == MaskKind::kLine)
		window = line_window(mode, at.n, at.N);
	else
		upload_mask(renderobj.textures[texidx], mode, half, at);
	if (!texidx)
		return;
	GenTextureCoord_GRAD(
	    renderobj.texturecoord1, renderobj.coordnum, window.x1, window.y1, window.x2, window.y2);
	bind_texture(1, renderobj.textures[texidx]);
	renderobj.blendingmode = BLD_PRE_ALPHA;
}

} // namespace

unsigned int CreateGraduallyDispLoopAnimation(GraduallyDispLoop_animationpara *para)
{
	return create_object(ANI_GRADUALLYDISP, para);
}

void UpdateGraduallyDispLoopAnimation(unsigned int id, GraduallyDispLoop_animationpara *para)
{
	ListLock lock;
	if (!para || has_room_for<GraduallyDispLoop_animationpara>(para->textures))
		replace_record(id, para);
	else if (FindAnimationObj(id))
		REPORT(
		    "ERROR: a gradual display takes at most %d textures\n", ANIMATION_MAX_GRADUAL_TEXTURES);
}

void GenGraduallyDispLoopAnimationFrame(unsigned int id, void *)
{
	AnimationObj *obj = find_in_frame(id);
	if (!obj)
		return;
	auto &para = para_of<GraduallyDispLoop_animationpara>(*obj);
	RenderObj &renderobj = *obj->renderobj;

	if (remove_immediately(*obj, para))
		return;
	set_up(*obj, para, whole_picture, rebuild_with_masks);

	bind_picture(renderobj);
	renderobj.blendingmode = BLD_SOURCE;
	renderobj.prealpha1 = 1.0f;
	if (!is_waiting(*obj, para)) {
		CyclePosition at = cycle_position(*obj, para);
		set_cycle_alpha(renderobj, at, {para.in_alpha, para.out_alpha, 0.0f});
		if (at.phase == Phase::kEntry)
			apply_mask(renderobj, para.gmode_show, MaskHalf::kEntry, at);
		else if (at.phase == Phase::kExit)
			apply_mask(renderobj, para.gmode_hide, MaskHalf::kExit, at);
		set_cycle_status(*obj, at, kStates);
	}
	bind_alpha_texture(renderobj, para.textures);
	close_loop_frame(*obj, para, cycle_end_of(para));
}
