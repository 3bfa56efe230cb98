#pragma once

#include <functional>
#include <string>
#include <vector>

#include <host/probe_link.h>
#include <sinks/sink_arguments.h>
#include <studio/studio.h>

/* Who looks into the program. With one of these the program gets the probe. */
struct ProbeListener {
	WatchLevel level = WatchLevel::off; /* at first */
	std::function<void(ProbeLink &, const std::string &line)> on_line;
	bool wants_findings = false; /* of mistakes in the calls */
};

struct SessionOptions {
	SinkArguments pictures;
	bool verbose = false;
	std::string report; /* file; empty: none */
	StudioArgument studio;
	std::vector<ProbeListener> listeners;
	std::vector<int> descriptors; /* of ours that the program inherits */
	char *const *program;         /* and its arguments, ended by null */
};

/* Opens the sinks and a compositor, runs the program on it and ends everything in order. The result
 * is the exit status: the program's own, or 128 and its signal. Where the host ended the program it
 * is 0, unless the program crashed on the way. With the studio, the session goes on after the
 * program's end until a signal. 1 if a sink failed, 126 or 127 if the program cannot
 * be executed or found; the reason is on the standard error. */
int run_session(const SessionOptions &options);
