/* A PNG file of any content becomes a texture, or none. */
#include <fuzz/fuzzing.h>

#include <algorithm>
#include <cstring>
#include <zlib.h>

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t *data, std::size_t size, std::size_t max_size);

namespace
{

constexpr std::size_t kSignature = 8;
constexpr std::size_t kAround = 12; /* length, name and checksum of a chunk */

std::uint32_t big_endian(const std::uint8_t *bytes)
{
	return std::uint32_t{bytes[0]} << 24 | bytes[1] << 16 | bytes[2] << 8 | bytes[3];
}

/* Gives every chunk the checksum that it should have. */
void mend_checksums(std::uint8_t *data, std::size_t size)
{
	for (std::size_t at = kSignature; at + kAround <= size;) {
		const std::size_t length =
		    std::min<std::size_t>(big_endian(data + at), size - at - kAround);
		const auto sum = static_cast<std::uint32_t>(crc32(0, data + at + 4, 4 + length));
		for (int i = 0; i < 4; i++)
			data[at + 8 + length + i] = static_cast<std::uint8_t>(sum >> (24 - 8 * i));
		at += kAround + length;
	}
}

} // namespace

/* A wrong checksum ends the reading: most of what is tried has to have the right ones. */
extern "C" std::size_t LLVMFuzzerCustomMutator(
    std::uint8_t *data, std::size_t size, std::size_t max_size, unsigned int seed)
{
	size = LLVMFuzzerMutate(data, size, max_size);
	if (seed % 8)
		mend_checksums(data, size);
	return size;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
	fuzz_window();
	const GLuint texture = CreateTextureByPng(input_file(data, size));
	if (texture != UINT32_MAX)
		DeleteTexture(texture);
	require_clean_gl(0);
	return 0;
}
