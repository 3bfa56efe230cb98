/* render-picture: draws the scenes' pictures at build time, as files of the kinds that the library
 * loads.
 *
 *     render-picture PICTURE.svg OUT.png|OUT.bmp
 *     render-picture --caption TEXT OUT.png|OUT.bmp
 */
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>

#include <librsvg/rsvg.h>
#include <png.h>

#include <scenes/cairo_pointers.h>

namespace
{

SurfacePtr new_surface(double width, double height)
{
	return SurfacePtr(cairo_image_surface_create(CAIRO_FORMAT_ARGB32,
	    static_cast<int>(std::lround(width)), static_cast<int>(std::lround(height))));
}

/* NULL if the file is no SVG of a size in pixels. */
SurfacePtr draw_svg(const char *path)
{
	RsvgHandle *handle = rsvg_handle_new_from_file(path, nullptr);
	if (!handle)
		return nullptr;
	RsvgRectangle page = {};
	SurfacePtr surface;
	if (rsvg_handle_get_intrinsic_size_in_pixels(handle, &page.width, &page.height)) {
		surface = new_surface(page.width, page.height);
		const ContextPtr context(cairo_create(surface.get()));
		if (!rsvg_handle_render_document(handle, context.get(), &page, nullptr))
			surface.reset();
	}
	g_object_unref(handle);
	return surface;
}

SurfacePtr draw_caption(const char *text)
{
	constexpr double kWidth = 280;
	constexpr double kHeight = 36;
	constexpr double kRadius = kHeight / 2;
	SurfacePtr surface = new_surface(kWidth, kHeight);
	const ContextPtr context(cairo_create(surface.get()));
	cairo_t *cr = context.get();
	cairo_arc(cr, kRadius, kRadius, kRadius, M_PI / 2, 3 * M_PI / 2);
	cairo_arc(cr, kWidth - kRadius, kRadius, kRadius, -M_PI / 2, M_PI / 2);
	cairo_set_source_rgba(cr, 0.04, 0.06, 0.12, 0.78);
	cairo_fill(cr);

	cairo_select_font_face(cr, "DejaVu Sans", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);
	cairo_set_font_size(cr, 17);
	cairo_text_extents_t extents;
	cairo_text_extents(cr, text, &extents);
	cairo_move_to(cr, (kWidth - extents.width) / 2 - extents.x_bearing, kHeight * 0.66);
	cairo_set_source_rgb(cr, 0.92, 0.95, 1.0);
	cairo_show_text(cr, text);
	return surface;
}

void append(std::string *bytes, std::uint32_t value, int count)
{
	for (int i = 0; i < count; ++i)
		bytes->push_back(static_cast<char>(value >> (8 * i) & 0xFF));
}

std::string bmp_header(std::uint32_t width, std::uint32_t height)
{
	constexpr std::uint32_t kHeaderSize = 54;
	std::string bytes = "BM";
	append(&bytes, kHeaderSize + width * height * 4, 4);
	append(&bytes, 0, 4);
	append(&bytes, kHeaderSize, 4);
	append(&bytes, kHeaderSize - 14, 4);
	append(&bytes, width, 4);
	append(&bytes, height, 4);
	append(&bytes, 1, 2);
	append(&bytes, 32, 2);
	append(&bytes, 0, 4);
	append(&bytes, width * height * 4, 4);
	bytes.resize(kHeaderSize); /* no resolution, no palette */
	return bytes;
}

/* Cairo multiplies colours by their alpha, a BMP does not. */
std::uint32_t unmultiplied(std::uint32_t pixel)
{
	const std::uint32_t alpha = pixel >> 24;
	if (alpha == 0)
		return 0;
	const auto channel = [&](int shift) {
		return ((pixel >> shift & 0xFF) * 255 + alpha / 2) / alpha << shift;
	};
	return alpha << 24 | channel(16) | channel(8) | channel(0);
}

/* Rows of B, G, R, A without gaps, the top row first. */
std::string pixels_of(cairo_surface_t *surface, int width, int height)
{
	cairo_surface_flush(surface);
	const int stride = cairo_image_surface_get_stride(surface);
	const unsigned char *rows = cairo_image_surface_get_data(surface);
	std::string pixels;
	for (int y = 0; y < height; ++y) {
		for (int x = 0; x < width; ++x) {
			std::uint32_t pixel = 0;
			std::memcpy(&pixel, rows + static_cast<std::ptrdiff_t>(y) * stride + x * 4, 4);
			append(&pixels, unmultiplied(pixel), 4);
		}
	}
	return pixels;
}

bool write_bmp(
    const std::string &pixels, std::uint32_t width, std::uint32_t height, const std::string &path)
{
	std::ofstream file(path, std::ios::binary);
	file << bmp_header(width, height);
	const std::size_t row = static_cast<std::size_t>(width) * 4;
	for (std::size_t offset = pixels.size(); offset > 0; offset -= row)
		file.write(&pixels[offset - row], static_cast<std::streamsize>(row));
	return static_cast<bool>(file.flush());
}

/* Cairo's own writer drops the alpha channel of an opaque picture, which the library asks for. */
bool write_png(
    const std::string &pixels, std::uint32_t width, std::uint32_t height, const std::string &path)
{
	png_image image = {};
	image.version = PNG_IMAGE_VERSION;
	image.width = width;
	image.height = height;
	image.format = PNG_FORMAT_BGRA;
	return png_image_write_to_file(&image, path.c_str(), 0, pixels.data(), 0, nullptr) != 0;
}

bool write_picture(cairo_surface_t *surface, const std::string &path)
{
	const int width = cairo_image_surface_get_width(surface);
	const int height = cairo_image_surface_get_height(surface);
	const std::string pixels = pixels_of(surface, width, height);
	const auto write = path.ends_with(".bmp") ? write_bmp : write_png;
	return write(
	    pixels, static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height), path);
}

} // namespace

int main(int argc, char **argv)
{
	const bool is_caption = argc == 4 && std::strcmp(argv[1], "--caption") == 0;
	if (argc != 3 && !is_caption) {
		std::fprintf(stderr, "usage: render-picture PICTURE.svg OUT | --caption TEXT OUT\n");
		return 2;
	}
	const SurfacePtr surface = is_caption ? draw_caption(argv[2]) : draw_svg(argv[1]);
	if (!surface) {
		std::fprintf(stderr, "render-picture: %s is no SVG that can be drawn\n", argv[1]);
		return 1;
	}
	if (!write_picture(surface.get(), argv[argc - 1])) {
		std::fprintf(stderr, "render-picture: cannot write %s\n", argv[argc - 1]);
		return 1;
	}
	return 0;
}
