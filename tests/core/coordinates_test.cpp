#include <animation/animation.h>

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
		Floats coords(2 * count);
		GenTextureCoord_GRAD(coords.data(), count, 0.1f, 0.2f, 0.3f, 0.4f);
		for (const float value : coords)
			EXPECT_TRUE(std::isfinite(value)) << count;
	}
}

TEST(Coordinates, MoveAQuad)
{
	/* Twice the size, half a width to the right, a height down, and turned counter-clockwise about
	 * its moved centre. A skewed quad is rebuilt upright from its first row's x and both rows' y.
	 */
	const Floats skewed = {100, 200, 300, 190, 7, 100, 8, 9};
	Floats position(12);
	Gen3DPosition(skewed.data(), position.data(), 4, 90, 0.5f, -1, 2);
	expect_near(position, converted({400, 450, 400, 50, 200, 450, 200, 50}), 1e-6f);
	Gen3DPosition(skewed.data(), position.data(), 4, 30, 0, 0, 0);
	expect_near(position, converted({200, 150, 200, 150, 200, 150, 200, 150}), 1e-6f);
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
