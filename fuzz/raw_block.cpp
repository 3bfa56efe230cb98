/* A block of pixels in a file, with any size, format and offset asked of it. */
#include <fuzz/fuzzing.h>

#include <cstring>

namespace
{

struct Request {
	std::int32_t width;
	std::int32_t height;
	std::int32_t format;
	std::int32_t offset;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
	Request request;
	if (size < sizeof request)
		return 0;
	memcpy(&request, data, sizeof request);
	fuzz_window();
	const char *file = input_file(data + sizeof request, size - sizeof request);

	const GLuint texture = CreateTexture(1, 1, GL_BGRA_EXT, nullptr);
	load_texture_from_raw_file(
	    texture, request.width, request.height, request.format, file, request.offset);
	DeleteTexture(texture);
	require_clean_gl(0);
	return 0;
}
