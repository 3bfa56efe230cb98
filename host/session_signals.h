/* The signals that end a session. */
#pragma once

#include <chrono>
#include <thread>

/* Blocks them, and returns the descriptor that tells of them, or -1. Call it before any thread is
 * started, since threads inherit the mask. */
int open_session_signals();

/* While it lives, such a signal ends the process if nobody has read it after a while: somebody
 * else's code, or a pipe that is not read, may keep the event loop from it for ever. */
class SignalsEndUs
{
public:
	SignalsEndUs(int signals, std::chrono::milliseconds patience);
	~SignalsEndUs();
	SignalsEndUs(const SignalsEndUs &) = delete;
	SignalsEndUs &operator=(const SignalsEndUs &) = delete;

private:
	int stop;
	std::thread thread;
};
