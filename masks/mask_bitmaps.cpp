/*
 * Writes the mask bitmaps of the gradual display: mask_bitmaps FOLDER
 *
 * The line modes move a window of 0.4 of a bitmap's length across it, so that each is transparent
 * up to 0.4 of its length and opaque from 0.6 on, or the other way round; in between lies the soft
 * edge of the wipe. Only the alpha counts. Bitmaps store their bottom row first.
 */
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

namespace
{

constexpr int kLength = 512; /* along the ramp: finer than a step of alpha */
constexpr int kBreadth = 4;

double smooth_ramp(double position)
{
	double t = (position - 0.4) / 0.2;
	if (t <= 0.0)
		return 0.0;
	if (t >= 1.0)
		return 1.0;
	return t * t * (3.0 - 2.0 * t);
}

uint8_t rising_alpha(int pixel)
{
	return static_cast<uint8_t>(std::lround(255.0 * smooth_ramp((pixel + 0.5) / kLength)));
}

struct Bitmap {
	const char *name;
	int width;
	int height;
	uint8_t (*alpha)(int x, int y); /* y from the first stored row, the bottom one */
};

constexpr Bitmap kBitmaps[] = {
    {"GT.bmp", kBreadth, kLength, [](int, int y) { return rising_alpha(y); }},
    {"GB.bmp", kBreadth, kLength, [](int, int y) { return rising_alpha(kLength - 1 - y); }},
    {"GL.bmp", kLength, kBreadth, [](int x, int) { return rising_alpha(kLength - 1 - x); }},
    {"GR.bmp", kLength, kBreadth, [](int x, int) { return rising_alpha(x); }},
    {"white.bmp", kBreadth, kBreadth, [](int, int) { return uint8_t{255}; }},
};

void put(std::vector<uint8_t> &file, uint32_t value, int bytes)
{
	for (int i = 0; i < bytes; i++)
		file.push_back(static_cast<uint8_t>(value >> (8 * i)));
}

std::vector<uint8_t> encode(const Bitmap &bitmap)
{
	constexpr uint32_t kFileHeader = 14;
	constexpr uint32_t kInfoHeader = 40;
	auto pixels = static_cast<uint32_t>(4 * bitmap.width * bitmap.height);
	std::vector<uint8_t> file = {'B', 'M'};
	put(file, kFileHeader + kInfoHeader + pixels, 4);
	put(file, 0, 4);
	put(file, kFileHeader + kInfoHeader, 4); /* where the pixels begin */
	put(file, kInfoHeader, 4);
	put(file, static_cast<uint32_t>(bitmap.width), 4);
	put(file, static_cast<uint32_t>(bitmap.height), 4);
	put(file, 1, 2);  /* plane */
	put(file, 32, 2); /* bits per pixel */
	put(file, 0, 4);  /* uncompressed */
	put(file, pixels, 4);
	file.resize(kFileHeader + kInfoHeader); /* no resolution, no palette */
	for (int y = 0; y < bitmap.height; y++) {
		for (int x = 0; x < bitmap.width; x++) {
			put(file, 0xFFFFFF, 3);
			put(file, bitmap.alpha(x, y), 1);
		}
	}
	return file;
}

} // namespace

int main(int argc, char **argv)
{
	if (argc != 2) {
		fprintf(stderr, "usage: mask_bitmaps FOLDER\n");
		return 2;
	}
	for (const Bitmap &bitmap : kBitmaps) {
		std::string path = std::string(argv[1]) + "/" + bitmap.name;
		std::vector<uint8_t> file = encode(bitmap);
		std::ofstream out(path, std::ios::binary);
		out.write(
		    reinterpret_cast<const char *>(file.data()), static_cast<std::streamsize>(file.size()));
		out.close();
		if (!out) {
			fprintf(stderr, "mask_bitmaps: cannot write %s\n", path.c_str());
			return 1;
		}
	}
	return 0;
}
