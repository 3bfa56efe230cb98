/* A BMP file of any content becomes a texture, or none. */
#include <fuzz/fuzzing.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
	fuzz_window();
	const GLuint texture = CreateTextureByName(input_file(data, size));
	if (texture != UINT32_MAX)
		DeleteTexture(texture);
	require_clean_gl(0);
	return 0;
}
