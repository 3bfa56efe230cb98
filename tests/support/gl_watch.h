/* Counts GL calls: the program defines the entry points, so that the library's calls pass here on
 * their way to GL. */
#ifndef TESTS_SUPPORT_GL_WATCH_H
#define TESTS_SUPPORT_GL_WATCH_H

#include <set>

#include <GLES2/gl2.h>

struct GlWatch {
	std::set<GLuint> textures; /* generated and not deleted */
	unsigned long uploads = 0;
	unsigned long program_changes = 0;
	unsigned long draws = 0;
};
extern GlWatch gl_watch;

#endif
