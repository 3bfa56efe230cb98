#include <animation/animation.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include <gtest/gtest.h>

#include <table.h>

namespace
{

using Floats = std::vector<float>;

Floats converted(const Floats &pixels)
{
	Floats position(pixels.size() / 2 * 3);
	Convert2DTo3DPosition(pixels.data(), position.data(), static_cast<uint32_t>(pixels.size() / 2));
	return position;
}

TEST(Coordinates, FillTheViewportFromEdgeToEdge)
{
	EXPECT_EQ(converted({0, 0, 1152, 576, 576, 288, 1152, 0, -1152, 864}),
	    (Floats{-2, 1, -1, 2, -1, -1, 0, 0, -1, 2, 1, -1, -6, -2, -1}));
	/* Divided in double and rounded once, then doubled. */
	EXPECT_EQ(converted({333.25f, 100.5f}), (Floats{-0x1.af8e38p-1f, 0x1.4d5556p-1f, -1}));
}

TEST(Coordinates, SpreadATexture)
{
	Floats four(8);
	GenTextureCoord(four.data(), 4, true);
	EXPECT_EQ(four, (Floats{0, 0, 1, 0, 0, 1, 1, 1}));
	Floats six(12);
	GenTextureCoord(six.data(), 6, false);
	EXPECT_EQ(six, (Floats{0, 1, 1, 1, 0, 0.5f, 1, 0.5f, 0, 0, 1, 0}));

	Floats eight(16);
	GenTextureCoord_GRAD(eight.data(), 8, 0, 0.05f, 1, 0.7f);
	EXPECT_EQ(eight, (Floats{0, 0.05f, 1, 0.05f, 0, 0x1.11111p-2f, 1, 0x1.11111p-2f, 0,
	                     0x1.eeeeeep-2f, 1, 0x1.eeeeeep-2f, 0, 0.7f, 1, 0.7f}));

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
		Floats coords(2 * count);
		GenTextureCoord_GRAD(coords.data(), count, 0.1f, 0.2f, 0.3f, 0.4f);
		for (const float value : coords)
			EXPECT_TRUE(std::isfinite(value)) << count;
	}
}

/* Moved by their own size, scaled, and turned counter-clockwise about the moved centre. A skewed
 * quad is rebuilt upright from its first row's x and both rows' y. */
TEST(Coordinates, MoveAQuad)
{
	for (const auto &row : read_table("quads.txt")) {
		const Floats quad = numbers(row[0]), to = numbers(row[1]), expected = numbers(row[2]);
		Floats position(12);
		Gen3DPosition(quad.data(), position.data(), 4, to[0], to[1], to[2], to[3]);
		EXPECT_EQ(position, expected.size() == 8 ? converted(expected) : expected) << row[1];
	}
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
