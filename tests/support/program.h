/* Runs the programs under test as a user would. */
#ifndef TESTS_SUPPORT_PROGRAM_H
#define TESTS_SUPPORT_PROGRAM_H

#include <csignal>
#include <cstdio>
#include <string>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

struct Outcome {
	int status = -1;    /* as a shell tells it: from 128 on, ended by a signal */
	std::string output; /* the rest of both streams */
	long peak = 0;      /* of its memory, in kB */
};

struct Program {
	pid_t pid;
	FILE *output;
};

/* Starts a command of the shell, which ends with the test. */
inline Program start_program(const std::string &command)
{
	/* What a driver keeps looks leaked once EGL has unloaded it. The host preloads a library. */
	const std::string line =
	    "ASAN_OPTIONS=$ASAN_OPTIONS:detect_leaks=0:verify_asan_link_order=0 exec " + command;
	int ends[2] = {-1, -1};
	if (pipe2(ends, O_CLOEXEC) != 0)
		return {-1, nullptr};
	const pid_t pid = fork();
	if (pid == 0) {
		prctl(PR_SET_PDEATHSIG, SIGKILL);
		dup2(ends[1], STDOUT_FILENO);
		dup2(ends[1], STDERR_FILENO);
		execl("/bin/sh", "sh", "-c", line.c_str(), nullptr);
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
	if (wait4(program.pid, &status, 0, &usage) == program.pid)
		outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
	outcome.peak = usage.ru_maxrss;
	return outcome;
}

inline Outcome run_program(const std::string &command)
{
	return end_of(start_program(command));
}

#endif
