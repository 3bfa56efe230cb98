#include <animation/type_steps.h>

#include <algorithm>
#include <span>

#include <maths/maths.h>

AnimationObj *new_object(AnimationType type, void *para, RenderMode rendermode)
{
	HeapBlock<AnimationObj> obj(allocate<AnimationObj>());
	HeapBlock<RenderObj> renderobj(allocate<RenderObj>());
	if (!obj || !renderobj)
		return nullptr;
	obj->objId = GenAnimationObjId();
	obj->animationtype = type;
	obj->curframeno = ANIMATION_NOT_STARTED;
	obj->status = ST_PREPARE;
	obj->delmode = DEL_ON_HIDE;
	obj->animationpara = para;
	renderobj->objId = obj->objId;
	renderobj->rendermode = rendermode;
	obj->renderobj = renderobj.release();
	return obj.release();
}

void mark_finished(AnimationObj &obj)
{
	set_status(obj, ST_ONDESTROY);
	obj.renderobj->repaint = false;
}

void set_render_defaults(RenderObj &renderobj, ViewPortID vp_id)
{
	renderobj.blendingmode = BLD_SOURCE;
	renderobj.prealpha0 = 1.0f;
	renderobj.prealpha1 = 1.0f;
	renderobj.vp_id = vp_id;
}

bool replace_strip(RenderObj &renderobj, const InPosition2D &in_position2d, int units)
{
	float **texture_coordinates[] = {
	    &renderobj.texturecoord0,
	    &renderobj.texturecoord1,
	    &renderobj.texturecoord2,
	};
	drop(renderobj.position3d);
	for (float **coordinates : texture_coordinates)
		drop(*coordinates);

	std::size_t count = renderobj.coordnum = in_position2d.coordnum;
	renderobj.position3d = allocate<float>(3 * count);
	bool complete = renderobj.position3d;
	for (float **coordinates : std::span(texture_coordinates).first(units)) {
		*coordinates = allocate<float>(2 * count);
		complete = complete && *coordinates;
	}
	if (!complete) {
		renderobj.coordnum = 0;
		return false;
	}
	Convert2DTo3DPosition(in_position2d.position2d, renderobj.position3d, renderobj.coordnum);
	return true;
}

void copy_texture_coordinates(RenderObj &renderobj)
{
	std::size_t floats = std::size_t{2} * renderobj.coordnum;
	for (float *coordinates : {renderobj.texturecoord1, renderobj.texturecoord2})
		if (coordinates)
			std::copy_n(renderobj.texturecoord0, floats, coordinates);
}

void set_projection(RenderObj &renderobj)
{
	myIdentity(renderobj.mvp);
	myPersp(renderobj.mvp, 90.0f, 2.0f, 0.1f, 1000.0f);
}

void bind_alpha_texture(RenderObj &renderobj, const TextureArray &textures)
{
	if (textures.alpha_index == ANIMATION_NO_TEXTURE)
		return;
	bind_texture(2, renderobj.textures[textures.alpha_index]);
	renderobj.blendingmode = static_cast<BlendingMode>(renderobj.blendingmode | BLD_ALPHA_MASK);
}
