/* When the next frame may run: pause, single steps, slow motion. Render thread. */
#pragma once

#include <atomic>
#include <chrono>

struct Pace {
	using Clock = std::chrono::steady_clock;

	std::atomic<bool> is_paused = false; /* read by other threads */
	unsigned steps = 0;                  /* to be run though paused */
	std::atomic<double> factor = 1;      /* of the speed: 1 to 1/50 */
	Clock::time_point last_start = {};
	Clock::duration last_turn = {}; /* with the sleep after it */
};

constexpr double kSlowest = 1.0 / 50;

/* The slowest for less, the full speed for more or for what is no number. */
void set_speed(Pace &pace, double factor);

/* True if a frame is to run now; it is then taken as running. */
bool may_run(Pace &pace, Pace::Clock::time_point now);

/* To be told when that frame has run. */
void end_run(Pace &pace, Pace::Clock::time_point now);
