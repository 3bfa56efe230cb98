/* contact-sheet: many pictures on one sheet, each with its frame number. */
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "scenes/cairo_pointers.h"

namespace
{

constexpr char kUsage[] = "usage: contact-sheet [OPTIONS] OUT.png N=FILE.png...\n"
                          "  --columns N     pictures side by side (2)\n"
                          "  --width N       width of a picture on the sheet in pixels (640)\n"
                          "  --crop X,Y,W,H  the part of every picture that is shown (all of it)\n";

constexpr double kGap = 8;
constexpr double kLabelHeight = 20;

struct Entry {
	std::string label;
	std::string path;
};

struct Area {
	double x, y, width, height;
};

struct Options {
	int columns = 2;
	int width = 640;
	Area crop = {0, 0, 0, 0}; /* no width: the first picture as a whole */
	std::string out;
	std::vector<Entry> entries;
};

bool take_option(const char *name, const char *value, Options *options)
{
	if (std::strcmp(name, "--columns") == 0)
		return (options->columns = std::atoi(value)) > 0;
	if (std::strcmp(name, "--width") == 0)
		return (options->width = std::atoi(value)) > 0;
	Area &crop = options->crop;
	return std::strcmp(name, "--crop") == 0 &&
	       std::sscanf(value, "%lf,%lf,%lf,%lf", &crop.x, &crop.y, &crop.width, &crop.height) ==
	           4 &&
	       crop.width > 0 && crop.height > 0;
}

bool take_entry(const std::string &argument, Options *options)
{
	const std::size_t equals = argument.find('=');
	if (equals == std::string::npos)
		return false;
	options->entries.push_back({argument.substr(0, equals), argument.substr(equals + 1)});
	return true;
}

bool take_arguments(int argc, char **argv, Options *options)
{
	int i = 1;
	for (; i + 1 < argc && std::strncmp(argv[i], "--", 2) == 0; i += 2) {
		if (!take_option(argv[i], argv[i + 1], options))
			return false;
	}
	if (i < argc)
		options->out = argv[i++];
	for (; i < argc; ++i) {
		if (!take_entry(argv[i], options))
			return false;
	}
	return !options->entries.empty();
}

std::vector<SurfacePtr> load_pictures(const std::vector<Entry> &entries)
{
	std::vector<SurfacePtr> pictures;
	for (const Entry &entry : entries) {
		SurfacePtr picture(cairo_image_surface_create_from_png(entry.path.c_str()));
		if (cairo_surface_status(picture.get()) != CAIRO_STATUS_SUCCESS) {
			std::fprintf(
			    stderr, "contact-sheet: no PNG that can be read: %s\n", entry.path.c_str());
			return {};
		}
		pictures.push_back(std::move(picture));
	}
	return pictures;
}

void draw_cell(cairo_t *cr, cairo_surface_t *picture, const std::string &label, const Area &crop,
    const Area &cell)
{
	cairo_set_source_rgb(cr, 0.75, 0.78, 0.84);
	cairo_move_to(cr, cell.x + 2, cell.y + kLabelHeight - 6);
	cairo_show_text(cr, label.c_str());

	cairo_save(cr);
	cairo_translate(cr, cell.x, cell.y + kLabelHeight);
	cairo_rectangle(cr, 0, 0, cell.width, cell.height - kLabelHeight);
	cairo_clip(cr);
	cairo_scale(cr, cell.width / crop.width, cell.width / crop.width);
	cairo_set_source_surface(cr, picture, -crop.x, -crop.y);
	cairo_paint(cr);
	cairo_restore(cr);
}

SurfacePtr draw_sheet(const Options &options, const std::vector<SurfacePtr> &pictures)
{
	Area crop = options.crop;
	if (crop.width == 0) {
		crop.width = cairo_image_surface_get_width(pictures[0].get());
		crop.height = cairo_image_surface_get_height(pictures[0].get());
	}
	const double width = options.width;
	const double height = kLabelHeight + std::round(width * crop.height / crop.width);
	const int count = static_cast<int>(pictures.size());
	const int columns = std::min(options.columns, count);
	const int rows = (count + columns - 1) / columns;
	SurfacePtr sheet(cairo_image_surface_create(CAIRO_FORMAT_RGB24,
	    static_cast<int>(kGap + columns * (width + kGap)),
	    static_cast<int>(kGap + rows * (height + kGap))));

	const ContextPtr context(cairo_create(sheet.get()));
	cairo_t *cr = context.get();
	cairo_set_source_rgb(cr, 0.1, 0.11, 0.14);
	cairo_paint(cr);
	cairo_select_font_face(cr, "DejaVu Sans", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);
	cairo_set_font_size(cr, 13);
	for (int i = 0; i < count; ++i) {
		const int row = i / columns;
		const int column = i % columns;
		const Area cell = {
		    kGap + column * (width + kGap), kGap + row * (height + kGap), width, height};
		draw_cell(cr, pictures[i].get(), options.entries[i].label, crop, cell);
	}
	return sheet;
}

} // namespace

int main(int argc, char **argv)
{
	Options options;
	if (!take_arguments(argc, argv, &options)) {
		std::fputs(kUsage, stderr);
		return 2;
	}
	const std::vector<SurfacePtr> pictures = load_pictures(options.entries);
	if (pictures.empty())
		return 1;
	const SurfacePtr sheet = draw_sheet(options, pictures);
	if (cairo_surface_write_to_png(sheet.get(), options.out.c_str()) != CAIRO_STATUS_SUCCESS) {
		std::fprintf(stderr, "contact-sheet: cannot write %s\n", options.out.c_str());
		return 1;
	}
	return 0;
}
