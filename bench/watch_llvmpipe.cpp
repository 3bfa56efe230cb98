/* What soak's lives leave on llvmpipe. */
#include <cstdlib>

#include <fuzz/fuzzing.h>
#include <tests/support/gl_watch.h>

void watch_gl()
{
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
