/* The command-line options that decide where pictures go, the same in every program that has
 * sinks: --window, --record FILE.mp4, --snapshot N=FILE.png (repeatable), --frames N. */
#pragma once

#include <cstdint>
#include <string>

#include <sinks/sinks.h>

struct SinkArguments {
	SinkOptions sinks;
	std::uint64_t frames = 0; /* end after so many pictures; 0: no end */
};

enum class ArgumentResult {
	taken,
	not_ours, /* another option or a plain argument: the caller's to judge */
	wrong,    /* ours, but its value is missing or bad */
};

/* For a usage text. */
extern const char kSinkUsage[];

/* Reads argv[*index] if it is one of ours, and moves *index past it and its value. *error is set
 * for wrong only. */
ArgumentResult take_sink_argument(
    int argc, char *const *argv, int *index, SinkArguments *arguments, std::string *error);

/* A whole number from 1 up, and nothing after it; *value stays if it is none. */
bool parse_count(const std::string &text, std::uint64_t *value);
