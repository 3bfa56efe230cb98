/* Picture files for the loaders, whole and damaged. */
#ifndef TESTS_SUPPORT_PICTURE_FILES_H
#define TESTS_SUPPORT_PICTURE_FILES_H

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

using Bytes = std::vector<std::uint8_t>;

/* A folder that goes with its files. */
class TempFolder
{
public:
	TempFolder();
	~TempFolder();
	TempFolder(const TempFolder &) = delete;
	TempFolder &operator=(const TempFolder &) = delete;

	/* The path of a new file of this content. */
	std::string file(const std::string &name, const Bytes &content) const;

	std::filesystem::path path;
};

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

#endif
