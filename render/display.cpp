#include <render/render.h>

#include <cstring>
#include <memory>

#include <wayland-client.h>
#include <wayland-egl.h>

#include <base/heap.h>
#include <base/report.h>
#include <protocol/xdg-shell-client-protocol.h>
#include <render/fatal.h>
#include <render/platform.h>
#include <render/shared_context.h>

PFNEGLCREATEIMAGEKHRPROC f_eglCreateImageKHR;
PFNGLEGLIMAGETARGETTEXTURE2DOESPROC f_glEGLImageTargetTexture2DOES;
PFNEGLDESTROYIMAGEKHRPROC f_eglDestroyImageKHR;

namespace
{

/* The unstable protocol's revision; not the version of its interfaces, which is 1. */
constexpr int32_t kXdgShellRevision = 5;

/* clang-format off */
constexpr EGLint kConfigAttributes[] = {
	EGL_SURFACE_TYPE, EGL_WINDOW_BIT,
	EGL_RED_SIZE, 1,
	EGL_GREEN_SIZE, 1,
	EGL_BLUE_SIZE, 1,
	EGL_ALPHA_SIZE, 1,
	EGL_RENDERABLE_TYPE, EGL_OPENGL_ES2_BIT,
	EGL_SAMPLE_BUFFERS, 1,
	EGL_SAMPLES, 4,
	EGL_NONE,
};
/* clang-format on */

/* The first of the matching configs whose buffer size is the wanted one; NULL without any. */
EGLConfig choose_config(EGLDisplay dpy, EGLint buffer_size)
{
	EGLint count = 0;
	if (!eglGetConfigs(dpy, nullptr, 0, &count) || count < 1)
		fatal_condition("init_egl", "0");
	HeapBlock<EGLConfig> configs(allocate<EGLConfig>(static_cast<std::size_t>(count)));
	if (!configs)
		fatal_condition("init_egl", "configs");
	EGLint n = 0;
	EGLBoolean ret = eglChooseConfig(dpy, kConfigAttributes, configs.get(), count, &n);
	if (!(ret && n >= 1))
		fatal_condition("init_egl", "ret && n >= 1");
	for (EGLint i = 0; i < n; i++) {
		EGLint size = 0;
		eglGetConfigAttrib(dpy, configs.get()[i], EGL_BUFFER_SIZE, &size);
		if (size == buffer_size)
			return configs.get()[i];
	}
	return nullptr;
}

/* The compositor need not draw anything below. */
void make_opaque(wl_compositor *compositor, wl_surface *surface, int width, int height)
{
	wl_region *region = wl_compositor_create_region(compositor);
	wl_region_add(region, 0, 0, width, height);
	wl_surface_set_opaque_region(surface, region);
	wl_region_destroy(region);
}

} // namespace

void registry_handle_global(
    void *data, wl_registry *registry, uint32_t name, const char *interface, uint32_t)
{
	auto *display = static_cast<struct display *>(data);
	if (strcmp(interface, "wl_compositor") == 0 && !display->compositor) {
		display->compositor = static_cast<wl_compositor *>(
		    wl_registry_bind(registry, name, &wl_compositor_interface, 1));
	} else if (strcmp(interface, "xdg_shell") == 0 && !display->shell) {
		display->shell =
		    static_cast<xdg_shell *>(wl_registry_bind(registry, name, &xdg_shell_interface, 1));
		xdg_shell_add_listener(display->shell, &xdg_shell_listener, display);
		xdg_shell_use_unstable_version(display->shell, kXdgShellRevision);
	}
}

void registry_handle_global_remove(void *, wl_registry *, uint32_t)
{
}

void xdg_shell_ping(void *, xdg_shell *shell, uint32_t serial)
{
	xdg_shell_pong(shell, serial);
}

const wl_registry_listener registry_listener = {
    registry_handle_global,
    registry_handle_global_remove,
};

const struct xdg_shell_listener xdg_shell_listener = {xdg_shell_ping};

void init_egl(struct display *display, struct window *window)
{
	display->egl.dpy =
	    weston_platform_get_egl_display(EGL_PLATFORM_WAYLAND_KHR, display->display, nullptr);
	REQUIRE(display->egl.dpy);
	EGLBoolean ret = eglInitialize(display->egl.dpy, nullptr, nullptr);
	REQUIRE(ret == 1);
	ret = eglBindAPI(EGL_OPENGL_ES_API);
	REQUIRE(ret == 1);

	display->egl.conf = choose_config(display->egl.dpy, window->buffer_size);
	if (!display->egl.conf) {
		fprintf(stderr, "did not find config with buffer size %d\n", window->buffer_size);
		exit(1);
	}
	display->egl.ctx =
	    eglCreateContext(display->egl.dpy, display->egl.conf, EGL_NO_CONTEXT, kContextAttributes);
	REQUIRE(display->egl.ctx);
	GetProcAddress();
}

void GetProcAddress(void)
{
	f_eglCreateImageKHR =
	    reinterpret_cast<PFNEGLCREATEIMAGEKHRPROC>(eglGetProcAddress("eglCreateImageKHR"));
	f_glEGLImageTargetTexture2DOES = reinterpret_cast<PFNGLEGLIMAGETARGETTEXTURE2DOESPROC>(
	    eglGetProcAddress("glEGLImageTargetTexture2DOES"));
	f_eglDestroyImageKHR =
	    reinterpret_cast<PFNEGLDESTROYIMAGEKHRPROC>(eglGetProcAddress("eglDestroyImageKHR"));
	if (!f_eglCreateImageKHR || !f_glEGLImageTargetTexture2DOES || !f_eglDestroyImageKHR)
		REPORT("FATAL:can not get native function ptr");
}

void create_xdg_surface(struct window *window, struct display *display)
{
	window->xdg_surface = xdg_shell_get_xdg_surface(display->shell, window->surface);
}

void create_surface(struct window *window)
{
	struct display *display = window->display;
	int width = 2 * window->geometry.width;
	int height = window->geometry.height;

	REQUIRE(display->compositor);
	window->surface = wl_compositor_create_surface(display->compositor);
	window->native = wl_egl_window_create(window->surface, width, height);
	window->egl_surface = weston_platform_create_egl_surface(
	    display->egl.dpy, display->egl.conf, window->native, nullptr);
	REQUIRE_AS(display->shell, "0");
	create_xdg_surface(window, display);
	make_opaque(display->compositor, window->surface, width, height);
	xdg_surface_set_fullscreen(window->xdg_surface, nullptr);

	EGLBoolean ret = eglMakeCurrent(
	    display->egl.dpy, window->egl_surface, window->egl_surface, display->egl.ctx);
	REQUIRE(ret == 1);
	REQUIRE(window->egl_surface); /* the context may have become current without one */
	if (!window->frame_sync)
		eglSwapInterval(display->egl.dpy, 0);
}

void destroy_surface(struct window *window)
{
	EGLDisplay dpy = window->display->egl.dpy;
	eglMakeCurrent(dpy, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
	eglDestroySurface(dpy, window->egl_surface);
	wl_egl_window_destroy(window->native);
	if (window->xdg_surface)
		xdg_surface_destroy(window->xdg_surface);
	wl_surface_destroy(window->surface);
	if (window->callback)
		wl_callback_destroy(window->callback);
}

void fini_egl(struct display *display)
{
	eglTerminate(display->egl.dpy);
	eglReleaseThread();
}
