/* What soak's lives are lived on in place of the GL that does nothing: llvmpipe. */
#include <cstdlib>

#include <fuzz/fuzzing.h>
#include <tests/support/gl_watch.h>

OffscreenWindow &fuzz_window()
{
	static OffscreenWindow *const window = [] {
		std::string error;
		OffscreenWindow *opened = open_offscreen_window(&error).release();
		if (!opened)
			abort();
		gpuRender_framecnt = 1;
		return opened;
	}();
	return *window;
}

std::size_t textures_alive()
{
	return live_textures.size();
}

void require_clean_gl(std::size_t textures)
{
	if (textures_alive() != textures)
		abort();
}
