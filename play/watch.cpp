#include <play/watch.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <thread>

#include <sys/socket.h>
#include <unistd.h>

#include <wayland-client.h>

#include <probe/probe.h>
#include <render/render.h>

namespace
{

/* Time is counted in looks, so that a process that was stopped itself goes on unharmed. */
constexpr int kLooksPerSecond = 50;
constexpr int kLongestStill = 3 * kLooksPerSecond;    /* without a frame */
constexpr int kLongestFarewell = 1 * kLooksPerSecond; /* the same, once the end is asked for */

/* From what was seen to the end of the process: with the time before it 3 s for a signal, and 5 s
 * for a compositor that stands still. */
constexpr int kPatienceAfterSignal = 22 * kLooksPerSecond / 10;
constexpr int kPatienceAfterFault = 15 * kLooksPerSecond / 10;

} // namespace

struct Watch {
	sigset_t signals = {};
	std::mutex lock; /* guards the rest */
	bool is_finished = false;
	bool has_compositor = false;
	bool is_over = false;
	std::string fault;
	std::uint32_t turns = 0;
	int still = 0;    /* looks without a new turn of the render thread */
	int patience = 0; /* looks left, once the scene is over */
	std::thread thread;
};

namespace
{

std::string lost_connection(wl_display *display)
{
	const int error = wl_display_get_error(display);
	if (error == 0)
		return "";
	if (error != EPROTO)
		return std::string("the connection to the compositor is lost: ") + std::strerror(error);
	const wl_interface *interface = nullptr;
	std::uint32_t id = 0;
	const std::uint32_t code = wl_display_get_protocol_error(display, &interface, &id);
	return "the compositor has sent error " + std::to_string(code) + " of " +
	       (interface ? interface->name : "an object that has gone");
}

/* True while the render thread is about a frame, which may have many files to read. */
bool is_frame_under_way()
{
	if (pthread_mutex_trylock(&g_mutex) != 0)
		return true;
	pthread_mutex_unlock(&g_mutex);
	return false;
}

/* Whoever looks into the program may pause it, for as long as it pleases. */
bool may_be_paused()
{
	static const bool is_probed = std::getenv("ANIMATION_PROBE_FD") != nullptr;
	return is_probed;
}

bool stands_still(Watch &watch)
{
	if (may_be_paused() && !watch.is_over)
		return false;
	const std::uint32_t turns = __atomic_load_n(&p_gwindow->frames, __ATOMIC_ACQUIRE);
	if (turns != watch.turns || is_frame_under_way() || probe_holds_frames())
		watch.still = 0;
	else
		++watch.still;
	watch.turns = turns;
	return watch.still >= (watch.is_over ? kLongestFarewell : kLongestStill);
}

void look_at_compositor(Watch &watch)
{
	wl_display *display = p_gwindow->display->display;
	watch.fault = lost_connection(display);
	if (watch.fault.empty() && stands_still(watch))
		watch.fault = "the compositor takes no frames any more";
	if (watch.fault.empty())
		return;
	watch.patience =
	    watch.is_over ? std::min(watch.patience, kPatienceAfterFault) : kPatienceAfterFault;
	watch.is_over = true;
	shutdown(wl_display_get_fd(display), SHUT_RDWR); /* ends the render thread's wait */
}

/* Without destructors and locks: somebody holds them. */
[[noreturn]] void leave(const Watch &watch)
{
	const std::string &why = watch.fault.empty() ? "the scene could not be ended" : watch.fault;
	dprintf(STDERR_FILENO, "animation-play: %s\n", why.c_str());
	_exit(EXIT_FAILURE);
}

/* Waits for a signal until the next look. */
bool take_signal(const Watch &watch)
{
	const timespec interval = {0, 1000000000L / kLooksPerSecond};
	return sigtimedwait(&watch.signals, nullptr, &interval) > 0;
}

void look_around(Watch *watch)
{
	for (;;) {
		const bool is_signalled = take_signal(*watch);
		const std::lock_guard hold(watch->lock);
		if (watch->is_finished)
			return;
		if (is_signalled && !watch->is_over) {
			watch->is_over = true;
			watch->patience = kPatienceAfterSignal;
		}
		if (watch->has_compositor && watch->fault.empty())
			look_at_compositor(*watch);
		if (watch->is_over && watch->patience-- <= 0)
			leave(*watch);
	}
}

} // namespace

void WatchEnder::operator()(Watch *watch) const
{
	{
		const std::lock_guard hold(watch->lock);
		watch->is_finished = true;
	}
	if (watch->thread.joinable())
		watch->thread.join();
	delete watch;
}

WatchPtr start_watch()
{
	WatchPtr watch(new Watch);
	sigemptyset(&watch->signals);
	sigaddset(&watch->signals, SIGINT);
	sigaddset(&watch->signals, SIGTERM);
	pthread_sigmask(SIG_BLOCK, &watch->signals, nullptr);
	watch->thread = std::thread(look_around, watch.get());
	return watch;
}

void watch_compositor(Watch &watch)
{
	const std::lock_guard hold(watch.lock);
	watch.has_compositor = true;
}

void leave_compositor(Watch &watch)
{
	const std::lock_guard hold(watch.lock);
	watch.has_compositor = false;
}

bool is_over(Watch &watch)
{
	const std::lock_guard hold(watch.lock);
	return watch.is_over;
}

std::string fault_of(Watch &watch)
{
	const std::lock_guard hold(watch.lock);
	return watch.fault;
}
