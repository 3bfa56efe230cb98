#include <render/render.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <poll.h>
#include <unistd.h>

#include <wayland-client.h>

#include <animation/list_lock.h>
#include <animation/status.h>
#include <protocol/xdg-shell-client-protocol.h>
#include <render/capture.h>
#include <render/fatal.h>

volatile int running;
volatile int64_t gpuRender_framecnt;
volatile int64_t framecnt;
pthread_t pid;
struct window *p_gwindow;
pthread_mutex_t g_mutex;

namespace
{

constexpr double kVersion = 2.851;
constexpr int kViewportWidth = 1152;
constexpr int kViewportHeight = 576;
constexpr int kBufferSize = 32;
constexpr useconds_t kTurnSleep = 20000; /* microseconds */

enum RunState { kStopped = 0, kFirstTurn = 1, kRunning = 2 };

/* The render thread has returned or never began: nothing will move running to kRunning. */
std::atomic<bool> thread_has_ended;
bool thread_was_started;

/* The render thread's records. They outlive it, so that p_gwindow never points to nothing. */
struct display thread_display;
struct window thread_window;

int load_running()
{
	return __atomic_load_n(&running, __ATOMIC_ACQUIRE);
}

void store_running(RunState state)
{
	__atomic_store_n(&running, static_cast<int>(state), __ATOMIC_RELEASE);
}

/* Moves from the first turn to running, unless somebody has asked to stop in the meantime. */
void finish_first_turn()
{
	int expected = kFirstTurn;
	__atomic_compare_exchange_n(
	    &running, &expected, static_cast<int>(kRunning), false, __ATOMIC_ACQ_REL, __ATOMIC_ACQUIRE);
}

void configure(struct window *window)
{
	window->geometry = {kViewportWidth, kViewportHeight};
	window->window_size = window->geometry;
	window->buffer_size = kBufferSize;
	window->frame_sync = 1;
}

/* Globals may come in several batches; all that exist now have come when this returns. */
void bind_globals(struct display *display)
{
	display->registry = wl_display_get_registry(display->display);
	wl_registry_add_listener(display->registry, &registry_listener, display);
	wl_display_roundtrip(display->display);
}

void catch_sigint()
{
	struct sigaction action = {};
	action.sa_handler = signal_int;
	sigemptyset(&action.sa_mask);
	action.sa_flags = static_cast<int>(SA_RESETHAND);
	sigaction(SIGINT, &action, nullptr);
}

/* Takes what the socket holds without waiting: while nothing is swapped nobody else reads it, and
 * a ping would stay unanswered. */
void read_events(wl_display *display)
{
	if (wl_display_prepare_read(display) != 0)
		return; /* events are queued already */
	pollfd socket = {wl_display_get_fd(display), POLLIN, 0};
	if (poll(&socket, 1, 0) > 0)
		wl_display_read_events(display);
	else
		wl_display_cancel_read(display);
}

void turn(struct display *display, struct window *window)
{
	read_events(display->display);
	int dispatched = wl_display_dispatch_pending(display->display);
	wl_display_flush(display->display);
	if (dispatched >= 0)
		redraw(window, nullptr, 0);
	usleep(kTurnSleep);
	finish_first_turn();
}

void disconnect(struct display *display)
{
	if (display->shell)
		xdg_shell_destroy(display->shell);
	if (display->compositor)
		wl_compositor_destroy(display->compositor);
	wl_registry_destroy(display->registry);
	wl_display_flush(display->display);
	wl_display_disconnect(display->display);
}

bool is_video(const AnimationObj &obj)
{
	return obj.animationtype == ANI_VIDEO_GST || obj.animationtype == ANI_VIDEO_RAW;
}

bool is_background(const AnimationObj &obj)
{
	return obj.animationtype == ANI_BACKGROUND;
}

void clear()
{
	glClearColor(0.0f, 0.0f, 0.0f, 1.0f);
	glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
}

bool list_has_only_videos()
{
	for (const AnimationObj *obj = animationItemHead; obj; obj = obj->next)
		if (!is_video(*obj))
			return false;
	return true;
}

/* Generates one object; true if it is to be drawn. */
bool generate(AnimationObj &obj, struct window *window)
{
	GenAnimationFrame(obj.objId, window);
	return obj.renderobj->repaint;
}

/* Generates and draws the whole list: backgrounds, other images, then videos unless a background
 * covers them. True if anything was drawn. */
bool draw_list(struct window *window)
{
	ListLock lock;
	glViewport(0, 0, 2 * window->geometry.width, window->geometry.height);
	bool bvideoonly = list_has_only_videos();
	if (!bvideoonly)
		clear();

	bool brepaint = false;
	bool background_seen = false;
	auto draw = [&](AnimationObj &obj) {
		Render3DFrame(window, obj.renderobj);
		brepaint = true;
	};
	for (AnimationObj *obj = animationItemHead; obj; obj = obj->next) {
		if (!is_background(*obj))
			continue;
		background_seen = true;
		if (generate(*obj, window))
			draw(*obj);
	}
	for (AnimationObj *obj = animationItemHead; obj; obj = obj->next) {
		if (!is_background(*obj) && !is_video(*obj) && generate(*obj, window))
			draw(*obj);
	}
	if (background_seen)
		return brepaint;
	for (AnimationObj *obj = animationItemHead; obj; obj = obj->next) {
		if (!is_video(*obj) || !generate(*obj, window))
			continue;
		if (bvideoonly) {
			clear();
			bvideoonly = false;
		}
		draw(*obj);
	}
	return brepaint;
}

/* The lock is held for the walk, which would otherwise race with an append. */
void remove_finished_objects()
{
	ListLock lock;
	for (AnimationObj *obj = animationItemHead; obj;) {
		if (!has_status(*obj, ST_ONDESTROY)) {
			obj = obj->next;
			continue;
		}
		RemoveAnimationObjReal(obj->objId);
		obj = animationItemHead;
	}
}

} // namespace

