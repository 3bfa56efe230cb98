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

TEST_F(YearsTest, WrapsLoopsAndDurations)
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

	para.in_frame = UINT32_MAX; /* with two more frames, a cycle of one */
	const unsigned int wrapped = CreateAnimationObj(ANI_FADEINOUT, &para);
	for (unsigned int frame = 1; frame < 4; frame++) {
		ASSERT_TRUE(step(wrapped));
		EXPECT_EQ(object(wrapped).curframeno, 0u);
		EXPECT_EQ(object(wrapped).cur_loopcnt, frame);
	}
}

TEST_F(YearsTest, CountsFramesOn)
{
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
}

} // namespace
