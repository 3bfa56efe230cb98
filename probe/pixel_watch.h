/* Pixels of TEX_DATA that must stay until the frame that uploads them. */
#pragma once

#include <optional>

#include <probe/record_facts.h>

/* Any thread: what the object's next frame uploads, if it uploads pixels.
 * is_first: of a creation. */
void watch_pixels(unsigned int id, const std::optional<RecordFacts> &facts, bool is_first);

/* On the render thread, before a frame. */
void check_pixels();
