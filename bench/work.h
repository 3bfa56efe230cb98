/*
 * The work of a stretch of a thread's way: its time, and what could be a copy of a picture.
 *
 * The executable that links this file defines memcpy, malloc and their like, so that the calls of
 * every library come by here. A copy in a loop of a caller's own is no such call: what it costs
 * shows in the CPU time, and what it fills is mostly allocated first.
 */
#pragma once

#include <chrono>
#include <cstdint>

struct Work {
	std::chrono::duration<double> time{};
	std::chrono::duration<double> cpu_time{}; /* of the thread */
	std::uint64_t copied = 0;                 /* bytes, by memcpy and memmove */
	std::uint64_t allocated = 0;              /* bytes, by malloc, calloc and realloc */
	std::uint64_t uploaded = 0;               /* pixels, by glTexImage2D and glTexSubImage2D */
};

/* Adds the work of this thread to a target while it lives. Stretches nest: the inner one's work is
 * not the outer one's. */
class WorkCount
{
public:
	explicit WorkCount(Work &target);
	~WorkCount();
	WorkCount(const WorkCount &) = delete;
	WorkCount &operator=(const WorkCount &) = delete;

private:
	Work *outer;
};
