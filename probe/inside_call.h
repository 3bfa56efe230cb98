#pragma once

/* Above 0 inside a call: what the library calls of its own is no call of the application. */
inline thread_local int call_depth;

class InsideCall
{
public:
	InsideCall()
	{
		call_depth++;
	}
	~InsideCall()
	{
		call_depth--;
	}
	InsideCall(const InsideCall &) = delete;
	InsideCall &operator=(const InsideCall &) = delete;
};
