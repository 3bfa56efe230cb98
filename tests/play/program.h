/* Runs the programs under test as a user would. */
#ifndef TESTS_PLAY_PROGRAM_H
#define TESTS_PLAY_PROGRAM_H

#include <cstdio>
#include <string>

#include <sys/wait.h>

struct Outcome {
	int status = -1;    /* -1: ended by a signal */
	std::string output; /* both streams */
};

/* Runs the program that the environment variable names. */
inline Outcome run_program(const std::string &variable, const std::string &arguments)
{
	/* What a driver keeps looks leaked once EGL has unloaded it. The host preloads a library. */
	const std::string command =
	    "ASAN_OPTIONS=$ASAN_OPTIONS:detect_leaks=0:verify_asan_link_order=0 \"$" + variable +
	    "\" " + arguments + " 2>&1";
	FILE *pipe = popen(command.c_str(), "r");
	Outcome outcome;
	for (int c; (c = std::fgetc(pipe)) != EOF;)
		outcome.output += static_cast<char>(c);
	const int status = pclose(pipe);
	if (WIFEXITED(status))
		outcome.status = WEXITSTATUS(status);
	return outcome;
}

#endif
