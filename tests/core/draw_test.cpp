#include <maths/maths.h>

#include <algorithm>
#include <cmath>

#include <offscreen_test.h>

/* Render3DFrame on records and textures of the test's own. */

namespace
{

struct Colour {
	float r, g, b, a;
};

Colour colour(Pixel pixel)
{
	auto channel = [](std::uint8_t value) { return static_cast<float>(value) / 255.0f; };
	return {channel(pixel.r), channel(pixel.g), channel(pixel.b), channel(pixel.a)};
}

Pixel pixel(Colour colour)
{
	auto byte = [](float value) {
		return static_cast<std::uint8_t>(std::lround(std::clamp(value, 0.0f, 1.0f) * 255.0f));
	};
	return {byte(colour.b), byte(colour.g), byte(colour.r), byte(colour.a)};
}

/* What the program puts out, from the colours of the three units. */
Colour combine(const RenderObj &drawn, Colour first, Colour second, Colour third)
{
	Colour out = first;
	switch (drawn.blendingmode & ~BLD_ALPHA_MASK) {
	case BLD_SOURCE:
		out.a = drawn.prealpha0 * first.a;
		break;
	case BLD_SOURCE_MASK:
		out.a = drawn.prealpha0 * first.a;
		if (drawn.prealpha1 * second.a > 0.9f)
			out = {second.r, second.g, second.b, drawn.prealpha1 * second.a};
		break;
	case BLD_SOURCE_OVER: {
		auto mix = [&](float a, float b) {
			return a * (1 - drawn.prealpha1) + b * drawn.prealpha1;
		};
		out = {mix(first.r, second.r), mix(first.g, second.g), mix(first.b, second.b),
		    mix(first.a, second.a)};
		break;
	}
	case BLD_SOURCE_SUB:
		out.a = drawn.prealpha0 * first.a * (second.a > 0 ? 1 - drawn.prealpha1 : 1);
		break;
	case BLD_PRE_ALPHA:
		out.a = drawn.prealpha0 * first.a * drawn.prealpha1 * second.a;
		break;
	}
	if (drawn.blendingmode & BLD_ALPHA_MASK)
		out.a *= third.a;
	return out;
}

Colour over(Colour top, Colour below)
{
	auto blend = [&](float a, float b) { return a * top.a + b * (1 - top.a); };
	return {blend(top.r, below.r), blend(top.g, below.g), blend(top.b, below.b), 1};
}

constexpr Pixel kBelow = {90, 60, 30};
constexpr Pixel kFirst = {40, 100, 200, 180};
constexpr Pixel kSecond = {220, 150, 20};
constexpr Pixel kThird = {1, 2, 3, 160};
constexpr Colour kConstant = {0.2f, 0.9f, 0.4f, 0.8f};

struct DrawTest : OffscreenTest {
	SmallTarget target;
	float position3d[12];
	float texcoord[8];
	RenderObj quad = {};

	void SetUp() override
	{
		Convert2DTo3DPosition(viewport_strip, position3d, 4);
		GenTextureCoord(texcoord, 4, true);
		quad.coordnum = 4;
		quad.position3d = position3d;
		quad.texturecoord0 = quad.texturecoord1 = quad.texturecoord2 = texcoord;
		std::copy_n(&kConstant.r, 4, quad.constant_color);
		quad.prealpha0 = quad.prealpha1 = 1;
		myIdentity(quad.mvp);
		myPersp(quad.mvp, 90.0f, 2.0f, 0.1f, 1000.0f);
	}

	static void bind(unsigned int unit, GLuint texture)
	{
		glActiveTexture(GL_TEXTURE0 + unit);
		glBindTexture(GL_TEXTURE_2D, texture);
	}

