#include <offscreen_test.h>

namespace
{

constexpr Pixel kPictures[3] = {kRed, kGreen, {0, 0, 0, 128}};
constexpr uint16_t kNone = ANIMATION_NO_TEXTURE;

struct BackgroundTest : OffscreenTest {
	Backgroud_animationpara para = whole_viewport<Backgroud_animationpara>();

	unsigned int create(int pictures, uint32_t in_frame)
	{
		para.in_frame = in_frame;
		para.textures.tex_num = 0;
		for (int i = 0; i < pictures; i++)
			add_picture(para.textures, kPictures[i]);
		return CreateAnimationObj(ANI_BACKGROUND, &para);
	}

	/* A frame of a cross-fade at progress, or (below 0) of a still picture. */
	void expect_frame(unsigned int id, float progress)
	{
		SCOPED_TRACE(testing::Message() << "frame " << object(id).curframeno);
		ASSERT_TRUE(step(id));
		const RenderObj &drawn = *object(id).renderobj;
		const bool fades = progress >= 0;
		EXPECT_EQ(object(id).status, fades ? ST_FADEIN : ST_SHOW);
		EXPECT_EQ(drawn.blendingmode & ~BLD_ALPHA_MASK, fades ? BLD_SOURCE_OVER : BLD_SOURCE);
		EXPECT_EQ(drawn.prealpha0, fades ? 1.0f - progress : 1.0f);
		EXPECT_EQ(drawn.prealpha1, fades ? progress : drawn.prealpha1);
		EXPECT_TRUE(drawn.repaint);
	}

	void update(unsigned int id, UpdateMode mode, float progress_then)
	{
		para.update = mode;
		UpdateAnimationObj(id, &para);
		expect_frame(id, progress_then);
	}
};

TEST_F(BackgroundTest, FadesToTheSecondPictureAndStaysThere)
{
	para.textures.alpha_index = 2;
	const unsigned int id = create(3, 3);
	const RenderObj &drawn = *object(id).renderobj;
	for (int frame = 0; frame <= 3; frame++) {
		expect_frame(id, static_cast<float>(frame) / 3.0f);
		EXPECT_EQ(bound_texture(0), drawn.textures[frame == 3 ? 1 : 0]);
		EXPECT_EQ(bound_texture(1), drawn.textures[frame == 3 ? 0 : 1]);
		EXPECT_EQ(bound_texture(2), drawn.textures[2]);
		EXPECT_TRUE(drawn.blendingmode & BLD_ALPHA_MASK);
	}
	expect_frame(id, -1);
	EXPECT_EQ(read_texture(bound_texture(0), 1, 1)[0], kGreen);

	/* New pictures start over, a new strip does not. */
	update(id, UPD_TEXS, 0);
	/* The record is replaced as a whole, the fade's target with it: a caller names it anew. */
	para.textures.mask_index = 1;
	update(id, UPD_COORDS, 1 / 3.0f);
}

TEST_F(BackgroundTest, CountsPictures)
{
	struct Case {
		int textures;
		uint16_t mask, alpha;
		RenderMode expected;
		float first_progress;
		uint32_t in_frame = 4;
	};
	for (const Case &c :
	    {Case{0, kNone, kNone, RENDER_CONSTANT, -1}, {1, kNone, kNone, RENDER_TEXTURED, -1},
	        {1, kNone, 0, RENDER_CONSTANT, -1}, {2, kNone, kNone, RENDER_TEXTURED, -1, 0},
	        {2, 1, 1, RENDER_TEXTURED, 0}, {2, kNone, 1, RENDER_TEXTURED, -1},
	        {2, 0, 1, RENDER_CONSTANT, 0}, {3, kNone, 1, RENDER_TEXTURED, 0}}) {
		SCOPED_TRACE(testing::Message() << c.textures << ", " << c.mask << ", " << c.alpha);
		para.textures.mask_index = c.mask;
		para.textures.alpha_index = c.alpha;
		const unsigned int id = create(c.textures, c.in_frame);
		expect_frame(id, c.first_progress);
		EXPECT_EQ(object(id).renderobj->rendermode, c.expected);
	}
}

TEST_F(BackgroundTest, TakesAnUpdateBeforeItsFirstFrame)
{
	const unsigned int id = create(1, 0);
	const RenderObj &drawn = *object(id).renderobj;
	update(id, UPD_MISC, -1); /* nothing is set up */
	EXPECT_EQ(drawn.coordnum, 0U);
	EXPECT_EQ(object(id).curframeno, 65536U);
	update(id, UPD_COORDS, -1);
	EXPECT_EQ(drawn.coordnum, 4U);
	EXPECT_EQ(drawn.tex_num, 0U);

	object(id).curframeno = 65535; /* as after 22 minutes */
	expect_frame(id, -1);
	EXPECT_EQ(object(id).curframeno, 65536U);
	object(id).curframeno = 65535;
	update(id, UPD_COORDS, -1); /* sets everything up anew */
	EXPECT_EQ(object(id).curframeno, 1U);
	EXPECT_EQ(drawn.tex_num, 1U);
}

} // namespace
