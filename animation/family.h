/*
 * The steps that the animation types share.
 *
 * A type's generator is its own story told in these steps: destroy check, set-up (only after an
 * update), the frame's own work, close. Creation and record replacement run on any thread and make
 * no GL call; the steps of a generator run on the render thread under g_mutex.
 */
#pragma once

#include <animation/animation.h>
#include <animation/status.h>
#include <base/heap.h>
#include <base/lock.h>

/* The records of the types that go round a cycle, with a start delay: loop_family.h. */
template <class Para>
concept LoopPara = requires(Para para)
{
	para.pre_frame;
};

/* ---- Records ------------------------------------------------------------------------------ */

template <class Para>
Para &para_of(AnimationObj &obj)
{
	return *static_cast<Para *>(obj.animationpara);
}

/* Gives a fresh copy of a record its own arrays; false without memory, with the pointer NULL. */
template <class Para>
bool own_position(Para &para)
{
	return own_copy(para.in_position2d.position2d, std::size_t{2} * para.in_position2d.coordnum);
}

template <class Para>
void free_position(Para &para)
{
	drop(para.in_position2d.position2d);
}

/* The record of a texture cut owns its cut as well. */
inline bool own_cut(TexCut_animationpara &para)
{
	InPosition2D &strip = para.in_position2d;
	/* Both pointers are the caller's at first: each is replaced, whatever became of the other. */
	bool cut = own_copy(strip.texPosition2d, std::size_t{2} * strip.coordnum);
	return own_position(para) && cut;
}

inline void free_cut(TexCut_animationpara &para)
{
	free_position(para);
	drop(para.in_position2d.texPosition2d);
}

/* What a type's record owns: how to take and how to give up its arrays. */
template <class Para>
struct RecordArrays {
	bool (*own)(Para &) = own_position<Para>;
	void (*release)(Para &) = free_position<Para>;
};

/* A fresh object with a fresh id around a record, not on the list yet; NULL without memory. */
AnimationObj *new_object(AnimationType type, void *para, RenderMode rendermode);

/* Creates an object from the caller's record. g_mutex is held from drawing the id to appending, so
 * that any number of threads may create at once. */
template <class Para>
unsigned int create_object(AnimationType type, Para *caller, RecordArrays<Para> arrays = {},
    UpdateMode first_update = UPD_ALL, RenderMode rendermode = RENDER_TEXTURED)
{
	ListLock lock;
	HeapBlock<Para> para(allocate<Para>());
	if (!para)
		return ANIMATION_NO_OBJECT;
	caller->update = first_update;
	*para = *caller;
	bool owned = arrays.own(*para);
	AnimationObj *obj = owned ? new_object(type, para.get(), rendermode) : nullptr;
	if (!obj) {
		arrays.release(*para);
		return ANIMATION_NO_OBJECT;
	}
	para.release();
	InsertAnimationObj(obj->objId, obj);
	return obj->objId;
}

/* Replaces an object's record by the caller's; an unknown id is ignored. The remaining start delay
 * of a loop type is kept, and told to the caller. */
template <class Para>
void replace_record(unsigned int id, Para *caller, RecordArrays<Para> arrays = {})
{
	ListLock lock;
	AnimationObj *obj = FindAnimationObj(id);
	if (!obj)
		return;
	auto &para = para_of<Para>(*obj);
	arrays.release(para);
	if constexpr (LoopPara<Para>)
		caller->pre_frame = para.pre_frame;
	para = *caller;
	if (!arrays.own(para)) {
		/* An empty strip draws nothing, and the object still goes away as usual. */
		arrays.release(para);
		para.in_position2d.coordnum = 0;
		para.update = static_cast<UpdateMode>(para.update | UPD_COORDS);
	}
}

/* ---- Removal ------------------------------------------------------------------------------ */

/* Marks an object for the end of this frame, undrawn. */
void destroy_undrawn(AnimationObj &obj);

/* True if the object's texture set is the caller's own: never to be deleted here. */
bool textures_are_borrowed(RenderObj &renderobj);

/* Keeps the removal of an object from deleting textures that are the caller's. */
void give_up_borrowed_textures(RenderObj &renderobj);

/* ---- Set-up ------------------------------------------------------------------------------- */

/* An object that has not started needs everything, whatever its update asks for. */
template <class Para>
void first_frame_test(AnimationObj &obj, Para &para)
{
	if (obj.curframeno != ANIMATION_NOT_STARTED)
		return;
	para.update = UPD_ALL;
	obj.curframeno = 0;
	if constexpr (LoopPara<Para>)
		obj.cur_loopcnt = 0;
}

void set_render_defaults(RenderObj &renderobj, ViewPortID vp_id);

/* Replaces the arrays of the strip, with texture coordinates for the first units of them; the
 * caller of this step fills texturecoord0. False without memory: the object then draws nothing. */
bool replace_strip(RenderObj &renderobj, const InPosition2D &in_position2d, int units);

/* Gives the other units of the strip the texture coordinates of unit 0. */
void copy_texture_coordinates(RenderObj &renderobj);

/* The default filling of texturecoord0: the whole picture. */
inline void whole_picture(RenderObj &renderobj)
{
	GenTextureCoord(renderobj.texturecoord0, renderobj.coordnum, true);
}

/* Loads or takes over the caller's texture set. previous is the number of entries that hold the
 * set before it; only those that the object owns are deleted. */
void resolve_textures(RenderObj &renderobj, const TextureArray &textures, uint32_t previous);

/* Pictures in the set, without mask and alpha texture; sets the render mode by it. */
int count_pictures(RenderObj &renderobj, const TextureArray &textures);

void set_constant_color(RenderObj &renderobj, const TextureArray &textures);

/* Texture rebuild of the types whose objects hold nothing but the caller's set. Returns the number
 * of pictures. */
int rebuild_textures(RenderObj &renderobj, const TextureArray &textures);

/* The matrix of every object: it maps model space to the whole viewport. */
void set_projection(RenderObj &renderobj);

/*
 * Everything that stands behind the change gate. fill_coordinates(renderobj) fills texturecoord0,
 * rebuild(renderobj, textures) builds the textures.
 */
template <class Para, class FillCoordinates, class RebuildTextures>
void set_up(
    AnimationObj &obj, Para &para, FillCoordinates fill_coordinates, RebuildTextures rebuild)
{
	if (para.update == UPD_MISC)
		return;
	RenderObj &renderobj = *obj.renderobj;
	first_frame_test(obj, para);
	set_render_defaults(renderobj, para.in_position2d.vp_id);
	if ((para.update & UPD_COORDS) && replace_strip(renderobj, para.in_position2d, 3)) {
		fill_coordinates(renderobj);
		copy_texture_coordinates(renderobj);
	}
	if (para.update & UPD_TEXS)
		rebuild(renderobj, para.textures);
	set_projection(renderobj);
	para.update = UPD_MISC;
}

/* ---- Frame -------------------------------------------------------------------------------- */

/* Units are fixed for the family: 0 picture, 1 second picture or mask, 2 alpha texture. */
inline void bind_texture(unsigned int unit, GLuint texture)
{
	glActiveTexture(GL_TEXTURE0 + unit);
	glBindTexture(GL_TEXTURE_2D, texture);
}

/* Binds the first texture of the set as the picture; a constant colour needs none. */
inline void bind_picture(const RenderObj &renderobj)
{
	if (renderobj.rendermode == RENDER_TEXTURED)
		bind_texture(0, renderobj.textures[0]);
}

/* Binds the alpha texture, if there is one, and lets it scale the result. */
void bind_alpha_texture(RenderObj &renderobj, const TextureArray &textures);
