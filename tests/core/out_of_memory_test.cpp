#include <failing_memory.h>
#include <gl_watch.h>
#include <offscreen_test.h>
#include <picture_files.h>

/* Each allocation of a life fails in turn: nothing is left, and the next life goes well. */

namespace
{

struct OutOfMemoryTest : OffscreenTest {
	const Folder folder;
	const std::string bitmap = folder.file("a.bmp", bmp({}, {1, 2, 3, 4}));
	const std::string picture = folder.file("a.png", png({1, 1, 6}, {3, 2, 1, 4}));

	/* Lives again and again, with one more allocation that succeeds, until all do. */
	template <class Life>
	void fail_in_turn(Life live)
	{
		if (!kMemoryCanFail)
			GTEST_SKIP();
		fail_allocation(0);
		ASSERT_TRUE(live()); /* what is made once stays */
		const std::size_t blocks = live_blocks();
		const std::set<GLuint> textures = live_textures;
		std::size_t n = 0;
		for (bool failed = true; failed && !HasFailure();) {
			SCOPED_TRACE(testing::Message() << "allocation " << ++n);
			fail_allocation(n);
			const bool went_well = live();
			failed = fail_allocation(0) >= n;
			EXPECT_TRUE(went_well || failed);
			EXPECT_EQ(animationItemHead, nullptr);
			EXPECT_EQ(live_blocks(), blocks);
			EXPECT_EQ(live_textures, textures);
		}
		EXPECT_GT(n, 1U); /* something could fail */
	}

	/* From creation over updates to removal; true if the object was there and drew. */
	template <class Para>
	bool live(AnimationType type, Para para)
	{
		const unsigned int id = CreateAnimationObj(type, &para);
		if (id == ANIMATION_NO_OBJECT)
			return false;
		bool drew = true;
		for (const UpdateMode mode : {UPD_ALL, UPD_COORDS, UPD_MISC}) {
			EXPECT_TRUE(step(id));
			Render3DFrame(window, object(id).renderobj);
			drew = drew && object(id).renderobj->coordnum == 4;
			para.update = mode;
			UpdateAnimationObj(id, &para);
		}
		EXPECT_TRUE(step(id));
		RemoveAnimationObj(id, DEL_IMMEDIATELY);
		EXPECT_FALSE(step(id));
		return drew;
	}
};

TEST_F(OutOfMemoryTest, ObjectsLeaveNothing)
{
	for_each_type([this](AnimationType type, auto para) {
		SCOPED_TRACE(type);
		if constexpr (requires { para.textures; }) {
			para.textures.mode = TEX_PNG;
			para.textures.tex_num = 1;
			strcpy(para.textures.textures_name[0], picture.c_str());
		}
		fail_in_turn([&] { return live(type, para); });
	});
}

TEST_F(OutOfMemoryTest, HandlesLeaveNothing)
{
	for (const auto &create :
	    {+[](const OutOfMemoryTest &test) { return CreateTextureByName(test.bitmap.c_str()); },
	        +[](const OutOfMemoryTest &test) { return CreateTextureByPng(test.picture.c_str()); }})
		fail_in_turn([&] {
			const GLuint handle = create(*this);
			if (handle != 0xFFFFFFFF)
				DeleteTexture(handle);
			return handle != 0xFFFFFFFF;
		});
}

} // namespace
