/* The process between the host and the program. */
#pragma once

#include <span>

#include <sys/types.h>

/* Starts the program as a child of the calling process, which has been forked for this, and ends
 * with the program and all that it started, whatever became of their parents, groups and sessions.
 * SIGINT is handed on to the program. On SIGTERM, at the death of the host and at the end of the
 * program all that is left gets SIGTERM, and after 3 seconds SIGKILL.
 *
 * The program gets the descriptors named in inherited, in rising order, and no other: what
 * libraries open is not always closed by exec.
 *
 * Writes two numbers to report: 0 or the errno why the program cannot be executed, and, when the
 * program has ended, its wait status. The pipe closes when nothing of it runs any more. */
[[noreturn]] void guard_program(char *const *argv, char *const *environment,
    std::span<const int> inherited, pid_t host, int report);

/* One number of the two from the other end of the pipe. False if it closed before. */
bool read_number(int fd, int *number);
