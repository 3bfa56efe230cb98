/*
 * The render thread: its life cycle, and the records and steps it is made of.
 *
 * An application calls Init and DeInit, and takes g_mutex where <animation/animation.h> asks for
 * it. Everything else is exported for tools that bring their own GL context and drive frames
 * themselves (animation-play --offline, the tests): such a tool fills a display and a window,
 * calls GetProcAddress and init_gl with its context current, and then redraw once a frame.
 */
#ifndef ANIMATION_RENDER_H
#define ANIMATION_RENDER_H

#include <pthread.h>
#include <stdint.h>

#include <EGL/egl.h>
#include <GLES2/gl2.h>

#include <animation/animation.h>

struct wl_callback;
struct wl_compositor;
struct wl_display;
struct wl_egl_window;
struct wl_registry;
struct wl_registry_listener;
struct wl_surface;
struct xdg_shell;
struct xdg_shell_listener;
struct xdg_surface;

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

/* ---- Records ------------------------------------------------------------------------------- */

/* A size in pixels. */
struct geometry {
	int width;
	int height;
};

/* The connection. */
struct display {
	struct wl_display *display;
	struct wl_registry *registry;
	struct wl_compositor *compositor; /* NULL until its global is bound */
	struct xdg_shell *shell;          /* NULL until its global is bound */
	struct {
		EGLDisplay dpy;
		EGLContext ctx; /* the render context */
		EGLConfig conf;
	} egl;
	struct window *window;
};

/* The surface and the programs. Both records are the render thread's own: they are zeroed at its
 * start and are not to be read once it has ended. */
struct window {
	struct display *display;
	struct geometry geometry;    /* of one viewport: 1152 x 576; the surface is twice as wide */
	struct geometry window_size; /* a copy of geometry */
	struct {
		GLuint program;
		GLuint mvp_uniform;
		GLuint blendingmode_uniform;
		GLuint rendermode_uniform;
		GLuint alpha0_uniform;
		GLuint alpha1_uniform;
		GLuint pos; /* attribute locations up to tex2 */
		GLuint tex0;
		GLuint tex1;
		GLuint tex2;
		GLuint sampler0; /* uniform locations */
		GLuint sampler1;
		GLuint sampler2;
		GLuint constant_color;
	} gl; /* all image animations */
	struct {
		GLuint program;
		GLuint mvp_uniform;
		GLuint pos;
		GLuint tex0;
		GLuint sampler0;
	} gl_video1; /* external image */
	struct {
		GLuint program;
		GLuint mvp_uniform;
		GLuint pos;
		GLuint tex0;
		GLuint tex1;
		GLuint sampler0;
		GLuint sampler1;
	} gl_video2;     /* NV12 planes */
	uint32_t frames; /* calls of redraw; other threads may read it with an atomic load */
	struct wl_egl_window *native;
	struct wl_surface *surface;
	struct xdg_surface *xdg_surface;
	EGLSurface egl_surface;
	struct wl_callback *callback; /* stays NULL: no frame callback is asked for */
	int buffer_size;              /* wanted EGL_BUFFER_SIZE */
	int frame_sync;               /* 0: swap interval 0; else EGL's default */
};

/* ---- Globals ------------------------------------------------------------------------------- */

/* State of the render thread: 0 not started or asked to stop, 1 in its first turn, 2 running. */
extern volatile int running;

/* Number of swapped frames; the clock of the rate-limited reports. Written by the render thread. */
extern volatile int64_t gpuRender_framecnt;

/* Copy of gpuRender_framecnt; names the capture files. */
extern volatile int64_t framecnt;

/* The render thread, valid between Init and DeInit. */
extern pthread_t pid;

/* The render thread's window. */
extern struct window *p_gwindow;

/* The one lock: recursive, made anew by Init, destroyed by DeInit. It guards the object list, the
 * objects and the player's registration. Frames wait for it: never keep it for long. */
extern pthread_mutex_t g_mutex;

/* ---- Life cycle: the application ------------------------------------------------------------ */

/*
 * Starts the render thread on the Wayland display that the environment names, waits until its
 * first turn is over, and leaves a GL context that shares its textures current on the calling
 * thread, without a surface: that thread is the one for texture handles.
 *
 * Takes over SIGINT for the whole process, once: the first one stops the render thread (DeInit is
 * still to be called, on this thread), the second has the default effect. An application that goes
 * on after DeInit sets its own handler again. A start-up that cannot succeed (no compositor, no
 * xdg_shell, no EGL config, ...) ends the process with a line on the standard error. If the render
 * thread ends before Init is over, Init returns all the same with a line on the standard error:
 * nothing may then be called but DeInit.
 *
 * May be called again after DeInit, on an empty object list.
 */
