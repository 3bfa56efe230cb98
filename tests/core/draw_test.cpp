#include <maths/maths.h>

#include <offscreen_test.h>

/* Render3DFrame on records and textures of the test's own. */

namespace
{

struct DrawTest : OffscreenTest {
	float position3d[12];
	float texcoord[3][8]; /* of a unit: everywhere the middle of its column of four */
	RenderObj quad = {.coordnum = 4,
	    .position3d = position3d,
	    .texturecoord0 = texcoord[0],
	    .texturecoord1 = texcoord[1],
	    .texturecoord2 = texcoord[2],
	    .constant_color = {0.2f, 0.9f, 0.4f, 0.8f}};

	void SetUp() override
	{
		Convert2DTo3DPosition(viewport_strip, position3d, 4);
		for (int unit = 0; unit < 3; unit++)
			for (int i = 0; i < 8; i++)
				texcoord[unit][i] = i % 2 ? 0.5f : (2 * unit + 1) / 8.0f;
		myIdentity(quad.mvp);
		myPersp(quad.mvp, 90.0f, 2.0f, 0.1f, 1000.0f);
	}

	/* Has the colour only where the unit's coordinates look. */
	static GLuint texture_of(unsigned int unit, Pixel pixel)
	{
		Pixel row[4] = {};
		row[unit] = pixel;
		return CreateTexture(4, 1, GL_BGRA_EXT, row);
	}

	/* Draws with these textures on the units, and deletes them. */
	void draw(std::initializer_list<GLuint> textures)
	{
		unsigned int unit = GL_TEXTURE0;
		for (const GLuint texture : textures) {
			glActiveTexture(unit++);
			glBindTexture(GL_TEXTURE_2D, texture);
		}
		Render3DFrame(window, &quad);
		for (const GLuint texture : textures)
			DeleteTexture(texture);
	}
};

TEST_F(DrawTest, CombinesTexturesOnBothViewports)
{
	struct Case {
		unsigned int blendingmode;
		RenderMode rendermode;
		std::uint8_t second_alpha;
		float prealpha0, prealpha1;
		Pixel expected;
	};
	const Case cases[] = {
	    {BLD_SOURCE, RENDER_TEXTURED, 255, 0.7f, 1, {65, 80, 114}},
	    {BLD_SOURCE | BLD_ALPHA_MASK, RENDER_TEXTURED, 255, 1, 1, {68, 78, 105}},
	    {BLD_SOURCE, RENDER_CONSTANT, 255, 0.7f, 1, {97, 155, 42}},
	    /* Just above and just below an alpha of 0.9. */
	    {BLD_SOURCE_MASK, RENDER_TEXTURED, 235, 0.7f, 1, {210, 143, 21}},
	    {BLD_SOURCE_MASK, RENDER_TEXTURED, 229, 0.7f, 1, {65, 80, 114}},
	    {BLD_SOURCE_MASK | BLD_ALPHA_MASK, RENDER_CONSTANT, 255, 0.5f, 0.95f, {167, 114, 24}},
	    {BLD_SOURCE_OVER, RENDER_TEXTURED, 128, 0.4f, 0.8f, {141, 103, 44}},
	    {BLD_SOURCE_OVER | BLD_ALPHA_MASK, RENDER_CONSTANT, 255, 1, 0.25f, {112, 140, 37}},
	    /* Any alpha but 0 counts as 1. */
	    {BLD_SOURCE_SUB, RENDER_TEXTURED, 3, 0.7f, 0.25f, {71, 75, 93}},
	    {BLD_SOURCE_SUB, RENDER_TEXTURED, 0, 0.7f, 0.25f, {65, 80, 114}},
	    {BLD_SOURCE_SUB | BLD_ALPHA_MASK, RENDER_CONSTANT, 255, 1, 0.5f, {93, 103, 35}},
	    {BLD_PRE_ALPHA, RENDER_TEXTURED, 128, 0.5f, 0.8f, {83, 66, 54}},
	    {BLD_PRE_ALPHA | BLD_ALPHA_MASK, RENDER_CONSTANT, 255, 0.7f, 0.6f, {93, 96, 34}},
	};
	constexpr Pixel kBelow = {90, 60, 30};
	glClearColor(30 / 255.0f, 60 / 255.0f, 90 / 255.0f, 1);
	for (const Case &c : cases) {
		quad.blendingmode = static_cast<BlendingMode>(c.blendingmode);
		quad.rendermode = c.rendermode;
		quad.prealpha0 = c.prealpha0;
		quad.prealpha1 = c.prealpha1;
		for (const ViewPortID vp_id : {VP_LCD0, VP_LCD1}) {
			quad.vp_id = vp_id;
			glClear(GL_COLOR_BUFFER_BIT);
			draw({texture_of(0, {40, 100, 200, 180}), texture_of(1, {220, 150, 20, c.second_alpha}),
			    texture_of(2, {1, 2, 3, 160})});
			EXPECT_TRUE(looks_like(pixel_at(vp_id), c.expected))
			    << "blending mode " << c.blendingmode << ", render mode " << c.rendermode;
			EXPECT_EQ(pixel_at(vp_id == VP_LCD0 ? VP_LCD1 : VP_LCD0), kBelow);
		}
	}
}

TEST_F(DrawTest, ConvertsRawVideoFrames)
{
	struct Sample {
		std::uint8_t luma, chroma[2]; /* as they lie in memory: the first is sampled as red */
		Pixel expected;
	};
	quad.rendermode = RENDER_VIDEO_RAW_NV12;
	for (const Sample &sample : {Sample{16, {128, 128}, {1, 0, 1}},
	         {235, {128, 128}, {255, 255, 255}}, {81, {90, 240}, {28, 66, 255}},
	         {145, {54, 34}, {56, 198, 0}}, {41, {240, 110}, {173, 0, 0}},
	         {170, {100, 150}, {144, 185, 227}}, {0, {0, 255}, {0, 3, 253}}}) {
		draw({CreateTexture(1, 1, GL_LUMINANCE, &sample.luma),
		    CreateTexture(1, 1, GL_LUMINANCE_ALPHA, sample.chroma)});
		EXPECT_TRUE(looks_like(pixel_at(VP_LCD0), sample.expected)) << +sample.luma;
	}
}

} // namespace
