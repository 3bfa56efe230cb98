/*
 * A small Wayland compositor in place of the unit's. It offers wl_compositor, wl_shm and xdg_shell
 * version 5 on a private socket in a private folder. So it needs no desktop and does not disturb
 * one. It draws nothing: every surface buffer that a window commits goes to a callback.
 *
 * It runs on the caller's thread (run_compositor, as in animation-host) or on its own thread
 * (start_compositor_thread, as in tests). There may be several at once.
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
	/* All are called on the compositor's thread. on_picture comes with each commit of a new buffer
	 * on a surface that xdg_shell made a window. The frame callback is sent after it returns. */
	std::function<void(const Picture &)> on_picture;
	std::function<void(const std::string &)> on_title;
	std::function<void(const std::string &)> on_request; /* text as in CompositorRecord */

	bool keep_requests = false; /* fill CompositorRecord::requests, which then grows without end */

	/* What a test may withhold, add or slow down. */
	bool offer_compositor = true;
	bool offer_shell = true;
	bool offer_output = false;               /* a wl_output, announced before all others */
	std::chrono::milliseconds global_gap{0}; /* each global is sent alone, after this pause */
	bool hold_frames = false;                /* frame callbacks wait for send_frames */
};

/* What clients did so far. */
struct CompositorRecord {
	/* Requests in order of arrival, such as "xdg_shell.use_unstable_version(5)". An object has the
	 * name of its interface, a new one "new wl_surface", none "nil". The last requests before a
	 * client disconnects may be missing, because libwayland drops what a closed socket holds. */
	std::vector<std::string> requests;
	std::uint64_t pongs = 0;
	std::uint32_t last_pong = 0; /* its serial */
	std::uint64_t pictures = 0;
};

struct Compositor;
struct CompositorDeleter {
	void operator()(Compositor *) const;
};
/* Destroying a compositor ends its thread, disconnects all clients and removes the folder. */
using CompositorPtr = std::unique_ptr<Compositor, CompositorDeleter>;

/* Clients may connect from now on. They are served when the compositor runs. Returns null with the
 * reason in *error. */
CompositorPtr open_compositor(CompositorOptions options, std::string *error);

/* The values of XDG_RUNTIME_DIR and WAYLAND_DISPLAY for its clients. */
const std::string &compositor_folder(const Compositor &compositor);
const std::string &compositor_socket(const Compositor &compositor);

/* For more event sources on the thread that calls run_compositor. */
wl_event_loop *compositor_loop(Compositor &compositor);

/* Serves clients until stop_compositor is called, on any thread. */
void run_compositor(Compositor &compositor);
void stop_compositor(Compositor &compositor);

/* The same on a thread of its own. */
void start_compositor_thread(Compositor &compositor);

/* Any thread may call the functions below while the compositor runs. Each returns when its work is
 * done. */

void send_ping(Compositor &compositor, std::uint32_t serial);
void send_configure(Compositor &compositor, int width, int height);
void send_close(Compositor &compositor);
void send_frames(Compositor &compositor); /* the frame callbacks that are held back */
void remove_output(Compositor &compositor);
void disconnect_clients(Compositor &compositor);
void send_error(Compositor &compositor); /* to every client, which ends its connection */

CompositorRecord compositor_record(Compositor &compositor);

/* Waits until the record passes the test. Returns false if it does not within the limit. The record
 * is locked during the test, so the test must not call the compositor. */
bool await_record(Compositor &compositor, std::chrono::milliseconds limit,
    const std::function<bool(const CompositorRecord &)> &test);
