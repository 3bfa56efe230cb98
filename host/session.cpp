#include <host/session.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <optional>

#include <sys/signalfd.h>
#include <sys/wait.h>
#include <unistd.h>

#include <wayland-server-core.h>

#include <host/child.h>
#include <host/child_environment.h>
#include <host/compositor.h>
#include <host/session_signals.h>
#include <host/studio_view.h>
#include <probe/report.h>

using namespace std::chrono_literals;

namespace
{

constexpr int kWindowInterval = 20; /* milliseconds in which a window reacts */
constexpr auto kReaction = 2s;      /* in which the loop comes to a signal */

enum {
	exit_failure = 1,
	exit_not_executable = 126,
	exit_not_found = 127,
};

struct SourceRemover {
	void operator()(wl_event_source *source) const
	{
		wl_event_source_remove(source);
	}
};
using SourcePtr = std::unique_ptr<wl_event_source, SourceRemover>;

struct Session {
	const SessionOptions &options;
	int signal_fd = -1; /* open until the process ends */
	std::optional<SignalsEndUs> signals_end_us;
	SinksPtr sinks;
	CompositorPtr compositor;
	SourcePtr window_timer; /* the sources go before the loop they are in */
	SourcePtr signals;
	SourcePtr child_report;
	ReportPtr report;
	std::vector<ProbeListener> listeners;
	ProbeLinkPtr probe;
	StudioViewPtr view;
	std::uint64_t pictures = 0;
	Child child;
	int wait_status = SIGKILL; /* unless its guard tells another one */
	bool ending = false;       /* the program has ended or was told to */
	bool finished = false;     /* because all is done, which is no failure of it */
	bool leaving = false;      /* nothing is waited for once the program has gone */
	bool is_alone = false;     /* it has */
	bool is_paused = false;    /* by a key in the window */
};

void complain(const std::string &message)
{
	fprintf(stderr, "animation-host: %s\n", message.c_str());
}

/* ---- The end ---- */

void end_child(Session &session)
{
	session.ending = true;
	kill(session.child.guard, SIGTERM);
}

void finish(Session &session)
{
	if (session.ending)
		return;
	session.finished = true;
	session.leaving = true;
	end_child(session);
}

/* The studio stays, to tell how the program ended. */
void part_with_child(Session &session)
{
	session.is_alone = true;
	session.child_report.reset();
	if (session.probe)
		drain_probe_link(*session.probe);
	if (session.view)
		tell_end(*session.view, session.wait_status);
	if (session.leaving || !session.view)
		stop_compositor(*session.compositor);
}

/* Pictures may still come from what the program started. */
int handle_report(int, std::uint32_t, void *data)
{
	auto &session = *static_cast<Session *>(data);
	session.ending = true;
	if (!hear_of_child(session.child, &session.wait_status))
		part_with_child(session);
	return 0;
}

int handle_signal(int fd, std::uint32_t, void *data)
{
	auto &session = *static_cast<Session *>(data);
	signalfd_siginfo info;
	if (read(fd, &info, sizeof(info)) != sizeof(info))
		return 0;
	session.leaving = true;
	if (session.is_alone)
		stop_compositor(*session.compositor);
	else if (info.ssi_signo == SIGTERM || info.ssi_signo == SIGHUP)
		end_child(session);
	/* A terminal sends Ctrl-C to the program as well, and the second one would kill it. */
	else if (info.ssi_code != SI_KERNEL)
		kill(session.child.guard, SIGINT);
	return 0;
}

/* ---- Surface buffers ---- */

void take_picture(Session &session, const Picture &picture)
{
	if (session.ending)
		return;
	session.pictures++;
	if (session.report)
		report_commit(*session.report);
	if (session.view)
		take_picture(*session.view, picture);
	if (!show_picture(*session.sinks, picture) ||
	    session.pictures == session.options.pictures.frames)
		finish(session);
}

/* Of a key in the window. The probe does it, as for the studio. */
void obey_window(Session &session, WindowOrder order)
{
	if (!session.probe)
		return;
	const bool one = order == WindowOrder::one_frame;
	const bool pauses = one || !session.is_paused;
	if (pauses != session.is_paused)
		send_command(
		    *session.probe, pauses ? R"({"command":"pause"})" : R"({"command":"continue"})");
	if (one)
		send_command(*session.probe, R"({"command":"step"})");
	session.is_paused = pauses;
}

int service_window(void *data)
{
	auto &session = *static_cast<Session *>(data);
	for (WindowOrder order; take_window_order(*session.sinks, &order);)
		obey_window(session, order);
	if (!service_sinks(*session.sinks))
		finish(session);
	wl_event_source_timer_update(session.window_timer.get(), kWindowInterval);
	return 0;
}

/* ---- The probe ---- */

bool begin_report(Session &session, std::string *error)
{
	if (session.options.report.empty())
		return true;
	session.report = open_report(session.options.report, "host", session.options.program[0], error);
	session.listeners.push_back(
	    {WatchLevel::times, [&session](ProbeLink &, const std::string &line) {
		     report_message(*session.report, line);
	     }});
	return session.report != nullptr;
}

bool open_probe(Session &session, std::string *error)
{
	if (session.listeners.empty() && !session.options.pictures.sinks.window)
		return true;
	session.probe = open_probe_link(
	    compositor_loop(*session.compositor),
	    [&session](ProbeLink &link, const std::string &line) {
		    for (const ProbeListener &listener : session.listeners)
			    listener.on_line(link, line);
	    },
	    error);
	if (!session.probe)
		return false;
	for (const ProbeListener &listener : session.listeners)
		watch(*session.probe, &listener, listener.level);
	return true;
}

bool end_report(Session &session, int status)
{
	std::string error;
	if (!session.report || write_report(*session.report, status, &error))
		return true;
	complain(error);
	return false;
}

bool open_view(Session &session, std::string *error)
{
	const StudioArgument &studio = session.options.studio;
	if (!studio.is_wanted)
		return true;
	session.view = open_studio_view(
	    studio.options, session.options.program[0], compositor_loop(*session.compositor), error);
	session.listeners.push_back({WatchLevel::times,
	    [&session](
	        ProbeLink &link, const std::string &line) { take_line(*session.view, link, line); },
	    true});
	return session.view != nullptr;
}

bool wants_findings(const Session &session)
{
	return std::any_of(session.listeners.begin(), session.listeners.end(),
	    [](const ProbeListener &listener) { return listener.wants_findings; });
}

/* ---- The course of a session ---- */

void title_all(Session &session, const std::string &title)
{
	title_sinks(*session.sinks, title);
	if (session.view)
		set_title(*session.view, title);
}

bool open_parts(Session &session, std::string *error)
{
	session.sinks = open_sinks(session.options.pictures.sinks, kSurfaceWidth, kSurfaceHeight,
	    session.options.program[0], error);
	if (!session.sinks)
		return false;
	CompositorOptions options = {
	    .on_picture = [&session](const Picture &picture) { take_picture(session, picture); },
	    .on_title = [&session](const std::string &title) { title_all(session, title); },
	};
	if (session.options.verbose)
		options.on_request = [](const std::string &text) { fprintf(stderr, "%s\n", text.c_str()); };
	session.compositor = open_compositor(std::move(options), error);
	session.listeners = session.options.listeners;
	return session.compositor && begin_report(session, error) && open_view(session, error) &&
	       open_probe(session, error);
}

bool add_sources(Session &session)
{
	wl_event_loop *loop = compositor_loop(*session.compositor);
	session.window_timer.reset(wl_event_loop_add_timer(loop, service_window, &session));
	session.signals.reset(
	    wl_event_loop_add_fd(loop, session.signal_fd, WL_EVENT_READABLE, handle_signal, &session));
	if (session.options.pictures.sinks.window && session.window_timer)
		wl_event_source_timer_update(session.window_timer.get(), kWindowInterval);
	return session.window_timer && session.signals;
}

int final_status(const Session &session)
{
	const int signal = WIFSIGNALED(session.wait_status) ? WTERMSIG(session.wait_status) : 0;
	const bool crashed = signal != 0 && signal != SIGTERM && signal != SIGKILL;
	if (session.finished && !crashed)
		return 0;
	return exit_status_of(session.wait_status);
}

/* 0, or the exit status after telling why not. */
int start_program(Session &session)
{
	const char *name = session.options.program[0];
	const int probe_fd = session.probe ? program_end(*session.probe) : -1;
	std::vector<int> inherited = session.options.descriptors;
	if (probe_fd >= 0)
		inherited.insert(std::upper_bound(inherited.begin(), inherited.end(), probe_fd), probe_fd);
	if (session.report)
		report_start(*session.report);
	const int reason = start_child(session.options.program,
	    child_environment(compositor_folder(*session.compositor),
	        compositor_socket(*session.compositor), probe_fd, wants_findings(session)),
	    inherited, &session.child);
	if (session.probe)
		close_program_end(*session.probe);
	if (reason != 0) {
		complain(std::string("cannot start ") + name + ": " + strerror(reason));
		return reason == ENOENT ? exit_not_found : exit_not_executable;
	}
	session.child_report.reset(wl_event_loop_add_fd(compositor_loop(*session.compositor),
	    session.child.report, WL_EVENT_READABLE, handle_report, &session));
	if (session.child_report)
		return 0;
	kill(session.child.guard, SIGTERM);
	complain("cannot watch the program");
	return exit_failure;
}

int run_program(Session &session)
{
	if (const int status = start_program(session)) {
		release_child(&session.child);
		return status;
	}
	session.signals_end_us.emplace(session.signal_fd, kReaction);
	run_compositor(*session.compositor);
	session.signals_end_us.emplace(session.signal_fd, 0ms);
	if (session.probe)
		drain_probe_link(*session.probe);
	session.child_report.reset();
	release_child(&session.child);
	const int status = final_status(session);
	std::string report;
	bool complete = finish_sinks(*session.sinks, &report);
	if (!report.empty())
		complain(report);
	complete = end_report(session, status) && complete;
	return complete || status != 0 ? status : exit_failure;
}

} // namespace

int run_session(const SessionOptions &options)
{
	Session session = {.options = options, .signal_fd = open_session_signals()};
	signal(SIGPIPE, SIG_IGN); /* a reader that has gone must not end us with a program running */
	if (session.signal_fd < 0) {
		complain("cannot watch for signals");
		return exit_failure;
	}
	session.signals_end_us.emplace(session.signal_fd, 0ms);
	std::string error;
	if (!open_parts(session, &error)) {
		complain(error);
		return exit_failure;
	}
	if (!add_sources(session)) {
		complain("cannot watch for signals");
		return exit_failure;
	}
	return run_program(session);
}
