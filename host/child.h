/* The program that runs on the host. */
#pragma once

#include <string>
#include <vector>

#include <sys/types.h>

/* Starts a program from PATH with no signal blocked. It gets SIGTERM if the calling thread ends
 * first. Returns -1 if it cannot be executed, with the reason in *error and in errno. */
pid_t start_child(
    char *const *argv, const std::vector<std::string> &environment, std::string *error);

/* The exit status that a shell would give: the program's, or 128 plus the signal's number. */
int exit_status_of(int wait_status);
