/*
 * The render thread: its life cycle, its records and its steps.
 *
 * An application calls Init and DeInit, and takes g_mutex where <animation/animation.h> asks for
 * it.
 *
 * Everything else is for tools that bring their own GL context and drive the frames themselves,
 * such as animation-play --offline and the tests. Such a tool fills a display and a window, makes
 * its context current, calls GetProcAddress and init_gl, and then calls redraw once a frame.
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

/* The connection to the compositor. */
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

/* The surface and the shader programs. The render thread owns this record and the display. It sets
 * both to zero when it starts. Do not read them after it has ended. */
struct window {
	struct display *display;
	struct geometry geometry;    /* one viewport, 1152 x 576; the surface is twice as wide */
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
	} gl; /* the general program, for all image objects */
	struct {
		GLuint program;
		GLuint mvp_uniform;
		GLuint pos;
		GLuint tex0;
		GLuint sampler0;
	} gl_video1; /* the program for an external image */
	struct {
		GLuint program;
		GLuint mvp_uniform;
		GLuint pos;
		GLuint tex0;
		GLuint tex1;
		GLuint sampler0;
		GLuint sampler1;
	} gl_video2;     /* the program for two NV12 planes */
	uint32_t frames; /* calls of redraw, modulo 2^32; other threads read it by an atomic load */
	struct wl_egl_window *native;
	struct wl_surface *surface;
	struct xdg_surface *xdg_surface;
	EGLSurface egl_surface;
	struct wl_callback *callback; /* always NULL: the render thread uses no frame callback */
	int buffer_size;              /* the EGL_BUFFER_SIZE to look for */
	int frame_sync;               /* 0: swap interval 0; other values: EGL's default */
};

/* ---- Globals ------------------------------------------------------------------------------- */

/* State of the render thread. 0: not started, or told to stop. 1: in its first turn. 2: running. */
extern volatile int running;

/* Number of swapped frames. The rate-limited reports use it as their clock. Only the render thread
 * writes it. */
extern volatile int64_t gpuRender_framecnt;

/* Copy of gpuRender_framecnt. It is the number in a capture file's name. */
extern volatile int64_t framecnt;

/* The render thread, valid between Init and DeInit. */
extern pthread_t pid;

/* The render thread's window. */
extern struct window *p_gwindow;

/* The library's only public lock. It is recursive. Init makes it, DeInit destroys it. It guards the
 * object list, the objects and the player's registration. Frames wait for it: hold it only
 * briefly. */
extern pthread_mutex_t g_mutex;

/* ---- Life cycle: the application ------------------------------------------------------------ */

/*
 * Starts the render thread on the Wayland display that the environment names, and waits until its
 * first turn is over. It then makes a second GL context current on the calling thread, without a
 * surface. This context shares its textures with the render thread, so this is the thread for
 * texture handles.
 *
 *     Init();
 *     unsigned int id = CreateAnimationObj(ANI_BACKGROUND, &map);
 *     while (running) // until Ctrl-C
 *         usleep(100000);
 *     DeInit();
 *
 * Init takes over SIGINT for the whole process. The first SIGINT stops the render thread; the
 * application then calls DeInit on this thread. The second SIGINT has the default effect. An
 * application that goes on after DeInit sets its own handler again.
 *
 * If the start fails (no compositor, no xdg_shell, no EGL config, ...), the process ends with a
 * line on the standard error. If the render thread ends before Init is over, Init prints a line on
 * the standard error and returns. Then only DeInit may be called.
 *
 * Init may be called again after DeInit, if the object list is empty.
 */
void Init(void);

/*
 * Releases the second context, stops the render thread, waits for its end and destroys g_mutex.
 *
 * Call it on the thread that called Init. The context that Init made current must still be current
 * there. End a playback first. DeInit does not free objects that are still on the list.
 *
 * DeInit returns within three seconds, whatever the compositor does. If the compositor withholds
 * frames, it waits up to two seconds, then cuts the connection.
 */
void DeInit(void);

/*
 * ---- A compositor that is lost: the application --------------------------------------------
 *
 * If the compositor goes away or falls silent, the library prints nothing. The objects stay on the
 * list, and nothing is shown. Two signs tell an application. It looks for them about ten times a
 * second, on any thread, after Init has returned and before it calls DeInit:
 *
 *     bool lost = wl_display_get_error(p_gwindow->display->display) != 0;
 *     uint32_t turns = __atomic_load_n(&p_gwindow->frames, __ATOMIC_ACQUIRE);
 *
 * 1. The error is set within a turn after the compositor was killed, has hung up or has sent a
 *    protocol error. It stays set. (<wayland-client.h> declares the function; link with
 *    wayland-client.) The call takes a lock inside libwayland, but never waits for the compositor.
 *    Make no other call on this connection: it belongs to the render thread.
 * 2. The turns stand still while the compositor is stopped or withholds frames, because the render
 *    thread then waits in its swap. A turn takes 20 ms and the time to draw. Call the compositor
 *    silent after three seconds without a turn. The turns also stand still while somebody holds
 *    g_mutex. A compositor may withhold frames on purpose, for instance of a display that is off.
 *    The application must decide whether that is a fault. While nothing is drawn, nothing is
 *    swapped, and the turns go on.
 *
 * Then end the playback, if there is one, and call DeInit. Do not wait for objects to go. Do not
 * take g_mutex if the turns stand still, because the render thread may hold it.
 *
 * If a compositor accepts the connection and then says nothing, Init waits for as long as the
 * compositor is silent, and uses almost no processor time. During this wait SIGINT and SIGTERM have
 * the effect that they had before Init. A handler that only sets a flag would not end the wait, so
 * install it only after Init has returned.
 *
 * examples/watch.c does all of this.
 */

/* ---- Steps of the render thread -------------------------------------------------------------- */

/* The body of the render thread. */
void *main_thread(void *unused);

/*
 * Runs one frame. It generates and draws every object: first the backgrounds, then the other image
 * objects, then the videos if there was no background. If an object was drawn, it swaps, and writes
 * a capture file if the marker file exists. At the end it frees the objects that are to go. data is
 * the window. The other arguments are not used.
 */
void redraw(void *data, struct wl_callback *callback, uint32_t time);

/* The handler of SIGINT. Sets running to 0. */
void signal_int(int signum);

/* Draws one RenderObj with the textures that its generator has bound. data is the window. */
void Render3DFrame(void *data, RenderObj *renderobj);

/* Compiles one shader. A compile error ends the process. */
GLuint create_shader(struct window *window, const char *source, GLenum shader_type);

/* Builds the three shader programs and sets the GL state that never changes afterwards. */
void init_gl(struct window *window);

/* Opens EGL on display->display: the config, the context and the extension entry points. A failure
 * ends the process. */
void init_egl(struct display *display, struct window *window);

/* Creates the full-screen surface and makes the render context current on it. A failure ends the
 * process. */
void create_surface(struct window *window);

/* Makes an xdg_surface of the window's wl_surface. */
void create_xdg_surface(struct window *window, struct display *display);

/* destroy_surface undoes create_surface and create_xdg_surface. fini_egl then undoes init_egl. */
void destroy_surface(struct window *window);
void fini_egl(struct display *display);

/* Fetches the EGL extension entry points of <animation/animation.h>. Reports a missing one. */
void GetProcAddress(void);

/* Makes a second context current on the calling thread. It shares its textures with the render
 * context. */
void share_context(void);

/* Wayland listeners. Their data is the display. */
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
