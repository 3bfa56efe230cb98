#include <probe/marks.h>

#include <array>
#include <atomic>

#include <probe/json_text.h>

namespace
{

constexpr std::array kParts = {"load", "start thread", "connect", "EGL", "surface", "programs",
    "first turn", "create", "next frame", "draw", "swap"};

std::array<std::atomic<double>, kParts.size()> times; /* 0: not passed */

} // namespace

void pass_mark(Mark mark, std::chrono::steady_clock::time_point now)
{
	double not_passed = 0;
	std::atomic<double> &time = times[static_cast<std::size_t>(mark)];
	if (time.load(std::memory_order_relaxed) == not_passed)
		time.compare_exchange_strong(
		    not_passed, std::chrono::duration<double, std::milli>(now.time_since_epoch()).count());
}

std::string first_picture_message()
{
	JsonText json;
	json.open('{');
	json.member("type", "first-picture");
	json.key("marks");
	json.open('[');
	for (std::size_t i = 0; i < kParts.size(); i++) {
		if (times[i] == 0)
			continue;
		json.open('{');
		json.member("part", kParts[i]);
		json.key("at_ms");
		json.milliseconds(times[i]);
		json.close('}');
	}
	json.close(']');
	json.close('}');
	return json.text();
}
