/* One surface buffer: the pixels of a drawn frame. */
#pragma once

#include <cstddef>

/* Rows of bytes B, G, R, X, the top row first, stride bytes apart. The pixels are valid only during
 * the call that passes them. */
struct Picture {
	const unsigned char *pixels;
	int width;
	int height;
	std::size_t stride;
};

/* The surface of the unit, both viewports side by side. */
constexpr int kSurfaceWidth = 2304;
constexpr int kSurfaceHeight = 576;

/* The unit's rate. A recording plays at this rate, however slow the machine was that made it. */
constexpr int kPicturesPerSecond = 50;
