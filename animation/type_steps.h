/*
 * The steps that the animation types share.
 *
 * A type's generator is its own story told in these steps: destroy check, set-up (only after an
 * update), the frame's own work, close. Creation and record replacement run on any thread and make
 * no GL call; the steps of a generator run on the render thread under g_mutex.
 */
#pragma once

#include <animation/animation.h>
#include <animation/frame_object.h>
#include <animation/records.h>
#include <animation/status.h>
#include <animation/texture_set.h>
#include <base/heap.h>
#include <base/lock.h>

/* The records of the types that go round a cycle, with a start delay: loop_steps.h. */
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

/* A fresh object with a fresh id around a record, not on the list yet; NULL without memory. */
AnimationObj *new_object(AnimationType type, void *para, RenderMode rendermode);

/* Creates an object from the caller's record. g_mutex is held from drawing the id to appending, so
 * that any number of threads may create at once. */
template <class Para>
unsigned int create_object(AnimationType type, Para *caller, UpdateMode first_update = UPD_ALL,
    RenderMode rendermode = RENDER_TEXTURED)
{
	if (is_refused(caller))
		return ANIMATION_NO_OBJECT;
	ListLock lock;
	HeapBlock<Para> para(allocate_unfilled<Para>());
	if (!para)
		return ANIMATION_NO_OBJECT;
	caller->update = first_update;
	*para = *caller;
	if constexpr (VideoPara<Para>)
		para->bufinfo = nullptr; /* a new object begins without a frame */
	bool owned = own_arrays(type, para.get());
	AnimationObj *obj = owned ? new_object(type, para.get(), rendermode) : nullptr;
	if (!obj) {
		release_arrays(type, para.get());
		return ANIMATION_NO_OBJECT;
	}
	para.release();
	InsertAnimationObj(obj->objId, obj);
	return obj->objId;
}

/* Replaces an object's record by the caller's; an unknown id is ignored. The remaining start delay
 * of a loop type is kept, and told to the caller. */
template <class Para>
void replace_record(unsigned int id, Para *caller)
{
	if (is_refused(caller))
		return;
	ListLock lock;
	AnimationObj *obj = FindAnimationObj(id);
	if (!obj)
		return;
	auto &para = para_of<Para>(*obj);
	release_arrays(obj->animationtype, &para);
	if constexpr (LoopPara<Para>)
		caller->pre_frame = para.pre_frame;
	para = *caller;
	if (!own_arrays(obj->animationtype, &para)) {
		/* An empty strip draws nothing, and the object still goes away as usual. */
		release_arrays(obj->animationtype, &para);
		para.in_position2d.coordnum = 0;
		para.update = static_cast<UpdateMode>(para.update | UPD_COORDS);
	}
}

/* ---- Removal ------------------------------------------------------------------------------ */

/* Marks an object for the end of this frame, undrawn. */
void mark_finished(AnimationObj &obj);

/* ---- Set-up ------------------------------------------------------------------------------- */

/* An object that has not started needs everything, whatever its update asks for. */
template <class Para>
void start_if_new(AnimationObj &obj, Para &para)
{
	if (obj.curframeno != ANIMATION_NOT_STARTED)
		return;
	para.update = UPD_ALL;
	obj.curframeno = 0;
	if constexpr (LoopPara<Para>)
		obj.cur_loopcnt = 0;
}

void set_render_defaults(RenderObj &renderobj, ViewPortID vp_id);

/* Replaces the arrays of the strip, with texture coordinates for that many texture units. The
 * caller fills texturecoord0. False without memory: the object then draws nothing. */
bool replace_strip(RenderObj &renderobj, const InPosition2D &in_position2d, int units);

/* Copies the texture coordinates of texture unit 0 to the strip's other texture units. */
void copy_texture_coordinates(RenderObj &renderobj);

/* The default filling of texturecoord0: the whole picture. */
inline void whole_picture(RenderObj &renderobj)
{
	GenTextureCoord(renderobj.texturecoord0, renderobj.coordnum, true);
}

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
	start_if_new(obj, para);
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

/* All image types use texture unit 0 for the picture, 1 for a second picture or a mask, 2 for the
 * alpha texture. */
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
