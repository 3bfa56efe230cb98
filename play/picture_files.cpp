#include <play/picture_files.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>

#include <png.h>

namespace
{

constexpr int kLargestPng = 2304;

std::string png_fault(const std::string &path)
{
	png_image image = {};
	image.version = PNG_IMAGE_VERSION;
	if (!png_image_begin_read_from_file(&image, path.c_str()))
		return std::string("found no PNG: ") + image.message;
	const bool has_alpha = image.format & PNG_FORMAT_FLAG_ALPHA;
	const bool fits = image.width <= kLargestPng && image.height <= kLargestPng;
	png_image_free(&image);
	if (!has_alpha)
		return "found a PNG without an alpha channel";
	return fits ? "" : "found a PNG of more than 2304 x 2304 pixels";
}

template <class T>
T little_endian(const std::uint8_t *bytes)
{
	T value = 0;
	for (std::size_t i = 0; i < sizeof value; ++i)
		value = static_cast<T>(value | static_cast<T>(bytes[i]) << (8 * i));
	return value;
}

std::string bmp_fault(const std::string &path)
{
	std::ifstream stream(path, std::ios::binary);
	std::array<std::uint8_t, 54> header = {};
	stream.read(reinterpret_cast<char *>(header.data()), header.size());
	if (!stream || std::memcmp(header.data(), "BM", 2) != 0)
		return "found no BMP";
	const auto width = little_endian<std::uint32_t>(&header[18]);
	const auto height = static_cast<std::int32_t>(little_endian<std::uint32_t>(&header[22]));
	const auto bits = little_endian<std::uint16_t>(&header[28]);
	if (bits != 24 && bits != 32)
		return "found a BMP of " + std::to_string(bits) + " bits a pixel, neither 24 nor 32";
	if (height <= 0)
		return "found a BMP with its rows from the top down";
	if (bits == 24 && width % 4)
		return "found a BMP of 24 bits a pixel whose width is no multiple of 4";
	return "";
}

} // namespace

bool can_be_read(const std::string &path)
{
	std::error_code error;
	return std::filesystem::is_regular_file(path, error) && std::ifstream(path);
}

PictureFormat picture_format(const std::string &path)
{
	if (path.ends_with(".bmp"))
		return PictureFormat::bmp;
	return path.ends_with(".png") ? PictureFormat::png : PictureFormat::unknown;
}

std::string picture_fault(const std::string &path)
{
	if (!can_be_read(path))
		return "found nothing that can be read";
	switch (picture_format(path)) {
	case PictureFormat::bmp:
		return bmp_fault(path);
	case PictureFormat::png:
		return png_fault(path);
	default:
		return "found another ending";
	}
}
