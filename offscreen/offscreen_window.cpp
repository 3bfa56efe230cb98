#include <offscreen/offscreen_window.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>

#include <EGL/eglext.h>

#include <base/lock.h>

namespace
{

constexpr int kBufferSize = 32;
constexpr int kColourBits = 8;

EGLint config_value(EGLDisplay dpy, EGLConfig config, EGLint attribute)
{
	EGLint value = 0;
	eglGetConfigAttrib(dpy, config, attribute, &value);
	return value;
}

EGLConfig choose_config(EGLDisplay dpy)
{
	const EGLint wanted[] = {EGL_SURFACE_TYPE, EGL_PBUFFER_BIT, EGL_RED_SIZE, kColourBits,
	    EGL_GREEN_SIZE, kColourBits, EGL_BLUE_SIZE, kColourBits, EGL_ALPHA_SIZE, kColourBits,
	    EGL_RENDERABLE_TYPE, EGL_OPENGL_ES2_BIT, EGL_SAMPLE_BUFFERS, 1, EGL_SAMPLES, 4, EGL_NONE};
	std::array<EGLConfig, 64> configs;
	EGLint count = 0;
	eglChooseConfig(dpy, wanted, configs.data(), configs.size(), &count);
	/* The sizes asked for are minima, and deeper configs are listed first. */
	auto *const end = configs.begin() + count;
	auto *const found = std::find_if(configs.begin(), end, [dpy](EGLConfig config) {
		return config_value(dpy, config, EGL_BUFFER_SIZE) == kBufferSize &&
		       config_value(dpy, config, EGL_RED_SIZE) == kColourBits;
	});
	return found == end ? nullptr : *found;
}

/* The name of the step that failed, or NULL. */
const char *open_egl(OffscreenWindow &offscreen)
{
	auto &egl = offscreen.display.egl;
	egl.dpy = eglGetPlatformDisplay(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr);
	if (egl.dpy == EGL_NO_DISPLAY || !eglInitialize(egl.dpy, nullptr, nullptr))
		return "EGL offers no display without a compositor";
	if (!eglBindAPI(EGL_OPENGL_ES_API))
		return "EGL offers no OpenGL ES";
	egl.conf = choose_config(egl.dpy);
	if (!egl.conf)
		return "EGL offers no config with 4 samples, alpha and a buffer size of 32";
	const EGLint context_attributes[] = {EGL_CONTEXT_CLIENT_VERSION, 2, EGL_NONE};
	egl.ctx = eglCreateContext(egl.dpy, egl.conf, EGL_NO_CONTEXT, context_attributes);
	if (egl.ctx == EGL_NO_CONTEXT)
		return "EGL gives no OpenGL ES 2 context";
	const EGLint surface_attributes[] = {
	    EGL_WIDTH, 2 * ANIMATION_VIEWPORT_WIDTH, EGL_HEIGHT, ANIMATION_VIEWPORT_HEIGHT, EGL_NONE};
	const EGLSurface surface = eglCreatePbufferSurface(egl.dpy, egl.conf, surface_attributes);
	if (surface == EGL_NO_SURFACE)
		return "EGL gives no surface in memory";
	offscreen.window.egl_surface = surface;
	if (!eglMakeCurrent(egl.dpy, surface, surface, egl.ctx))
		return "EGL does not make the context current";
	const auto *extensions = reinterpret_cast<const char *>(glGetString(GL_EXTENSIONS));
	if (!extensions || !std::strstr(extensions, "GL_EXT_read_format_bgra"))
		return "OpenGL ES does not give pixels as the surface holds them";
	return nullptr;
}

void close_egl(OffscreenWindow &offscreen)
{
	const auto &egl = offscreen.display.egl;
	if (egl.dpy == EGL_NO_DISPLAY)
		return;
	eglMakeCurrent(egl.dpy, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
	if (offscreen.window.egl_surface != EGL_NO_SURFACE)
		eglDestroySurface(egl.dpy, offscreen.window.egl_surface);
	eglTerminate(egl.dpy);
	eglReleaseThread();
}

/* Videos go one turn after the backgrounds that hid them. */
void remove_all_objects(OffscreenWindow &offscreen)
{
	while (animationItemHead) {
		for (const AnimationObj *obj = animationItemHead; obj; obj = obj->next)
			RemoveAnimationObj(obj->objId, DEL_IMMEDIATELY);
		draw_turn(offscreen);
	}
}

} // namespace

OffscreenWindowPtr open_offscreen_window(std::string *error)
{
	setenv("LIBGL_ALWAYS_SOFTWARE", "1", 0);
	/* With AVX the rasteriser rounds otherwise than on a machine without it.
	 */
	setenv("GALLIUM_OVERRIDE_CPU_CAPS", "sse4.1", 0);

	auto offscreen = std::make_unique<OffscreenWindow>();
	offscreen->display.window = &offscreen->window;
	struct window &window = offscreen->window;
	window.display = &offscreen->display;
	window.geometry = {ANIMATION_VIEWPORT_WIDTH, ANIMATION_VIEWPORT_HEIGHT};
	window.window_size = window.geometry;
	window.buffer_size = kBufferSize;
	window.frame_sync = 1;

	if (const char *failure = open_egl(*offscreen)) {
		*error = failure;
		close_egl(*offscreen);
		return nullptr;
	}
	create_list_mutex();
	GetProcAddress();
	init_gl(&window);
	p_gwindow = &window;
	return OffscreenWindowPtr(offscreen.release());
}

void OffscreenWindowCloser::operator()(OffscreenWindow *offscreen) const
{
	remove_all_objects(*offscreen);
	p_gwindow = nullptr;
	close_egl(*offscreen);
	pthread_mutex_destroy(&g_mutex);
	delete offscreen;
}

bool draw_turn(OffscreenWindow &offscreen)
{
	const auto swapped_before = gpuRender_framecnt;
	redraw(&offscreen.window, nullptr, 0);
	return gpuRender_framecnt != swapped_before;
}

void read_picture(const OffscreenWindow &offscreen, OffscreenPicture *picture)
{
	picture->width = 2 * offscreen.window.geometry.width;
	picture->height = offscreen.window.geometry.height;
	const std::size_t stride = static_cast<std::size_t>(picture->width) * 4;
	picture->bgra.resize(stride * picture->height);
	std::uint8_t *top = picture->bgra.data();
	glReadPixels(0, 0, picture->width, picture->height, GL_BGRA_EXT, GL_UNSIGNED_BYTE, top);

	/* GL gives the bottom row first. */
	std::uint8_t *bottom = top + stride * (picture->height - 1);
	for (; top < bottom; top += stride, bottom -= stride)
		std::swap_ranges(top, top + stride, bottom);
}
