#pragma once

#include <string>

#include "wait.h"

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
