/* What the player's tests share: texts that the process writes, waiting, the lock. */
#pragma once

#include <string>

#include "../support/wait.h"

/* Initialises GStreamer and g_mutex, once: these tests run without a render thread. */
void set_up_player();

/* Catches a standard stream while it lives, and shows it after all if the test failed. */
class Caught
{
public:
	explicit Caught(int stream);
	~Caught();
	Caught(const Caught &) = delete;
	Caught &operator=(const Caught &) = delete;

	std::string text() const;
	bool has(const std::string &part) const;
	bool waits_for(const std::string &part, double seconds = 10) const;
	void clear();

private:
	const int stream;
	const int original;
	const int file;
};

/* How often a text contains a part. */
int count(const std::string &text, const std::string &part);

/* True if the text has the parts in this order, with anything between. */
bool in_order(const std::string &text, std::initializer_list<const char *> parts);
