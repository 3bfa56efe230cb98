/*
 * The program defines the allocation functions, so that the library's calls pass here and one of
 * them can fail. Everybody else's memory, the driver's and GStreamer's, is left alone.
 */
#pragma once

#include <cstddef>

/* A sanitizer has allocation functions of its own, and reports leaks by itself. */
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kMemoryCanFail = false;
#else
constexpr bool kMemoryCanFail = true;
#endif

/* Lets the nth allocation of libanimation and libpng from now on fail; 0 lets none. Returns how
 * many were made since the last call. */
std::size_t fail_allocation(std::size_t n);

/* Blocks of theirs that nobody has freed. */
std::size_t live_blocks();
