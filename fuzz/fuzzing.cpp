#include <fuzz/fuzzing.h>

#include <cstdio>
#include <cstdlib>
#include <sys/mman.h>
#include <unistd.h>

#include <bench/null_gl.h>

OffscreenWindow &fuzz_window()
{
	static OffscreenWindow *const window = [] {
		null_gl_check(true);
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
	if (ftruncate(fd, 0) != 0 || pwrite(fd, data, size, 0) != static_cast<ssize_t>(size))
		abort();
	return path.c_str();
}

std::size_t textures_alive()
{
	return null_gl_counts().textures;
}

void require_clean_gl(std::size_t textures)
{
	const NullGlCounts counts = null_gl_counts();
	if (counts.textures == textures && counts.images == 0 && counts.bad_names == 0 &&
	    counts.bad_uploads == 0 && counts.bad_draws == 0)
		return;
	fprintf(stderr,
	    "%zu textures in place of %zu, %zu images; bad names %lu, uploads %lu, draws %lu\n",
	    counts.textures, textures, counts.images, static_cast<unsigned long>(counts.bad_names),
	    static_cast<unsigned long>(counts.bad_uploads),
	    static_cast<unsigned long>(counts.bad_draws));
	abort();
}
