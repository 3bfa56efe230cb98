/*
 * A recording of GL calls with their arguments.
 *
 * The executable that links this file defines the GL functions of a frame itself, so that the
 * library's calls come by here on their way to GL. Pointers are recorded as they are: what they
 * point to must stay in place for as long as the tape is played.
 */
#pragma once

#include <cstddef>
#include <vector>

struct GlTape {
	std::vector<std::byte> bytes; /* entries, one behind the other */
	std::size_t calls = 0;
};

/* From now on every GL call is also written to the tape, which is emptied first; NULL ends it. */
void record_gl_calls(GlTape *tape);

/* Makes the recorded calls, through the same functions as the library's own. */
void play_gl_calls(const GlTape &tape);
