#include <utility>

#include <offscreen_test.h>

/* Whole turns of the render loop: what is drawn over what, when is cleared and swapped. */

namespace
{

/* A record in one colour on a part of a viewport, in eighths of it. */
template <class Para>
Para coloured(Pixel pixel, int left, int right, float (&strip)[8], ViewPortID vp_id = VP_LCD0)
{
	auto para = whole_viewport<Para>(vp_id);
	for (int i = 0; i < 4; i++) {
		strip[2 * i] = static_cast<float>((i % 2 ? right : left) * 144);
		strip[2 * i + 1] = viewport_strip[2 * i + 1];
	}
	para.in_position2d.position2d = strip;
	const float channels[4] = {static_cast<float>(pixel.r) / 255, static_cast<float>(pixel.g) / 255,
	    static_cast<float>(pixel.b) / 255, 1};
	std::copy_n(channels, 4, para.textures.constant_color);
	return para;
}

struct RedrawTest : OffscreenTest {
	OffscreenPicture picture;
	float strip[8];
	GLuint planes[2] = {};

	bool turn()
	{
		return draw_turn(offscreen());
	}

	Pixel at(int eighth)
	{
		read_picture(offscreen(), &picture);
		const std::uint8_t *rgba = picture.pixel(eighth * 144 + 72, 288);
		return {rgba[2], rgba[1], rgba[0], rgba[3]};
	}

	unsigned int create_background(Pixel pixel, int left, int right)
	{
		auto para = coloured<Backgroud_animationpara>(pixel, left, right, strip);
		return CreateAnimationObj(ANI_BACKGROUND, &para);
	}

	unsigned int create_image(Pixel pixel, int left, int right, ViewPortID vp_id = VP_LCD0)
	{
		auto para = coloured<Flash_animationpara>(pixel, left, right, strip, vp_id);
		para.on_frame = para.off_frame = 1000;
		para.on_alpha = 1;
		return CreateAnimationObj(ANI_FLASH, &para);
	}

	VideoRAW_animationpara video_para()
	{
		auto para = whole_viewport<VideoRAW_animationpara>();
		para.texcoord = viewport_strip;
		return para;
	}

	unsigned int create_video()
	{
		auto para = video_para();
		return CreateAnimationObj(ANI_VIDEO_RAW, &para);
	}

	/* A grey frame for the whole left viewport; pixels must live on. */
	static void feed(unsigned int id, VideoRAW_animationpara para, const std::uint8_t (&pixels)[6])
	{
		BufferInfoRAW frame = {2, 2, 2, const_cast<std::uint8_t *>(pixels), {}};
		para.bufinfo = &frame;
		para.update = UPD_TEXS;
		UpdateAnimationObj(id, &para);
	}
};

constexpr std::uint8_t kGreyFrame[6] = {126, 126, 126, 126, 128, 128};
constexpr Pixel kGrey = {128, 128, 128};

TEST_F(RedrawTest, StacksBackgroundsImagesAndVideos)
{
	create_image(kRed, 0, 4);
	create_image(kGreen, 2, 8);
	create_image(kWhite, 0, 2, VP_LCD1);
	const unsigned int background = create_background(kBlue, 0, 8);
	const unsigned int video = create_video();
	EXPECT_TRUE(turn());
	EXPECT_EQ(at(1), kRed);
	EXPECT_EQ(at(3), kGreen); /* the later one on top */
	EXPECT_EQ(at(9), kWhite);
	EXPECT_EQ(at(15), kBlack);

	/* The background covers what it came after, and holds videos up altogether. */
	create_background(kBlue, 6, 8);
	feed(video, video_para(), kGreyFrame);
	RemoveAnimationObj(video, DEL_IMMEDIATELY);
	EXPECT_TRUE(turn());
	EXPECT_EQ(at(7), kGreen);
	EXPECT_EQ(GetAnimationObjStatus(video), ST_PENDINGDESTROY);
	RemoveAnimationObj(background, DEL_IMMEDIATELY);
	RemoveAnimationObj(background + 2, DEL_IMMEDIATELY);
	EXPECT_TRUE(turn());
	EXPECT_EQ(GetAnimationObjStatus(video), ST_PENDINGDESTROY);
	EXPECT_TRUE(turn());
	EXPECT_EQ(GetAnimationObjStatus(video), ST_INVALID);
}

TEST_F(RedrawTest, DrawsVideosOnTopAndOnlyWhenNew)
{
	const unsigned int video = create_video();
	const auto para = video_para();
	EXPECT_TRUE(turn()); /* the geometry counts as new */
	EXPECT_FALSE(turn());
	feed(video, para, kGreyFrame);
	EXPECT_TRUE(turn());
	EXPECT_TRUE(looks_like(at(1), kGrey));
	EXPECT_EQ(at(9), kBlack);
	EXPECT_FALSE(turn());

	create_image(kRed, 0, 4);
	feed(video, para, kGreyFrame);
	EXPECT_TRUE(turn());
	EXPECT_TRUE(looks_like(at(1), kGrey));
	/* Beside images, a video without a new frame is not drawn at all. */
	EXPECT_TRUE(turn());
	EXPECT_EQ(at(1), kRed);
	EXPECT_EQ(at(6), kBlack);
}

TEST_F(RedrawTest, SwapsOnlyWhatWasDrawn)
{
	const uint32_t frames = window->frames;
	const int64_t swapped = gpuRender_framecnt;
	EXPECT_FALSE(turn()); /* an empty list */
	const unsigned int id = create_image(kRed, 0, 4);
	EXPECT_TRUE(turn());
	EXPECT_EQ(framecnt, swapped + 1);
	RemoveAnimationObj(id, DEL_IMMEDIATELY);
	EXPECT_FALSE(turn()); /* the last picture stays */
	EXPECT_EQ(GetAnimationObjStatus(id), ST_INVALID);
	EXPECT_FALSE(turn());
	EXPECT_EQ(gpuRender_framecnt, swapped + 1);
	EXPECT_EQ(window->frames, frames + 4);
}

TEST_F(RedrawTest, DrawsAFinishedObjectALastTime)
{
	auto para = coloured<Flash_animationpara>(kRed, 0, 8, strip);
	para.on_frame = para.off_frame = para.loopcnt = 1;
	para.on_alpha = para.off_alpha = 1;
	para.delonloopcnt = true;
	const unsigned int id = CreateAnimationObj(ANI_FLASH, &para);
	EXPECT_TRUE(turn());
	EXPECT_TRUE(turn());
	EXPECT_EQ(at(4), kRed);
	EXPECT_EQ(GetAnimationObjStatus(id), ST_INVALID);
}

} // namespace
