/* Waiting for what other threads or processes do. */
#pragma once

#include <chrono>
#include <functional>
#include <thread>

/* True as soon as the condition holds, false when it does not within the seconds. */
inline bool wait_until(const std::function<bool()> &condition, double seconds = 10)
{
	const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
	while (!condition()) {
		if (std::chrono::steady_clock::now() > end)
			return false;
		std::this_thread::sleep_for(std::chrono::milliseconds(5));
	}
	return true;
}
