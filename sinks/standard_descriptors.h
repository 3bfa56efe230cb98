#pragma once

#include <fcntl.h>
#include <unistd.h>

/* Who is started without one of 0, 1 and 2 would open something of its own there, and messages
 * would be written into it. What is started from here finds them closed, as before. */
inline void occupy_standard_descriptors()
{
	int fd;
	do
		fd = open("/dev/null", O_RDWR | O_CLOEXEC);
	while (fd >= 0 && fd <= STDERR_FILENO);
	if (fd >= 0)
		close(fd);
}
