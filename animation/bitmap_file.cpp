#include <animation/animation.h>
#include <animation/picture_file.h>
#include <base/report.h>

#include <algorithm>
#include <cstdint>
#include <sys/stat.h>

namespace
{

constexpr std::size_t kHeaderSize = 54;

/* No GL has larger textures, and no product of two such sides is too large for 64 bits. */
constexpr int kMaxSide = 32768;

bool is_plausible_side(int side)
{
	return side > 0 && side <= kMaxSide;
}

/* A GL that shows the surface takes pictures of its width: it is asked about larger ones alone. */
bool fits_in_texture(int side)
{
	if (side <= 2 * ANIMATION_VIEWPORT_WIDTH)
		return true;
	GLint max = 0;
	glGetIntegerv(GL_MAX_TEXTURE_SIZE, &max);
	return side <= max;
}

/* How much of a block the file holds. Neither a header of gigabytes nor a file without content of
 * that length, both of which cost nothing to make, is to cost us the memory and the time. */
std::size_t present(FILE *file, std::size_t offset, std::uint64_t size)
{
	struct stat status = {};
	fstat(fileno(file), &status);
	auto end = static_cast<std::size_t>(status.st_size);
	return end > offset ? std::min<std::uint64_t>(size, end - offset) : 0;
}

int refuse_short(FILE *file, std::size_t size)
{
	advise_dont_need(file, size);
	REPORT("Error in file size != width*height\n");
	return -1;
}

std::uint32_t little_endian(const unsigned char *bytes, int count)
{
	std::uint32_t value = 0;
	for (int i = count - 1; i >= 0; i--)
		value = value << 8 | bytes[i];
	return value;
}

} // namespace

int read_raw_block(
    int width, int height, int type, const char *filename, int offset, DecodedPicture *picture)
{
	if (type != GL_BGRA_EXT && type != GL_RGB) {
		REPORT("Invalid texture type %d\n", type);
		return -1;
	}
	File file = open_picture(filename);
	if (!file) {
		REPORT("Error opening file %s\n", filename);
		return -1;
	}
	if (!is_plausible_side(width) || !is_plausible_side(height) || offset < 0) {
		REPORT("Invalid size %d x %d or offset %d in %s\n", width, height, offset, filename);
		return -1;
	}
	const std::uint64_t size = std::uint64_t{type == GL_BGRA_EXT ? 4U : 3U} *
	                           static_cast<std::uint64_t>(width) *
	                           static_cast<std::uint64_t>(height);
	const std::size_t available = present(file.get(), static_cast<std::size_t>(offset), size);
	if (available < size)
		return refuse_short(file.get(), available);
	if (!fits_in_texture(std::max(width, height))) {
		REPORT("Invalid size %d x %d in %s\n", width, height, filename);
		return -1;
	}
	HeapBlock<unsigned char> pixels(static_cast<unsigned char *>(malloc(size)));
	if (!pixels) {
		REPORT("No memory for the %zu bytes of %s\n", available, filename);
		return -1;
	}
	fseek(file.get(), offset, SEEK_SET);
	std::size_t got = fread(pixels.get(), 1, size, file.get());
	if (got < size)
		return refuse_short(file.get(), got);
	advise_dont_need(file.get(), got);
	*picture = {std::move(pixels), width, height, type};
	return 0;
}

int read_bmp(const char *filename, DecodedPicture *picture)
{
	unsigned char header[kHeaderSize];
	std::size_t got;
	{
		File file = open_picture(filename);
		if (!file) {
			fprintf(stderr, "cannot open bmp file: %s\n", filename);
			return -1;
		}
		got = fread(header, 1, sizeof(header), file.get());
	}
	if (got < sizeof(header)) {
		REPORT("Error in bmp header of %s\n", filename);
		return -1;
	}
	int offset = static_cast<int>(little_endian(header + 10, 4));
	int width = static_cast<int>(little_endian(header + 18, 4));
	int height = static_cast<int>(little_endian(header + 22, 4));
	int bits_per_pixel = static_cast<int>(little_endian(header + 28, 2));
	int type;
	switch (bits_per_pixel) {
	case 24:
		type = GL_RGB;
		break;
	case 32:
		type = GL_BGRA_EXT;
		break;
	default:
		REPORT("1,Invalid number of bits per pixel: %d in %s\n", bits_per_pixel, filename);
		return -1;
	}
	return read_raw_block(width, height, type, filename, offset, picture);
}
