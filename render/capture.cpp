#include <render/capture.h>

#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <base/heap.h>

namespace
{

/* As open for writing anew, but a regular file or none: a link could lead anywhere, and a pipe
 * would hold the frames for ever. */
int open_regular_file(const char *name)
{
	struct stat status;
	if (lstat(name, &status) == 0 && !S_ISREG(status.st_mode))
		return -1;
	int fd = open(name, O_WRONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0666);
	if (fd >= 0 && fstat(fd, &status) == 0 && S_ISREG(status.st_mode) && ftruncate(fd, 0) == 0)
		return fd;
	if (fd >= 0)
		close(fd);
	return -1;
}

void write_whole_file(const char *name, const unsigned char *pixels, std::size_t size)
{
	int fd = open_regular_file(name);
	if (fd < 0)
		return;
	FILE *file = fdopen(fd, "w");
	bool whole = file && fwrite(pixels, size, 1, file) == 1 && fflush(file) == 0;
	whole = (file ? fclose(file) : close(fd)) == 0 && whole;
	if (!whole)
		unlink(name);
}

} // namespace

void capture_frame(const struct window &window)
{
	if (access(CAPTURE_MARKER, F_OK) != 0)
		return;
	int width = 2 * window.geometry.width;
	int height = window.geometry.height;
	std::size_t size = std::size_t{4} * static_cast<std::size_t>(width * height);
	HeapBlock<unsigned char> pixels(static_cast<unsigned char *>(malloc(size)));
	if (!pixels)
		return;
	glReadPixels(0, 0, width, height, GL_RGBA, GL_UNSIGNED_BYTE, pixels.get());

	/* 50 characters hold the name on the unit; a development folder may lie deeper. */
	char name[sizeof(CAPTURE_DIR) + 50];
	snprintf(name, sizeof(name), "%s/%lld.raw", CAPTURE_DIR, static_cast<long long>(framecnt));
	write_whole_file(name, pixels.get(), size);
}
