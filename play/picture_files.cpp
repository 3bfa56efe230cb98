#include <play/picture_files.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string_view>

namespace
{

constexpr std::uint32_t kLargestPng = 2304;

template <class T>
T little_endian(const std::uint8_t *bytes)
{
	T value = 0;
	for (std::size_t i = 0; i < sizeof value; ++i)
		value = static_cast<T>(value | static_cast<T>(bytes[i]) << (8 * i));
	return value;
}

std::uint32_t big_endian(const std::uint8_t *bytes)
{
	return std::uint32_t(bytes[0]) << 24 | bytes[1] << 16 | bytes[2] << 8 | bytes[3];
}

bool begins(const std::uint8_t *bytes, std::string_view text)
{
	return std::memcmp(bytes, text.data(), text.size()) == 0;
}

/* Of a picture without an alpha channel: what stands before its pixels may name a transparent
 * colour. Chunks are passed by, since memory for what one claims to hold would have no bound. */
bool has_transparent_colour(std::ifstream &stream)
{
	std::array<std::uint8_t, 8> head = {}; /* length and name */
	while (stream.read(reinterpret_cast<char *>(head.data()), head.size())) {
		if (begins(&head[4], "tRNS"))
			return true;
		if (begins(&head[4], "IDAT"))
			return false;
		stream.seekg(std::streamoff(big_endian(head.data())) + 4, std::ios::cur);
	}
	return false;
}

std::string png_fault(const std::string &path)
{
	constexpr std::uint8_t kAlphaBit = 4; /* of the colour type */
	std::ifstream stream(path, std::ios::binary);
	std::array<std::uint8_t, 33> header = {};
	stream.read(reinterpret_cast<char *>(header.data()), header.size());
	if (!stream || !begins(header.data(), "\x89PNG\r\n\x1a\n") || !begins(&header[12], "IHDR"))
		return "found no PNG";
	if (!(header[25] & kAlphaBit) && !has_transparent_colour(stream))
		return "found a PNG without an alpha channel";
	if (big_endian(&header[16]) > kLargestPng || big_endian(&header[20]) > kLargestPng)
		return "found a PNG of more than 2304 x 2304 pixels";
	return "";
}

std::string bmp_fault(const std::string &path)
{
	std::ifstream stream(path, std::ios::binary);
	std::array<std::uint8_t, 54> header = {};
	stream.read(reinterpret_cast<char *>(header.data()), header.size());
	if (!stream || !begins(header.data(), "BM"))
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

/* Of a picture of our own scenes, which the build draws. */
bool has_drawing(const std::string &path)
{
	const std::filesystem::path picture(path);
	return can_be_read(picture.parent_path() / "pictures" / picture.stem() += ".svg");
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
	if (!can_be_read(path) && has_drawing(path))
		return "found only a drawing of it: play the copy of this scene in the build folder";
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
