/* A window on the desktop that shows the surface buffers, scaled down to fit the screen. */
#pragma once

#include <functional>
#include <memory>
#include <string>

#include <sinks/picture.h>

struct PreviewWindow;
struct PreviewWindowDeleter {
	void operator()(PreviewWindow *) const;
};
using PreviewWindowPtr = std::unique_ptr<PreviewWindow, PreviewWindowDeleter>;

/* Returns null with the reason in *error, for instance without a display. Only one may be open. It
 * has a thread of its own: GL contexts are current by thread, so the caller's and the window's do
 * not meet. */
PreviewWindowPtr open_preview_window(
    const std::string &title, int width, int height, std::string *error);

/* Shown within half a second. */
void set_preview_title(PreviewWindow &window, const std::string &title);

/* Copies a surface buffer of the size given at the opening, to be shown unless another one follows
 * too soon. The title tells their number and rate. Returns false with the reason in *error if one
 * before could not be shown. */
bool preview_picture(PreviewWindow &window, const Picture &picture, std::string *error);

/* Takes the next key that is not the window's own business, as the character that it types: a blank
 * to pause and go on, '.' for one frame, 's' for a snapshot. The window itself knows 'f' for the
 * full screen, Esc to leave it, and '?' to tell the keys. Returns false if there is none. */
bool take_preview_key(PreviewWindow &window, char *key);

/* Calls with the newest picture, unless none has come yet. */
void use_preview(PreviewWindow &window, const std::function<void(const Picture &)> &call);

/* Returns true once the user has closed the window. */
bool is_preview_closed(PreviewWindow &window);
