/*
 * Rate-limited reports: a fault that comes back every frame prints a line about once in 300 frames.
 */
#pragma once

#include <cstdint>
#include <cstdio>

/* Number of swapped frames, counted by the render thread. */
extern "C" __attribute__((visibility("default"))) volatile int64_t gpuRender_framecnt;

/* True while the count of swapped frames rests on a multiple of 300. Any thread. */
inline bool report_is_due()
{
	return __atomic_load_n(&gpuRender_framecnt, __ATOMIC_RELAXED) % 300 == 0;
}

#define REPORT_TO(stream, ...)                                                                     \
	do {                                                                                           \
		if (report_is_due())                                                                       \
			std::fprintf(stream, __VA_ARGS__);                                                     \
	} while (0)

#define REPORT(...) REPORT_TO(stdout, __VA_ARGS__)
