#include <offscreen_test.h>
#include <table.h>

/* Where the motions put the quad; the alpha's course is the loop families' common one. */

namespace
{

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

	/* Alpha, angle, shifts and scale; missing ones are those of a still picture. */
	void expect_at(unsigned int id, std::vector<float> to)
	{
		float position[12];
		for (std::size_t i = to.size(); i < 5; i++)
			to.push_back(i == 4);
		Gen3DPosition(strip, position, 4, to[1], to[2], to[3], to[4]);
		const RenderObj &drawn = *object(id).renderobj;
		EXPECT_EQ(drawn.prealpha0, to[0]);
		for (int i = 0; i < 12; i++)
			EXPECT_EQ(drawn.position3d[i], position[i]) << "value " << i;
	}
};

TEST_F(SequenceTest, MovesAsTold)
{
	for (auto row : read_table("motions.txt")) {
		const bool entry = row[1] == "in";
		const auto length = static_cast<uint32_t>(row.size() - 3);
		para.in_frame = entry ? length : 0;
		para.out_frame = entry ? 0 : length;
		(entry ? para.seq_show : para.seq_hide) = static_cast<SEQUENCE_TYPE>(std::stoi(row[2]));
		row.insert(entry ? row.end() : row.begin() + 3, "1"); /* the hold */
		row.push_back("0");                                   /* hidden */
		const unsigned int id = CreateAnimationObj(ANI_SEQUENCE, &para);
		for (std::size_t i = 3; i < row.size(); i++) {
			SCOPED_TRACE(row[0] + ": " + row[i]);
			ASSERT_TRUE(step(id));
			expect_at(id, numbers(row[i]));
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
