#include <animation/animation.h>

#include <malloc.h>

#include <algorithm>
#include <random>

#include <png.h>

#include <offscreen_test.h>
#include <picture_files.h>

namespace
{

constexpr Pixel kMarker = {1, 2, 3, 4};

struct ImageLoadingTest : OffscreenTest {
	TempFolder folder;
	GLuint texture = solid_texture(kMarker);
	std::size_t descriptors = open_descriptors();
	std::size_t memory = mallinfo2().uordblks;

	void TearDown() override
	{
		DeleteTexture(texture);
		OffscreenTest::TearDown();
	}

	/* Loads with the texture bound, and keeps what is printed on both channels. */
	template <class Load>
	int load(Load loader)
	{
		glBindTexture(GL_TEXTURE_2D, texture);
		testing::internal::CaptureStdout();
		testing::internal::CaptureStderr();
		const int result = loader();
		out = testing::internal::GetCapturedStdout();
		err = testing::internal::GetCapturedStderr();
		return result;
	}

	int load_bmp(const Bytes &content)
	{
		const std::string path = folder.file("picture", content);
		return load([&] { return load_texture_bmp(texture, path.c_str()); });
	}

	int load_png(const Bytes &content)
	{
		const std::string path = folder.file("picture", content);
		return load([&] { return load_texture_png(texture, path.c_str()); });
	}

	void expect_no_leak() const
	{
		EXPECT_EQ(open_descriptors(), descriptors);
		EXPECT_LT(mallinfo2().uordblks, memory + 100000);
	}

	bool is_untouched()
	{
		return read_texture(texture, 1, 1)[0] == kMarker;
	}

	std::string out;
	std::string err;
};

TEST_F(ImageLoadingTest, TakesTheFourPixelTypes)
{
	const Bytes bytes = {10, 20, 30, 40, 50, 60};
	auto upload = [&](int type) {
		EXPECT_EQ(load([&] { return load_texture(texture, 1, 1, type, bytes.data()); }), 0);
		EXPECT_EQ(out + err, "");
	};
	upload(GL_BGRA_EXT);
	EXPECT_EQ(read_texture(texture, 1, 1)[0], (Pixel{10, 20, 30, 40}));
	upload(GL_RGB);
	EXPECT_EQ(read_texture(texture, 1, 1)[0], (Pixel{30, 20, 10, 255}));
	upload(GL_LUMINANCE);
	upload(GL_LUMINANCE_ALPHA);

	EXPECT_EQ(load([&] { return load_texture(texture, 1, 1, GL_RGBA, bytes.data()); }), -1);
	EXPECT_EQ(out, "Incorrect texture type 1908\n");
	const std::string path = folder.file("raw", bytes);
	EXPECT_EQ(load([&] {
		return load_texture_from_raw_file(texture, 1, 1, GL_LUMINANCE, path.c_str(), 0);
	}),
	    -1);
}

TEST_F(ImageLoadingTest, ReadsBitmapsAsTheyLie)
{
	Bytes pixels(64 * 32 * 4);
	std::mt19937 random(1);
	std::ranges::generate(pixels, [&] { return static_cast<std::uint8_t>(random()); });
	ASSERT_EQ(load_bmp(bmp({.width = 64, .height = 32, .offset = 138}, pixels)), 0);
	const auto seen = read_texture(texture, 64, 32);
	EXPECT_EQ(memcmp(seen.data(), pixels.data(), pixels.size()), 0);

	/* 24 bits: the first byte is red, and rows have no padding. What follows is ignored. */
	ASSERT_EQ(
	    load_bmp(bmp({.width = 1, .height = 2, .bits_per_pixel = 24}, {1, 2, 3, 4, 5, 6, 7, 8, 9})),
	    0);
	EXPECT_EQ(read_texture(texture, 1, 2), (std::vector<Pixel>{{3, 2, 1}, {6, 5, 4}}));
	EXPECT_EQ(out + err, "");
}

TEST_F(ImageLoadingTest, ReadsPicturesWithAlpha)
{
	struct Case {
		const char *name;
		Png header;
		Bytes pixels;
		std::vector<Pixel> expected; /* bottom row first; none: refused */
	};
	const Case cases[] = {
	    {"colour", {1, 2, PNG_COLOR_TYPE_RGBA}, {1, 2, 3, 4, 5, 6, 7, 8},
	        {{7, 6, 5, 8}, {3, 2, 1, 4}}},
	    {"grey", {1, 1, PNG_COLOR_TYPE_GRAY_ALPHA}, {9, 100}, {{9, 9, 9, 100}}},
	    {"16 bits", {1, 1, PNG_COLOR_TYPE_RGBA, 16}, {1, 0, 2, 0, 3, 0, 255, 255},
	        {{3, 2, 1, 255}}},
	    {"grey with a transparent value", {2, 1, PNG_COLOR_TYPE_GRAY, 8, true}, {0, 7},
	        {{0, 0, 0, 0}, {7, 7, 7, 255}}},
	    {"palette of one bit with a transparent entry", {2, 1, PNG_COLOR_TYPE_PALETTE, 1, true},
	        {0x40}, {{0, 0, 0, 0}, {30, 20, 10, 255}}},
	    {"opaque grey", {1, 1, PNG_COLOR_TYPE_GRAY}, {9}, {}},
	    {"opaque colour", {1, 1, PNG_COLOR_TYPE_RGB}, {1, 2, 3}, {}},
	};
	for (const Case &c : cases) {
		SCOPED_TRACE(c.name);
		const auto width = static_cast<int>(c.header.width);
		const auto height = static_cast<int>(c.header.height);
		EXPECT_EQ(load_png(png(c.header, c.pixels)), c.expected.empty() ? -1 : 0);
		EXPECT_EQ(out + err, "");
		if (!c.expected.empty()) {
			EXPECT_EQ(read_texture(texture, width, height), c.expected);
		}
	}
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
		EXPECT_EQ(load_bmp(bmp(c.header, {pixels.begin(), pixels.begin() + c.pixels})), -1);
		EXPECT_EQ(out.rfind(c.report, 0), 0U) << out << "in place of " << c.report;
	}
	const Bytes header = bmp({}, {});
	for (std::size_t size = 0; size < header.size(); size++)
		EXPECT_EQ(load_bmp({header.begin(), header.begin() + size}), -1) << size;
	EXPECT_TRUE(is_untouched());
	expect_no_leak();
}

