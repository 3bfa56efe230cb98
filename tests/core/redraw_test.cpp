#include <offscreen_test.h>

/* Whole turns of the render loop: when videos are drawn, and what a removal leaves on the surface.
 */

namespace
{

constexpr std::uint8_t kGreyFrame[6] = {126, 126, 126, 126, 128, 128};
constexpr Pixel kGrey = {128, 128, 128};

struct RedrawTest : OffscreenTest {
	OffscreenPicture picture;
	VideoRAW_animationpara para = whole_viewport<VideoRAW_animationpara>();

	bool turn()
	{
		return draw_turn(offscreen());
	}

	Pixel seen()
	{
		read_picture(offscreen(), &picture);
		const std::uint8_t *rgba = picture.pixel(576, 288);
		return {rgba[2], rgba[1], rgba[0], rgba[3]};
	}

	void feed(unsigned int id)
	{
		BufferInfoRAW frame = {2, 2, 2, const_cast<std::uint8_t *>(kGreyFrame), {}};
		para.bufinfo = &frame;
		para.update = UPD_TEXS;
		UpdateAnimationObj(id, &para);
	}

	static unsigned int create_image(bool once = false)
	{
		auto image = whole_viewport<Flash_animationpara>();
		image.textures.constant_color[0] = image.textures.constant_color[3] = 1;
		image.on_frame = image.off_frame = 1;
		image.on_alpha = image.off_alpha = 1;
		image.loopcnt = once;
		image.delonloopcnt = once;
		return CreateAnimationObj(ANI_FLASH, &image);
	}
};

TEST_F(RedrawTest, DrawsVideosOnTopAndOnlyWhenNew)
{
	para.texcoord = viewport_strip;
	const unsigned int video = CreateAnimationObj(ANI_VIDEO_RAW, &para);
	EXPECT_TRUE(turn()); /* the geometry counts as new */
	EXPECT_FALSE(turn());
	feed(video);
	EXPECT_TRUE(turn());
	EXPECT_TRUE(looks_like(seen(), kGrey));
	EXPECT_FALSE(turn());

	create_image();
	feed(video);
	EXPECT_TRUE(turn());
	EXPECT_TRUE(looks_like(seen(), kGrey));
	/* Beside images, a video without a new frame is not drawn at all. */
	EXPECT_TRUE(turn());
	EXPECT_EQ(seen(), kRed);
}

TEST_F(RedrawTest, DrawsAFinishedObjectALastTime)
{
	EXPECT_FALSE(turn()); /* an empty list */
	const unsigned int id = create_image(true);
	EXPECT_TRUE(turn());
	EXPECT_TRUE(turn());
	EXPECT_EQ(GetAnimationObjStatus(id), ST_INVALID);
	EXPECT_FALSE(turn());
	EXPECT_EQ(seen(), kRed);
}

} // namespace
