#include <animation/loop_steps.h>
#include <base/report.h>

/* The flash, and the texture cut: a flash with texture coordinates of the caller's. */

namespace
{

/* The record is a flash's, but for the array that only a cut reads. */
bool lacks_cut(const TexCut_animationpara *para)
{
	return para && lacks_array(para->in_position2d, para->in_position2d.texPosition2d);
}

void blink(AnimationObj &obj, const Flash_animationpara &para)
{
	if (obj.curframeno < para.on_frame) {
		obj.renderobj->prealpha0 = para.on_alpha;
		clear_status(obj, ST_HIDE);
		set_status(obj, ST_SHOW);
	} else if (obj.curframeno < para.on_frame + para.off_frame) {
		obj.renderobj->prealpha0 = para.off_alpha;
		clear_status(obj, ST_SHOW);
		set_status(obj, ST_HIDE);
	}
}

template <class FillCoordinates>
void generate_flash(AnimationObj &obj, FillCoordinates fill_coordinates)
{
	auto &para = para_of<Flash_animationpara>(obj);
	RenderObj &renderobj = *obj.renderobj;

	if (remove_immediately(obj, para))
		return;
	set_up(obj, para, fill_coordinates, rebuild_textures);

	bind_picture(renderobj);
	renderobj.blendingmode = BLD_SOURCE;
	bind_alpha_texture(renderobj, para.textures);
	if (!is_waiting(obj, para))
		blink(obj, para);
	close_loop_frame(obj, para, para.on_frame + para.off_frame);
}

} // namespace

unsigned int CreateFlashAnimation(Flash_animationpara *para)
{
	return create_object(ANI_FLASH, para);
}

void UpdateFlashAnimation(unsigned int id, Flash_animationpara *para)
{
	replace_record(id, para);
}

void GenFlashAnimationFrame(unsigned int id, void *)
{
	if (AnimationObj *obj = find_in_frame(id))
		generate_flash(*obj, whole_picture);
}

unsigned int CreateTexCutAnimation(TexCut_animationpara *para)
{
	if (lacks_cut(para))
		return ANIMATION_NO_OBJECT;
	return create_object(ANI_TEX_CUT, para);
}

void UpdateTexCutAnimation(unsigned int id, TexCut_animationpara *para)
{
	ListLock lock;
	if (!lacks_cut(para))
		replace_record(id, para);
	else if (FindAnimationObj(id))
		REPORT("ERROR: a texture cut needs texPosition2d\n");
}

void GenTexCutAnimationFrame(unsigned int id, void *)
{
	AnimationObj *obj = find_in_frame(id);
	if (!obj)
		return;
	const float *cut = para_of<TexCut_animationpara>(*obj).in_position2d.texPosition2d;
	generate_flash(*obj, [cut](RenderObj &renderobj) {
		GenTextureCoord_cut(renderobj.texturecoord0, cut, renderobj.coordnum, true);
	});
}
