/*
 * The probe for a program that looks into itself: link it before the library, so that it stands
 * before it.
 *
 * Functions are, unless told otherwise, to be called on the render thread, the first before any
 * call of the library.
 */
#pragma once

#include <string>

#pragma GCC visibility push(default)

/* Takes a message, JSON without a line end, on whatever thread it comes. */
using ProbeHearer = void(const std::string &line);

/* The messages go to this function, and none over a descriptor. Null: nobody listens. */
void probe_hear(ProbeHearer *take);

/* Does what {"command": ...} says. */
void probe_command(const std::string &line);

/* True while it holds or slows the frames at the wish of whoever looks on. Any thread. */
bool probe_holds_frames();

/* Tells the end, where no DeInit does. */
void probe_tell_end();

#pragma GCC visibility pop
