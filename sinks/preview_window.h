/* A window on the desktop that shows the surface buffers, scaled down to fit the screen. */
#pragma once

#include <memory>
#include <string>

#include <sinks/picture.h>

struct PreviewWindow;
struct PreviewWindowDeleter {
	void operator()(PreviewWindow *) const;
};
using PreviewWindowPtr = std::unique_ptr<PreviewWindow, PreviewWindowDeleter>;

/* Returns null with the reason in *error, for instance without a display. Only one may be open.
 * Call all functions on one thread. */
PreviewWindowPtr open_preview_window(
    const std::string &title, int width, int height, std::string *error);

/* Shows a surface buffer of the size given at the opening. The title tells their number and rate.
 * Returns false with the reason in *error. */
bool preview_picture(PreviewWindow &window, const Picture &picture, std::string *error);

/* Handles what the user did to the window. Returns false once the user has closed it. */
bool service_preview_window(PreviewWindow &window);
