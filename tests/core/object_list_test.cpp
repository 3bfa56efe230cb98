#include <algorithm>
#include <random>

#include <caught.h>
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
	static std::string printed_by(Call call)
	{
		const Caught out(1);
		call();
		return out.text();
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

/* After a million creations and among thousands of objects, of the type with the smallest record.
 */
TEST_F(ObjectListTest, FindsTheFreeIdAmongThousands)
{
	auto video = whole_viewport<VideoRAW_animationpara>();
	constexpr unsigned int kMany = 4100;
	for (unsigned int id = 0; id < kMany; id++) {
		ASSERT_EQ(CreateAnimationObj(ANI_VIDEO_RAW, &video), id);
		for (int creation = 0; id == 3 && creation < 1000000; creation++) {
			RemoveAnimationObjReal(id);
			ASSERT_EQ(CreateAnimationObj(ANI_VIDEO_RAW, &video), id);
		}
	}
	for (unsigned int id : {kMany - 1, 4096u, 4095u, 2049u, 2048u, 2047u}) {
		RemoveAnimationObjReal(id);
		EXPECT_EQ(GenAnimationObjId(), id);
	}
}

/*
 * The list beside the plainest model of it: the ids in order. Nodes are also made, linked, freed
 * and renamed by hand behind the library's back, so that whatever it remembered would betray
 * itself.
 */
struct ListModel {
	Ids ids;
	std::minstd_rand random{1};

	bool has(unsigned int id) const
	{
		return std::find(ids.begin(), ids.end(), id) != ids.end();
	}
	unsigned int free_id() const
	{
		unsigned int id = 0;
		while (has(id))
			id++;
		return id;
	}
	unsigned int any()
	{
		return ids[random() % ids.size()];
	}
};

void unlink_by_hand(AnimationObj *obj)
{
	(obj->prev ? obj->prev->next : animationItemHead) = obj->next;
	if (obj->next)
		obj->next->prev = obj->prev;
}

void free_by_hand(AnimationObj *obj)
{
	const RenderObj &drawn = *obj->renderobj;
	free(static_cast<InPosition2D *>(obj->animationpara)->position2d);
	for (float *block :
	    {drawn.position3d, drawn.texturecoord0, drawn.texturecoord1, drawn.texturecoord2})
		free(block);
	free(obj->animationpara);
	free(obj->renderobj);
	free(obj);
}

TEST_F(ObjectListTest, EqualsItsModelWhateverHappens)
{
	gpuRender_framecnt = 1; /* no reports */
	ListModel model;
	const auto create_one = [&] {
		ASSERT_EQ(create(), model.free_id());
		model.ids.push_back(model.free_id());
	};
	const auto insert_one = [&] {
		const unsigned int id = model.random() % 40;
		AnimationObj *obj = make_by_hand(id);
		InsertAnimationObj(id, obj);
		if (model.has(id))
			free_by_hand(obj);
		else
			model.ids.push_back(id);
	};
	const auto move_to_the_head = [&] {
		const unsigned int id = model.any();
		AnimationObj *obj = FindAnimationObj(id);
		unlink_by_hand(obj);
		obj->prev = nullptr;
		obj->next = animationItemHead;
		if (obj->next)
			obj->next->prev = obj;
		animationItemHead = obj;
		std::erase(model.ids, id);
		model.ids.insert(model.ids.begin(), id);
	};
	const auto rename = [&] {
		const unsigned int id = model.any();
		const unsigned int new_id = model.free_id();
		FindAnimationObj(id)->objId = new_id;
		std::replace(model.ids.begin(), model.ids.end(), id, new_id);
	};
	const auto free_one = [&] {
		const unsigned int id = model.any();
		if (AnimationObj *obj = FindAnimationObj(id); id % 2) {
			unlink_by_hand(obj);
			free_by_hand(obj);
		} else {
			RemoveAnimationObjReal(id);
		}
		std::erase(model.ids, id);
	};
	for (int step = 0; step < 1000; step++) {
		const unsigned int choice = model.ids.empty() ? step % 2 : model.random() % 40;
		if (choice < 16)
			choice % 2 ? create_one() : insert_one();
		else if (choice < 24)
			move_to_the_head();
		else if (choice < 30)
			rename();
		else
			free_one();
		ASSERT_EQ(ids(), model.ids);
		ASSERT_EQ(GenAnimationObjId(), model.free_id());
		for (unsigned int id = 0; id < 42; id++)
			ASSERT_EQ(FindAnimationObj(id) != nullptr, model.has(id));
	}
}

template <class Para>
std::string bytes_of(const void *record)
{
	return {static_cast<const char *>(record), sizeof(Para)};
}

/* Records that no object can be: one fault each. */
template <class Para>
std::vector<Para> faulty(AnimationType type, const Para &good)
{
	std::vector<Para> records;
	auto another = [&]() -> Para & { return records.emplace_back(good); };
	another().in_position2d.position2d = nullptr;
	if constexpr (requires { good.textures; }) {
		another().textures.tex_num = type == ANI_GRADUALLYDISP ? 118 : 129;
		another().textures.mask_index = 129;
		another().textures.alpha_index = 0xFFFF;
	} else {
		another().texcoord = nullptr;
	}
	if (type == ANI_TEX_CUT)
		another().in_position2d.texPosition2d = nullptr;
	return records;
}

template <class Para>
void expect_refusals(AnimationType type, Para good)
{
	SCOPED_TRACE(type);
	if constexpr (requires { good.textures; })
		good.textures.tex_num = type == ANI_GRADUALLYDISP ? 117 : 128;
	const unsigned int id = CreateAnimationObj(type, &good);
	ASSERT_NE(id, ANIMATION_NO_OBJECT);
	EXPECT_EQ(CreateAnimationObj(type, nullptr), ANIMATION_NO_OBJECT);
	const std::string own = bytes_of<Para>(FindAnimationObj(id)->animationpara);
	UpdateAnimationObj(id, nullptr);
	good.update = UPD_COORDS;
	for (Para &record : faulty(type, good)) {
		const std::string before = bytes_of<Para>(&record);
		EXPECT_EQ(CreateAnimationObj(type, &record), ANIMATION_NO_OBJECT);
		UpdateAnimationObj(id, &record);
		EXPECT_EQ(bytes_of<Para>(&record), before);
	}
	EXPECT_EQ(bytes_of<Para>(FindAnimationObj(id)->animationpara), own);
}

TEST_F(ObjectListTest, RefusesWhatNoObjectCanBe)
{
	const std::string reports = printed_by(
	    [] { for_each_type([](AnimationType type, auto good) { expect_refusals(type, good); }); });
	EXPECT_EQ(reports, "ERROR: a gradual display takes at most 117 textures\n"
	                   "ERROR: a texture cut needs texPosition2d\n");
	for (const int type : {int{ANI_TEST}, int{ANI_MAX}, 77})
		EXPECT_EQ(
		    CreateAnimationObj(static_cast<AnimationType>(type), &background), ANIMATION_NO_OBJECT);
	EXPECT_EQ(ids().size(), 8U);
}

TEST_F(ObjectListTest, KeepsItsOwnRecord)
{
	float strip[8] = {0, 576, 1152, 576, 0, 0, 1152, 0};
	background.in_position2d.position2d = strip;
	const unsigned int id = create();
	for (UpdateMode mode : {UPD_ALL, UPD_TEXS, UPD_COORDS}) {
		if (mode != UPD_ALL) {
			background.update = mode;
			UpdateAnimationObj(id, &background);
		}
		strip[0] = 576;
		step(id);
		EXPECT_EQ(object(id).renderobj->position3d[0], mode == UPD_COORDS ? 0 : -2);
	}

	RemoveAnimationObj(id, DEL_ON_HIDE);
	EXPECT_EQ(GetAnimationObjStatus(id), ST_SHOW | ST_PENDINGDESTROY);
	EXPECT_FALSE(step(id)); /* a background does not wait to be hidden */
}

TEST_F(ObjectListTest, ReportsAtEvery300thFrameOnly)
{
	const unsigned int id = create();
	object(id).status = ST_ONDESTROY;
	AnimationObj twin = {.objId = id};
	EXPECT_EQ(printed_by([&] {
		InsertAnimationObj(id, &twin);
		UpdateAnimationObj(id, &background);
	}),
	    "ERROR, should delete the item first\nERROR: can not be updated during destroy\n");
	EXPECT_EQ(ids(), Ids{id});
	for (int64_t frame : {0, 1, 100, 299, 300, 301}) {
		gpuRender_framecnt = frame;
		EXPECT_EQ(printed_by([] { RemoveAnimationObj(99, DEL_IMMEDIATELY); }),
		    frame % 300 ? "" : "can not find item to del\n");
	}

	/* Elsewhere, an unknown id is no fault. */
	UpdateAnimationObj(99, &background);
	GenAnimationFrame(99, window);
	EXPECT_EQ(GetAnimationObjStatus(99), ST_INVALID);
	EXPECT_FALSE(IsAnimationObjType(99, ANI_BACKGROUND));
	EXPECT_EQ(FindAnimationObj(99), nullptr);
}

} // namespace
