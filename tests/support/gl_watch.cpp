#include "gl_watch.h"

#include <dlfcn.h>

GlWatch gl_watch;

template <class Function>
static Function *next(Function *, const char *name)
{
	return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

extern "C" {

void glGenTextures(GLsizei n, GLuint *textures)
{
	static auto *const real = next(glGenTextures, "glGenTextures");
	real(n, textures);
	gl_watch.textures.insert(textures, textures + n);
}

void glDeleteTextures(GLsizei n, const GLuint *textures)
{
	static auto *const real = next(glDeleteTextures, "glDeleteTextures");
	real(n, textures);
	for (GLsizei i = 0; i < n; i++)
		gl_watch.textures.erase(textures[i]);
}

void glTexImage2D(GLenum target, GLint level, GLint internalformat, GLsizei width, GLsizei height,
    GLint border, GLenum format, GLenum type, const void *pixels)
{
	static auto *const real = next(glTexImage2D, "glTexImage2D");
	gl_watch.uploads++;
	real(target, level, internalformat, width, height, border, format, type, pixels);
}

void glUseProgram(GLuint program)
{
	static auto *const real = next(glUseProgram, "glUseProgram");
	gl_watch.program_changes++;
	real(program);
}

void glDrawArrays(GLenum mode, GLint first, GLsizei count)
{
	static auto *const real = next(glDrawArrays, "glDrawArrays");
	gl_watch.draws++;
	real(mode, first, count);
}
}
