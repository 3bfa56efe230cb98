#include <cstring>
#include <functional>

#include <gl_watch.h>
#include <offscreen_test.h>
#include <picture_files.h>

/* Who owns which texture. */

namespace
{

struct TexturesTest : OffscreenTest {
	std::set<GLuint> before = gl_watch.textures;

	/* The textures made since the test began. */
	std::size_t made() const
	{
		return gl_watch.textures.size() - before.size();
	}

	void remove(unsigned int id)
	{
		RemoveAnimationObj(id, DEL_IMMEDIATELY);
		EXPECT_FALSE(step(id));
	}
};

TEST_F(TexturesTest, MakesHandlesFromPixelsAndFiles)
{
	const TempFolder folder;
	const std::string bitmap = folder.file("a.bmp", bmp({}, {1, 2, 3, 4}));
	const std::string picture = folder.file("a.png", png({1, 1, 6}, {3, 2, 1, 4}));
	const Pixel expected = {1, 2, 3, 4};
	for (const GLuint handle : {CreateTexture(1, 1, GL_BGRA_EXT, &expected),
	         CreateTextureByName(bitmap.c_str()), CreateTextureByPng(picture.c_str())}) {
		EXPECT_EQ(read_texture(handle, 1, 1)[0], expected);
		DeleteTexture(handle);
	}
	testing::internal::CaptureStdout();
	testing::internal::CaptureStderr();
	EXPECT_EQ(CreateTextureByName("missing.bmp"), 0xFFFFFFFFu);
	EXPECT_EQ(CreateTextureByPng("missing.png"), 0xFFFFFFFFu);
	EXPECT_EQ(CreateTextureByPng(bitmap.c_str()), 0xFFFFFFFFu);
	EXPECT_EQ(made(), 0U);

	const GLuint empty = CreateTexture(1, 1, GL_RGBA, &expected); /* a handle all the same */
	EXPECT_TRUE(glIsTexture(empty));
	DeleteTexture(empty);
	DeleteTexture(empty);
	DeleteTexture(0);
	EXPECT_EQ(made(), 0U);
	testing::internal::GetCapturedStdout();
	testing::internal::GetCapturedStderr();
}

TEST_F(TexturesTest, LeavesTheCallersAliveAndItsOwnNot)
{
	const GLuint handles[3] = {solid_texture(kRed), solid_texture(kGreen), solid_texture(kBlue)};
	auto create = [&]<class Para>(AnimationType type, Para para, TextureDataMode mode) {
		para.textures.mode = mode;
		for (const Pixel *pixel : {&kRed, &kGreen, &kBlue})
			add_picture(para.textures, *pixel);
		std::copy_n(handles, 3, para.textures.texids);
		if constexpr (requires { para.sin_frame; })
			para.sin_frame = 100;
		return CreateAnimationObj(type, &para);
	};
	for (int round = 0; round < 1000; round++) {
		const TextureDataMode mode = round % 2 ? TEX_DATA : TEX_IDS;
		unsigned int ids[] = {
		    create(ANI_BACKGROUND, whole_viewport<Backgroud_animationpara>(), mode),
		    create(ANI_FLASH, whole_viewport<Flash_animationpara>(), mode),
		    create(ANI_FADEINOUT, whole_viewport<FadeInOutLoop_animationpara>(), mode),
		    create(ANI_SEQUENCE, whole_viewport<SeqLoop_animationpara>(), mode),
		    round % 10 < 2
		        ? create(ANI_GRADUALLYDISP, whole_viewport<GraduallyDispLoop_animationpara>(), mode)
		        : ANIMATION_NO_OBJECT,
		};
		for (const unsigned int id : ids) {
			if (id == ANIMATION_NO_OBJECT)
				continue;
			ASSERT_TRUE(step(id));
			remove(id);
		}
		ASSERT_EQ(made(), 3U) << "round " << round;
	}
	for (const GLuint handle : handles) {
		EXPECT_TRUE(glIsTexture(handle));
		DeleteTexture(handle);
	}
}

/* An update may change where the textures come from, and how many there are. */
template <class Para>
void change_modes(AnimationType type, std::size_t masks, std::function<std::size_t()> made,
    std::function<bool(unsigned int)> step)
{
	const GLuint handles[2] = {solid_texture(kRed), solid_texture(kGreen)};
	auto para = whole_viewport<Para>();
	add_picture(para.textures, kBlue);
	std::copy_n(handles, 2, para.textures.texids);
	const unsigned int id = CreateAnimationObj(type, &para);
	ASSERT_TRUE(step(id));
	struct Change {
		TextureDataMode mode;
		uint32_t tex_num;
	};
	for (const Change &change : {Change{TEX_IDS, 2}, {TEX_IDS, 1}, {TEX_DATA, 2}, {TEX_DATA, 1},
	         {TEX_DATA, 0}, {TEX_IDS, 0}, {TEX_IDS, 2}, {TEX_DATA, 1}, {TEX_IDS, 2}}) {
		para.textures.tex_num = 0;
		for (uint32_t i = 0; i < change.tex_num; i++)
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
	for (const GLuint handle : handles) {
		EXPECT_TRUE(glIsTexture(handle));
		DeleteTexture(handle);
	}
}

TEST_F(TexturesTest, ChangesOwnersWithTheMode)
{
	const auto count = [this] { return made(); };
	const auto one = [this](unsigned int id) { return step(id); };
	change_modes<Backgroud_animationpara>(ANI_BACKGROUND, 0, count, one);
	change_modes<Flash_animationpara>(ANI_FLASH, 0, count, one);
	change_modes<FadeInOutLoop_animationpara>(ANI_FADEINOUT, 0, count, one);
	change_modes<GraduallyDispLoop_animationpara>(ANI_GRADUALLYDISP, 11, count, one);
	change_modes<SeqLoop_animationpara>(ANI_SEQUENCE, 0, count, one);
	EXPECT_EQ(gl_watch.textures, before);
}

} // namespace
