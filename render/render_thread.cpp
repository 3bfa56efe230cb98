#include <render/render.h>

#include <chrono>
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
#include <render/render_state.h>
#include <render/shared_context.h>

volatile int running;
pthread_t pid;
struct window *p_gwindow;

namespace
{

constexpr double kVersion = PRINTED_VERSION; /* from the project's version in meson.build */
constexpr int kBufferSize = 32;
constexpr useconds_t kTurnSleep = 20000;    /* microseconds */
constexpr useconds_t kStartInterval = 1000; /* between two looks of Init */

/* So long DeInit waits for a compositor that withholds frames. */
constexpr std::chrono::seconds kJoinLimit(2);
constexpr useconds_t kJoinInterval = 5000; /* microseconds */

enum RunState { kStopped = 0, kFirstTurn = 1, kRunning = 2 };

/* The render thread's records. They outlive it, so that p_gwindow never points to nothing. */
struct display thread_display;
struct window thread_window;

/* Held also while the shared context is made or taken back: EGL must not go down meanwhile. */
std::mutex life_lock;
RenderState life = RenderState::kNone;

/* The one place where life changes, with life_lock held. False, and nothing moves, if this state
 * knows no such event. */
bool advance(RenderEvent event)
{
	for (const RenderTransition &row : kRenderTransitions) {
		if (row.from != life || row.event != event)
			continue;
		life = row.to;
		if (life == RenderState::kEnded)
			wl_display_disconnect(thread_display.display);
		return true;
	}
	return false;
}

void tell(RenderEvent event)
{
	std::lock_guard hold(life_lock);
	advance(event);
}

RenderState life_now()
{
	std::lock_guard hold(life_lock);
	return life;
}

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
	if (load_running() != kFirstTurn)
		return;
	int expected = kFirstTurn;
	if (__atomic_compare_exchange_n(&running, &expected, static_cast<int>(kRunning), false,
	        __ATOMIC_ACQ_REL, __ATOMIC_ACQUIRE))
		tell(RenderEvent::kFirstTurnEnds);
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

void connect(struct display *display)
{
	display->display = wl_display_connect(nullptr);
	REQUIRE_AS(display->display, "display.display");
}

/* What is left is the connection itself, which goes as the thread's life ends. */
void destroy_globals(struct display *display)
{
	if (display->shell)
		xdg_shell_destroy(display->shell);
	if (display->compositor)
		wl_compositor_destroy(display->compositor);
	wl_registry_destroy(display->registry);
	wl_display_flush(display->display);
}

void start_render_thread()
{
	std::lock_guard hold(life_lock);
	if (pthread_create(&pid, nullptr, main_thread, nullptr) == 0)
		advance(RenderEvent::kThreadStarts);
}

/* However long the compositor is silent. */
void await_first_turn()
{
	while (life_now() == RenderState::kStarting)
		usleep(kStartInterval);
}

/* False if there is no render thread, or if it is already on its way down. */
bool share_context_with_caller()
{
	std::lock_guard hold(life_lock);
	if (life != RenderState::kTurning)
		return false;
	share_context();
	return advance(RenderEvent::kContextShared);
}

bool context_is_shared()
{
	return life == RenderState::kShared || life == RenderState::kStoppingShared ||
	       life == RenderState::kEndedShared;
}

void take_context_back()
{
	std::lock_guard hold(life_lock);
	if (context_is_shared() && release_shared_context())
		advance(RenderEvent::kContextReturned);
}

/* A compositor that withholds frames keeps the render thread in its swap: that ends with the
 * connection. */
void cut_connection()
{
	std::lock_guard hold(life_lock);
	if (life != RenderState::kEnded)
		shutdown(wl_display_get_fd(thread_display.display), SHUT_RDWR);
}

void join_render_thread()
{
	using Clock = std::chrono::steady_clock;
	const Clock::time_point limit = Clock::now() + kJoinLimit;
	while (pthread_tryjoin_np(pid, nullptr) != 0) {
		if (Clock::now() >= limit) {
			cut_connection();
			pthread_join(pid, nullptr);
			break;
		}
		usleep(kJoinInterval);
	}
	tell(RenderEvent::kThreadJoined);
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

	tell(RenderEvent::kStopBegins);
	destroy_surface(window);
	fini_egl(display);
	destroy_globals(display);
	tell(RenderEvent::kThreadEnds);
	return nullptr;
}

void Init(void)
{
	printf("animation version:%f\n", kVersion);

	create_list_mutex();
	start_render_thread();
	await_first_turn();
	if (!share_context_with_caller())
		fprintf(stderr, "animation: the render thread ended before Init was over\n");
}

void DeInit(void)
{
	take_context_back();
	store_running(kStopped);
	if (life_now() != RenderState::kNone)
		join_render_thread();
	pthread_mutex_destroy(&g_mutex);
}
