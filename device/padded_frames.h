/*
 * An element that turns I420 frames into frames as the unit's decoder delivers them: fd memory with
 * one descriptor for both NV12 planes, the padded size in the caps, the active rectangle as
 * GstVideoCropMeta.
 *
 * The descriptors it has handed out stay open until it has gone to NULL and all its buffers have
 * come back, also over a flush, since a receiver may keep a number after it has let go of the
 * buffer. After a change of size those of the old one are closed eight frames later. Of the free
 * buffers the one that came back first is written next.
 */
#pragma once

#include <gst/gst.h>

/* A floating reference. */
GstElement *padded_frames_new();
