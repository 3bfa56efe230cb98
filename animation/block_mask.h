/* GRAD_BLOCKS: a grid of blocks that are switched on or off at random. Render thread: the two
 * patterns, of the entry and of the exit, are common to all objects. */
#pragma once

#include <animation/gradual_masks.h>

/* Takes the blocks of step n of N (from 1, which starts a new pattern) and writes the mask. */
void build_block_mask(MaskHalf half, uint32_t n, uint32_t N, Mask *mask);
