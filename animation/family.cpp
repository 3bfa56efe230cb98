#include <animation/family.h>

#include <algorithm>
#include <span>

#include <maths/maths.h>

namespace
{

/* A RenderObj as the list allocates it: with the one thing to know beyond the public record. */
struct OwnedRenderObj {
	RenderObj renderobj;
	bool textures_are_borrowed; /* textures[] holds the caller's ids, never to be deleted */
};

bool &borrowed_flag(RenderObj &renderobj)
{
	return reinterpret_cast<OwnedRenderObj &>(renderobj).textures_are_borrowed;
}

void load_picture(GLuint texture, const TextureArray &textures, uint32_t i)
{
	/* A picture that cannot be loaded leaves its texture empty: the loader has reported it. */
	switch (textures.mode) {
	case TEX_BMP:
		load_texture_bmp(texture, textures.textures_name[i]);
		break;
	case TEX_PNG:
		load_texture_png(texture, textures.textures_name[i]);
		break;
	default:
		const TextureData &picture = textures.texdata[i];
		load_texture(texture, static_cast<int>(picture.width), static_cast<int>(picture.height),
		    static_cast<int>(picture.textureType), picture.va);
		break;
	}
}

} // namespace

AnimationObj *new_object(AnimationType type, void *para, RenderMode rendermode)
{
	HeapBlock<AnimationObj> obj(allocate<AnimationObj>());
	auto *owned = allocate<OwnedRenderObj>();
	if (!obj || !owned) {
		free(owned);
		return nullptr;
	}
	obj->objId = GenAnimationObjId();
	obj->animationtype = type;
	obj->curframeno = ANIMATION_NOT_STARTED;
	obj->status = ST_PREPARE;
	obj->delmode = DEL_ON_HIDE;
	obj->animationpara = para;
	obj->renderobj = &owned->renderobj;
	obj->renderobj->objId = obj->objId;
	obj->renderobj->rendermode = rendermode;
	return obj.release();
}

void destroy_undrawn(AnimationObj &obj)
{
	set_status(obj, ST_ONDESTROY);
	obj.renderobj->repaint = false;
}

bool textures_are_borrowed(RenderObj &renderobj)
{
	return borrowed_flag(renderobj);
}

void give_up_borrowed_textures(RenderObj &renderobj)
{
	if (textures_are_borrowed(renderobj))
		renderobj.tex_num = 0;
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

void resolve_textures(RenderObj &renderobj, const TextureArray &textures, uint32_t previous)
{
	bool &borrowed = borrowed_flag(renderobj);
	if (previous && !borrowed)
		glDeleteTextures(static_cast<GLsizei>(previous), renderobj.textures);

	/* Binding a deleted name would bring it back to life: what the new set leaves is no name. */
	if (previous > textures.tex_num)
		std::fill(renderobj.textures + textures.tex_num, renderobj.textures + previous, 0);

	borrowed = textures.mode == TEX_IDS;
	if (borrowed) {
		std::copy_n(textures.texids, textures.tex_num, renderobj.textures);
		return;
	}
	glGenTextures(static_cast<GLsizei>(textures.tex_num), renderobj.textures);
	for (uint32_t i = 0; i < textures.tex_num; i++) {
		glBindTexture(GL_TEXTURE_2D, renderobj.textures[i]);
		load_picture(renderobj.textures[i], textures, i);
	}
}

int count_pictures(RenderObj &renderobj, const TextureArray &textures)
{
	bool has_mask = textures.mask_index != ANIMATION_NO_TEXTURE;
	bool has_alpha = textures.alpha_index != ANIMATION_NO_TEXTURE;
	int count = static_cast<int>(textures.tex_num) - has_mask - has_alpha;
	if (has_mask && has_alpha && textures.mask_index == textures.alpha_index)
		count++; /* one texture in both roles */
	renderobj.rendermode = count >= 1 ? RENDER_TEXTURED : RENDER_CONSTANT;
	return count;
}

void set_constant_color(RenderObj &renderobj, const TextureArray &textures)
{
	std::copy_n(textures.constant_color, 4, renderobj.constant_color);
}

int rebuild_textures(RenderObj &renderobj, const TextureArray &textures)
{
	resolve_textures(renderobj, textures, renderobj.tex_num);
	renderobj.tex_num = textures.tex_num;
	int count = count_pictures(renderobj, textures);
	set_constant_color(renderobj, textures);
	return count;
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
