#include <animation/animation.h>

#include <cmath>
#include <limits>
#include <vector>

#include <gtest/gtest.h>

namespace
{

using Floats = std::vector<float>;

void expect_near(const Floats &seen, const Floats &expected, float tolerance)
{
	ASSERT_EQ(seen.size(), expected.size());
	for (std::size_t i = 0; i < seen.size(); i++)
		EXPECT_NEAR(seen[i], expected[i], tolerance) << "value " << i;
}

constexpr float kGuard = 12345;

Floats converted(const Floats &pixels)
{
	Floats position(pixels.size() / 2 * 3 + 1, kGuard);
	Convert2DTo3DPosition(pixels.data(), position.data(), static_cast<uint32_t>(pixels.size() / 2));
	EXPECT_EQ(position.back(), kGuard);
	position.pop_back();
	return position;
}

/* The pixels that a moved quad lies on. */
Floats moved(const Floats &pixels, float angle, float h, float v, float scale)
{
	const std::size_t count = pixels.size() / 2;
	Floats position(3 * count + 1, kGuard);
	Gen3DPosition(pixels.data(), position.data(), static_cast<uint32_t>(count), angle, h, v, scale);
	EXPECT_EQ(position.back(), kGuard);
	Floats result;
	for (std::size_t i = 0; i < count; i++) {
		result.push_back((position[3 * i] / 2 + 1) * 576);
		result.push_back((1 - position[3 * i + 1]) * 288);
		EXPECT_EQ(position[3 * i + 2], -1);
	}
	return result;
}

const Floats kQuad = {100, 200, 300, 200, 100, 100, 300, 100};

TEST(Coordinates, FillTheViewportFromEdgeToEdge)
{
	EXPECT_EQ(converted({0, 0, 1152, 576, 576, 288, 1152, 0, -1152, 864}),
	    (Floats{-2, 1, -1, 2, -1, -1, 0, 0, -1, 2, 1, -1, -6, -2, -1}));
	EXPECT_EQ(converted({}), Floats());
	/* Divided in double and rounded once, then doubled. */
	const auto x = static_cast<float>(2.0 * 333.25 / 1152.0 - 1.0);
	EXPECT_EQ(converted({333.25f, 100.5f}),
	    (Floats{x + x, static_cast<float>(1.0 - 2.0 * 100.5 / 576.0), -1}));
}

TEST(Coordinates, SpreadATexture)
{
	Floats four(8);
	GenTextureCoord(four.data(), 4, true);
	EXPECT_EQ(four, (Floats{0, 0, 1, 0, 0, 1, 1, 1}));
	Floats six(12);
	GenTextureCoord(six.data(), 6, true);
	EXPECT_EQ(six, (Floats{0, 0, 1, 0, 0, 0.5f, 1, 0.5f, 0, 1, 1, 1}));
	GenTextureCoord(six.data(), 6, false);
	EXPECT_EQ(six, (Floats{0, 1, 1, 1, 0, 0.5f, 1, 0.5f, 0, 0, 1, 0}));

	GenTextureCoord_GRAD(four.data(), 4, 0.2f, 0.1f, 0.8f, 0.9f);
	expect_near(four, {0.2f, 0.1f, 0.8f, 0.1f, 0.2f, 0.9f, 0.8f, 0.9f}, 1e-7f);
	GenTextureCoord_GRAD(six.data(), 6, 0, 0.6f, 1, 1);
	expect_near(six, {0, 0.6f, 1, 0.6f, 0, 0.8f, 1, 0.8f, 0, 1, 1, 1}, 1e-7f);

	const Floats cut = {-0.5f, 1.5f, 0.25f, 0.75f, 0, 1, -std::numeric_limits<float>::infinity(),
	    std::numeric_limits<float>::infinity()};
	for (bool binversed : {false, true}) {
		GenTextureCoord_cut(four.data(), cut.data(), 4, binversed);
		EXPECT_EQ(four, (Floats{0, 1, 0.25f, 0.75f, 0, 1, 0, 1}));
	}
}

TEST(Coordinates, StayFiniteOnShortStrips)
{
	for (uint32_t count : {0u, 1u, 2u, 3u}) {
		Floats window(2 * count + 1, kGuard);
		GenTextureCoord_GRAD(window.data(), count, 0.1f, 0.2f, 0.3f, 0.4f);
		Floats whole(2 * count + 1, kGuard);
		GenTextureCoord(whole.data(), count, true);
		for (float value : window)
			EXPECT_TRUE(std::isfinite(value)) << count;
		for (float value : whole)
			EXPECT_TRUE(std::isfinite(value)) << count;
		EXPECT_EQ(whole.back(), kGuard);
		EXPECT_EQ(window.back(), kGuard);
	}
}

TEST(Coordinates, MoveAQuad)
{
	struct Case {
		const char *name;
		float angle, h, v, scale;
		Floats expected;
	};
	const Case cases[] = {
	    {"unmoved", 0, 0, 0, 1, kQuad},
	    {"a quarter turn counter-clockwise", 90, 0, 0, 1, {250, 250, 250, 50, 150, 250, 150, 50}},
	    {"up by half a height", 0, 0, 0.5f, 1, {100, 150, 300, 150, 100, 50, 300, 50}},
	    {"right by a width", 0, 1, 0, 1, {300, 200, 500, 200, 300, 100, 500, 100}},
	    {"half as large", 0, 0, 0, 0.5f, {150, 175, 250, 175, 150, 125, 250, 125}},
	    {"gone", 30, 0, 0, 0, {200, 150, 200, 150, 200, 150, 200, 150}},
	    {"turned about the moved centre", 90, 0.5f, -1, 2, {400, 450, 400, 50, 200, 450, 200, 50}},
	};
	for (const Case &c : cases) {
		SCOPED_TRACE(c.name);
		expect_near(moved(kQuad, c.angle, c.h, c.v, c.scale), c.expected, 2e-4f);
	}
	/* A skewed quad is rebuilt upright from its first row's x and both rows' y. */
	expect_near(moved({100, 200, 300, 190, 7, 100, 8, 9}, 0, 0, 0, 1), kQuad, 1e-4f);
}

TEST(Coordinates, ConvertWhatFollowsTheQuadUnmoved)
{
	Floats longer = kQuad;
	longer.insert(longer.end(), {10, 20, 30, 40});
	expect_near(
	    moved(longer, 0, 1, 0, 1), {300, 200, 500, 200, 300, 100, 500, 100, 10, 20, 30, 40}, 1e-4f);
}

TEST(Coordinates, TailorPixels)
{
	constexpr uint32_t kWidth = 100, kHeight = 80, kStride = 420;
	std::vector<unsigned char> padded(std::size_t{kStride} * kHeight);
	std::vector<unsigned char> packed(std::size_t{kWidth} * 4 * kHeight);
	for (uint32_t y = 0; y < kHeight; y++)
		for (uint32_t x = 0; x < kWidth * 4; x++)
			padded[y * kStride + x] = packed[y * kWidth * 4 + x] =
			    static_cast<unsigned char>(y * 7 + x);

	unsigned char *from_packed = TextureTailor(kWidth, kHeight, 0, 10, 20, 30, 40, packed.data());
	unsigned char *from_padded =
	    TextureTailor(kWidth, kHeight, kStride, 10, 20, 30, 40, padded.data());
	for (int y = 0; y < 40; y++)
		for (int x = 0; x < 120; x++) {
			ASSERT_EQ(from_packed[y * 120 + x], packed[(20 + y) * 400 + 40 + x]);
			ASSERT_EQ(from_padded[y * 120 + x], from_packed[y * 120 + x]);
		}
	unsigned char *empty = TextureTailor(kWidth, kHeight, 0, 10, 20, 30, 0, packed.data());
	free(from_packed);
	free(from_padded);
	free(empty);
	EXPECT_EQ(TextureTailor(1, 1, 0, 0, 0, 0xFFFFFFFF, 0xFFFFFFFF, packed.data()), nullptr);
}

} // namespace
