/* What the types' records own beside themselves, and what none of them can say. */
#pragma once

#include <animation/texture_set.h>

/* The records of the types that show a video. */
template <class Para>
concept VideoPara = requires(Para para)
{
	para.bufinfo;
};

inline bool lacks_array(const InPosition2D &strip, const float *array)
{
	return strip.coordnum && !array;
}

template <class Para>
bool has_room_for(const TextureArray &textures)
{
	return textures.tex_num <= kMostTextures<Para>;
}

template <class Para>
bool is_refused_set(const TextureArray &textures)
{
	return !has_room_for<Para>(textures) || textures.mask_index > ANIMATION_NO_TEXTURE ||
	       textures.alpha_index > ANIMATION_NO_TEXTURE;
}

/* True if no object can be what the record says: nothing more of it is read then, and nothing
 * written. */
template <class Para>
bool is_refused(const Para *para)
{
	if (!para || lacks_array(para->in_position2d, para->in_position2d.position2d))
		return true;
	if constexpr (VideoPara<Para>)
		return lacks_array(para->in_position2d, para->texcoord);
	else
		return is_refused_set<Para>(para->textures);
}

/* Gives a fresh copy of a type's record its own arrays; false without memory, with the arrays that
 * were not to be had NULL. */
bool own_arrays(AnimationType type, void *record);

/* Frees the arrays of a type's record and forgets them. */
void release_arrays(AnimationType type, void *record);
