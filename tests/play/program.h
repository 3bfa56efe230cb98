/* Runs the programs under test as a user would. */
#ifndef TESTS_PLAY_PROGRAM_H
#define TESTS_PLAY_PROGRAM_H

#include <cstdio>
#include <string>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

struct Outcome {
	int status = -1;    /* -1: ended by a signal */
	std::string output; /* both streams */
	long peak = 0;      /* of its memory, in kB */
};

struct Program {
	pid_t pid;
	FILE *output;
};

/* Starts the program that the environment variable names, after a command of the shell. */
inline Program start_program(
    const std::string &variable, const std::string &arguments, const std::string &before = ":")
{
	/* What a driver keeps looks leaked once EGL has unloaded it. The host preloads a library. */
	const std::string command =
	    before + "; export ASAN_OPTIONS=$ASAN_OPTIONS:detect_leaks=0:verify_asan_link_order=0; " +
	    "exec \"$" + variable + "\" " + arguments;
	int ends[2] = {-1, -1};
	if (pipe(ends) != 0)
		return {-1, nullptr};
	const pid_t pid = fork();
	if (pid == 0) {
		dup2(ends[1], STDOUT_FILENO);
		dup2(ends[1], STDERR_FILENO);
		close(ends[0]);
		close(ends[1]);
		execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
		_exit(127);
	}
	close(ends[1]);
	return {pid, fdopen(ends[0], "r")};
}

/* Waits for its end. */
inline Outcome end_of(const Program &program)
{
	Outcome outcome;
	for (int c; (c = std::fgetc(program.output)) != EOF;)
		outcome.output += static_cast<char>(c);
	std::fclose(program.output);
	int status = 0;
	rusage usage = {};
	if (wait4(program.pid, &status, 0, &usage) == program.pid && WIFEXITED(status))
		outcome.status = WEXITSTATUS(status);
	outcome.peak = usage.ru_maxrss;
	return outcome;
}

inline Outcome run_program(
    const std::string &variable, const std::string &arguments, const std::string &before = ":")
{
	return end_of(start_program(variable, arguments, before));
}

#endif
