/* The session in the studio: its pictures, the probe's messages, how the program does; and the
 * orders of the page, most of which are the probe's. */
#pragma once

#include <memory>
#include <string>

#include <host/probe_link.h>
#include <sinks/picture.h>
#include <studio/studio.h>

struct wl_event_loop;

struct StudioView;
struct StudioViewCloser {
	void operator()(StudioView *) const;
};
using StudioViewPtr = std::unique_ptr<StudioView, StudioViewCloser>;

/* Prints the page's address. Null with the reason in *error. */
StudioViewPtr open_studio_view(const StudioOptions &options, const std::string &title,
    wl_event_loop *loop, std::string *error);

/* A line of the probe, to which the orders go from then on. */
void take_line(StudioView &view, ProbeLink &link, const std::string &line);

void set_title(StudioView &view, const std::string &title);

void take_picture(StudioView &view, const Picture &picture);

/* The program has ended so. */
void tell_end(StudioView &view, int wait_status);
