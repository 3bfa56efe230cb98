/* Two ways to play a scene: offline, wholly or in part, and live. */
#pragma once

#include <cstdint>
#include <set>
#include <string>

#include <sinks/sink_arguments.h>

#include <play/scene.h>

/* The part of a scene that is shown. Frames are counted from 1 here, as those of sinks. */
struct Stretch {
	std::uint64_t from = 1;
	std::uint64_t to = 0;
	/* Frames that nobody sees themselves, but whose picture stands in a later one. */
	std::set<std::uint64_t> standing = {};
	bool is_measured = false; /* draw also what nobody sees */
};

enum class Played {
	whole,
	failed,
	again, /* stretch->standing has grown: play again in a new process */
};

/* True if every frame of the stretch goes somewhere: not for snapshots alone. */
bool is_every_frame_seen(const SinkOptions &options);

/* Turn by turn on an offscreen window, without waiting: each turn of the stretch gives the sinks
 * one picture. Where a turn draws nothing, the picture before it stands. Turns that nobody sees are
 * not drawn. *error is set for failed only.
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
