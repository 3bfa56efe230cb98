/*
 * A window without a compositor: an EGL surface in memory. The library's own redraw runs on it,
 * turn by turn and without waiting. animation-play --offline, the tests and the benchmarks use it.
 *
 * It replaces Init and DeInit. While it is open, any thread may create, update and remove objects,
 * and the opening thread may use texture handles. Only one may be open, and not together with the
 * render thread. It may be opened again after it was closed.
 *
 * Drawing is done in software, so that the same turns always give the same pixels on one machine.
 */
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <render/render.h>

/* The same records that the render thread fills. The Wayland members stay NULL. */
struct OffscreenWindow {
	struct display display = {};
	struct window window = {};
};

struct OffscreenWindowCloser {
	void operator()(OffscreenWindow *offscreen) const;
};
using OffscreenWindowPtr = std::unique_ptr<OffscreenWindow, OffscreenWindowCloser>;

/* The pixels of both viewports: bytes B, G, R, A as the surface holds them, the top row first, no
 * gap between rows. */
struct OffscreenPicture {
	int width = 0;
	int height = 0;
	std::vector<std::uint8_t> bgra;
};

/*
 * Opens the window, creates g_mutex, builds the shader programs and makes the render context
 * current on the calling thread. This thread is the render thread from then on. Returns NULL if EGL
 * has no such surface, with the reason in *error. A shader that does not compile ends the process,
 * as in Init.
 *
 * Close it on the same thread. Closing draws the turns that remove all objects, releases EGL and
 * destroys g_mutex.
 */
OffscreenWindowPtr open_offscreen_window(std::string *error);

/* Runs one turn of the render loop. Returns true if it swapped. If not, a viewer still sees what
 * was swapped last, and read_picture must not be called. */
bool draw_turn(OffscreenWindow &offscreen);

/*
 * As draw_turn, without drawing: generators, uploads and counters do all that they do in a drawn
 * turn, but nothing is rasterised and nothing is swapped. So turns can be passed over cheaply, and
 * a turn that is drawn after them shows what it shows after drawn ones, bit for bit. Returns true
 * if draw_turn would have swapped. The surface then holds no picture until draw_turn swaps.
 */
bool skip_turn(OffscreenWindow &offscreen);

/* Reads the pixels that the last turn swapped. The vector of *picture is used again. */
void read_picture(const OffscreenWindow &offscreen, OffscreenPicture *picture);
