/* What the two video types share beyond the steps of all types. */
#pragma once

#include <algorithm>

#include <animation/type_steps.h>

/* Creates a video object. The lock holds until the caller's record is done with: the player may
 * have it registered. */
template <class Para>
unsigned int create_video(
    AnimationType type, Para *caller, UpdateMode first_update, RenderMode rendermode)
{
	ListLock lock;
	unsigned int id = create_object(type, caller, first_update, rendermode);
	if (id != ANIMATION_NO_OBJECT)
		caller->bufinfo = nullptr;
	return id;
}

/* The pictures' textures so far, whoever made them. */
inline void delete_textures(const RenderObj &renderobj)
{
	if (renderobj.tex_num)
		glDeleteTextures(static_cast<GLsizei>(renderobj.tex_num), renderobj.textures);
}

/* Copies the record's texture coordinates to an array of the strip. An update may have changed the
 * record's strip without rebuilding the object's: the shorter count fits both. */
template <class Para>
uint32_t copy_texcoord(const RenderObj &renderobj, float *target, const Para &para)
{
	uint32_t count = std::min(renderobj.coordnum, para.in_position2d.coordnum);
	std::copy_n(para.texcoord, std::size_t{2} * count, target);
	return count;
}

/* The strip, with the caller's texture coordinates for that many texture units. */
template <class Para>
void rebuild_video_strip(RenderObj &renderobj, const Para &para, int units)
{
	if (!replace_strip(renderobj, para.in_position2d, units))
		return;
	copy_texcoord(renderobj, renderobj.texturecoord0, para);
	copy_texture_coordinates(renderobj);
}

/*
 * The set-up of a video type, which is drawn only in frames with an update. The first update of an
 * object counts as first_update. The strip gets texture coordinates for that many texture units.
 * take_picture(renderobj, para) does the type's own work.
 */
template <class Para, class TakePicture>
void set_up_video(
    AnimationObj &obj, Para &para, UpdateMode first_update, int units, TakePicture take_picture)
{
	RenderObj &renderobj = *obj.renderobj;
	renderobj.repaint = para.update != UPD_MISC;
	if (!renderobj.repaint)
		return;
	if (obj.curframeno == ANIMATION_NOT_STARTED) {
		para.update = first_update;
		obj.curframeno = 0;
	}
	renderobj.vp_id = para.in_position2d.vp_id;
	if (para.update & UPD_COORDS)
		rebuild_video_strip(renderobj, para, units);
	if (para.update & UPD_TEXS)
		take_picture(renderobj, para);
	set_projection(renderobj);
	para.update = UPD_MISC;
}
