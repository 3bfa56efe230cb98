/* The textures of an object: where they come from, and whose they are. Render thread. */
#pragma once

#include <animation/animation.h>

/* How many textures a caller's set may hold; the places behind them are for the object's own. */
template <class Para>
constexpr uint32_t kMostTextures = ANIMATION_MAX_TEXTURES;
template <>
inline constexpr uint32_t kMostTextures<GraduallyDispLoop_animationpara> =
    ANIMATION_MAX_GRADUAL_TEXTURES;

/* How many textures of its own an object keeps behind the caller's set. */
template <class Para>
constexpr uint32_t kOwnTextures = ANIMATION_MAX_TEXTURES - kMostTextures<Para>;

/* Keeps the removal of an object from deleting textures that are the caller's; what is the object's
 * own behind them is still deleted. */
void give_up_callers_textures(RenderObj &renderobj, const TextureArray &textures, uint32_t own);

/* The caller's textures among those of the object; none before the first set-up. */
uint32_t callers_count(const RenderObj &renderobj, uint32_t own);

/* Loads or takes over the caller's texture set. previous is the number of entries that hold the
 * set before it; only those that the object owns are deleted. */
void resolve_textures(RenderObj &renderobj, const TextureArray &textures, uint32_t previous);

/* Pictures in the set, without mask and alpha texture; sets the render mode by it. */
int count_pictures(RenderObj &renderobj, const TextureArray &textures);

void set_constant_color(RenderObj &renderobj, const TextureArray &textures);

/* Texture rebuild of the types whose objects hold nothing but the caller's set. Returns the number
 * of pictures. */
int rebuild_textures(RenderObj &renderobj, const TextureArray &textures);
