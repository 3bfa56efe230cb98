/*
 * The decoder's picture: an image inside a larger NV12 picture, as decoders with motion vectors
 * across the picture's edges keep it. Plane 1 lies directly behind plane 0; the rows have no gaps.
 *
 * Pure functions on the caller's memory: any thread, no allocation.
 */
#pragma once

#include <cstddef>
#include <cstdint>

/* Sizes and positions in pixels. The image's position is even, so that it is one of the chroma
 * plane too. */
struct PaddedPicture {
	unsigned width, height; /* of the whole picture */
	unsigned x, y;          /* of the image's top left pixel */
	unsigned image_width, image_height;
};

/* One I420 image. */
struct I420Image {
	const uint8_t *y, *u, *v;
	int y_stride, u_stride, v_stride;
};

/* The picture that an image of this size is decoded into. */
PaddedPicture padded_picture(unsigned image_width, unsigned image_height);

/* Bytes of both planes. */
size_t size_of(const PaddedPicture &picture);

/* Writes the image and repeats its outermost pixels over the border, so that nothing foreign is
 * mixed in where the edge is sampled between two pixels. */
void write_image(const PaddedPicture &picture, const I420Image &image, uint8_t *planes);
