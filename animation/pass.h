/* The pass over the list in which a frame draws an object. */
#pragma once

#include <animation/animation.h>

enum class Pass {
	kBackgrounds,
	kImages,
	kVideos, /* not while there is a background */
};

/* Told beside the dispatch. */
Pass pass_of(AnimationType type);
