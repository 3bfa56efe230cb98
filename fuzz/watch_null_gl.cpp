/* What an input leaves on the GL that does nothing. */
#include <fuzz/fuzzing.h>

#include <cstdio>
#include <cstdlib>

#include <bench/null_gl.h>

void watch_gl()
{
	null_gl_check(true);
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
