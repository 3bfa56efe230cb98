#include <animation/animation.h>

#include <malloc.h>

#include <algorithm>
#include <random>

#include <png.h>

#include <caught.h>
#include <offscreen_test.h>
#include <picture_files.h>

namespace
{

constexpr Pixel kMarker = {1, 2, 3, 4};

/* A size from the kernel's account of this process. */
std::size_t status_bytes(const char *name)
{
	const std::string status = read_file("/proc/self/status");
	return std::stoul(status.substr(status.find(name) + strlen(name))) * 1024;
}

struct ImageLoadingTest : OffscreenTest {
	Folder folder;
	GLuint texture = solid_texture(kMarker);
	long descriptors = open_descriptors();
	std::size_t memory = mallinfo2().uordblks;

	void TearDown() override
	{
		EXPECT_EQ(open_descriptors(), descriptors);
		EXPECT_LT(mallinfo2().uordblks, memory + 100000);
		DeleteTexture(texture);
		OffscreenTest::TearDown();
	}

	using Loader = int (*)(GLuint, const char *);

	/* Loads a file with the texture bound, and keeps what is printed. */
	int load(Loader loader, const Bytes &content)
	{
		return load_file(loader, folder.file("picture", content));
	}
	int load_file(Loader loader, const std::string &path)
	{
		glBindTexture(GL_TEXTURE_2D, texture);
		const Caught out(1), err(2);
		const int result = loader(texture, path.c_str());
		printed = out.text() + err.text();
		return result;
	}

	/* The same; the most bytes that the process had beside those before. */
	std::size_t growth(Loader loader, const std::string &path, int expected)
	{
		malloc_trim(0);
		std::ofstream("/proc/self/clear_refs") << 5; /* the peak begins anew */
		const std::size_t before = status_bytes("VmRSS:");
		EXPECT_EQ(load_file(loader, path), expected);
		return status_bytes("VmHWM:") - before;
	}

	bool is_untouched()
	{
		return read_texture(texture, 1, 1)[0] == kMarker;
	}

