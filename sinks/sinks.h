/*
 * Where surface buffers go: a window, a recording, numbered PNG snapshots, or several of these.
 *
 * Call all functions on one thread.
 *
 *     std::string error;
 *     SinksPtr sinks = open_sinks(options, kSurfaceWidth, kSurfaceHeight, "title", &error);
 *     while (sinks && more && show_picture(*sinks, picture)) ...
 *     if (!finish_sinks(*sinks, &error)) ...
 */
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <sinks/picture.h>

/* The surface buffer of this number, counted from 1, goes to this file. */
struct Snapshot {
	std::uint64_t number;
	std::string path;
};

struct SinkOptions {
	bool window = false;
	bool window_holds =
	    false;               /* a pause holds show_picture up, and take_window_order has nothing */
	std::uint64_t first = 1; /* number of the surface buffer that comes first */
	std::string record;      /* MP4 file; empty: no recording */
	std::vector<Snapshot> snapshots;
	std::string folder; /* for snapshots by key; empty: the working folder */
};

struct Sinks;
struct SinksDeleter {
	void operator()(Sinks *) const;
};
using SinksPtr = std::unique_ptr<Sinks, SinksDeleter>;

/* Opens every sink that the options name, for surface buffers of one size. Returns null if one
 * cannot be opened, tells in *error which and why, and removes the files that it has made. Without
 * any option the surface buffers are only counted. */
SinksPtr open_sinks(const SinkOptions &options, int width, int height, const std::string &title,
    std::string *error);

/* Gives the window another title than the one it was opened with. */
void title_sinks(Sinks &sinks, const std::string &title);

/* Passes one surface buffer to all sinks. Never drops one: waits while the encoder is several
 * behind. Returns false from the moment on when the user closed the window or a sink failed. */
bool show_picture(Sinks &sinks, const Picture &picture);

/* What the user wants of the program, by a key in the window. */
enum class WindowOrder { pause_or_go_on, one_frame };

/* Takes the next order. Returns false if there is none. A snapshot is no order: it is written here,
 * as frame-N.png. */
bool take_window_order(Sinks &sinks, WindowOrder *order);

/* To be called while nothing is drawn. Returns false as show_picture does. */
bool service_sinks(Sinks &sinks);

/* Ends the files. No surface buffer may follow. Returns false if a sink failed or a snapshot's
 * number never came. *report then holds all reasons, a line each. If the user closed the window,
 * what therefore never came is no failure, and *report names it on success too. Sinks that are
 * destroyed before they were finished also end their files, but report nothing. */
bool finish_sinks(Sinks &sinks, std::string *report);
