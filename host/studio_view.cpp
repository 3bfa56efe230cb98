#include <host/studio_view.h>

#include <cstdio>
#include <cstring>

#include <sys/wait.h>

#include <wayland-server-core.h>

#include <nlohmann/json.hpp>

#include <probe/report.h>
#include <studio/recording.h>

using nlohmann::json;

struct StudioView {
	std::string title;
	StudioPtr studio;
	wl_event_source *orders = nullptr;
	ProbeLink *probe = nullptr; /* known once it has spoken, until the end */
	WatchLevel level = WatchLevel::times;
	std::string program = "running";
	std::string text; /* told beside it */
	double speed = 1;
	std::uint32_t frame = 0; /* the newest that the probe has told */
	Recording recording;
	ReportPtr report; /* kept in mind, for who asks for it */
};

namespace
{

void publish_state(StudioView &view)
{
	publish(*view.studio, {
	                          {"type", "state"},
	                          {"kind", "host"},
	                          {"program", view.program},
	                          {"text", view.text},
	                          {"title", view.title},
	                          {"speed", view.speed},
	                          {"recording", is_recording(view.recording)},
	                      });
}

void set_program(StudioView &view, const std::string &program)
{
	view.program = program;
	publish_state(view);
}

bool is_over(const StudioView &view)
{
	return view.program == "ended" || view.program == "crashed";
}

/* ---- Orders ---- */

void record(StudioView &view, bool on)
{
	view.text.clear();
	if (on && !is_over(view))
		start_recording(view.recording, &view.text);
	else
		stop_recording(view.recording, *view.studio, &view.text);
	publish_state(view);
}

/* Also while no page is open the times are noted, for one that comes later. */
void watch_probe(StudioView &view)
{
	if (view.probe)
		watch(*view.probe, &view, view.level);
}

void obey(StudioView &view, const json &command)
{
	const std::string name = command["command"];
	if (name == "record") {
		record(view, command.value("on", false));
	} else if (name == "snapshot") {
		offer_file(*view.studio, "frame-" + std::to_string(view.frame) + ".png",
		    last_picture_file(*view.studio));
	} else if (name == "report") {
		offer_file(*view.studio, "report.json", report_text(*view.report, 0));
	} else if (name == "watch") {
		view.level =
		    command.value("level", "") == "objects" ? WatchLevel::objects : WatchLevel::times;
		watch_probe(view);
	} else if (name == "speed" || name == "pause" || name == "step" || name == "continue") {
		if (view.probe && name == "step" && view.program == "running")
			send_command(*view.probe, R"({"command":"pause"})");
		if (view.probe)
			send_command(*view.probe, command.dump());
		if (name == "speed") {
			view.speed = command.value("factor", 1.0);
			publish_state(view);
		}
	}
}

int handle_orders(int, std::uint32_t, void *data)
{
	auto &view = *static_cast<StudioView *>(data);
	for (json command; take_command(*view.studio, &command);) {
		try {
			obey(view, command);
		} catch (const json::exception &) { /* a member of another kind: not from our page */
		}
	}
	return 0;
}

/* ---- The end ---- */

std::string end_text(int wait_status)
{
	if (WIFSIGNALED(wait_status))
		return std::string("the program was ended by signal ") +
		       std::to_string(WTERMSIG(wait_status)) + " (" + strsignal(WTERMSIG(wait_status)) +
		       ")";
	return "the program has ended with status " + std::to_string(WEXITSTATUS(wait_status));
}

} // namespace

StudioViewPtr open_studio_view(
    const StudioOptions &options, const std::string &title, wl_event_loop *loop, std::string *error)
{
	StudioViewPtr view(new StudioView{.title = title});
	view->studio = open_studio(options, error);
	view->report = open_report("/dev/null", "host", title, error);
	if (!view->studio || !view->report)
		return nullptr;
	view->orders = wl_event_loop_add_fd(
	    loop, studio_descriptor(*view->studio), WL_EVENT_READABLE, handle_orders, view.get());
	if (!view->orders) {
		*error = "cannot watch the studio";
		return nullptr;
	}
	std::printf("studio: %s\n", studio_address(*view->studio).c_str());
	std::fflush(stdout);
	publish_state(*view);
	return view;
}

void StudioViewCloser::operator()(StudioView *view) const
{
	std::string unreported;
	if (view->orders)
		wl_event_source_remove(view->orders);
	if (view->studio)
		stop_recording(view->recording, *view->studio, &unreported);
	delete view;
}

void set_title(StudioView &view, const std::string &title)
{
	view.title = title;
	publish_state(view);
}

void take_line(StudioView &view, ProbeLink &link, const std::string &line)
{
	if (!view.probe && !is_over(view)) {
		view.probe = &link;
		watch_probe(view);
	}
	report_message(*view.report, line);
	const json message = json::parse(line, nullptr, false);
	const std::string type = message.is_object() ? message.value("type", "") : "";
	if (type == "paused" || type == "running") {
		set_program(view, type);
	} else if (!type.empty()) {
		if (type == "frame")
			view.frame = message.value("frame", view.frame);
		publish(*view.studio, message);
	}
}

/* The probe tells a frame when its swap is over, so the picture of the next one comes first. */
void take_picture(StudioView &view, const Picture &picture)
{
	show_in_studio(*view.studio, picture, view.frame + 1);
	record_in_studio(view.recording, picture);
	report_commit(*view.report);
}

void tell_end(StudioView &view, int wait_status)
{
	view.probe = nullptr;
	view.text.clear();
	stop_recording(view.recording, *view.studio, &view.text);
	if (view.text.empty())
		view.text = end_text(wait_status);
	set_program(view, WIFSIGNALED(wait_status) ? "crashed" : "ended");
}
