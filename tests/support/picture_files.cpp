#include "picture_files.h"

#include <algorithm>

#include <gtest/gtest.h>
#include <png.h>

namespace
{

void put(Bytes &bytes, std::size_t at, std::uint32_t value, int count)
{
	for (int i = 0; i < count; i++)
		bytes[at + i] = static_cast<std::uint8_t>(value >> (8 * i));
}

void append(png_structp writer, png_bytep data, std::size_t size)
{
	auto *bytes = static_cast<Bytes *>(png_get_io_ptr(writer));
	bytes->insert(bytes->end(), data, data + size);
}

} // namespace

Bytes bmp(const Bmp &header, const Bytes &pixels)
{
	Bytes bytes(header.offset < 54 || header.offset > 1000 ? 54 : header.offset, 0xEE);
	put(bytes, 10, header.offset, 4);
	put(bytes, 18, static_cast<std::uint32_t>(header.width), 4);
	put(bytes, 22, static_cast<std::uint32_t>(header.height), 4);
	put(bytes, 28, header.bits_per_pixel, 2);
	bytes.insert(bytes.end(), pixels.begin(), pixels.end());
	return bytes;
}

Bytes png(const Png &header, const Bytes &pixels)
{
	Bytes bytes;
	png_structp writer = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
	png_infop info = png_create_info_struct(writer);
	png_set_write_fn(writer, &bytes, append, nullptr);
	png_set_compression_level(writer, 1);
	png_set_IHDR(writer, info, header.width, header.height, header.bit_depth, header.colour_type,
	    PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
	png_color palette[] = {{0, 0, 0}, {10, 20, 30}};
	if (header.colour_type == PNG_COLOR_TYPE_PALETTE)
		png_set_PLTE(writer, info, palette, 2);
	png_color_16 transparent = {};
	png_byte palette_alpha = 0;
	if (header.transparent_grey_0)
		png_set_tRNS(writer, info, &palette_alpha, 1, &transparent);
	png_write_info(writer, info);
	const std::size_t row_size = png_get_rowbytes(writer, info);
	const std::size_t rows = pixels.size() / row_size;
	for (std::size_t y = 0; y < header.height; y++)
		png_write_row(writer, pixels.data() + std::min(y, rows - 1) * row_size);
	png_write_end(writer, info);
	png_destroy_write_struct(&writer, &info);
	return bytes;
}

std::array<int, 3> Image::pixel(int x, int y) const
{
	const std::uint8_t *at = &rgb[(static_cast<std::size_t>(y) * width + x) * 3];
	return {at[0], at[1], at[2]};
}

Image read_png(const std::string &path)
{
	png_image png = {};
	png.version = PNG_IMAGE_VERSION;
	if (!png_image_begin_read_from_file(&png, path.c_str())) {
		ADD_FAILURE() << path << ": " << png.message;
		return {};
	}
	png.format = PNG_FORMAT_RGB;
	Image image = {static_cast<int>(png.width), static_cast<int>(png.height), {}};
	image.rgb.resize(PNG_IMAGE_SIZE(png));
	png_image_finish_read(&png, nullptr, image.rgb.data(), 0, nullptr);
	return image;
}
