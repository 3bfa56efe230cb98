/* The compositor's record, shared by the files that serve its protocols. */
#pragma once

#include <atomic>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

#include <wayland-server-core.h>

#include <host/compositor.h>
#include <host/private_socket.h>

/* A wl_surface. */
struct Surface {
	Compositor *compositor;
	wl_resource *window; /* its xdg_surface, null before and after */
	wl_resource *shell;  /* that made the window */
	wl_resource *buffer; /* attached and not committed yet */
	wl_listener buffer_gone;
	wl_list callbacks; /* of frames asked for and not committed yet */
};

struct Compositor {
	CompositorOptions options;
	PrivateSocket socket;
	wl_display *display = nullptr;
	wl_protocol_logger *logger = nullptr;
	wl_event_source *wakeup = nullptr;
	wl_event_source *arrivals = nullptr;
	wl_global *output = nullptr;
	int wakeup_fd = -1;
	int spare_fd = -1; /* given up to turn a client away */

	/* Of the compositor's thread. */
	wl_list shells; /* those whose version was agreed on */
	wl_list windows;
	wl_list held_callbacks;

	std::thread thread;
	std::atomic<std::thread::id> runner; /* the thread inside run_compositor, if any */

	std::mutex mutex; /* guards what follows */
	std::condition_variable changed;
	CompositorRecord record;
	std::deque<std::function<void()>> commands;
};

/* Runs a command on the compositor's thread and returns when it is done. Where no thread is inside
 * run_compositor the caller's is as good. */
void run_on_compositor(Compositor &compositor, std::function<void()> command);

/* False if there is no memory. */
bool create_surface_globals(Compositor &compositor);
bool create_shell_global(Compositor &compositor);

/* Answers the frame callbacks of a list and empties it. */
void answer_callbacks(wl_list *callbacks);

/* A request as CompositorRecord tells it. */
std::string request_text(const wl_protocol_logger_message &message);
