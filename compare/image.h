/* PNG files as pixels, and how two of them differ. */
#pragma once

#include <cstdint>
#include <string>
#include <vector>

struct Image {
	unsigned width = 0;
	unsigned height = 0;
	std::vector<std::uint8_t> rgb; /* the top row first */
};

/* Empty if there is no such file, or none that can be read. */
Image read_image(const std::string &path);

/* Small rather than fast. */
bool write_image(const Image &image, const std::string &path);
std::vector<std::uint8_t> png_of(const Image &image);

struct Difference {
	std::uint64_t pixels = 0; /* in which a channel differs by more than the tolerance */
	int largest = 0;          /* step of a channel, from 0 to 255 */
	unsigned left = 0, top = 0, right = 0, bottom = 0; /* of these pixels, both ends within */
};

/* Images of different size differ in all pixels. */
Difference compare(const Image &a, const Image &b, int tolerance);

/* What differs in colour, the stronger the brighter; the rest of a dark and grey. */
Image picture_of_difference(const Image &a, const Image &b);
