#include <compare/image.h>

#include <algorithm>
#include <cstdlib>

#include <png.h>

namespace
{

png_image header_of(const Image &image)
{
	png_image header = {};
	header.version = PNG_IMAGE_VERSION;
	header.width = image.width;
	header.height = image.height;
	header.format = PNG_FORMAT_RGB;
	return header;
}

bool have_one_size(const Image &a, const Image &b)
{
	return a.width == b.width && a.height == b.height;
}

int step_at(const Image &a, const Image &b, std::size_t pixel)
{
	int step = 0;
	for (std::size_t i = 3 * pixel; i < 3 * pixel + 3; ++i)
		step = std::max(step, std::abs(a.rgb[i] - b.rgb[i]));
	return step;
}

} // namespace

Image read_image(const std::string &path)
{
	Image image;
	png_image header = header_of(image);
	if (!png_image_begin_read_from_file(&header, path.c_str()))
		return {};
	header.format = PNG_FORMAT_RGB;
	image.width = header.width;
	image.height = header.height;
	image.rgb.resize(PNG_IMAGE_SIZE(header));
	return png_image_finish_read(&header, nullptr, image.rgb.data(), 0, nullptr) ? image : Image();
}

bool write_image(const Image &image, const std::string &path)
{
	png_image header = header_of(image);
	return png_image_write_to_file(&header, path.c_str(), 0, image.rgb.data(), 0, nullptr) != 0;
}

std::vector<std::uint8_t> png_of(const Image &image)
{
	png_image header = header_of(image);
	png_alloc_size_t size = PNG_IMAGE_PNG_SIZE_MAX(header);
	std::vector<std::uint8_t> png(size);
	if (!png_image_write_to_memory(&header, png.data(), &size, 0, image.rgb.data(), 0, nullptr))
		size = 0;
	png.resize(size);
	return png;
}

Difference compare(const Image &a, const Image &b, int tolerance)
{
	if (!have_one_size(a, b) || a.rgb.empty())
		return {.pixels = std::uint64_t{b.width} * b.height, .largest = 255};
	if (a.rgb == b.rgb)
		return {};
	Difference found = {.left = a.width, .top = a.height};
	for (unsigned y = 0; y < a.height; ++y) {
		for (unsigned x = 0; x < a.width; ++x) {
			const int step = step_at(a, b, std::size_t{y} * a.width + x);
			found.largest = std::max(found.largest, step);
			if (step <= tolerance)
				continue;
			++found.pixels;
			found.left = std::min(found.left, x);
			found.top = std::min(found.top, y);
			found.right = std::max(found.right, x);
			found.bottom = std::max(found.bottom, y);
		}
	}
	return found;
}

Image picture_of_difference(const Image &a, const Image &b)
{
	if (!have_one_size(a, b))
		return b;
	Image picture = a;
	for (std::size_t pixel = 0; pixel < a.rgb.size() / 3; ++pixel) {
		std::uint8_t *const rgb = &picture.rgb[3 * pixel];
		const int step = step_at(a, b, pixel);
		const auto grey = static_cast<std::uint8_t>((rgb[0] + 2 * rgb[1] + rgb[2]) / 16);
		const auto bright = static_cast<std::uint8_t>(std::min(255, 110 + 2 * step));
		rgb[0] = step ? bright : grey;
		rgb[1] = step ? static_cast<std::uint8_t>(bright / 4) : grey;
		rgb[2] = step ? static_cast<std::uint8_t>(255 - bright / 2) : grey;
	}
	return picture;
}
