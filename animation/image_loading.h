/* A picture that was read before, into the texture that is bound. */
#pragma once

#include <animation/animation.h>
#include <animation/picture_file.h>

int upload_picture(GLuint tex, const DecodedPicture &picture);
