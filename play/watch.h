/* What ends a live scene early, seen on a thread of its own, since the others may stand still:
 * SIGINT and SIGTERM; a connection that is lost; frames that no longer come. */
#pragma once

#include <memory>
#include <string>

struct Watch;
struct WatchEnder {
	void operator()(Watch *watch) const;
};
using WatchPtr = std::unique_ptr<Watch, WatchEnder>;

/* To be called before Init, while the process has one thread: from here on the two signals are the
 * watch's alone. Whatever waits then, the process ends soon after what the watch has seen: with a
 * line on the standard error and status 1, if the watch has not ended by then. */
WatchPtr start_watch();

/* The compositor is watched from Init to DeInit only, as its records are good no longer. */
void watch_compositor(Watch &watch);
void leave_compositor(Watch &watch);

/* True once the scene has to end. */
bool is_over(Watch &watch);

/* Why no frame comes any more; empty while they do. */
std::string fault_of(Watch &watch);
