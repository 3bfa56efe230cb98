/* The program that runs on the host, with all that it starts. */
#pragma once

#include <string>
#include <vector>

#include <sys/types.h>

struct Child {
	pid_t guard = -1; /* SIGINT to it goes on to the program, SIGTERM ends everything */
	int report = -1;  /* gives the program's wait status, and closes when everything has ended */
};

/* In rising order. Called before anything is opened it tells what is there to be inherited. */
std::vector<int> open_descriptors();

/* Starts a program from PATH with no signal blocked and these descriptors only. 0, or the
 * errno that tells why it cannot be executed. */
int start_child(char *const *argv, const std::vector<std::string> &environment,
    const std::vector<int> &inherited, Child *child);

/* Call it when report is readable. False once everything has ended; the child then needs
 * release_child. *wait_status is set when the program has ended, which is earlier. */
bool hear_of_child(const Child &child, int *wait_status);

/* Waits for the end. Accepts a child that was never started. */
void release_child(Child *child);

/* The exit status that a shell would give: the program's, or 128 plus the signal's number. */
int exit_status_of(int wait_status);
