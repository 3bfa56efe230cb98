#include <animation/picture_file.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

File open_picture(const char *filename)
{
	int fd = open(filename, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
	if (fd < 0)
		return nullptr;
	struct stat status;
	FILE *file = nullptr;
	if (fstat(fd, &status) == 0 && S_ISREG(status.st_mode))
		file = fdopen(fd, "rb");
	if (!file)
		close(fd);
	return File(file);
}

void advise_dont_need(FILE *file, std::size_t size)
{
	posix_fadvise(fileno(file), 0, static_cast<off_t>(size), POSIX_FADV_DONTNEED);
}