	void draw(RenderMode mode)
	{
		quad.rendermode = mode;
		Render3DFrame(window, &quad);
	}
};

TEST_F(DrawTest, CombinesTexturesOnBothViewports)
{
	struct Alphas {
		std::uint8_t second;
		float prealpha0, prealpha1;
	};
	const Alphas alphas[] = {{255, 1, 1}, {255, 0.5f, 0.5f}, {235, 0.7f, 1}, {3, 0.7f, 0.25f},
	    {0, 1, 1}, {128, 0.4f, 0.8f}};
	const BlendingMode modes[] = {
	    BLD_SOURCE, BLD_SOURCE_MASK, BLD_SOURCE_OVER, BLD_SOURCE_SUB, BLD_PRE_ALPHA};

	const GLuint first = solid_texture(kFirst);
	const GLuint third = solid_texture(kThird);
	for (const Alphas &alpha : alphas) {
		Pixel second_pixel = kSecond;
		second_pixel.a = alpha.second;
		const GLuint second = solid_texture(second_pixel);
		quad.prealpha0 = alpha.prealpha0;
		quad.prealpha1 = alpha.prealpha1;
		for (int i = 0; i < 5 * 2 * 2 * 2; i++) {
			const unsigned int mask = i / 5 % 2 * BLD_ALPHA_MASK;
			const RenderMode source = i / 10 % 2 ? RENDER_CONSTANT : RENDER_TEXTURED;
			quad.blendingmode = static_cast<BlendingMode>(modes[i % 5] | mask);
			quad.vp_id = i / 20 % 2 ? VP_LCD1 : VP_LCD0;
			bind(0, first);
			bind(1, second);
			bind(2, third);
			target.clear(kBelow);
			draw(source);

			const Colour colour0 = source == RENDER_CONSTANT ? kConstant : colour(kFirst);
			const Pixel expected = pixel(
			    over(combine(quad, colour0, colour(second_pixel), colour(kThird)), colour(kBelow)));
			const auto other = quad.vp_id == VP_LCD0 ? VP_LCD1 : VP_LCD0;
			EXPECT_TRUE(looks_like(target.at(quad.vp_id), expected))
			    << "blending mode " << quad.blendingmode << ", render mode " << source
			    << ", alpha of unit 1 " << +alpha.second << ", alpha0 " << alpha.prealpha0;
			EXPECT_EQ(target.at(other), kBelow);
		}
		DeleteTexture(second);
	}
	DeleteTexture(first);
	DeleteTexture(third);
}

/* A picture of four corners, on a strip that begins with its bottom edge. */
TEST_F(DrawTest, ShowsAPictureUpright)
{
	const Pixel picture[4] = {kRed, kGreen, kBlue, kWhite}; /* bottom row first */
	const GLuint texture = CreateTexture(2, 2, GL_BGRA_EXT, picture);
	bind(0, texture);
	draw(RENDER_TEXTURED);
	EXPECT_TRUE(looks_like(target.at(VP_LCD0, 0, 7), kRed));
	EXPECT_TRUE(looks_like(target.at(VP_LCD0, 7, 7), kGreen));
	EXPECT_TRUE(looks_like(target.at(VP_LCD0, 0, 0), kBlue));
	EXPECT_TRUE(looks_like(target.at(VP_LCD0, 7, 0), kWhite));
	DeleteTexture(texture);
}

TEST_F(DrawTest, ConvertsRawVideoFrames)
{
	struct Sample {
		std::uint8_t luma, first, second; /* of the chroma pair as it lies in memory */
	};
	for (const Sample &sample : {Sample{16, 128, 128}, {235, 128, 128}, {81, 90, 240},
	         {145, 54, 34}, {41, 240, 110}, {170, 100, 150}, {0, 0, 255}}) {
		const std::uint8_t chroma[2] = {sample.first, sample.second};
		const GLuint plane0 = CreateTexture(1, 1, GL_LUMINANCE, &sample.luma);
		const GLuint plane1 = CreateTexture(1, 1, GL_LUMINANCE_ALPHA, chroma);
		bind(0, plane0);
		bind(1, plane1);
		draw(RENDER_VIDEO_RAW_NV12);

		/* The first chroma byte is sampled as red, the second as alpha. */
		const float y = 1.1643f * static_cast<float>(sample.luma - 16) / 255.0f;
		const float u = static_cast<float>(sample.second) / 255.0f - 0.5f;
		const float v = static_cast<float>(sample.first) / 255.0f - 0.5f;
		const Pixel expected =
		    pixel({y + 2.127982f * u, y - 0.214821f * u - 0.380589f * v, y + 1.2802f * v, 1});
		EXPECT_TRUE(looks_like(target.at(VP_LCD0), expected)) << +sample.luma;
		DeleteTexture(plane0);
		DeleteTexture(plane1);
	}
}

} // namespace
