#include <offscreen_test.h>

/* Where the motions put the quad; the alpha's course is the loop families' common one. */

namespace
{

struct Step {
	float alpha;
	float angle = 0;
	float hshift = 0;
	float vshift = 0;
	float scale = 1;
};

struct Case {
	const char *name;
	bool entry;
	SEQUENCE_TYPE motion;
	std::vector<Step> steps;
};

const Case kCases[] = {
    {"wave in", true, SEQ_WAVE,
        {{1, 5.625f, 0, 0.0625f}, {1, 11.25f, 0, 0.125f}, {1, 5.625f, 0, 0.1875f}, {1, 0, 0, 0.25f},
            {1, -5.625f, 0, 0.1875f}, {1, -11.25f, 0, 0.125f}, {1, -5.625f, 0, 0.0625f}, {1}}},
    {"wave in, odd length", true, SEQ_WAVE,
        {{1, 9, 0, 0.1f}, {1, 18, 0, 0.2f}, {1, -4.5f, 0, 0.3f}, {1, -13.5f, 0, 0.1f}, {1}}},
    {"wave in at once", true, SEQ_WAVE, {{1, 45, 0, 0.5f}}},
    {"float in", true, SEQ_FLOATINOUT,
        {{0.25f, 0, 0, -0.375f}, {0.5f, 0, 0, -0.25f}, {0.75f, 0, 0, -0.125f}, {1}}},
    {"whip in", true, SEQ_WHIP,
        {{0.5f, 0, 0x1.f33332p-3f, 0, 0.65f}, {1, 0, 0.75f}, {1, 0, 0.375f}, {1}}},
    {"whip in at once", true, SEQ_WHIP, {{2, 0, 0x1.466668p+1f, 0, 1.7f}}},
    {"turn in", true, SEQ_SCALEROTATE,
        {{0.25f, -67.5f, 0, 0, 0.25f}, {0.5f, -45, 0, 0, 0.5f}, {0.75f, -22.5f, 0, 0, 0.75f}, {1}}},
    {"turn in, in thirds", true, SEQ_SCALEROTATE,
        {{0x1.555556p-2f, -60, 0, 0, 0x1.555556p-2f},
            {0x1.555556p-1f, -0x1.dffffep+4f, 0, 0, 0x1.555556p-1f}, {1}}},
    {"unknown in", true, static_cast<SEQUENCE_TYPE>(9), {{1}, {1}}},
    {"wave out", false, SEQ_WAVE, {{0}, {0}, {0}}},
    {"float out", false, SEQ_FLOATINOUT,
        {{0.75f, 0, 0, -0.125f}, {0.5f, 0, 0, -0.25f}, {0.25f, 0, 0, -0.375f}, {0, 0, 0, -0.5f}}},
    {"float out, in thirds", false, SEQ_FLOATINOUT,
        {{0x1.555554p-1f, 0, 0, -0x1.555556p-3f}, {0x1.555554p-2f, 0, 0, -0x1.555556p-2f},
            {0, 0, 0, -0.5f}}},
    {"whip out", false, SEQ_WHIP,
        {{1, 0, 0.375f}, {1, 0, 0.75f}, {0.5f, 0, 0x1.f33332p-3f, 0, 0.65f}, {0, 0, 0, 0, 0.3f}}},
    {"whip out, odd length", false, SEQ_WHIP, {{1, 0, 0.5f}, {1, 0, 1}, {0, 0, 0, 0, 0.3f}}},
    {"turn out", false, SEQ_SCALEROTATE,
        {{0.75f, -22.5f, 0, 0, 0.75f}, {0.5f, -45, 0, 0, 0.5f}, {0.25f, -67.5f, 0, 0, 0.25f},
            {0, -90, 0, 0, 0}}},
    {"stand out", false, SEQ_NONE, {{1}, {1}}},
};

struct SequenceTest : OffscreenTest {
	/* So large, and around 0, that the last bit of a factor moves it. */
	float strip[12] = {
	    -524288, 262144, 524288, 262144, -524288, -262144, 524288, -262144, 10, 20, 30, 40};
	SeqLoop_animationpara para = whole_viewport<SeqLoop_animationpara>();

	void SetUp() override
	{
		para.in_position2d.position2d = strip;
		para.sin_frame = para.sout_frame = 1;
	}

	void expect_at(unsigned int id, const Step &to)
	{
		float position[12];
		Gen3DPosition(strip, position, 4, to.angle, to.hshift, to.vshift, to.scale);
		const RenderObj &drawn = *object(id).renderobj;
		EXPECT_EQ(drawn.prealpha0, to.alpha);
		for (int i = 0; i < 12; i++)
			EXPECT_EQ(drawn.position3d[i], position[i]) << "value " << i;
	}
};

TEST_F(SequenceTest, MovesAsTold)
{
	for (const Case &c : kCases) {
		const auto length = static_cast<uint32_t>(c.steps.size());
		para.in_frame = c.entry ? length : 0;
		para.out_frame = c.entry ? 0 : length;
		(c.entry ? para.seq_show : para.seq_hide) = c.motion;
		std::vector<Step> steps = c.steps;
		steps.insert(c.entry ? steps.end() : steps.begin(), Step{1}); /* the hold */
		steps.push_back({0});                                         /* hidden */
		const unsigned int id = CreateAnimationObj(ANI_SEQUENCE, &para);
		for (const Step &expected : steps) {
			SCOPED_TRACE(testing::Message() << c.name << ": " << object(id).curframeno);
			ASSERT_TRUE(step(id));
			expect_at(id, expected);
		}
	}
}

TEST_F(SequenceTest, MovesTheQuadOfTheLatestUpdate)
{
	para.in_frame = 5;
	para.seq_show = SEQ_FLOATINOUT;
	const unsigned int id = CreateAnimationObj(ANI_SEQUENCE, &para);
	/* Without UPD_COORDS the strip stays, whatever the record says of its length; before the first
	 * frame, too, although that sets everything up. */
	for (UpdateMode mode : {UPD_TEXS, UPD_MISC, UPD_TEXS}) {
		auto longer = para;
		longer.in_position2d.coordnum = 6;
		longer.update = mode;
		UpdateAnimationObj(id, &longer);
		ASSERT_TRUE(step(id));
		EXPECT_EQ(object(id).renderobj->coordnum, 4u);
	}
	expect_at(id, {0.6f, 0, 0, -0.2f});
	for (float &value : strip)
		value += 50;
	para.update = UPD_COORDS;
	UpdateAnimationObj(id, &para);
	ASSERT_TRUE(step(id));
	expect_at(id, {0.8f, 0, 0, -0.1f});
}

TEST_F(SequenceTest, LeavesOtherStripsWhereTheyAre)
{
	float unmoved[18];
	Convert2DTo3DPosition(strip, unmoved, 6);
	para.in_frame = para.out_frame = 3;
	para.seq_show = para.seq_hide = SEQ_SCALEROTATE;
	for (uint32_t coordnum : {0U, 2U, 6U}) {
		para.in_position2d.coordnum = coordnum;
		const unsigned int id = CreateAnimationObj(ANI_SEQUENCE, &para);
		for (int frame = 0; frame < 8; frame++) {
			ASSERT_TRUE(step(id));
			for (uint32_t i = coordnum == 6 ? 12 : 0; i < 3 * coordnum; i++)
				EXPECT_EQ(object(id).renderobj->position3d[i], unmoved[i]) << coordnum;
		}
	}
}

} // namespace
