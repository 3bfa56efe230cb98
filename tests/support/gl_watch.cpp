#include "gl_watch.h"

#include <dlfcn.h>

std::set<GLuint> live_textures;

extern "C" {

void glGenTextures(GLsizei n, GLuint *textures)
{
	static const auto real =
	    reinterpret_cast<decltype(&glGenTextures)>(dlsym(RTLD_NEXT, "glGenTextures"));
	real(n, textures);
	live_textures.insert(textures, textures + n);
}

void glDeleteTextures(GLsizei n, const GLuint *textures)
{
	static const auto real =
	    reinterpret_cast<decltype(&glDeleteTextures)>(dlsym(RTLD_NEXT, "glDeleteTextures"));
	real(n, textures);
	for (GLsizei i = 0; i < n; i++)
		live_textures.erase(textures[i]);
}
}
