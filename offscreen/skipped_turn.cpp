/* In front of GL and EGL, since the executable's functions come before those of a library: what
 * only makes pixels is left out while a turn is skipped. */
#include <offscreen/offscreen_window.h>

#include <dlfcn.h>
#include <unistd.h>

namespace
{

thread_local bool skipping;

template <class Function>
Function behind(Function, const char *name)
{
	return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

} // namespace

void glClear(GLbitfield mask)
{
	static const auto function = behind(glClear, "glClear");
	if (!skipping)
		function(mask);
}

void glDrawArrays(GLenum mode, GLint first, GLsizei count)
{
	static const auto function = behind(glDrawArrays, "glDrawArrays");
	if (!skipping)
		function(mode, first, count);
}

EGLBoolean eglSwapBuffers(EGLDisplay display, EGLSurface surface)
{
	static const auto function = behind(eglSwapBuffers, "eglSwapBuffers");
	return skipping ? EGL_TRUE : function(display, surface);
}

bool skip_turn(OffscreenWindow &offscreen)
{
	skipping = access(CAPTURE_MARKER, F_OK) != 0; /* a capture file holds what was drawn */
	const bool swapped = draw_turn(offscreen);
	skipping = false;
	return swapped;
}
