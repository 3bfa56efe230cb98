#include <offscreen_test.h>

namespace
{

using Ids = std::vector<unsigned int>;

struct ObjectListTest : OffscreenTest {
	Backgroud_animationpara background = whole_viewport<Backgroud_animationpara>();

	unsigned int create()
	{
		return CreateAnimationObj(ANI_BACKGROUND, &background);
	}

	/* The ids in list order; the back links are checked on the way. */
	static Ids ids()
	{
		Ids result;
		const AnimationObj *previous = nullptr;
		for (const AnimationObj *obj = animationItemHead; obj; previous = obj, obj = obj->next) {
			EXPECT_EQ(obj->prev, previous);
			result.push_back(obj->objId);
		}
		return result;
	}

	template <class Call>
	std::string printed_by(Call call)
	{
		testing::internal::CaptureStdout();
		call();
		return testing::internal::GetCapturedStdout();
	}
};

TEST_F(ObjectListTest, GivesOutTheSmallestFreeId)
{
	for (unsigned int expected : {0u, 1u, 2u, 3u})
		EXPECT_EQ(create(), expected);
	RemoveAnimationObjReal(2);
	EXPECT_EQ(create(), 2u);
	RemoveAnimationObjReal(0);
	EXPECT_EQ(create(), 0u);
	EXPECT_EQ(ids(), (Ids{1, 3, 2, 0})); /* the order of creation */
	EXPECT_EQ(GenAnimationObjId(), 4u);
	for (unsigned int id : {0u, 1u, 7u})
		RemoveAnimationObjReal(id);
	EXPECT_EQ(ids(), (Ids{3, 2}));
}

TEST_F(ObjectListTest, CreatesEachTypeAndNoOther)
{
	auto flash = whole_viewport<Flash_animationpara>();
	auto cut = whole_viewport<TexCut_animationpara>();
	auto fade = whole_viewport<FadeInOutLoop_animationpara>();
	auto gradual = whole_viewport<GraduallyDispLoop_animationpara>();
	auto streamed = whole_viewport<VideoGST_animationpara>();
	BufferInfoGST streamed_frame = {};
	cut.in_position2d.texPosition2d = streamed.texcoord = viewport_strip;
	streamed.bufinfo = &streamed_frame;
	gradual.textures.tex_num = ANIMATION_MAX_GRADUAL_TEXTURES;

	struct Case {
		AnimationType type;
		void *para;
		AnimationType stored;
	};
	unsigned int next = 0;
	for (const Case &c : {Case{ANI_BACKGROUND, &background, ANI_BACKGROUND},
	         {ANI_TEX_CUT, &cut, ANI_TEX_CUT}, {ANI_GRADUALLYDISP, &gradual, ANI_GRADUALLYDISP},
	         {ANI_CHARACTERISTIC, &fade, ANI_FADEINOUT},
	         {ANI_VIDEO_GST, &streamed, ANI_VIDEO_GST}}) {
		const unsigned int id = CreateAnimationObj(c.type, c.para);
		EXPECT_EQ(id, next++);
		EXPECT_TRUE(IsAnimationObjType(id, c.stored));
		EXPECT_EQ(GetAnimationObjStatus(id), ST_PREPARE);
		EXPECT_EQ(object(id).curframeno, ANIMATION_NOT_STARTED);
		EXPECT_FALSE(object(id).renderobj->repaint);
	}
	EXPECT_EQ(streamed.update, UPD_ALL);
	EXPECT_EQ(streamed.bufinfo, nullptr);

	cut.in_position2d.texPosition2d = nullptr;
	gradual.textures.tex_num++;
	for (const Case &c :
	    {Case{ANI_TEST, &flash}, {ANI_MAX, &flash}, {static_cast<AnimationType>(77), &flash},
	        {ANI_TEX_CUT, &cut}, {ANI_GRADUALLYDISP, &gradual}})
		EXPECT_EQ(CreateAnimationObj(c.type, c.para), ANIMATION_NO_OBJECT) << c.type;
	EXPECT_EQ(ids().size(), next);
	/* The same refusals in an update. */
	EXPECT_NE(printed_by([&] { UpdateAnimationObj(1, &cut); }), "");
	EXPECT_NE(printed_by([&] { UpdateAnimationObj(2, &gradual); }), "");
}

TEST_F(ObjectListTest, KeepsItsOwnRecord)
{
	float strip[8] = {0, 576, 1152, 576, 0, 0, 1152, 0};
	background.in_position2d.position2d = strip;
	const unsigned int id = create();
	strip[0] = 576;
	step(id);
	EXPECT_EQ(object(id).renderobj->position3d[0], -2);
	background.update = UPD_COORDS;
	UpdateAnimationObj(id, &background);
	strip[0] = 1152;
	step(id);
	EXPECT_EQ(object(id).renderobj->position3d[0], 0);

	RemoveAnimationObj(id, DEL_ON_HIDE);
	EXPECT_EQ(GetAnimationObjStatus(id), ST_SHOW | ST_PENDINGDESTROY);
	EXPECT_FALSE(step(id)); /* a background does not wait to be hidden */
}

TEST_F(ObjectListTest, ReportsAtEvery300thFrameOnly)
{
	const unsigned int id = create();
	AnimationObj twin = {.objId = id};
	for (int64_t frame : {0, 1, 100, 299, 300, 301}) {
		gpuRender_framecnt = frame;
		auto expect_report = [&](const char *text, auto call) {
			EXPECT_EQ(printed_by(call), frame % 300 == 0 ? std::string(text) + "\n" : "");
		};
		object(id).status = ST_ONDESTROY;
		expect_report(
		    "ERROR, should delete the item first", [&] { InsertAnimationObj(id, &twin); });
		expect_report("can not find item to del", [] { RemoveAnimationObj(99, DEL_IMMEDIATELY); });
		expect_report("ERROR: can not be updated during destroy",
		    [&] { UpdateAnimationObj(id, &background); });
	}
	EXPECT_EQ(ids(), Ids{id});

	/* Unknown ids are silent everywhere else. */
	EXPECT_EQ(printed_by([&] {
		UpdateAnimationObj(99, &background);
		GenAnimationFrame(99, window);
		EXPECT_EQ(GetAnimationObjStatus(99), ST_INVALID);
		EXPECT_FALSE(IsAnimationObjType(99, ANI_BACKGROUND));
		EXPECT_EQ(FindAnimationObj(99), nullptr);
	}),
	    "");
}

} // namespace
