/*
 * A window without a compositor: an EGL surface in memory on which the library's own redraw runs,
 * turn by turn and without waiting. animation-play --offline, the tests and the benchmarks draw on
 * it.
 *
 * It takes the place of Init and DeInit: while it is open, objects and texture handles are created,
 * updated and removed as ever, on any thread for objects and on the opening thread for texture
 * handles. It must not be open together with the render thread, nor twice at once; it may be
 * opened again after it was closed.
 *
 * Drawing is done in software, so that the same turns give the same pictures on every PC.
 */
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <render/render.h>

/* The records are filled as the render thread fills its own, but for the Wayland members, which
 * stay NULL. */
struct OffscreenWindow {
	struct display display = {};
	struct window window = {};
};

struct OffscreenWindowCloser {
	void operator()(OffscreenWindow *offscreen) const;
};
using OffscreenWindowPtr = std::unique_ptr<OffscreenWindow, OffscreenWindowCloser>;

/* A picture of both viewports: R, G, B, A bytes, top row first, no gap between rows. */
struct OffscreenPicture {
	int width = 0;
	int height = 0;
	std::vector<std::uint8_t> rgba;

	const std::uint8_t *pixel(int x, int y) const
	{
		return &rgba[(static_cast<std::size_t>(y) * width + x) * 4];
	}
};

/*
 * Opens the window, creates g_mutex, builds the programs and leaves the render context current on
 * the calling thread, which is the render thread from then on. NULL if EGL offers no such surface;
 * *error then says what failed. A shader that does not compile ends the process, as in Init.
 *
 * Closing removes what is left on the object list (drawing the turns that takes), releases all of
 * EGL and destroys g_mutex. It happens on the thread that opened the window.
 */
OffscreenWindowPtr open_offscreen_window(std::string *error);

/* One turn of the render loop. True if the turn swapped a picture; else what was swapped last is
 * what a viewer would still see, and read_picture has no meaning. */
bool draw_turn(OffscreenWindow &offscreen);

/* The picture that the last turn swapped. The vector of *picture is reused. */
void read_picture(const OffscreenWindow &offscreen, OffscreenPicture *picture);