void redraw(void *data, wl_callback *, uint32_t)
{
	auto *window = static_cast<struct window *>(data);
	if (draw_list(window)) {
		/* Only this thread writes the counters; others read them without a lock. */
		__atomic_store_n(&gpuRender_framecnt, gpuRender_framecnt + 1, __ATOMIC_RELAXED);
		framecnt = gpuRender_framecnt;
		eglSwapBuffers(window->display->egl.dpy, window->egl_surface);
		capture_frame(*window);
	}
	remove_finished_objects();
	__atomic_store_n(&window->frames, window->frames + 1, __ATOMIC_RELAXED);
}

void signal_int(int)
{
	store_running(kStopped);
}

void *main_thread(void *)
{
	struct display *display = &thread_display;
	struct window *window = &thread_window;
	*display = {};
	*window = {};
	p_gwindow = window;
	window->display = display;
	display->window = window;
	configure(window);

	display->display = wl_display_connect(nullptr);
	REQUIRE_AS(display->display, "display.display");
	bind_globals(display);
	init_egl(display, window);
	create_surface(window);
	init_gl(window);
	catch_sigint();

	store_running(kFirstTurn);
	while (load_running() != kStopped)
		turn(display, window);

	destroy_surface(window);
	fini_egl(display);
	disconnect(display);
	thread_has_ended = true;
	return nullptr;
}

void Init(void)
{
	printf("animation version:%f\n", kVersion);

	pthread_mutexattr_t attr;
	pthread_mutexattr_init(&attr);
	pthread_mutexattr_settype(&attr, PTHREAD_MUTEX_RECURSIVE);
	pthread_mutex_init(&g_mutex, &attr);
	pthread_mutexattr_destroy(&attr);

	thread_has_ended = false;
	thread_was_started = pthread_create(&pid, nullptr, main_thread, nullptr) == 0;
	if (!thread_was_started)
		thread_has_ended = true;
	while (load_running() != kRunning) {
		if (thread_has_ended) {
			fprintf(stderr, "animation: the render thread ended before its first turn was over\n");
			return;
		}
	}
	share_context();
}

void DeInit(void)
{
	store_running(kStopped);
	if (thread_was_started)
		pthread_join(pid, nullptr);
	thread_was_started = false;
	pthread_mutex_destroy(&g_mutex);
}
