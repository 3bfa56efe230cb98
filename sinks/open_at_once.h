#pragma once

#include <fcntl.h>

/* As open for writing, but a pipe that nobody reads is refused with ENXIO. To wait for its reader
 * would be for ever: signals are heard of on the thread that writes. */
inline int open_at_once(const char *path, int flags)
{
	const int fd = open(path, O_WRONLY | O_NONBLOCK | O_CLOEXEC | flags, 0666);
	if (fd >= 0)
		fcntl(fd, F_SETFL, fcntl(fd, F_GETFL) & ~O_NONBLOCK);
	return fd;
}
