/* The frames of the render thread as the probe sees them, and what the listener wants of them. */
#pragma once

#include <cstdint>
#include <string_view>

/* The frame that runs, or the next one: so many have run. Any thread. */
std::uint32_t frame_number();

/* Does what a line of the listener says. Render thread. */
void obey(std::string_view line);

/* Told by what stands in front of EGL. Render thread. */
void note_swap(double ms);
void note_bound_image();

/* Tells the listener the end: no frame follows. */
void tell_end();
