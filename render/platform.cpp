#include <render/platform.h>

#include <cstring>

namespace
{

template <class Function>
Function platform_function(const char *name)
{
	return reinterpret_cast<Function>(weston_platform_get_egl_proc_address(name));
}

} // namespace

void *weston_platform_get_egl_proc_address(const char *address)
{
	const char *extensions = eglQueryString(EGL_NO_DISPLAY, EGL_EXTENSIONS);
	if (extensions && (strstr(extensions, "EGL_EXT_platform_wayland") ||
	                      strstr(extensions, "EGL_KHR_platform_wayland")))
		return reinterpret_cast<void *>(eglGetProcAddress(address));
	return nullptr;
}

EGLDisplay weston_platform_get_egl_display(
    EGLenum platform, void *native_display, const EGLint *attrib_list)
{
	static PFNEGLGETPLATFORMDISPLAYEXTPROC get_platform_display;
	if (!get_platform_display) {
		get_platform_display =
		    platform_function<PFNEGLGETPLATFORMDISPLAYEXTPROC>("eglGetPlatformDisplayEXT");
	}
	if (get_platform_display)
		return get_platform_display(platform, native_display, attrib_list);
	return eglGetDisplay(reinterpret_cast<EGLNativeDisplayType>(native_display));
}

EGLSurface weston_platform_create_egl_surface(
    EGLDisplay dpy, EGLConfig config, void *native_window, const EGLint *attrib_list)
{
	static PFNEGLCREATEPLATFORMWINDOWSURFACEEXTPROC create_platform_window;
	if (!create_platform_window) {
		create_platform_window = platform_function<PFNEGLCREATEPLATFORMWINDOWSURFACEEXTPROC>(
		    "eglCreatePlatformWindowSurfaceEXT");
	}
	if (create_platform_window)
		return create_platform_window(dpy, config, native_window, attrib_list);
	return eglCreateWindowSurface(
	    dpy, config, reinterpret_cast<EGLNativeWindowType>(native_window), attrib_list);
}