void Init(void);

/*
 * Takes the shared context back, stops the render thread, waits for it and destroys g_mutex. Call
 * it on the thread that called Init, which must not have made another context current in place of
 * the shared one. Objects that are still on the list are not freed; end a playback before.
 *
 * Returns within three seconds, whatever the compositor does: if the compositor withholds frames,
 * DeInit waits up to two seconds, then cuts the connection.
 */
void DeInit(void);

/*
 * ---- A compositor that is lost: the application --------------------------------------------
 *
 * When the compositor goes away or falls silent, the library goes on without a word: objects live
 * on, and nothing is shown. An application that is to notice looks for two signs about ten times a
 * second, on any thread, after Init has returned and before DeInit is called:
 *
 *     bool lost = wl_display_get_error(p_gwindow->display->display) != 0;
 *     uint32_t turns = __atomic_load_n(&p_gwindow->frames, __ATOMIC_ACQUIRE);
 *
 * 1. The error (declared in <wayland-client.h>; link with wayland-client) is set within a turn, and
 *    stays, once the compositor was killed, has hung up or has sent a protocol error. The call
 *    takes a lock inside libwayland, but never waits for the compositor. Make no other call on this
 *    connection: it is the render thread's.
 * 2. The turns stand still while the compositor is stopped or withholds frames, since the render
 *    thread then waits in its swap. A turn takes 20 ms and the time to draw; call the compositor
 *    silent when there was none for three seconds. They also stand still while g_mutex is held, and
 *    a compositor may withhold frames on purpose, of a display that is off: whether that is a fault
 *    is for the application to say. While nothing is drawn nothing is swapped, and the turns go on.
 *
 * What to do then: end the playback, if there is one, and call DeInit. Do not wait for objects to
 * go, and do not take g_mutex if the turns stand still: the render thread may hold it.
 *
 * A compositor that accepts the connection and then says nothing keeps Init waiting, at no cost,
 * for as long as it is silent. SIGINT and SIGTERM have the effect that they had before Init:
 * install a handler that only sets a flag after Init has returned, or nothing ends the wait.
 *
 * examples/watch.c does all of this.
 */

/* ---- Steps of the render thread -------------------------------------------------------------- */

/* The body of the render thread. */
void *main_thread(void *unused);

/*
 * One frame: generates and draws every object (backgrounds, then other images, then, if there was
 * no background, videos), swaps if one of them was drawn, writes the capture file if the marker
 * file exists, and frees the objects whose time is over. data is the window; the others are
 * unused.
 */
void redraw(void *data, struct wl_callback *callback, uint32_t time);

/* Handler of SIGINT: sets running to 0. */
void signal_int(int signum);

/* Draws one RenderObj with the textures that its generator left bound. data is the window. */
void Render3DFrame(void *data, RenderObj *renderobj);

/* Compiles one shader; a compile error ends the process. */
GLuint create_shader(struct window *window, const char *source, GLenum shader_type);

/* Builds the three programs into the window and sets the GL state that stays for the whole run. */
void init_gl(struct window *window);

/* Opens EGL on display->display: config, context, extension entry points. Ends the process on
 * failure. */
void init_egl(struct display *display, struct window *window);

/* Creates the full-screen surface and makes the render context current on it. Ends the process on
 * failure. */
void create_surface(struct window *window);

/* Makes the window's wl_surface an xdg_surface. */
void create_xdg_surface(struct window *window, struct display *display);

/* The way back: the surface with its roles, then EGL. */
void destroy_surface(struct window *window);
void fini_egl(struct display *display);

/* Fetches the EGL extension entry points of <animation/animation.h>; a missing one is reported. */
void GetProcAddress(void);

/* Makes a context of the render context's share group current on the calling thread. */
void share_context(void);

/* Listeners; their data is the display. */
void registry_handle_global(void *data, struct wl_registry *registry, uint32_t name,
    const char *interface, uint32_t version);
void registry_handle_global_remove(void *data, struct wl_registry *registry, uint32_t name);
void xdg_shell_ping(void *data, struct xdg_shell *shell, uint32_t serial);
extern const struct wl_registry_listener registry_listener;
extern const struct xdg_shell_listener xdg_shell_listener;

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
