#include <render/shared_context.h>

#include <render/render.h>

namespace
{

EGLContext shared_context = EGL_NO_CONTEXT;

} // namespace

void share_context(void)
{
	struct display *display = p_gwindow->display;
	shared_context =
	    eglCreateContext(display->egl.dpy, display->egl.conf, display->egl.ctx, kContextAttributes);
	eglMakeCurrent(display->egl.dpy, EGL_NO_SURFACE, EGL_NO_SURFACE, shared_context);
}

bool release_shared_context()
{
	if (shared_context != eglGetCurrentContext())
		return false;
	if (shared_context) {
		EGLDisplay dpy = p_gwindow->display->egl.dpy;
		eglMakeCurrent(dpy, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
		eglDestroyContext(dpy, shared_context);
	}
	shared_context = EGL_NO_CONTEXT;
	return true;
}
