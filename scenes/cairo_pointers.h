/* Owners of cairo's objects. */
#ifndef PLAY_CAIRO_POINTERS_H
#define PLAY_CAIRO_POINTERS_H

#include <memory>

#include <cairo.h>

struct CairoDeleter {
	void operator()(cairo_surface_t *surface) const
	{
		cairo_surface_destroy(surface);
	}
	void operator()(cairo_t *context) const
	{
		cairo_destroy(context);
	}
};
using SurfacePtr = std::unique_ptr<cairo_surface_t, CairoDeleter>;
using ContextPtr = std::unique_ptr<cairo_t, CairoDeleter>;

#endif
