#include <fuzz/fuzzing.h>

#include <cstdlib>
#include <sys/mman.h>
#include <unistd.h>

OffscreenWindow &fuzz_window()
{
	static OffscreenWindow *const window = [] {
		watch_gl();
		std::string error;
		OffscreenWindow *opened = open_offscreen_window(&error).release();
		if (!opened)
			abort();
		gpuRender_framecnt = 1;
		return opened;
	}();
	return *window;
}

const char *input_file(const std::uint8_t *data, std::size_t size)
{
	static const int fd = memfd_create("input", MFD_CLOEXEC);
	static const std::string path = "/proc/self/fd/" + std::to_string(fd);
	/* Written before it is cut: its pages stay from input to input. */
	const auto length = static_cast<ssize_t>(size);
	if (pwrite(fd, data, size, 0) != length || ftruncate(fd, length) != 0)
		abort();
	return path.c_str();
}
