#include <play/studio.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <vector>

#include <poll.h>
#include <sys/signalfd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include <studio/recording.h>
#include <studio/studio.h>

#include <play/scene_run.h>
#include <play/scene_watch.h>
#include <play/studio_messages.h>

using nlohmann::json;

namespace
{

using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

/* The unit's own pace, as far as this machine keeps it up. */
constexpr Milliseconds kFrameTime(1000.0 / kPicturesPerSecond);
constexpr double kSlowest = 0.02;

/* From one frame to another, over and over. */
struct Loop {
	std::uint32_t from;
	std::uint32_t to;
};

struct Director {
	std::string path;
	SceneWatch watch;
	StudioPtr studio;
	OffscreenWindowPtr window;
	SceneRunPtr run; /* NULL as long as no scene was good */
	bool is_playing = true;
	std::string trouble; /* told beside the state */
	double speed = 1;
	std::optional<Loop> loop;
	Clock::time_point due = Clock::now(); /* of the next frame */
	Recording recording;
	bool is_over = false;
};

/* The frame that stands. */
std::uint32_t frame_of(const Director &director)
{
	return director.run && director.run->next_frame ? director.run->next_frame - 1 : 0;
}

std::uint32_t last_frame(const Director &director)
{
	return director.run ? director.run->scene.frames - 1 : 0;
}

/* A stream goes by the clock, so what comes after its start cannot be run again. */
std::uint32_t farthest_seek(const Director &director)
{
	if (director.run) {
		for (const Step &step : director.run->scene.steps) {
			if (std::holds_alternative<Play>(step.action))
				return step.frame;
		}
	}
	return last_frame(director);
}

/* ---- What the page is told ---- */

void publish_state(Director &director)
{
	const bool is_live = director.run && has_stream(director.run->scene);
	json state = {
	    {"type", "state"},
	    {"kind", "scene"},
	    {"program", director.is_playing ? "running" : "paused"},
	    {"text", director.trouble},
	    {"title", director.run ? director.run->scene.title : ""},
	    {"frames", director.run ? director.run->scene.frames : 0},
	    {"seek_limit", farthest_seek(director)},
	    {"live", is_live},
	    {"speed", director.speed},
	    {"recording", is_recording(director.recording)},
	    {"loop", nullptr},
	};
	if (director.loop)
		state["loop"] = {director.loop->from, director.loop->to};
	publish(*director.studio, state);
}

Picture picture_of(const SceneRun &run)
{
	return {.pixels = run.picture.bgra.data(),
	    .width = run.picture.width,
	    .height = run.picture.height,
	    .stride = static_cast<std::size_t>(run.picture.width) * 4};
}

void publish_frame(Director &director)
{
	for (const json &message : take_messages(*director.run))
		publish(*director.studio, message);
	show_in_studio(*director.studio, picture_of(*director.run), frame_of(director));
}

void publish_scene_text(Director &director)
{
	std::ostringstream text;
	text << std::ifstream(director.path, std::ios::binary).rdbuf();
	publish(*director.studio,
	    {{"type", "scene"}, {"path", director.path}, {"text", std::move(text).str()}});
}

/* The line goes into a member of its own, and the path is known. */
void publish_scene_error(Director &director, const std::string &complaint)
{
	int line = 0, length = 0;
	std::string text = complaint;
	if (text.starts_with(director.path + ":")) {
		text.erase(0, director.path.size());
		if (std::sscanf(text.c_str(), ":%d: %n", &line, &length) == 1)
			text.erase(0, static_cast<std::size_t>(length));
	}
	publish(*director.studio, {{"type", "scene-error"}, {"line", line}, {"text", text}});
}

/* ---- Frames ---- */

void stop_at(Director &director, const std::string &trouble)
{
	director.trouble = trouble;
	director.is_playing = false;
	publish_state(director);
}

/* Of a call that goes to a frame: tells the page of it. */
template <class Go>
void go(Director &director, Go go_there)
{
	if (!director.run)
		return;
	std::string error;
	if (!go_there(*director.run, &error)) {
		stop_at(director, error);
		return;
	}
	publish_frame(director);
	record_in_studio(director.recording, picture_of(*director.run));
}

void go_on(Director &director)
{
	go(director, play_frame);
}

void go_to(Director &director, std::uint32_t frame)
{
	const std::uint32_t target = std::min(frame, farthest_seek(director));
	go(director, [target](SceneRun &run, std::string *error) { return seek(run, target, error); });
}

bool is_at_end(const Director &director)
{
	return !director.run || director.run->next_frame >= director.run->scene.frames;
}

/* Once a frame's time is up. */
void play_next_frame(Director &director)
{
	const Clock::duration pace =
	    std::chrono::duration_cast<Clock::duration>(kFrameTime / director.speed);
	director.due = std::max(director.due + pace, Clock::now()); /* what is late is not made up */
	if (director.loop && director.run && frame_of(director) >= director.loop->to)
		go_to(director, director.loop->from);
	else if (is_at_end(director))
		stop_at(director, director.trouble);
	else
		go_on(director);
}

/* ---- The scene's file ---- */

/* The new scene stands where the old one stood. One that is wrong changes nothing. */
void load_scene(Director &director)
{
	const std::uint32_t frame = frame_of(director);
	publish_scene_text(director);
	std::string error;
	try {
		Scene scene = read_scene(director.path);
		director.run.reset(); /* the window is for one run */
		director.run = open_scene_run(*director.window, std::move(scene), &error);
		if (director.run)
			director.run->look = look;
	} catch (const SceneError &complaint) {
		publish_scene_error(director, complaint.what());
		publish_state(director);
		return;
	}
	publish_scene_error(director, error);
	director.trouble = error;
	publish_state(director);
	go_to(director, std::min(frame, last_frame(director)));
}

/* The file is whole at any time, and keeps what it is allowed to. */
bool write_scene(const std::string &path, const std::string &text)
{
	std::error_code failure;
	const std::string target = std::filesystem::canonical(path, failure).string();
	struct stat status = {};
	if (failure || stat(target.c_str(), &status) != 0)
		return false;
	const std::string part = target + ".part";
	std::ofstream file(part, std::ios::binary | std::ios::trunc);
	file << text;
	file.close();
	chmod(part.c_str(), status.st_mode & 07777);
	if (file && rename(part.c_str(), target.c_str()) == 0)
		return true;
	unlink(part.c_str());
	return false;
}

/* ---- Commands ---- */

void play_on(Director &director)
{
	if (is_at_end(director))
		go_to(director, 0);
	director.trouble.clear();
	director.is_playing = director.run != nullptr;
	director.due = Clock::now();
}

void step(Director &director)
{
	director.is_playing = false;
	if (!is_at_end(director))
		go_on(director);
}

void set_loop(Director &director, const json &command)
{
	const std::uint32_t from = command.value("from", 0U);
	const std::uint32_t to = std::min(command.value("to", 0U), farthest_seek(director));
	director.loop = from < to ? std::optional(Loop{from, to}) : std::nullopt;
}

void record(Director &director, bool on)
{
	if (on)
		start_recording(director.recording, &director.trouble);
	else
		stop_recording(director.recording, *director.studio, &director.trouble);
}

void offer_snapshot(Director &director)
{
	offer_file(*director.studio, "frame-" + std::to_string(frame_of(director)) + ".png",
	    last_picture_file(*director.studio));
}

/* A page that comes while the scene stands gets its objects, too. */
void watch(Director &director, const std::string &level)
{
	set_watch_level(level);
	if (level == "objects" && !director.is_playing && frame_of(director) < farthest_seek(director))
		go_to(director, frame_of(director));
}

/* True if the state may be another one now. */
bool obey(Director &director, const json &command)
{
	const std::string name = command["command"];
	if (name == "pause")
		director.is_playing = false;
	else if (name == "continue")
		play_on(director);
	else if (name == "step")
		step(director);
	else if (name == "seek")
		go_to(director, command.value("frame", 0U));
	else if (name == "speed")
		director.speed = std::clamp(command.value("factor", 1.0), kSlowest, 1.0);
	else if (name == "loop")
		set_loop(director, command);
	else if (name == "record")
		record(director, command.value("on", false));
	else if (name == "snapshot")
		offer_snapshot(director);
	else if (name == "watch")
		watch(director, command.value("level", ""));
	else if (name == "report")
		offer_file(*director.studio, "report.json", report_of_studio());
	else if (name == "save" && !write_scene(director.path, command.value("text", "")))
		director.trouble = "the scene could not be written";
	return name != "watch" && name != "seek" && name != "snapshot" && name != "report";
}

/* Of several seeks only the last one counts: a slider is faster than the frames. */
void obey_all(Director &director)
{
	std::vector<json> commands;
	for (json command; take_command(*director.studio, &command);) {
		if (!commands.empty() && command["command"] == "seek" &&
		    commands.back()["command"] == "seek")
			commands.pop_back();
		commands.push_back(std::move(command));
	}
	for (const json &command : commands) {
		try {
			if (obey(director, command))
				publish_state(director);
		} catch (const json::exception &) { /* a member of another kind: not from our page */
		}
	}
}

/* ---- The loop ---- */

int block_signals()
{
	sigset_t signals;
	sigemptyset(&signals);
	sigaddset(&signals, SIGINT);
	sigaddset(&signals, SIGTERM);
	pthread_sigmask(SIG_BLOCK, &signals, nullptr);
	return signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
}

timespec time_left(Clock::time_point due)
{
	const auto left = std::max(due - Clock::now(), Clock::duration::zero());
	const auto nanoseconds = std::chrono::duration_cast<std::chrono::nanoseconds>(left).count();
	return {nanoseconds / 1'000'000'000, nanoseconds % 1'000'000'000};
}

void direct(Director &director, int signals)
{
	pollfd descriptors[] = {{signals, POLLIN, 0}, {studio_descriptor(*director.studio), POLLIN, 0},
	    {director.watch.descriptor, POLLIN, 0}};
	while (!director.is_over) {
		const timespec left = time_left(director.due);
		ppoll(descriptors, std::size(descriptors), director.is_playing ? &left : nullptr, nullptr);
		director.is_over = descriptors[0].revents != 0;
		obey_all(director);
		if (was_written(director.watch))
			load_scene(director);
		if (director.is_playing && Clock::now() >= director.due)
			play_next_frame(director);
	}
}

} // namespace

bool play_in_studio(const std::string &scene_path, const StudioOptions &options, std::string *error)
{
	const int signals = block_signals(); /* before there is a thread */
	Director director = {.path = std::filesystem::absolute(scene_path).lexically_normal()};
	director.watch = watch_scene_file(director.path);
	director.studio = open_studio(options, error);
	if (!director.studio)
		return false;
	begin_to_hear();
	director.window = open_offscreen_window(error);
	if (!director.window)
		return false;
	std::printf("studio: %s\n", studio_address(*director.studio).c_str());
	std::fflush(stdout);
	load_scene(director);
	direct(director, signals);
	stop_recording(director.recording, *director.studio, error);
	return true;
}
