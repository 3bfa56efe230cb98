#include <device/padded_picture.h>

#include <cstring>

#include <libyuv/convert_from.h>

namespace
{

constexpr unsigned kBorderX = 32;
constexpr unsigned kBorderY = 24;
constexpr unsigned kRowAlignment = 128;
constexpr unsigned kMacroblock = 16;

constexpr unsigned round_up(unsigned value, unsigned unit)
{
	return (value + unit - 1) / unit * unit;
}

/* One plane of pixels of `bytes` each; the image's rows are complete, the border is not. */
struct Plane {
	uint8_t *rows;
	size_t stride;
	unsigned bytes, height;
	unsigned x, y, image_width, image_height;
};

void repeat_pixel(const uint8_t *pixel, unsigned bytes, uint8_t *to, const uint8_t *end)
{
	for (; to < end; to += bytes)
		memcpy(to, pixel, bytes);
}

void extend_edges(const Plane &plane)
{
	uint8_t *const first_row = plane.rows + plane.stride * plane.y;
	uint8_t *const last_row = first_row + plane.stride * (plane.image_height - 1);
	for (uint8_t *row = first_row; row <= last_row; row += plane.stride) {
		uint8_t *const left = row + size_t{plane.x} * plane.bytes;
		uint8_t *const end = left + size_t{plane.image_width} * plane.bytes;
		repeat_pixel(left, plane.bytes, row, left);
		repeat_pixel(end - plane.bytes, plane.bytes, end, row + plane.stride);
	}
	for (uint8_t *row = plane.rows; row < first_row; row += plane.stride)
		memcpy(row, first_row, plane.stride);
	const uint8_t *const end = plane.rows + plane.stride * plane.height;
	for (uint8_t *row = last_row + plane.stride; row < end; row += plane.stride)
		memcpy(row, last_row, plane.stride);
}

} // namespace

PaddedPicture padded_picture(unsigned image_width, unsigned image_height)
{
	return {
	    .width = round_up(image_width + 2 * kBorderX, kRowAlignment),
	    .height = round_up(image_height, kMacroblock) + 2 * kBorderY,
	    .x = kBorderX,
	    .y = kBorderY,
	    .image_width = image_width,
	    .image_height = image_height,
	};
}

size_t size_of(const PaddedPicture &picture)
{
	return size_t{picture.width} * picture.height * 3 / 2;
}

void write_image(const PaddedPicture &picture, const I420Image &image, uint8_t *planes)
{
	const Plane luma = {
	    .rows = planes,
	    .stride = picture.width,
	    .bytes = 1,
	    .height = picture.height,
	    .x = picture.x,
	    .y = picture.y,
	    .image_width = picture.image_width,
	    .image_height = picture.image_height,
	};
	const Plane chroma = {
	    .rows = planes + luma.stride * picture.height,
	    .stride = picture.width,
	    .bytes = 2,
	    .height = picture.height / 2,
	    .x = picture.x / 2,
	    .y = picture.y / 2,
	    .image_width = (picture.image_width + 1) / 2,
	    .image_height = (picture.image_height + 1) / 2,
	};
	const auto image_in = [](const Plane &plane) {
		return plane.rows + plane.stride * plane.y + size_t{plane.x} * plane.bytes;
	};
	const int stride = static_cast<int>(picture.width);
	libyuv::I420ToNV12(image.y, image.y_stride, image.u, image.u_stride, image.v, image.v_stride,
	    image_in(luma), stride, image_in(chroma), stride, static_cast<int>(picture.image_width),
	    static_cast<int>(picture.image_height));
	extend_edges(luma);
	extend_edges(chroma);
}
