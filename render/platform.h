/*
 * EGL on Wayland. These functions use the EGL platform extensions if there are any, else EGL's core
 * functions. Render thread.
 */
#ifndef ANIMATION_PLATFORM_H
#define ANIMATION_PLATFORM_H

#include <EGL/egl.h>
#include <EGL/eglext.h>

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

/* Returns the EGL function of that name, or NULL if EGL has no Wayland platform extension. */
void *weston_platform_get_egl_proc_address(const char *address);

/* Returns the EGL display of a native display, or EGL_NO_DISPLAY. attrib_list may be NULL. */
EGLDisplay weston_platform_get_egl_display(
    EGLenum platform, void *native_display, const EGLint *attrib_list);

/* Creates a window surface. Returns EGL_NO_SURFACE on failure. attrib_list may be NULL. */
EGLSurface weston_platform_create_egl_surface(
    EGLDisplay dpy, EGLConfig config, void *native_window, const EGLint *attrib_list);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
