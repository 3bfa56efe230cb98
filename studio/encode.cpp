#include <studio/encode.h>

#include <cstddef>

#include <png.h>
#include <turbojpeg.h>

namespace
{

/* Thin lines keep their colour only with all of it, and the line of a browser takes that. */
constexpr int kQuality = 86;
constexpr int kSubsampling = TJSAMP_444;

/* The fourth byte is no alpha: the surface is opaque whatever it holds. */
std::vector<unsigned char> without_padding(const Shot &shot)
{
	std::vector<unsigned char> packed(shot.pixels.size() / 4 * 3);
	const unsigned char *from = shot.pixels.data();
	for (std::size_t i = 0; i < packed.size(); i += 3, from += 4) {
		packed[i] = from[0];
		packed[i + 1] = from[1];
		packed[i + 2] = from[2];
	}
	return packed;
}

} // namespace

std::string jpeg_of(const Shot &shot)
{
	tjhandle encoder = tjInitCompress();
	if (!encoder)
		return "";
	unsigned char *file = nullptr;
	unsigned long size = 0;
	std::string result;
	if (tjCompress2(encoder, shot.pixels.data(), shot.width, 0, shot.height, TJPF_BGRX, &file,
	        &size, kSubsampling, kQuality, TJFLAG_FASTDCT) == 0)
		result.assign(reinterpret_cast<const char *>(file), size);
	tjFree(file);
	tjDestroy(encoder);
	return result;
}

std::string png_of(const Shot &shot)
{
	png_image image = {};
	image.version = PNG_IMAGE_VERSION;
	image.width = static_cast<png_uint_32>(shot.width);
	image.height = static_cast<png_uint_32>(shot.height);
	image.format = PNG_FORMAT_BGR;
	image.flags = PNG_IMAGE_FLAG_FAST; /* somebody waits for it */
	const auto packed = without_padding(shot);
	std::string result(PNG_IMAGE_PNG_SIZE_MAX(image), '\0');
	png_alloc_size_t size = result.size();
	if (!png_image_write_to_memory(&image, result.data(), &size, 0, packed.data(), 0, nullptr))
		return "";
	result.resize(size);
	return result;
}
