/*
 * An EGL and an OpenGL ES 2 that do nothing, so that what is left of a frame is the caller's own.
 *
 * A program that links it before everything else calls it in place of the machine's, and so do the
 * libraries that it links. Names are counted up and never used again, so that an old name is never
 * a good one by chance; every shader compiles, every location exists, one display with one config
 * is there, and what a thread made current stays so. Calls come from one thread at a time, as the
 * library's do.
 *
 * With checks on it is a strict GL besides: it reads every pixel and vertex that a driver would
 * read (a sanitizer then finds what lies outside), and counts what a driver would let pass.
 */
#pragma once

#include <cstddef>
#include <cstdint>

#pragma GCC visibility push(default)

struct NullGlCounts {
	std::size_t textures;      /* names alive */
	std::size_t images;        /* EGL images alive */
	std::uint64_t draws;       /* calls of glDrawArrays so far */
	std::uint64_t uploads;     /* calls of glTexImage2D so far */
	std::uint64_t bad_names;   /* bound, deleted or given as an image without being alive */
	std::uint64_t bad_uploads; /* refused by a driver: format, size, or no texture bound */
	std::uint64_t bad_draws;   /* of vertices without an array, or without a program */
};

NullGlCounts null_gl_counts();

/* Off at first; to be switched on before the first call. With checks on, each kind of fault is told
 * on the standard error the first time. */
void null_gl_check(bool on);

#pragma GCC visibility pop
