#include <offscreen_test.h>

/* Whole turns of the render loop: what is drawn over what, when is cleared and swapped. */

namespace
{

/* An object of one colour on a part of a viewport, in eighths of it. */
template <class Para>
unsigned int create(AnimationType type, Para para, Pixel pixel, int left, int right)
{
	const float x1 = static_cast<float>(left * 144), x2 = static_cast<float>(right * 144);
	float strip[8] = {x1, 576, x2, 576, x1, 0, x2, 0};
	para.in_position2d.position2d = strip;
	const std::uint8_t channels[4] = {pixel.r, pixel.g, pixel.b, pixel.a};
	for (int i = 0; i < 4; i++)
		para.textures.constant_color[i] = static_cast<float>(channels[i]) / 255;
	return CreateAnimationObj(type, &para);
}

struct RedrawTest : OffscreenTest {
	VideoRAW_animationpara video_para = whole_viewport<VideoRAW_animationpara>();

	bool turn()
	{
		return draw_turn(offscreen());
	}

	static unsigned int create_background(Pixel pixel, int left, int right)
	{
		return create(
		    ANI_BACKGROUND, whole_viewport<Backgroud_animationpara>(), pixel, left, right);
	}

	/* Shown for so many frames, and once more; then it goes. */
	static unsigned int create_image(
	    Pixel pixel, int left, int right, ViewPortID vp_id = VP_LCD0, uint32_t frames = 1000)
	{
		auto para = whole_viewport<Flash_animationpara>(vp_id);
		para.on_frame = para.off_frame = frames;
		para.on_alpha = para.off_alpha = 1;
		para.loopcnt = 1;
		para.delonloopcnt = true;
		return create(ANI_FLASH, para, pixel, left, right);
	}

	unsigned int create_video()
	{
		video_para.texcoord = viewport_strip;
		return CreateAnimationObj(ANI_VIDEO_RAW, &video_para);
	}

	/* A grey frame for the whole left viewport. */
	void feed(unsigned int id)
	{
		static std::uint8_t pixels[6] = {126, 126, 126, 126, 128, 128};
		BufferInfoRAW frame = {2, 2, 2, pixels, {}};
		video_para.bufinfo = &frame;
		video_para.update = UPD_TEXS;
		UpdateAnimationObj(id, &video_para);
	}
};

constexpr Pixel kGrey = {128, 128, 128};

TEST_F(RedrawTest, StacksBackgroundsAndImagesAndHoldsVideosUp)
{
	create_image(kRed, 0, 4);
	create_image(kGreen, 2, 6);
	create_image(kWhite, 0, 2, VP_LCD1);
	const unsigned int background = create_background(kBlue, 0, 8);
	const unsigned int video = create_video();
	EXPECT_TRUE(turn());
	EXPECT_EQ(pixel_at(VP_LCD0, 1), kRed);
	EXPECT_EQ(pixel_at(VP_LCD0, 3), kGreen); /* the later one on top */
	EXPECT_EQ(pixel_at(VP_LCD0, 7), kBlue);
	EXPECT_EQ(pixel_at(VP_LCD1, 1), kWhite);
	EXPECT_EQ(pixel_at(VP_LCD1, 7), kBlack);

	RemoveAnimationObj(video, DEL_IMMEDIATELY);
	RemoveAnimationObj(background, DEL_IMMEDIATELY);
	EXPECT_TRUE(turn());
	EXPECT_EQ(GetAnimationObjStatus(video), ST_PENDINGDESTROY);
	EXPECT_TRUE(turn());
	EXPECT_EQ(GetAnimationObjStatus(video), ST_INVALID);
}

TEST_F(RedrawTest, DrawsVideosOnTopAndOnlyWhenNew)
{
	const unsigned int video = create_video();
	EXPECT_TRUE(turn()); /* the geometry counts as new */
	EXPECT_FALSE(turn());
	feed(video);
	EXPECT_TRUE(turn());
	EXPECT_TRUE(looks_like(pixel_at(VP_LCD0, 1), kGrey));
	EXPECT_EQ(pixel_at(VP_LCD1, 1), kBlack);
	EXPECT_FALSE(turn());

	create_image(kRed, 0, 4);
	feed(video);
	EXPECT_TRUE(turn());
	EXPECT_TRUE(looks_like(pixel_at(VP_LCD0, 1), kGrey));
	/* Beside images, a video without a new frame is not drawn at all. */
	EXPECT_TRUE(turn());
	EXPECT_EQ(pixel_at(VP_LCD0, 1), kRed);
	EXPECT_EQ(pixel_at(VP_LCD0, 6), kBlack);
}

TEST_F(RedrawTest, SwapsOnlyWhatWasDrawn)
{
	const uint32_t frames = window->frames;
	const int64_t swapped = gpuRender_framecnt;
	EXPECT_FALSE(turn()); /* an empty list */
	create_image(kRed, 0, 4, VP_LCD0, 1);
	const unsigned int id = create_image(kGreen, 4, 8);
	EXPECT_TRUE(turn());
	EXPECT_EQ(framecnt, swapped + 1);
	EXPECT_TRUE(turn()); /* the first one's last */
	EXPECT_EQ(pixel_at(VP_LCD0, 1), kRed);
	EXPECT_EQ(animationItemHead->objId, id);
	RemoveAnimationObj(id, DEL_IMMEDIATELY);
	EXPECT_FALSE(turn()); /* the last picture stays */
	EXPECT_FALSE(animationItemHead);
	EXPECT_EQ(gpuRender_framecnt, swapped + 2);
	EXPECT_EQ(window->frames, frames + 4);
}

} // namespace
