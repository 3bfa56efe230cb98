/* A look at a picture file before the scene starts: the library reports a file that it cannot use
 * only in passing and shows nothing, a designer wants to be told. */
#pragma once

#include <string>

#include <animation/animation.h>

enum class PictureFormat { bmp, png, unknown };

/* By the ending of the name. */
PictureFormat picture_format(const std::string &path);

/* True for a regular file: one of another kind might be waited for. */
bool can_be_read(const std::string &path);

/* What keeps the library from showing the file upright and in its colours; empty if nothing. */
std::string picture_fault(const std::string &path);
