#include <probe/pace.h>

#include <algorithm>

namespace
{

/* The render thread's own, at the end of each turn. A turn without a frame takes this long, so that
 * a frame comes up to half of it early or late. */
constexpr std::chrono::milliseconds kSleep(20);

} // namespace

void set_speed(Pace &pace, double factor)
{
	pace.factor = factor < 1 ? std::max(factor, kSlowest) : 1;
}

bool may_run(Pace &pace, Pace::Clock::time_point now)
{
	if (pace.is_paused) {
		if (pace.steps == 0)
			return false;
		pace.steps--;
	} else if (pace.factor < 1) {
		const std::chrono::duration<double> wanted(pace.last_turn / pace.factor.load());
		if (now - pace.last_start + kSleep / 2 < wanted)
			return false;
	}
	pace.last_start = now;
	return true;
}

void end_run(Pace &pace, Pace::Clock::time_point now)
{
	pace.last_turn = now - pace.last_start + kSleep;
}
