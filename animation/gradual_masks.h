/*
 * Masks of the gradual display: how step n of N of a mode covers the picture.
 *
 * A generated mask is 100 x 100 pixels of GL_BGRA_EXT, spread over the whole object. Only the cover
 * reaches the screen: 255 lets the picture through, 0 hides it. Nothing here allocates or makes a
 * GL call.
 */
#pragma once

#include <bit>
#include <cstdint>

#include <animation/animation.h>

constexpr int kMaskSize = 100;

/* The bytes blue, green, red and cover in memory. The colours of generated masks are 255. */
using MaskPixel = uint32_t;
static_assert(std::endian::native == std::endian::little, "a pixel is built as one number");

struct Mask {
	MaskPixel pixels[kMaskSize][kMaskSize]; /* line, column */
};

enum class MaskHalf { kEntry, kExit };

/* The part of the mask texture that is spread over the object. */
struct MaskWindow {
	float x1;
	float y1;
	float x2;
	float y2;
};

/* Where a mode's mask comes from. */
enum class MaskKind { kNone, kLine, kGenerated, kBlocks };
MaskKind mask_kind(GraduallyDispMode mode);

/* Place of the mode's mask texture among the eleven of an object. For any kind but kNone. */
int mask_slot(GraduallyDispMode mode, MaskHalf half);

/* The line kind: a window that moves over a fixed bitmap. n runs from 1 to N. */
MaskWindow line_window(GraduallyDispMode mode, uint32_t n, uint32_t N);

/* The radial, bars and square kinds. n runs from 1 to N. */
void build_mask(GraduallyDispMode mode, MaskHalf half, uint32_t n, uint32_t N, Mask *mask);
