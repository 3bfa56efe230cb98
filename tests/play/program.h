/* Runs the programs under test as a user would. */
#ifndef TESTS_PLAY_PROGRAM_H
#define TESTS_PLAY_PROGRAM_H

#include <array>
#include <cstdint>
#include <string>
#include <vector>

struct Outcome {
	int status;         /* -1: ended by a signal */
	std::string output; /* both streams */
};

/* Runs the program that the environment variable names. */
Outcome run_program(const char *variable, const std::string &arguments);

/* A folder of its own for each test, empty; its name ends with a slash. */
std::string test_folder();

void write_file(const std::string &path, const std::string &text);
std::string read_file(const std::string &path);

struct Image {
	int width;
	int height;
	std::vector<std::uint8_t> rgb;

	std::array<int, 3> pixel(int x, int y) const;
};
Image read_png(const std::string &path);

#endif
