/* A picture that was read before, into the texture that is bound. */
#pragma once

#include <animation/animation.h>
#include <animation/picture_file.h>

/* 0, or -1 with a report if GL has no textures of that size. The file's name is for the report. */
int upload_picture(GLuint tex, const DecodedPicture &picture, const char *filename);
