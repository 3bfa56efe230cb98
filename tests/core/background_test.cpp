#include <offscreen_test.h>

namespace
{

constexpr Pixel kPictures[3] = {kRed, kGreen, {0, 0, 0, 128}};

struct BackgroundTest : OffscreenTest {
	Backgroud_animationpara para = whole_viewport<Backgroud_animationpara>();

	void SetUp() override
	{
		add_picture(para.textures, kPictures[0]);
	}

	unsigned int create(int pictures, uint32_t in_frame)
	{
		para.in_frame = in_frame;
		for (int i = 1; i < pictures; i++)
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
		if (fades) {
			EXPECT_EQ(drawn.prealpha1, progress);
		}
		EXPECT_TRUE(drawn.repaint);
	}

	void update(unsigned int id, UpdateMode mode)
	{
		para.update = mode;
		UpdateAnimationObj(id, &para);
	}

	/* The picture whose texture stands first. */
	Pixel picture(unsigned int id)
	{
		return read_texture(object(id).renderobj->textures[0], 1, 1)[0];
	}
};

TEST_F(BackgroundTest, ShowsOnePictureFromTheFirstFrame)
{
	const unsigned int id = create(1, 30);
	for (int i = 0; i < 3; i++)
		expect_frame(id, -1);
	EXPECT_EQ(object(id).curframeno, 3U);
}

TEST_F(BackgroundTest, FadesToTheSecondPictureAndStaysThere)
{
	const unsigned int id = create(2, 3);
	for (int frame = 0; frame <= 3; frame++) {
		expect_frame(id, static_cast<float>(frame) / 3.0f);
		EXPECT_EQ(bound_texture(0), object(id).renderobj->textures[frame == 3 ? 1 : 0]);
		EXPECT_EQ(bound_texture(1), object(id).renderobj->textures[frame == 3 ? 0 : 1]);
	}
	EXPECT_EQ(picture(id), kGreen);
	expect_frame(id, -1);

	/* New pictures start over, a new strip does not. */
	update(id, UPD_TEXS);
	expect_frame(id, 0);
	EXPECT_EQ(picture(id), kRed);
	/* The record is replaced as a whole, the fade's target with it: a caller names it anew. */
	para.textures.mask_index = 1;
	update(id, UPD_COORDS);
	expect_frame(id, 1 / 3.0f);
	para.textures.mask_index = ANIMATION_NO_TEXTURE;
	update(id, UPD_MISC);
	expect_frame(id, -1);
}

TEST_F(BackgroundTest, FadesThroughAnAlphaTexture)
{
	para.textures.alpha_index = 2;
	const unsigned int id = create(3, 1);
	for (float progress : {0.0f, 1.0f, -1.0f}) {
		expect_frame(id, progress);
		EXPECT_TRUE(object(id).renderobj->blendingmode & BLD_ALPHA_MASK);
		EXPECT_EQ(bound_texture(2), object(id).renderobj->textures[2]);
	}
}

TEST_F(BackgroundTest, DoesNotFadeInNoTime)
{
	const unsigned int id = create(2, 0);
	for (int i = 0; i < 3; i++)
		expect_frame(id, -1);
	EXPECT_EQ(picture(id), kRed);
	EXPECT_EQ(object(id).curframeno, 3U);
}

TEST_F(BackgroundTest, CountsPictures)
{
	struct Case {
		int textures;
		uint16_t mask, alpha;
		RenderMode expected;
		float first_progress;
	};
	for (const Case &c : {Case{0, 128, 128, RENDER_CONSTANT, -1}, {1, 128, 0, RENDER_CONSTANT, -1},
	         {2, 1, 1, RENDER_TEXTURED, 0}, {2, 128, 1, RENDER_TEXTURED, -1},
	         {2, 0, 1, RENDER_CONSTANT, 0}, {3, 128, 1, RENDER_TEXTURED, 0}}) {
		para = whole_viewport<Backgroud_animationpara>();
		para.textures.mask_index = c.mask;
		para.textures.alpha_index = c.alpha;
		para.in_frame = 4;
		for (int i = 0; i < c.textures; i++)
			add_picture(para.textures, kPictures[i]);
		const unsigned int id = CreateAnimationObj(ANI_BACKGROUND, &para);
		expect_frame(id, c.first_progress);
		EXPECT_EQ(object(id).renderobj->rendermode, c.expected) << c.textures << ", " << c.mask;
		RemoveAnimationObjReal(id);
	}
}

TEST_F(BackgroundTest, TakesAnUpdateBeforeItsFirstFrame)
{
	const unsigned int early = create(1, 0);
	update(early, UPD_COORDS); /* counts as everything */
	expect_frame(early, -1);
	EXPECT_EQ(object(early).renderobj->tex_num, 1U);

	const unsigned int empty = create(1, 0);
	update(empty, UPD_MISC); /* nothing is set up */
	expect_frame(empty, -1);
	EXPECT_EQ(object(empty).renderobj->coordnum, 0U);
	EXPECT_EQ(object(empty).curframeno, 65536U);
	update(empty, UPD_COORDS);
	expect_frame(empty, -1);
	EXPECT_EQ(object(empty).renderobj->coordnum, 4U);
	EXPECT_EQ(object(empty).renderobj->tex_num, 0U);

	object(early).curframeno = 65535; /* after 22 minutes */
	update(early, UPD_COORDS);
	expect_frame(early, -1);
	EXPECT_EQ(object(early).curframeno, 1U);
}

TEST_F(BackgroundTest, GoesOnWithoutAPictureItCannotLoad)
{
	para.textures.mode = TEX_BMP;
	strcpy(para.textures.textures_name[0], "missing.bmp");
	testing::internal::CaptureStderr();
	const unsigned int id = create(1, 0);
	expect_frame(id, -1);
	expect_frame(id, -1); /* no second try */
	EXPECT_EQ(testing::internal::GetCapturedStderr(), "cannot open bmp file: missing.bmp\n");
	EXPECT_EQ(object(id).renderobj->rendermode, RENDER_TEXTURED);
}

} // namespace
