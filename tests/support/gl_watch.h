/* The program defines GL's entry points for textures, so that the library's calls pass here. */
#ifndef TESTS_SUPPORT_GL_WATCH_H
#define TESTS_SUPPORT_GL_WATCH_H

#include <set>

#include <GLES2/gl2.h>

extern std::set<GLuint> live_textures; /* generated and not deleted */

#endif
