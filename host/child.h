/* The program that runs on the host. */
#pragma once

#include <string>
#include <vector>

#include <sys/types.h>

/* Starts a program, looked up in PATH, with no signal blocked. It gets SIGTERM if the calling
 * thread ends first. -1 with the reason in *error, and errno set, if it cannot be executed. */
pid_t start_child(
    char *const *argv, const std::vector<std::string> &environment, std::string *error);

/* What a shell makes of a wait status: the exit status, or 128 and the signal's number. */
int exit_status_of(int wait_status);
