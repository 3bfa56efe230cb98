/* A film frame by frame: no clock takes part, so it gives the same frames on any machine. */
#pragma once

#include <memory>
#include <string>

#include <animation/animation.h>

struct Film;
struct FilmCloser {
	void operator()(Film *film) const;
};
using FilmPtr = std::unique_ptr<Film, FilmCloser>;

/* Opens a file and decodes its first frame. NULL with *error set if there is none. */
FilmPtr open_film(const std::string &path, std::string *error);

/* Moves on by the 20 ms of a turn; the first call stays at the beginning. True if another frame is
 * due now: then *frame tells of it as a playback does, and its descriptor is good until the next
 * such call. At the end of the film its last frame stays. */
bool advance(Film &film, BufferInfoGST *frame);
