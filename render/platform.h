/*
 * EGL on Wayland, through the platform extensions where the client offers them and through the
 * core entry points where not. Render thread.
 */
#ifndef ANIMATION_PLATFORM_H
#define ANIMATION_PLATFORM_H

#include <EGL/egl.h>
#include <EGL/eglext.h>

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

/* The entry point of that name, or NULL where EGL has no Wayland platform extension. */
void *weston_platform_get_egl_proc_address(const char *address);

/* The EGL display of a native display; EGL_NO_DISPLAY if there is none. attrib_list may be NULL. */
EGLDisplay weston_platform_get_egl_display(
    EGLenum platform, void *native_display, const EGLint *attrib_list);

/* A window surface; EGL_NO_SURFACE on failure. attrib_list may be NULL. */
EGLSurface weston_platform_create_egl_surface(
    EGLDisplay dpy, EGLConfig config, void *native_window, const EGLint *attrib_list);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
