/* One picture of the surface in memory. */
#pragma once

#include <cstddef>

/* Rows of B, G, R, X bytes, the top row first, stride bytes apart. Borrowed: the pixels are valid
 * only during the call that hands them over. */
struct Picture {
	const unsigned char *pixels;
	int width;
	int height;
	std::size_t stride;
};

/* The surface of the unit, both viewports side by side. */
constexpr int kSurfaceWidth = 2304;
constexpr int kSurfaceHeight = 576;

/* The unit's rate, at which recordings play whatever the speed of the machine that made them. */
constexpr int kPicturesPerSecond = 50;
