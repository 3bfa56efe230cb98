/* In front of redraw: each frame is told when it is over, and runs when the listener lets it. */
#include <probe/frames.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <string_view>
#include <utility>

#include <player/player.h>
#include <probe/checks.h>
#include <probe/findings.h>
#include <probe/frame_log.h>
#include <probe/inside_call.h>
#include <probe/json_text.h>
#include <probe/marks.h>
#include <probe/next_function.h>
#include <probe/pace.h>
#include <probe/playback_log.h>
#include <probe/probe.h>
#include <probe/textures.h>
#include <probe/wire.h>
#include <render/render.h>

namespace
{

using Clock = std::chrono::steady_clock;

std::atomic<std::uint32_t> frames_run;

/* The render thread's. */
Pace pace;
Clock::time_point last_end;
unsigned dropped;     /* messages since the last that went */
double swap_ms;       /* of this frame */
bool is_committed;    /* this frame */
bool has_bound_image; /* this frame, of a streamed video */
bool has_level;       /* the listener has said at which it watches */

double ms_between(Clock::time_point from, Clock::time_point to)
{
	return std::chrono::duration<double, std::milli>(to - from).count();
}

/* ---- What the listener wants ---------------------------------------------------------------- */

/* What stands behind a key, as far as a command goes: a word or a number. */
std::string_view value_of(std::string_view line, std::string_view key)
{
	const std::size_t found = line.find('"' + std::string(key) + '"');
	if (found == std::string_view::npos)
		return "";
	std::string_view rest = line.substr(found + key.size() + 2);
	rest.remove_prefix(std::min(rest.find_first_not_of(" \t:\""), rest.size()));
	return rest.substr(0, rest.find_first_of(" \t,\"}"));
}

void tell_pace(const char *type)
{
	JsonText json;
	json.open('{');
	json.member("type", type);
	const std::uint32_t run = frame_number();
	json.member("frame", run ? run - 1 : 0);
	json.close('}');
	send_line(json.text(), Importance::kMustArrive);
}

void set_paused(bool paused)
{
	pace.is_paused = paused;
	pace.steps = 0;
	tell_pace(paused ? "paused" : "running");
}

void take_commands()
{
	static bool is_first = true;
	for (std::string line; take_line(&line);)
		obey(line);
	if (std::exchange(is_first, false) && !has_level)
		watched = Level::kOff;
}

/* ---- One frame ------------------------------------------------------------------------------ */

std::string player_text()
{
	static const auto position = find_symbol<decltype(GetGSTimeStramp)>("GetGSTimeStramp");
	return playback_text(position());
}

/* The bytes of each object only when they have changed: that is seldom. */
ListParts wanted_parts()
{
	static std::uint64_t told_version;
	const std::uint64_t version = textures_version();
	return {
	    .objects = watched == Level::kObjects,
	    .texture_bytes = std::exchange(told_version, version) != version,
	};
}

std::string message_of(const FrameTimes &times)
{
	static auto *const mutex = find_symbol<pthread_mutex_t>("g_mutex");
	static auto *const head = find_symbol<AnimationObj *>("animationItemHead");
	const ListParts parts = wanted_parts();
	const bool is_locked = parts.objects || parts.texture_bytes;
	if (is_locked)
		pthread_mutex_lock(mutex);
	std::string message = frame_message(
	    frame_number(), times, player_text(), is_locked ? *head : nullptr, parts, dropped);
	if (is_locked)
		pthread_mutex_unlock(mutex);
	return message;
}

void tell_frame(Clock::time_point start, Clock::time_point end)
{
	const FrameTimes times = {
	    .turn_ms = ms_between(last_end, end),
	    .draw_ms = ms_between(start, end) - swap_ms,
	    .swap_ms = swap_ms,
	    .committed = is_committed,
	};
	if (send_line(message_of(times), Importance::kMayDrop))
		dropped = 0;
	else
		dropped++;
}

void tell_first_picture(Clock::time_point start)
{
	static bool is_over;
	if (is_over || !is_committed)
		return;
	is_over = true;
	pass_mark(Mark::kNextFrame, start);
	send_line(first_picture_message(), Importance::kMustArrive);
}

template <class Draw>
void run_frame(Draw draw)
{
	swap_ms = 0;
	is_committed = has_bound_image = false;
	if (is_checking())
		check_frame();
	const Clock::time_point start = Clock::now();
	{
		const InsideCall inside;
		draw();
	}
	const Clock::time_point end = Clock::now();
	if (has_bound_image && is_committed)
		note_shown_frame();
	if (last_end == Clock::time_point())
		last_end = start;
	if (is_watched())
		tell_frame(start, end);
	else
		send_rest();
	tell_first_picture(start);
	last_end = end;
	frames_run.fetch_add(1, std::memory_order_relaxed);
	if (pace.is_paused)
		tell_pace("paused");
	end_run(pace, end);
}

} // namespace

std::uint32_t frame_number()
{
	return frames_run.load(std::memory_order_relaxed);
}

void obey(std::string_view line)
{
	const std::string_view command = value_of(line, "command");
	if (command == "watch") {
		const std::string_view level = value_of(line, "level");
		has_level = true;
		watched = level == "objects" ? Level::kObjects
		          : level == "times" ? Level::kTimes
		                             : Level::kOff;
	} else if (command == "pause") {
		set_paused(true);
	} else if (command == "continue") {
		set_paused(false);
	} else if (command == "step") {
		pace.is_paused = true;
		pace.steps++;
	} else if (command == "speed") {
		set_speed(pace, strtod(std::string(value_of(line, "factor")).c_str(), nullptr));
	}
}

void note_swap(double ms)
{
	swap_ms += ms;
	is_committed = true;
}

void note_bound_image()
{
	has_bound_image = true;
}

void tell_end()
{
	unsigned left = 0;
	for (const AnimationObj *obj = *find_symbol<AnimationObj *>("animationItemHead"); obj;
	     obj = obj->next)
		left++;
	JsonText json;
	json.open('{');
	json.member("type", "end");
	json.member("frame", frame_number());
	json.member("left_objects", left);
	json.member("texture_bytes", texture_bytes().alive);
	write_totals(json);
	json.close('}');
	send_line(json.text(), Importance::kMustArrive);
}

void redraw(void *data, wl_callback *callback, uint32_t time)
{
	static const auto next = next_function(&redraw, "redraw");
	if (!is_heard())
		return next(data, callback, time);
	take_commands();
	if (may_run(pace, Clock::now()))
		run_frame([&] { next(data, callback, time); });
	else
		last_end = Clock::now();
}

void probe_hear(ProbeHearer *take)
{
	hear_in_process(take);
}

bool probe_holds_frames()
{
	return is_heard() && (pace.is_paused || pace.factor < 1);
}

void probe_tell_end()
{
	tell_end();
}

void probe_command(const std::string &line)
{
	obey(line);
}
