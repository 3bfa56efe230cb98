/*
 * Where pictures go: a window, a recording, numbered PNG snapshots, any of them at once.
 *
 * All functions are called on one thread, the main one where there is a window (SDL asks for it).
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

/* The picture of this number, counted from 1, goes to this file. */
struct Snapshot {
	std::uint64_t number;
	std::string path;
};

struct SinkOptions {
	bool window = false;
	std::string record; /* MP4 file; empty: no recording */
	std::vector<Snapshot> snapshots;
};

struct Sinks;
struct SinksDeleter {
	void operator()(Sinks *) const;
};
using SinksPtr = std::unique_ptr<Sinks, SinksDeleter>;

/* Opens every sink that the options name, for pictures of one size. Null if any cannot be opened;
 * *error then says which and why, and files made by then are removed again. No option set is no
 * error: the pictures are counted and dropped. */
SinksPtr open_sinks(const SinkOptions &options, int width, int height, const std::string &title,
    std::string *error);

/* Hands one picture to all sinks. Waits only while the encoder is several pictures behind; nothing
 * is ever dropped. False if the user closed the window or a sink failed, and from then on. */
bool show_picture(Sinks &sinks, const Picture &picture);

/* Lets the window react while no pictures come. False as show_picture. */
bool service_sinks(Sinks &sinks);

/* Ends the files; no picture may follow. False if a sink failed or a snapshot's number was never
 * reached, with all reasons in *error; a window closed by the user is no failure. Destroying sinks
 * that were not finished ends the files too and drops what there is to report. */
bool finish_sinks(Sinks &sinks, std::string *error);
