#include <offscreen_test.h>

/* What a process meets that runs for years: every counter at its limit. */

namespace
{

struct YearsTest : OffscreenTest {
	static FadeInOutLoop_animationpara fade()
	{
		auto para = whole_viewport<FadeInOutLoop_animationpara>();
		para.in_frame = para.sin_frame = 2;
		para.in_alpha = 1;
		return para;
	}
};

TEST_F(YearsTest, TakesAnUpdateAtFrame65535ForTheFirst)
{
	auto background = whole_viewport<Backgroud_animationpara>();
	const unsigned int id = CreateAnimationObj(ANI_BACKGROUND, &background);
	step(id);
	object(id).curframeno = ANIMATION_NOT_STARTED;
	step(id);
	EXPECT_EQ(object(id).curframeno, 65536u);

	object(id).curframeno = ANIMATION_NOT_STARTED;
	background.textures.constant_color[0] = 1;
	background.update = UPD_COORDS;
	UpdateAnimationObj(id, &background);
	step(id);
	EXPECT_EQ(object(id).curframeno, 1u);
	EXPECT_EQ(object(id).renderobj->constant_color[0], 1); /* as UPD_ALL */
}

TEST_F(YearsTest, PlaysASpentCycleOnceMoreWhenItsFramesWrap)
{
	auto para = fade();
	para.loopcnt = 1;
	const unsigned int id = CreateAnimationObj(ANI_FADEINOUT, &para);
	while (step(id) && object(id).curframeno != 5)
		;
	object(id).curframeno = UINT32_MAX;
	step(id);
	EXPECT_EQ(object(id).curframeno, 0u);
	EXPECT_EQ(object(id).cur_loopcnt, 1u);
	step(id);
	EXPECT_EQ(object(id).renderobj->prealpha0, 0.5f);
}

TEST_F(YearsTest, StaysWhenItsLoopsWrap)
{
	auto para = fade();
	para.delonloopcnt = true; /* of no effect without a limit */
	const unsigned int id = CreateAnimationObj(ANI_FADEINOUT, &para);
	step(id);
	object(id).cur_loopcnt = UINT32_MAX;
	for (int frame = 0; frame < 4; frame++)
		ASSERT_TRUE(step(id));
	EXPECT_EQ(object(id).cur_loopcnt, 0u);
	EXPECT_EQ(object(id).status, ST_FADEIN);
}

/* 2^32 - 1 frames and two more are a cycle of one. */
TEST_F(YearsTest, AddsDurationsWithWrap)
{
	auto para = fade();
	para.in_frame = UINT32_MAX;
	const unsigned int id = CreateAnimationObj(ANI_FADEINOUT, &para);
	for (unsigned int frame = 1; frame < 4; frame++) {
		ASSERT_TRUE(step(id));
		EXPECT_EQ(object(id).curframeno, 0u);
		EXPECT_EQ(object(id).cur_loopcnt, frame);
		EXPECT_EQ(object(id).status, ST_FADEIN);
	}
}

TEST_F(YearsTest, CountsFramesOn)
{
	const int64_t before = gpuRender_framecnt;
	auto para = fade();
	CreateAnimationObj(ANI_FADEINOUT, &para);
	for (const int64_t limit : {INT64_C(1) << 31, INT64_C(1) << 32}) {
		gpuRender_framecnt = limit - 1;
		window->frames = static_cast<uint32_t>(limit - 1);
		EXPECT_TRUE(draw_turn(offscreen()));
		EXPECT_EQ(gpuRender_framecnt, limit);
		EXPECT_EQ(framecnt, limit);
		EXPECT_EQ(window->frames, static_cast<uint32_t>(limit));
	}
	gpuRender_framecnt = before;
}

TEST_F(YearsTest, GivesSmallIdsAfterAMillionCreations)
{
	auto para = whole_viewport<VideoRAW_animationpara>();
	para.texcoord = viewport_strip;
	for (unsigned int id = 0; id < 3; id++)
		EXPECT_EQ(CreateAnimationObj(ANI_VIDEO_RAW, &para), id);
	for (int creation = 0; creation < 1000000; creation++) {
		ASSERT_EQ(CreateAnimationObj(ANI_VIDEO_RAW, &para), 3u);
		RemoveAnimationObjReal(3);
	}
}

} // namespace
