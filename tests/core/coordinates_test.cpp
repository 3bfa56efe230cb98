#include <animation/animation.h>

#include <algorithm>
#include <cmath>
#include <cstring>
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
	Floats position(12);
	Gen3DPosition(pixels.data(), position.data(), 4, angle, h, v, scale);
	Floats result;
	for (std::size_t i = 0; i < 4; i++) {
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
	GenTextureCoord(six.data(), 6, false);
	EXPECT_EQ(six, (Floats{0, 1, 1, 1, 0, 0.5f, 1, 0.5f, 0, 0, 1, 0}));

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
		Floats coords(2 * count + 1, kGuard);
		GenTextureCoord_GRAD(coords.data(), count, 0.1f, 0.2f, 0.3f, 0.4f);
		EXPECT_TRUE(std::ranges::all_of(coords, [](float value) { return std::isfinite(value); }));
		GenTextureCoord(coords.data(), count, true);
		EXPECT_TRUE(std::ranges::all_of(coords, [](float value) { return std::isfinite(value); }));
		EXPECT_EQ(coords.back(), kGuard);
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

TEST(Coordinates, TailorPixels)
{
	constexpr int kStride = 420;
	std::vector<unsigned char> padded(std::size_t{kStride} * 80);
	for (std::size_t i = 0; i < padded.size(); i++)
		padded[i] = static_cast<unsigned char>(i * 7 + i / kStride);
	unsigned char *cut = TextureTailor(100, 80, kStride, 10, 20, 30, 40, padded.data());
	for (int y = 0; y < 40; y++)
		EXPECT_EQ(memcmp(cut + y * 120, &padded[(20 + y) * kStride + 40], 120), 0) << y;
	free(cut);
	cut = TextureTailor(100, 80, 0, 10, 20, 30, 40, padded.data()); /* packed rows */
	EXPECT_EQ(memcmp(cut + 120, &padded[21 * 400 + 40], 120), 0);
	free(cut);
	EXPECT_EQ(TextureTailor(1, 1, 0, 0, 0, 0xFFFFFFFF, 0xFFFFFFFF, padded.data()), nullptr);
}

} // namespace
