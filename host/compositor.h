/*
 * A small Wayland compositor in place of the unit's: wl_compositor, wl_shm and xdg_shell in its
 * version 5, on a private socket in a private folder, so that it neither needs nor disturbs a
 * desktop. It draws nothing itself: every committed picture of a window goes to a callback.
 *
 * It runs either in the caller's thread (run_compositor, as animation-host does) or in one of its
 * own (start_compositor_thread, as tests do). Several may exist, one after another or at once.
 *
 *     CompositorPtr compositor = open_compositor({.on_picture = ...}, &error);
 *     setenv("XDG_RUNTIME_DIR", compositor_folder(*compositor).c_str(), 1);
 *     setenv("WAYLAND_DISPLAY", compositor_socket(*compositor).c_str(), 1);
 *     start_compositor_thread(*compositor);
 */
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <sinks/picture.h>

struct wl_event_loop;

/* The defaults are a well-behaved compositor. */
struct CompositorOptions {
	/* Both are called on the compositor's thread. A picture is a commit with a new buffer on a
	 * surface that xdg_shell made a window; its frame callback waits for the return. */
	std::function<void(const Picture &)> on_picture;
	std::function<void(const std::string &)> on_request; /* text as in CompositorRecord */

	bool keep_requests = true; /* fill CompositorRecord::requests, which grows without end */

	/* What a test may withhold, add or slow down. */
	bool offer_compositor = true;
	bool offer_shell = true;
	bool offer_output = false;               /* a wl_output, announced before all others */
	std::chrono::milliseconds global_gap{0}; /* each global is sent alone, after this pause */
	bool hold_frames = false;                /* frame callbacks wait for send_frames */
};

/* What clients did so far. */
struct CompositorRecord {
	/* Requests in order of arrival, such as "xdg_shell.use_unstable_version(5)": objects by their
	 * interface, new ones as "new wl_surface", none as "nil". Requests that a client sends just
	 * before it disconnects may be missing, since libwayland drops what a closed socket holds. */
	std::vector<std::string> requests;
	std::vector<std::uint32_t> pongs; /* serials */
	std::uint64_t pictures = 0;
};

struct Compositor;
struct CompositorDeleter {
	void operator()(Compositor *) const;
};
/* Destroying a compositor ends its thread if it has one, disconnects all clients and removes its
 * folder. */
using CompositorPtr = std::unique_ptr<Compositor, CompositorDeleter>;

/* Clients may connect from here on and are served once it runs. Null with the reason in *error. */
CompositorPtr open_compositor(CompositorOptions options, std::string *error);

/* The values of XDG_RUNTIME_DIR and WAYLAND_DISPLAY for its clients. */
const std::string &compositor_folder(const Compositor &compositor);
const std::string &compositor_socket(const Compositor &compositor);

/* For further sources in the thread that calls run_compositor. */
wl_event_loop *compositor_loop(Compositor &compositor);

/* Serves clients until stop_compositor, which may be called on any thread. */
void run_compositor(Compositor &compositor);
void stop_compositor(Compositor &compositor);

/* The same on a thread of its own. */
void start_compositor_thread(Compositor &compositor);

/* The functions below may be called on any thread while the compositor runs. They return when the
 * compositor has done as told. */

void send_ping(Compositor &compositor, std::uint32_t serial);
void send_configure(Compositor &compositor, int width, int height);
void send_close(Compositor &compositor);
void send_frames(Compositor &compositor); /* the callbacks held back so far */
void remove_output(Compositor &compositor);
void disconnect_clients(Compositor &compositor);
void send_error(Compositor &compositor); /* to every client, which ends its connection */

CompositorRecord compositor_record(Compositor &compositor);

/* Waits until the record passes the test; false if it does not within the limit. The test is
 * called with the record locked and must not call the compositor. */
bool await_record(Compositor &compositor, std::chrono::milliseconds limit,
    const std::function<bool(const CompositorRecord &)> &test);
