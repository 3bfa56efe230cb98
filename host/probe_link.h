/*
 * The host's end of the wire to libanimation-probe.so, which stands in the program. Both ends speak
 * JSON, one object a line. The link lives on the host's event loop and never waits.
 */
#pragma once

#include <functional>
#include <memory>
#include <string>

struct wl_event_loop;

struct ProbeLink;
struct ProbeLinkCloser {
	void operator()(ProbeLink *) const;
};
using ProbeLinkPtr = std::unique_ptr<ProbeLink, ProbeLinkCloser>;

/* on_line is called on the loop's thread with each message, without its line end. Null with the
 * reason in *error. */
ProbeLinkPtr open_probe_link(wl_event_loop *loop,
    std::function<void(ProbeLink &, const std::string &line)> on_line, std::string *error);

/* The end that the program inherits; -1 once it was closed. */
int program_end(const ProbeLink &link);

/* To be called when the program has it. */
void close_program_end(ProbeLink &link);

/* How closely the probe looks. It looks as closely as the closest of those who do. */
enum class WatchLevel { off, times, objects };
void watch(ProbeLink &link, const void *who, WatchLevel level);

/* Sends {"command": ...}, without a line end. A program that reads nothing loses commands, sooner
 * or later; false then. */
bool send_command(ProbeLink &link, const std::string &line);

/* Takes what has come and was not read yet: the program has ended. */
void drain_probe_link(ProbeLink &link);
