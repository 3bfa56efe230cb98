/* Picture files that will not show, or not as they are meant. */
#include <probe/checks.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>

#include <sys/stat.h>

#include <probe/findings.h>

namespace
{

struct CloseFile {
	void operator()(FILE *file) const
	{
		std::fclose(file);
	}
};
using FilePtr = std::unique_ptr<FILE, CloseFile>;

constexpr unsigned kLongestPngSide = 2304;
constexpr std::uint8_t kPngSignature[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'};
constexpr std::uint8_t kPngAlphaBit = 4; /* of the colour type */
constexpr std::size_t kBmpHeader = 54;

std::uint32_t big_endian(const std::uint8_t *bytes)
{
	return std::uint32_t(bytes[0]) << 24 | bytes[1] << 16 | bytes[2] << 8 | bytes[3];
}

std::int32_t little_endian(const std::uint8_t *bytes)
{
	return static_cast<std::int32_t>(
	    bytes[0] | bytes[1] << 8 | bytes[2] << 16 | std::uint32_t(bytes[3]) << 24);
}

/* True if a transparent colour stands before the pixels. The file is behind its header chunk. */
bool has_transparent_colour(FILE *file)
{
	std::uint8_t head[8];
	while (std::fread(head, sizeof head, 1, file) == 1) {
		if (std::memcmp(head + 4, "tRNS", 4) == 0)
			return true;
		if (std::memcmp(head + 4, "IDAT", 4) == 0)
			return false;
		if (fseeko(file, off_t{big_endian(head)} + 4, SEEK_CUR) != 0)
			return false;
	}
	return false;
}

void check_png(FILE *file, const Finding &about, const char *path)
{
	Finding finding = about;
	std::uint8_t head[33]; /* the signature and the header chunk */
	if (std::fread(head, sizeof head, 1, file) != 1 ||
	    std::memcmp(head, kPngSignature, sizeof kPngSignature) != 0) {
		finding.cause = "picture-not-png";
		finding.wrong = words("%s is no PNG file", path);
		finding.remedy = "give a PNG file, or the mode that the file has";
		return tell(finding);
	}
	const std::uint32_t width = big_endian(head + 16);
	const std::uint32_t height = big_endian(head + 20);
	if (width > kLongestPngSide || height > kLongestPngSide) {
		finding.cause = "picture-too-large";
		finding.wrong =
		    words("%s has %u x %u pixels: a side has 2304 at most", path, width, height);
		finding.remedy = "scale the picture down";
		return tell(finding);
	}
	if ((head[25] & kPngAlphaBit) || has_transparent_colour(file))
		return;
	finding.cause = "png-without-alpha";
	finding.wrong = words("%s has no alpha channel: it is not loaded, and shows black", path);
	finding.remedy = "save it with an alpha channel (RGBA), if need be fully opaque";
	tell(finding);
}

/* The library looks at no signature either. */
void check_bmp(FILE *file, const Finding &about, const char *path)
{
	Finding finding = about;
	finding.remedy = "give a BMP file of 32 bits a pixel, its bottom row first";
	std::uint8_t head[kBmpHeader] = {};
	const bool is_whole = std::fread(head, sizeof head, 1, file) == 1;
	const int bits = head[28] | head[29] << 8;
	const std::int32_t width = little_endian(head + 18);
	const std::int32_t height = little_endian(head + 22);
	if (!is_whole || (bits != 32 && bits != 24) || width <= 0 || height <= 0) {
		finding.cause = "picture-not-bmp";
		finding.wrong =
		    words("%s is not loaded: %d bits a pixel, %d x %d pixels", path, bits, width, height);
		tell(finding);
	} else if (bits == 24) {
		finding.cause = "bmp-24-bit";
		finding.wrong = words("%s has 24 bits a pixel: red and blue are exchanged%s", path,
		    width % 4 != 0 ? ", and its rows are skewed" : "");
		tell(finding);
	}
}

} // namespace

void check_picture_file(
    const char *call, const char *path, TextureDataMode mode, unsigned int object)
{
	if (!path)
		return;
	Finding about{"picture-unreadable", call, object, {}, "name a file that the program can read"};
	struct stat facts;
	if (stat(path, &facts) == 0 && !S_ISREG(facts.st_mode)) {
		about.wrong = words("%s is no regular file", path);
		return tell(about);
	}
	const FilePtr file(std::fopen(path, "re"));
	if (!file) {
		about.wrong = words("%s: %s", path, std::strerror(errno));
		return tell(about);
	}
	if (mode == TEX_PNG)
		check_png(file.get(), about, path);
	else
		check_bmp(file.get(), about, path);
}
