/* Frame capture: every swapped frame goes to a raw file while the marker file exists. */
#pragma once

#include <render/render.h>

/* Writes the frame that has just been swapped: RGBA, bottom row first, both viewports. Without the
 * marker, without memory or without a file to write nothing happens. */
void capture_frame(const struct window &window);
