#include <probe/playback_log.h>

#include <cstdint>
#include <mutex>
#include <string_view>

#include <player/player.h>
#include <probe/json_text.h>

namespace
{

struct Playback {
	const char *state = nullptr; /* null: there is none */
	std::string uri;
	std::uint64_t delivered = 0;
	std::uint64_t dropped = 0;
	std::uint64_t shown = 0;
};

std::mutex lock; /* guards the playback */
Playback playback;
std::string requested_uri;

thread_local bool has_updated; /* an object, since the delivery began */

void change_state(const char *state)
{
	if (playback.state)
		playback.state = state;
}

} // namespace

void note_playback_request(const char *uri)
{
	const std::lock_guard hold(lock);
	requested_uri = uri;
}

/* Frames may have come before. */
void note_playback_start()
{
	const std::lock_guard hold(lock);
	playback.state = "playing";
	playback.uri = requested_uri;
}

void note_playback_control(bool pauses)
{
	const std::lock_guard hold(lock);
	change_state(pauses ? "paused" : "playing");
}

void note_playback_stop()
{
	const std::lock_guard hold(lock);
	change_state("stopping");
}

void note_playback_end()
{
	const std::lock_guard hold(lock);
	playback = {};
}

void begin_delivery()
{
	has_updated = false;
}

void note_update()
{
	has_updated = true;
}

/* A pause that the player has taken back shows by the frames that come again. */
void end_delivery()
{
	const std::lock_guard hold(lock);
	(has_updated ? playback.delivered : playback.dropped)++;
	if (playback.state && std::string_view(playback.state) == "paused")
		playback.state = "playing";
}

void note_shown_frame()
{
	const std::lock_guard hold(lock);
	playback.shown++;
}

std::string playback_text(int position_ms)
{
	const std::lock_guard hold(lock);
	JsonText json;
	if (!playback.state) {
		json.null();
		return json.text();
	}
	json.open('{');
	json.member("state", playback.state);
	json.key("uri");
	json.value(playback.uri);
	json.key("position_ms");
	if (position_ms == ANIMATION_NO_POSITION)
		json.null();
	else
		json.value(position_ms);
	json.member("delivered", playback.delivered);
	json.member("dropped", playback.dropped);
	json.member("shown", playback.shown);
	json.close('}');
	return json.text();
}
