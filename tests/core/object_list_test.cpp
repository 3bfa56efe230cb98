#include <offscreen_test.h>

namespace
{

struct ObjectListTest : OffscreenTest {
	Backgroud_animationpara background = whole_viewport<Backgroud_animationpara>();

	unsigned int create()
	{
		return CreateAnimationObj(ANI_BACKGROUND, &background);
	}

	/* The ids in list order; the back links are checked on the way. */
	static std::vector<unsigned int> ids()
	{
		std::vector<unsigned int> result;
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

using Ids = std::vector<unsigned int>;

TEST_F(ObjectListTest, GivesOutTheSmallestFreeId)
{
	for (unsigned int expected : {0u, 1u, 2u, 3u})
		EXPECT_EQ(create(), expected);
	RemoveAnimationObjReal(2);
	EXPECT_EQ(ids(), (Ids{0, 1, 3}));
	EXPECT_EQ(GenAnimationObjId(), 2u);
	EXPECT_EQ(create(), 2u);
	RemoveAnimationObjReal(0);
	EXPECT_EQ(create(), 0u);
	EXPECT_EQ(ids(), (Ids{1, 3, 2, 0})); /* the order of creation */
	RemoveAnimationObjReal(0);
	RemoveAnimationObjReal(1);
	EXPECT_EQ(ids(), (Ids{3, 2}));
	RemoveAnimationObjReal(3);
	RemoveAnimationObjReal(7);
	RemoveAnimationObjReal(2);
	EXPECT_EQ(animationItemHead, nullptr);
}

TEST_F(ObjectListTest, CreatesEachTypeAndNoOther)
{
	auto flash = whole_viewport<Flash_animationpara>();
	auto cut = whole_viewport<TexCut_animationpara>();
	auto fade = whole_viewport<FadeInOutLoop_animationpara>();
	auto gradual = whole_viewport<GraduallyDispLoop_animationpara>();
	auto sequence = whole_viewport<SeqLoop_animationpara>();
	auto streamed = whole_viewport<VideoGST_animationpara>();
	auto raw = whole_viewport<VideoRAW_animationpara>();
	BufferInfoGST streamed_frame = {};
	BufferInfoRAW raw_frame = {};
	cut.in_position2d.texPosition2d = streamed.texcoord = raw.texcoord = viewport_strip;
	streamed.bufinfo = &streamed_frame;
	raw.bufinfo = &raw_frame;
	gradual.textures.tex_num = ANIMATION_MAX_GRADUAL_TEXTURES;

	struct Case {
		AnimationType type;
		void *para;
		AnimationType stored;
	};
	unsigned int next = 0;
	for (const Case &c : {Case{ANI_BACKGROUND, &background, ANI_BACKGROUND},
	         {ANI_FLASH, &flash, ANI_FLASH}, {ANI_TEX_CUT, &cut, ANI_TEX_CUT},
	         {ANI_FADEINOUT, &fade, ANI_FADEINOUT}, {ANI_CHARACTERISTIC, &fade, ANI_FADEINOUT},
	         {ANI_GRADUALLYDISP, &gradual, ANI_GRADUALLYDISP},
	         {ANI_SEQUENCE, &sequence, ANI_SEQUENCE}, {ANI_VIDEO_GST, &streamed, ANI_VIDEO_GST},
	         {ANI_VIDEO_RAW, &raw, ANI_VIDEO_RAW}}) {
		const unsigned int id = CreateAnimationObj(c.type, c.para);
		EXPECT_EQ(id, next++);
		EXPECT_TRUE(IsAnimationObjType(id, c.stored));
		EXPECT_EQ(IsAnimationObjType(id, c.type), c.type == c.stored);
		EXPECT_EQ(GetAnimationObjStatus(id), ST_PREPARE);
		EXPECT_EQ(object(id).curframeno, ANIMATION_NOT_STARTED);
		EXPECT_EQ(object(id).delmode, DEL_ON_HIDE);
		EXPECT_EQ(object(id).renderobj->objId, id);
		EXPECT_FALSE(object(id).renderobj->repaint);
	}
	EXPECT_EQ(background.update, UPD_ALL);
	EXPECT_EQ(streamed.update, UPD_ALL);
	EXPECT_EQ(raw.update, UPD_COORDS);
	EXPECT_EQ(streamed.bufinfo, nullptr);
	EXPECT_EQ(raw.bufinfo, nullptr);

	cut.in_position2d.texPosition2d = nullptr;
	gradual.textures.tex_num++;
	for (const Case &c :
	    {Case{ANI_TEST, &flash}, {ANI_MAX, &flash}, {static_cast<AnimationType>(77), &flash},
	        {ANI_TEX_CUT, &cut}, {ANI_GRADUALLYDISP, &gradual}})
		EXPECT_EQ(CreateAnimationObj(c.type, c.para), ANIMATION_NO_OBJECT) << c.type;
	EXPECT_EQ(ids().size(), next);
	/* The same refusals in an update. */
	EXPECT_NE(printed_by([&] { UpdateAnimationObj(2, &cut); }), "");
	EXPECT_NE(printed_by([&] { UpdateAnimationObj(5, &gradual); }), "");
}

TEST_F(ObjectListTest, KeepsItsOwnRecord)
{
	float strip[8] = {0, 576, 1152, 576, 0, 0, 1152, 0};
	background.in_position2d.position2d = strip;
	const unsigned int id = create();
	strip[0] = 576;
	background.in_frame = 5;
	step(id);
	EXPECT_EQ(object(id).renderobj->position3d[0], -2);
	background.update = UPD_COORDS;
	UpdateAnimationObj(id, &background);
	strip[0] = 1152;
	step(id);
	EXPECT_EQ(object(id).renderobj->position3d[0], 0);
}

TEST_F(ObjectListTest, AsksForARemoval)
{
	const unsigned int id = create();
	step(id);
	RemoveAnimationObj(id, DEL_IMMEDIATELY);
	RemoveAnimationObj(id, DEL_ON_HIDE);
	EXPECT_EQ(object(id).delmode, DEL_ON_HIDE);
	EXPECT_EQ(GetAnimationObjStatus(id), ST_SHOW | ST_PENDINGDESTROY);
	EXPECT_FALSE(step(id)); /* a background does not wait to be hidden */
	EXPECT_EQ(GetAnimationObjStatus(id), ST_INVALID);
}

TEST_F(ObjectListTest, ReportsAtEvery300thFrameOnly)
{
	const unsigned int id = create();
	AnimationObj twin = {.objId = id};
	RenderObj nothing = {};
	AnimationObj unknown = {.objId = 40, .animationtype = ANI_TEST, .renderobj = &nothing};
	InsertAnimationObj(unknown.objId, &unknown);
	auto report = [](bool due, const char *text) { return due ? std::string(text) + "\n" : ""; };
	for (int64_t frame : {0, 1, 299, 300, 301}) {
		gpuRender_framecnt = frame;
		const bool due = frame % 300 == 0;
		EXPECT_EQ(printed_by([&] { InsertAnimationObj(id, &twin); }),
		    report(due, "ERROR, should delete the item first"));
		EXPECT_EQ(printed_by([&] { RemoveAnimationObj(99, DEL_IMMEDIATELY); }),
		    report(due, "can not find item to del"));
		EXPECT_EQ(printed_by([&] { GenAnimationFrame(unknown.objId, window); }),
		    report(due, "ERROR: No such animation implemented"));
		object(id).status = ST_ONDESTROY;
		EXPECT_EQ(printed_by([&] { UpdateAnimationObj(id, &background); }),
		    report(due, "ERROR: can not be updated during destroy"));
		object(id).status = static_cast<AnimationStatus>(ST_ONDESTROY | ST_SHOW);
		EXPECT_EQ(printed_by([&] { UpdateAnimationObj(id, &background); }), "");
	}
	EXPECT_EQ(ids(), (Ids{id, unknown.objId}));
	object(id).next = nullptr; /* the test's own node is nobody's to free */

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
