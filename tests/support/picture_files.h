/* Picture files: for the loaders, and what the programs wrote. */
#ifndef TESTS_SUPPORT_PICTURE_FILES_H
#define TESTS_SUPPORT_PICTURE_FILES_H

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "files.h"

using Bytes = std::vector<std::uint8_t>;

struct Bmp {
	std::int32_t width = 1;
	std::int32_t height = 1;
	std::uint16_t bits_per_pixel = 32;
	std::uint32_t offset = 54;
};

/* A header, filled up to the offset, and these pixels. */
Bytes bmp(const Bmp &header, const Bytes &pixels);

struct Png {
	std::uint32_t width = 1;
	std::uint32_t height = 1;
	int colour_type;
	int bit_depth = 8;
	bool transparent_grey_0 = false; /* with a transparency chunk */
};

/* The rows of pixels are packed, the top one first; missing ones repeat the last given. */
Bytes png(const Png &header, const Bytes &pixels);

/* A PNG file as R, G, B, the top row first; a failure of the test without one. */
struct Image {
	int width = 0;
	int height = 0;
	Bytes rgb;

	std::array<int, 3> pixel(int x, int y) const;
};
Image read_png(const std::string &path);

#endif
