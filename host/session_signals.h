/* The signals that end a session. */
#pragma once

#include <thread>

/* Blocks them, and returns the descriptor that tells of them, or -1. Call it before any thread is
 * started, since threads inherit the mask. */
int open_session_signals();

/* While it lives, such a signal ends the process at once: for the times in which no event loop runs
 * and somebody else's code may wait for ever. */
class SignalsEndUs
{
public:
	explicit SignalsEndUs(int signals);
	~SignalsEndUs();
	SignalsEndUs(const SignalsEndUs &) = delete;
	SignalsEndUs &operator=(const SignalsEndUs &) = delete;

private:
	int stop;
	std::thread thread;
};
