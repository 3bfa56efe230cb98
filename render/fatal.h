/* Start-up conditions without which nothing can be shown. They hold in every build type. */
#pragma once

#include <cstdio>
#include <cstdlib>

/* Names the failed condition on the standard error and ends the process with the application. */
[[noreturn]] inline void fatal_condition(const char *where, const char *condition)
{
	std::fprintf(stderr, "animation: %s: start-up condition failed: %s\n", where, condition);
	std::abort();
}

#define REQUIRE_AS(condition, text)                                                                \
	do {                                                                                           \
		if (!(condition))                                                                          \
			fatal_condition(__func__, text);                                                       \
	} while (0)

#define REQUIRE(condition) REQUIRE_AS(condition, #condition)
