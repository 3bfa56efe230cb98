/* The command-line options of all programs that have sinks: --window, --record FILE.mp4, --snapshot
 * N=FILE.png (may be repeated), --frames N. */
#pragma once

#include <cstdint>
#include <string>

#include <sinks/sinks.h>

struct SinkArguments {
	SinkOptions sinks;
	std::uint64_t frames = 0; /* end after so many; 0: no end */
};

enum class ArgumentResult {
	taken,
	not_ours, /* another option or a plain argument, for the caller */
	wrong,    /* one of ours, but its value is missing or bad */
};

/* For a usage text. */
extern const char kSinkUsage[];

/* Reads argv[*index] if it is one of ours, and moves *index past it and its value. *error is set
 * for wrong only. */
ArgumentResult take_sink_argument(
    int argc, char *const *argv, int *index, SinkArguments *arguments, std::string *error);

/* Reads a whole number of 1 or more, with nothing after it. Otherwise returns false and leaves
 * *value. */
bool parse_count(const std::string &text, std::uint64_t *value);
