/* A window on the desktop that shows the pictures, scaled down to fit the screen. */
#pragma once

#include <memory>
#include <string>

#include <sinks/picture.h>

struct PreviewWindow;
struct PreviewWindowDeleter {
	void operator()(PreviewWindow *) const;
};
using PreviewWindowPtr = std::unique_ptr<PreviewWindow, PreviewWindowDeleter>;

/* Null with the reason in *error, as where there is no display. One at a time; all functions on
 * one thread. */
PreviewWindowPtr open_preview_window(
    const std::string &title, int width, int height, std::string *error);

/* Shows a picture of the size told before; the title counts pictures and tells their rate. False
 * with the reason in *error. */
bool preview_picture(PreviewWindow &window, const Picture &picture, std::string *error);

/* Handles what the user did to the window. False once they closed it. */
bool service_preview_window(PreviewWindow &window);
