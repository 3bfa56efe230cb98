#include <render/render.h>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <mutex>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <wayland-client.h>

#include <base/lock.h>
#include <protocol/xdg-shell-client-protocol.h>
#include <render/fatal.h>
#include <render/shared_context.h>

volatile int running;
pthread_t pid;
struct window *p_gwindow;

namespace
{

constexpr double kVersion = 2.851;
constexpr int kBufferSize = 32;
constexpr useconds_t kTurnSleep = 20000; /* microseconds */

/* DeInit waits for a stalled compositor so many times for so long: two seconds. */
constexpr int kJoinAttempts = 400;
constexpr useconds_t kJoinInterval = 5000; /* microseconds */

enum RunState { kStopped = 0, kFirstTurn = 1, kRunning = 2 };

/* The render thread has returned or never began: nothing will move running to kRunning. */
std::atomic<bool> thread_has_ended;
bool thread_was_started;

/* The render thread's records. They outlive it, so that p_gwindow never points to nothing. */
struct display thread_display;
struct window thread_window;

/*
 * The end of the connection. The shared context is current on the thread of Init, and EGL keeps
 * what it has on the connection until that thread lets go of it: so the connection may only be
 * closed after that, by DeInit where a SIGINT has stopped the render thread before.
 */
std::mutex connection_lock;
wl_display *connection; /* NULL once closed */
bool stop_has_begun;    /* EGL is on its way down: no context may be shared any more */
bool context_is_shared;

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
	window->geometry = {ANIMATION_VIEWPORT_WIDTH, ANIMATION_VIEWPORT_HEIGHT};
	window->window_size = window->geometry;
	window->buffer_size = kBufferSize;
	window->frame_sync = 1;
}

/* Globals may come in several batches; all that exist now have come when this returns. */
void bind_globals(struct display *display)
{
	display->registry = wl_display_get_registry(display->display);
	REQUIRE(display->registry);
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

/* Closes the connection, unless the shared context still hangs on it. */
void close_connection()
{
	std::lock_guard hold(connection_lock);
	if (context_is_shared || !connection)
		return;
	wl_display_disconnect(connection);
	connection = nullptr;
}

void disconnect(struct display *display)
{
	if (display->shell)
		xdg_shell_destroy(display->shell);
	if (display->compositor)
		wl_compositor_destroy(display->compositor);
	wl_registry_destroy(display->registry);
	wl_display_flush(display->display);
	close_connection();
}

void connect(struct display *display)
{
	display->display = wl_display_connect(nullptr);
	REQUIRE_AS(display->display, "display.display");
	std::lock_guard hold(connection_lock);
	connection = display->display;
}

void begin_stop()
{
	std::lock_guard hold(connection_lock);
	stop_has_begun = true;
}

/* False if the render thread is already on its way down. */
bool share_context_with_caller()
{
	std::lock_guard hold(connection_lock);
	if (stop_has_begun)
		return false;
	share_context();
	context_is_shared = true;
	return true;
}

void take_context_back()
{
	std::lock_guard hold(connection_lock);
	if (context_is_shared && release_shared_context())
		context_is_shared = false;
}

/* A compositor that withholds frames keeps the render thread in its swap: cutting the connection
 * ends that wait. The time is counted in sleeps, since the clock may be set meanwhile. */
void join_render_thread()
{
	for (int attempt = 0; attempt < kJoinAttempts; attempt++) {
		if (pthread_tryjoin_np(pid, nullptr) == 0)
			return;
		usleep(kJoinInterval);
	}
	{
		std::lock_guard hold(connection_lock);
		if (connection)
			shutdown(wl_display_get_fd(connection), SHUT_RDWR);
	}
	pthread_join(pid, nullptr);
}

} // namespace

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

	connect(display);
	bind_globals(display);
	init_egl(display, window);
	create_surface(window);
	init_gl(window);
	catch_sigint();

	store_running(kFirstTurn);
	while (load_running() != kStopped)
		turn(display, window);

	begin_stop();
	destroy_surface(window);
	fini_egl(display);
	disconnect(display);
	thread_has_ended = true;
	return nullptr;
}

void Init(void)
{
	printf("animation version:%f\n", kVersion);

	create_list_mutex();
	thread_has_ended = false;
	stop_has_begun = false;
	thread_was_started = pthread_create(&pid, nullptr, main_thread, nullptr) == 0;
	if (!thread_was_started)
		thread_has_ended = true;
	while (load_running() != kRunning && !thread_has_ended) {
	}
	if (thread_has_ended || !share_context_with_caller())
		fprintf(stderr, "animation: the render thread ended before Init was over\n");
}

void DeInit(void)
{
	take_context_back();
	store_running(kStopped);
	if (thread_was_started)
		join_render_thread();
	thread_was_started = false;
	close_connection(); /* is closed already, unless a SIGINT came first */
	pthread_mutex_destroy(&g_mutex);
}