	std::string printed;
};

TEST_F(ImageLoadingTest, ReadsPictures)
{
	const Png colour = {1, 2, PNG_COLOR_TYPE_RGBA}, grey = {1, 1, PNG_COLOR_TYPE_GRAY_ALPHA},
	          deep = {1, 1, PNG_COLOR_TYPE_RGBA, 16},
	          transparent_grey = {2, 1, PNG_COLOR_TYPE_GRAY, 8, true},
	          palette_of_one_bit = {2, 1, PNG_COLOR_TYPE_PALETTE, 1, true};
	struct Case {
		Loader loader;
		Bytes file;
		int width, height;
		std::vector<Pixel> expected; /* bottom row first */
	};
	const Case cases[] = {
	    {load_texture_bmp, bmp({1, 2, 32, 138}, {1, 2, 3, 4, 5, 6, 7, 8}), 1, 2,
	        {{1, 2, 3, 4}, {5, 6, 7, 8}}},
	    /* The first byte is red, and rows have no padding. What follows is ignored. */
	    {load_texture_bmp, bmp({1, 2, 24}, {1, 2, 3, 4, 5, 6, 7, 8, 9}), 1, 2,
	        {{3, 2, 1}, {6, 5, 4}}},
	    {load_texture_png, png(colour, {1, 2, 3, 4, 5, 6, 7, 8}), 1, 2,
	        {{7, 6, 5, 8}, {3, 2, 1, 4}}},
	    {load_texture_png, png(grey, {9, 100}), 1, 1, {{9, 9, 9, 100}}},
	    {load_texture_png, png(deep, {1, 0, 2, 0, 3, 0, 255, 255}), 1, 1, {{3, 2, 1, 255}}},
	    {load_texture_png, png(transparent_grey, {0, 7}), 2, 1, {{0, 0, 0, 0}, {7, 7, 7, 255}}},
	    {load_texture_png, png(palette_of_one_bit, {0x40}), 2, 1,
	        {{0, 0, 0, 0}, {30, 20, 10, 255}}},
	};
	for (const Case &c : cases) {
		EXPECT_EQ(load(c.loader, c.file), 0);
		EXPECT_EQ(printed, "");
		EXPECT_EQ(read_texture(texture, c.width, c.height), c.expected);
	}
}

TEST_F(ImageLoadingTest, RefusesOtherPixelTypes)
{
	const Loader rgba = [](GLuint tex, const char *data) {
		return load_texture(tex, 1, 1, GL_RGBA, data);
	};
	EXPECT_EQ(load(rgba, {}), -1);
	EXPECT_EQ(printed, "Incorrect texture type 1908\n");
	const Loader luminance = [](GLuint tex, const char *path) {
		return load_texture_from_raw_file(tex, 1, 1, GL_LUMINANCE, path, 0);
	};
	EXPECT_EQ(load(luminance, Bytes(64)), -1);
	EXPECT_EQ(load(load_texture_png, png({1, 1, PNG_COLOR_TYPE_GRAY}, {9})), -1);
	EXPECT_EQ(load(load_texture_png, png({1, 1, PNG_COLOR_TYPE_RGB}, {1, 2, 3})), -1);
	EXPECT_EQ(printed, ""); /* an opaque picture is refused in silence */
	EXPECT_TRUE(is_untouched());
}

TEST_F(ImageLoadingTest, RefusesBrokenBitmaps)
{
	constexpr std::int32_t kHuge = 0x7FFFFFFF;
	const Bytes pixels(64);
	struct Case {
		Bmp header;
		std::size_t pixels;
		const char *report;
	};
	const Case cases[] = {
	    {{4, 4}, 63, "Error in file size != width*height\n"},
	    {{4, 4}, 0, "Error in file size != width*height\n"},
	    {{4, 4, 32, kHuge}, 64, "Error in file size != width*height\n"},
	    {{8192, 8192}, 64, "Error in file size != width*height\n"},
	    {{1, 1, 8}, 64, "1,Invalid number of bits per pixel: 8 in "},
	    {{4, -4}, 64, "Invalid size 4 x -4 "},
	    {{0, 4}, 64, "Invalid size 0 x 4 "},
	    {{kHuge, kHuge}, 64, "Invalid size "},
	    {{0x10000, 0x10000}, 64, "Invalid size "}, /* no byte, in 32 bits */
	    {{1 << 30, 1}, 64, "Invalid size "},
	    {{4, 4, 32, 0xFFFFFF00}, 64, "Invalid size "},
	};
	for (const Case &c : cases) {
		EXPECT_EQ(
		    load(load_texture_bmp, bmp(c.header, {pixels.begin(), pixels.begin() + c.pixels})), -1);
		EXPECT_EQ(printed.rfind(c.report, 0), 0U) << printed << "in place of " << c.report;
	}
	const Bytes header = bmp({}, {});
	for (std::size_t size = 0; size < header.size(); size++)
		EXPECT_EQ(load(load_texture_bmp, {header.begin(), header.begin() + size}), -1) << size;
	EXPECT_TRUE(is_untouched());
}

/* No damage crashes, leaks or changes the texture unless the picture loads all the same. */
TEST_F(ImageLoadingTest, SurvivesDamagedPictures)
{
	std::mt19937 random(20);
	Bytes pixels(24 * 17 * 4);
	std::ranges::generate(pixels, [&] { return static_cast<std::uint8_t>(random()); });
	const Bytes whole = png({24, 17, PNG_COLOR_TYPE_RGBA}, pixels);
	ASSERT_EQ(load(load_texture_png, whole), 0);

	int refused = 0;
	auto expect_harmless = [&](const Bytes &damaged, int if_refused = 0) {
		glBindTexture(GL_TEXTURE_2D, texture);
		load_texture(texture, 1, 1, GL_BGRA_EXT, &kMarker);
		const int result = load(load_texture_png, damaged);
		if (result == 0)
			return;
		refused++;
		EXPECT_TRUE(is_untouched());
		if (if_refused) {
			EXPECT_EQ(result, if_refused);
		}
	};
	for (std::size_t size = 0; size < whole.size(); size += size < 64 ? 1 : 41)
		expect_harmless({whole.begin(), whole.begin() + size}, size < 4 ? -2 : -1);
	for (int i = 0; i < 300; i++) {
		Bytes flipped = whole;
		flipped[random() % flipped.size()] ^= 1u << random() % 8;
		expect_harmless(flipped);
	}
	EXPECT_GT(refused, 300);

	for (const auto &[width, height] : {std::pair{2305u, 100u}, {2305u, 2305u}})
		expect_harmless(png({width, height, PNG_COLOR_TYPE_GRAY_ALPHA}, Bytes(4610)), -1);
}

/* A picture needs its pixels twice, and a little, whatever else its file holds or claims. */
TEST_F(ImageLoadingTest, TakesNoMoreMemoryThanThePixels)
{
	constexpr std::size_t kLittle = 8 << 20;
	const Bytes whole = png({24, 17, PNG_COLOR_TYPE_RGBA}, Bytes(24 * 4));
	for (const char *kind : {"tEXt", "iCCP", "zTXt", "eXIf", "IDAT", "abCd"}) {
		Bytes huge = whole;
		const Bytes length = {0x7F, 0xFF, 0xFF, 0xF0};
		huge.insert(huge.begin() + 33, kind, kind + 4);
		huge.insert(huge.begin() + 33, length.begin(), length.end());
		EXPECT_LT(growth(load_texture_png, folder.file("huge", huge), -1), kLittle) << kind;
	}
	const Bytes largest = png({2304, 2304, PNG_COLOR_TYPE_GRAY_ALPHA}, Bytes(4608));
	EXPECT_LT(growth(load_texture_png, folder.file("largest", largest), 0),
	    std::size_t{2} * 2304 * 2304 * 4 + kLittle);

	const std::string hollow = folder.file("hollow", bmp({32768, 32768}, {}));
	for (const char *report : {"Error in file size", "Invalid size 32768 x 32768"}) {
		EXPECT_LT(growth(load_texture_bmp, hollow, -1), kLittle);
		EXPECT_EQ(printed.rfind(report, 0), 0U) << printed;
		std::filesystem::resize_file(hollow, 5LL << 30);
	}
}

} // namespace
