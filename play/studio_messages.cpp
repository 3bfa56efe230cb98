#include <play/studio_messages.h>

#include <algorithm>
#include <cmath>
#include <mutex>

#include <nlohmann/json.hpp>

#include <probe/probe.h>
#include <probe/report.h>

using nlohmann::json;

namespace
{

/* The probe speaks to a function, so what it says is kept here. */
std::mutex mutex;
std::vector<std::string> lines;
ReportPtr report;
std::string watch_level = "times";

void hear(const std::string &line)
{
	const std::lock_guard lock(mutex);
	lines.push_back(line);
	if (report)
		report_message(*report, line);
}

void name_objects(const SceneRun &run, json *frame)
{
	const std::vector<unsigned int> &ids = run.stage.ids;
	if (!frame->contains("objects"))
		return;
	for (json &object : (*frame)["objects"]) {
		const auto at = std::ranges::find(ids, object.value("id", ANIMATION_NO_OBJECT));
		if (at != ids.end())
			object["name"] = run.scene.objects[static_cast<std::size_t>(at - ids.begin())].name;
	}
}

/* The probe counts the turns of all runs. */
void put_into_scene(const SceneRun &run, json *message)
{
	(*message)["frame"] = run.next_frame - 1;
	if (message->value("type", "") != "frame")
		return;
	(*message)["turn_ms"] = std::round(run.turn_ms * 100) / 100;
	name_objects(run, message);
}

} // namespace

void begin_to_hear()
{
	std::string unused; /* it goes nowhere but to the page */
	report = open_report("/dev/null", "offline", "studio", &unused);
	probe_hear(hear);
}

void set_watch_level(const std::string &level)
{
	watch_level = level == "objects" ? level : "times";
}

void look(bool is_drawn)
{
	probe_command(
	    json{{"command", "watch"}, {"level", is_drawn ? watch_level : std::string("off")}}.dump());
}

std::vector<json> take_messages(const SceneRun &run)
{
	std::vector<std::string> taken;
	{
		const std::lock_guard lock(mutex);
		taken.swap(lines);
	}
	std::vector<json> messages;
	json frame;
	for (const std::string &line : taken) {
		json message = json::parse(line, nullptr, false);
		const std::string type = message.is_object() ? message.value("type", "") : "";
		if (type == "finding")
			messages.push_back(std::move(message));
		else if (type == "frame")
			frame = std::move(message);
	}
	if (!frame.is_null())
		messages.push_back(std::move(frame));
	for (json &message : messages)
		put_into_scene(run, &message);
	return messages;
}

std::string report_of_studio()
{
	const std::lock_guard lock(mutex);
	return report ? report_text(*report, 0) : "{}";
}