/* No damage crashes, leaks or changes the texture unless the picture loads all the same. */
TEST_F(ImageLoadingTest, SurvivesDamagedPictures)
{
	std::mt19937 random(20);
	Bytes pixels(24 * 17 * 4);
	std::ranges::generate(pixels, [&] { return static_cast<std::uint8_t>(random()); });
	const Bytes whole = png({24, 17, PNG_COLOR_TYPE_RGBA}, pixels);
	ASSERT_EQ(load_png(whole), 0);

	int refused = 0;
	auto expect_harmless = [&](const Bytes &damaged, int if_refused = 0) {
		glBindTexture(GL_TEXTURE_2D, texture);
		load_texture(texture, 1, 1, GL_BGRA_EXT, &kMarker);
		const int result = load_png(damaged);
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

	/* Chunks that claim gigabytes, of a known and of an unknown kind. */
	for (const char *kind : {"iCCP", "zTXt", "IDAT", "abCd"}) {
		Bytes huge = whole;
		const Bytes length = {0x7F, 0xFF, 0xFF, 0xF0};
		huge.insert(huge.begin() + 33, kind, kind + 4);
		huge.insert(huge.begin() + 33, length.begin(), length.end());
		expect_harmless(huge, -1);
	}
	for (const auto &[width, height] : {std::pair{2305u, 100u}, {2305u, 2305u}})
		expect_harmless(png({width, height, PNG_COLOR_TYPE_GRAY_ALPHA}, Bytes(4610)), -1);
	expect_no_leak();
	EXPECT_EQ(load_png(png({2304, 2304, PNG_COLOR_TYPE_GRAY_ALPHA}, Bytes(4608))), 0);
}

} // namespace
