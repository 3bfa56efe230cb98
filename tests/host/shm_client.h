/* The smallest honest Wayland client: one full-screen xdg_shell window painted from shared memory,
 * without GL. In the process of a test and as the program that animation-host starts. */
#ifndef TESTS_HOST_SHM_CLIENT_H
#define TESTS_HOST_SHM_CLIENT_H

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <wayland-client.h>

#include <protocol/xdg-shell-client-protocol.h>

struct ShmClient {
	wl_display *display = nullptr;
	wl_registry *registry = nullptr;
	wl_compositor *compositor = nullptr;
	wl_shm *shm = nullptr;
	xdg_shell *shell = nullptr;
	wl_surface *surface = nullptr;
	xdg_surface *window = nullptr;
	wl_buffer *buffer = nullptr;
	std::uint32_t *pixels = nullptr;
	std::size_t size = 0;
	int width = 0;
	int height = 0;

	std::vector<std::string> globals; /* announced so far */
	std::vector<std::string> removed; /* by number */
	wl_callback *frame = nullptr;     /* asked for and not answered yet */
	int configured_width = 0;
	bool closed = false;
};

struct ShmClientDeleter {
	void operator()(ShmClient *) const;
};
using ShmClientPtr = std::unique_ptr<ShmClient, ShmClientDeleter>;

/* Connects to the socket at this path, or to the one of the environment if it is null, and binds
 * what is announced within one round trip. Null if nobody listens. */
ShmClientPtr connect_client(const char *path = nullptr);

/* Makes the window; false if a global is missing or the compositor objects. */
bool open_window(ShmClient &client, int width, int height);

/* Fills the upper half with one colour (0xXXRRGGBB) and the lower half with another, commits and
 * asks for a frame callback. */
void paint(ShmClient &client, std::uint32_t upper, std::uint32_t lower);

/* Waits for the callback of the last paint; false if the connection broke. */
bool await_frame(ShmClient &client);

#endif
