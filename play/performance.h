/* Two ways to play a scene: offline, wholly or in part, and live. */
#pragma once

#include <cstdint>
#include <string>

#include <sinks/sink_arguments.h>

#include <play/scene.h>

/* The part of a scene that is drawn. Frames are counted from 1 here, as those of sinks. */
struct Stretch {
	std::uint64_t from = 1;
	std::uint64_t to = 0;
	/* The last frame before the stretch that swapped, whose picture stands until the stretch swaps
	 * one; 0: not known. */
	std::uint64_t standing = 0;
};

enum class Played {
	whole,
	failed,
	again, /* stretch->standing is known now and has to be drawn: play again in a new process */
};

/* Turn by turn on an offscreen window, without waiting: each turn of the stretch gives the sinks
 * one picture. Where a turn draws nothing, the picture before it stands. The turns before the
 * stretch are skipped. *error is set for failed only.
 *
 * Once in a process: the library's random blocks differ in a second run. */
Played play_offline(
    const Scene &scene, const SinkArguments &arguments, Stretch *stretch, std::string *error);

/* The same in so many processes at a time, each for a slice of the stretch. Their recordings are
 * joined. To be called while this process has one thread. False with *error set, or after one of
 * those processes has said why. */
bool play_in_slices(const Scene &scene, const SinkArguments &arguments, const Stretch &stretch,
    std::uint64_t jobs, std::string *error);

/* As play_offline from the first frame on, with a report of it in a file: docs/report.md. False
 * with *error set. */
bool play_reported(const Scene &scene, const SinkArguments &arguments, Stretch stretch,
    const std::string &report, std::string *error);

/* On the Wayland display that the environment names, at the library's own pace; to the end of the
 * scene, or until SIGINT or SIGTERM. False with *error set. */
bool play_live(const Scene &scene, std::string *error);
