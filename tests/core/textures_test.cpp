#include <semaphore>
#include <thread>

#include <sys/inotify.h>
#include <unistd.h>

#include <base/lock.h>
#include <gl_watch.h>
#include <offscreen_test.h>
#include <picture_files.h>
#include <wait.h>

/* Who owns which texture. */

namespace
{

struct TexturesTest : OffscreenTest {
	std::set<GLuint> before = live_textures;
	GLuint handles[2] = {}; /* the caller's */

	/* The textures made since the test began. */
	std::size_t made() const
	{
		return live_textures.size() - before.size();
	}

	/* An object whose updates change where its textures come from, and how many there are. */
	template <class Para>
	void change_modes(AnimationType type, Para para)
	{
		const std::size_t masks = type == ANI_GRADUALLYDISP ? 11 : 0;
		std::copy_n(handles, 2, para.textures.texids);
		add_picture(para.textures, kBlue);
		const unsigned int id = CreateAnimationObj(type, &para);
		ASSERT_TRUE(step(id));
		struct Change {
			TextureDataMode mode;
			uint32_t tex_num;
		};
		for (const Change &change : {Change{TEX_IDS, 2}, {TEX_IDS, 1}, {TEX_DATA, 2}, {TEX_DATA, 1},
		         {TEX_DATA, 0}, {TEX_IDS, 0}, {TEX_IDS, 2}, {TEX_DATA, 1}, {TEX_IDS, 2}}) {
			para.textures.tex_num = 0;
			while (para.textures.tex_num < change.tex_num)
				add_picture(para.textures, kBlue);
			para.textures.mode = change.mode;
			para.update = UPD_TEXS;
			UpdateAnimationObj(id, &para);
			ASSERT_TRUE(step(id));
			EXPECT_EQ(made(), 2 + masks + (change.mode == TEX_DATA ? change.tex_num : 0));
			/* A record that says otherwise owns nothing before the frame that reads it. */
			para.textures.mode = change.mode == TEX_IDS ? TEX_DATA : TEX_IDS;
			para.update = UPD_MISC;
			UpdateAnimationObj(id, &para);
			ASSERT_TRUE(step(id));
		}
		RemoveAnimationObj(id, DEL_IMMEDIATELY);
		EXPECT_FALSE(step(id));
		EXPECT_EQ(made(), 2U);
	}
};

TEST_F(TexturesTest, MakesHandlesFromPixelsAndFiles)
{
	const Folder folder;
	const Pixel expected = {1, 2, 3, 4};
	const std::string bitmap = folder.file("a.bmp", bmp({}, {1, 2, 3, 4}));
	const std::string picture = folder.file("a.png", png({1, 1, 6}, {3, 2, 1, 4}));
	for (const GLuint handle : {CreateTexture(1, 1, GL_BGRA_EXT, &expected),
	         CreateTextureByName(bitmap.c_str()), CreateTextureByPng(picture.c_str())}) {
		EXPECT_EQ(read_texture(handle, 1, 1)[0], expected);
		DeleteTexture(handle);
	}
	EXPECT_EQ(CreateTextureByName(picture.c_str()), 0xFFFFFFFFu);
	EXPECT_EQ(CreateTextureByPng("missing.png"), 0xFFFFFFFFu);
	EXPECT_EQ(made(), 0U);
	DeleteTexture(CreateTexture(1, 1, GL_RGBA, &expected)); /* a handle all the same */
	DeleteTexture(0);
	EXPECT_EQ(made(), 0U);
}

/* A file is read and decoded while a frame holds the lock. */
TEST_F(TexturesTest, DecodesBeforeItTakesTheLock)
{
	const Folder folder;
	struct Case {
		GLuint (*create)(const char *);
		std::string file;
		int readings;
	};
	for (const Case &c : {Case{CreateTextureByName, folder.file("a.bmp", bmp({}, Bytes(4))), 2},
	         {CreateTextureByPng, folder.file("a.png", png({1, 1, 6}, Bytes(4))), 1}}) {
		const int watch = inotify_init1(IN_CLOEXEC | IN_NONBLOCK);
		inotify_add_watch(watch, c.file.c_str(), IN_OPEN | IN_CLOSE_NOWRITE);
		std::binary_semaphore locked(0);
		int readings = 0;
		std::thread frame([&] {
			const ListLock lock;
			locked.release();
			wait_until([&] {
				inotify_event event;
				while (read(watch, &event, sizeof(event)) == sizeof(event))
					readings += event.mask == IN_CLOSE_NOWRITE;
				return readings == c.readings;
			});
		});
		locked.acquire();
		const GLuint handle = c.create(c.file.c_str());
		frame.join();
		EXPECT_EQ(readings, c.readings);
		DeleteTexture(handle);
		close(watch);
	}
}

TEST_F(TexturesTest, ChangesOwnersWithTheMode)
{
	for (GLuint &handle : handles)
		handle = solid_texture(kRed);
	for (int round = 0; round < 200; round++) /* a thousand objects */
		for_each_type([this](AnimationType type, auto para) {
			if constexpr (requires { para.textures; })
				change_modes(type, para);
		});
	for (const GLuint handle : handles) {
		EXPECT_TRUE(glIsTexture(handle));
		DeleteTexture(handle);
	}
	EXPECT_EQ(live_textures, before);
}

/* With names that no frame has built. */
TEST_F(TexturesTest, LeavesAHandMadeObjectToItsRecord)
{
	for (const TextureDataMode mode : {TEX_IDS, TEX_DATA}) {
		AnimationObj *obj = make_by_hand(0);
		const GLuint texture = obj->renderobj->textures[0] = solid_texture(kRed);
		obj->renderobj->tex_num = 1;
		static_cast<Backgroud_animationpara *>(obj->animationpara)->textures.mode = mode;
		InsertAnimationObj(0, obj);
		EXPECT_TRUE(step(0));
		RemoveAnimationObj(0, DEL_IMMEDIATELY);
		EXPECT_FALSE(step(0));
		EXPECT_EQ(glIsTexture(texture), mode == TEX_IDS);
		DeleteTexture(texture);
	}
}

TEST_F(TexturesTest, LosesNoPictureToAFadeTargetThatIsNotLoaded)
{
	auto para = whole_viewport<Backgroud_animationpara>();
	add_picture(para.textures, kRed);
	const unsigned int id = CreateAnimationObj(ANI_BACKGROUND, &para);
	step(id);
	add_picture(para.textures, kBlue);
	para.textures.mask_index = para.in_frame = 1;
	para.update = UPD_MISC;
	UpdateAnimationObj(id, &para);
	for (const AnimationStatus status : {ST_FADEIN, ST_SHOW}) {
		step(id);
		EXPECT_EQ(GetAnimationObjStatus(id), status);
	}
	EXPECT_EQ(read_texture(bound_texture(0), 1, 1)[0], kRed);
	RemoveAnimationObjReal(id);
	EXPECT_EQ(made(), 0U);
}

} // namespace
