/*
 * An allocator of GstFdMemory behind which lies an anonymous file that can no longer change its
 * size, so that an importer's check of the size holds for as long as it reads.
 */
#pragma once

#include <gst/gst.h>

/* The caller owns the result. Each memory owns its descriptor and stays mapped until it is freed.
 * Any thread. An allocation that fails gives NULL and a line in the debug log. */
GstAllocator *memfd_allocator_new();
