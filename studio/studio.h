/*
 * The studio: a page in the browser that shows what a program draws and what its objects are, and
 * orders it about. docs/studio.md tells the messages.
 *
 * It is served on 127.0.0.1 by a thread of its own, so a browser that is slow or gone never holds
 * the program up. All functions are called on one thread, that of the program's own loop:
 *
 *     StudioPtr studio = open_studio({.port = 0}, &error);
 *     publish(*studio, {{"type", "state"}, {"program", "running"}});
 *     ... show_in_studio(*studio, picture, frame) for every surface buffer
 *     ... take_command(*studio, &command) whenever studio_descriptor(*studio) is readable
 */
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include <nlohmann/json_fwd.hpp>

#include <sinks/picture.h>

struct StudioOptions {
	std::uint16_t port = 0; /* 0: any that is free */
};

/* "--studio [PORT]" of a command line. */
struct StudioArgument {
	bool is_wanted = false;
	StudioOptions options;
};

/* Reads argv[*index] if it is that option, moves *index past it and its port, and returns true. */
bool take_studio_argument(int argc, char *const *argv, int *index, StudioArgument *argument);

struct Studio;
struct StudioDeleter {
	void operator()(Studio *) const;
};
/* Destroying it tells every browser that the program's end has come. */
using StudioPtr = std::unique_ptr<Studio, StudioDeleter>;

/* Returns null with the reason in *error, for instance if the port is in use. */
StudioPtr open_studio(const StudioOptions &options, std::string *error);

/* The only address under which the page is served, with its token. */
const std::string &studio_address(const Studio &studio);

/* To be waited for: it is readable while there are commands. */
int studio_descriptor(const Studio &studio);

/* The next command of any browser: an object with a "command". "watch" comes from here, not from a
 * page: its "level" is "objects" while any browser is open, else "times". False if there is none.
 */
bool take_command(Studio &studio, nlohmann::json *command);

/* Passes a message with a "type" to all browsers. One that is opened later gets the last 1000 of
 * "frame", all of "finding", and the newest of every other type. Of "frame" a slow browser gets the
 * newest one whole, and of those before it all but the "objects". A "state" whose "program" is not
 * "running" makes the browsers ask for the exact picture. */
void publish(Studio &studio, const nlohmann::json &message);

/* Copies the surface buffer. A browser gets the newest one when it is ready for it. */
void show_in_studio(Studio &studio, const Picture &picture, std::uint32_t frame);

/* Offers a file for download, and tells the browsers its name. The last few are kept. */
void offer_file(Studio &studio, const std::string &name, std::string content);

/* The picture that was shown last, as a PNG file; empty if there is none. */
std::string last_picture_file(Studio &studio);
