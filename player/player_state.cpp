/* The state of the playback, its transitions, and the loop that hears of its end. */
#include <player/player_state.h>

#include <algorithm>

#include <animation/animation.h>

CustomData data = {
    .pipeline = nullptr,
    .parse = nullptr,
    .grabber = nullptr,
    .thread = 0,
    .terminate = TRUE,
    .id1 = ANIMATION_NO_OBJECT,
    .para1 = nullptr,
    .id2 = ANIMATION_NO_OBJECT,
    .para2 = nullptr,
    .timestramp = GST_CLOCK_TIME_NONE,
    .is_buffering = FALSE,
    .is_first_frame = FALSE,
    .state = PlayState::kIdle,
    .loop = nullptr,
    .source = SourceKind::kFile,
    .connection = {},
    .read_before = 0,
    .seen_buffers = 0,
    .buffers = 0,
};

std::mutex player_lock;

namespace
{

bool is_of_table(PlayState from, PlayState to)
{
	return std::ranges::any_of(
	    kTransitions, [=](const Transition &t) { return t.from == from && t.to == to; });
}

bool is_without_playback(PlayState state)
{
	return state == PlayState::kIdle || state == PlayState::kStarting ||
	       state == PlayState::kFailed;
}

GMainLoop *ref_loop(const CustomData &player)
{
	const std::lock_guard hold(player_lock);
	return player.loop ? g_main_loop_ref(player.loop) : nullptr;
}

void quit_loop(const CustomData &player)
{
	GMainLoop *loop = ref_loop(player);
	if (!loop)
		return;
	g_main_loop_quit(loop);
	g_main_loop_unref(loop);
}

} // namespace

bool change_state(CustomData &player, PlayState to, const GstElement *of)
{
	const std::lock_guard hold(player_lock);
	if ((of && of != player.pipeline) || !is_of_table(player.state, to))
		return false;
	player.state = to;
	player.terminate = is_without_playback(to);
	if (to == PlayState::kDeciding)
		store(player.is_buffering, FALSE);
	return true;
}

PlayState state_of(const CustomData &player)
{
	const std::lock_guard hold(player_lock);
	return player.state;
}

bool has_ended(const CustomData &player)
{
	const std::lock_guard hold(player_lock);
	return player.terminate;
}

void ask_to_end(CustomData &player, const GstElement *of)
{
	if (change_state(player, PlayState::kQuitting, of))
		quit_loop(player);
}

void repeat_early_quit(const CustomData &player)
{
	if (state_of(player) == PlayState::kQuitting)
		quit_loop(player);
}
