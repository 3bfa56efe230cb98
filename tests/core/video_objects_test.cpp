#include <array>

#include <gl_watch.h>
#include <offscreen_test.h>

namespace
{

float whole_picture[8] = {0, 0, 1, 0, 0, 1, 1, 1};

/* What the stand-ins for the image entry points were told. Images are numbered from 1. */
std::vector<std::vector<EGLint>> imports;
std::vector<std::size_t> destroyed;
bool imports_fail;

EGLImageKHR newest_image()
{
	return imports_fail ? nullptr : reinterpret_cast<EGLImageKHR>(imports.size());
}

EGLImageKHR stand_in_create(EGLDisplay, EGLContext context, EGLenum target, EGLClientBuffer buffer,
    const EGLint *attributes)
{
	EXPECT_TRUE(context == EGL_NO_CONTEXT && target == EGL_LINUX_DMA_BUF_EXT && !buffer);
	const EGLint *end = attributes;
	while (*end != EGL_NONE)
		end++;
	imports.emplace_back(attributes, end);
	return newest_image();
}

void stand_in_target(GLenum target, GLeglImageOES image)
{
	EXPECT_EQ(target, GLenum{GL_TEXTURE_EXTERNAL_OES});
	EXPECT_EQ(image, newest_image());
}

EGLBoolean stand_in_destroy(EGLDisplay, EGLImageKHR image)
{
	destroyed.push_back(reinterpret_cast<std::size_t>(image));
	return EGL_TRUE;
}

/* An object, which is gone with its textures at the end. */
template <class Para>
struct VideoTest : OffscreenTest {
	Para para = whole_viewport<Para>();
	std::size_t textures = 0;
	unsigned int id = 0;

	void create(AnimationType type)
	{
		textures = live_textures.size();
		para.texcoord = whole_picture;
		id = CreateAnimationObj(type, &para);
	}

	void TearDown() override
	{
		OffscreenTest::TearDown();
		EXPECT_EQ(live_textures.size(), textures);
	}

	/* True if the object is to be drawn in this frame. */
	bool turn()
	{
		return step(id) && object(id).renderobj->repaint;
	}

	void update(UpdateMode mode, decltype(Para::bufinfo) bufinfo)
	{
		para.bufinfo = bufinfo;
		para.update = mode;
		UpdateAnimationObj(id, &para);
	}
};

struct StreamedVideoTest : VideoTest<VideoGST_animationpara> {
	BufferInfoGST frame = {1280, 720, {0, 0, 1280, 720}, 42};

	void SetUp() override
	{
		imports.clear();
		destroyed.clear();
		imports_fail = false;
		f_eglCreateImageKHR = stand_in_create;
		f_glEGLImageTargetTexture2DOES = stand_in_target;
		f_eglDestroyImageKHR = stand_in_destroy;
		para.bufinfo = &frame; /* not taken: a new object has no frame */
		create(ANI_VIDEO_GST);
		EXPECT_EQ(para.bufinfo, nullptr);
		EXPECT_TRUE(turn());
		EXPECT_TRUE(imports.empty());
	}

	void TearDown() override
	{
		VideoTest::TearDown();
		GetProcAddress();
	}
};

TEST_F(StreamedVideoTest, ImportsTheNewestFrame)
{
	EXPECT_FALSE(turn());
	BufferInfoGST older = {640, 480, {}, 7};
	update(UPD_ALL, &older);
	update(UPD_ALL, &frame);
	frame.fd = 99; /* the object has its own copy */
	EXPECT_TRUE(turn());
	ASSERT_EQ(imports.size(), 1U);
	EXPECT_EQ(
	    imports[0], (std::vector<EGLint>{0x3271, 0x3231564E, 0x3057, 1280, 0x3056, 720, 0x3274,
	                    1280, 0x3277, 1280, 0x3273, 0, 0x3276, 0, 0x3272, 42, 0x3275, 42}));
	EXPECT_FALSE(turn());

	update(UPD_ALL, &frame);
	EXPECT_TRUE(turn());
	EXPECT_EQ(destroyed, std::vector<std::size_t>{1});
	EXPECT_EQ(live_textures.size(), textures + 1);
	RemoveAnimationObj(id, DEL_ON_HIDE);
	EXPECT_FALSE(turn());
	EXPECT_EQ(destroyed, (std::vector<std::size_t>{1, 2}));
}

TEST_F(StreamedVideoTest, MapsTheCropEveryTimeAnew)
{
	const float cropped[8] = {0.25f, 0.125f, 0.75f, 0.125f, 0.25f, 0.875f, 0.75f, 0.875f};
	frame.crop = {320, 90, 640, 540};
	for (UpdateMode mode : {UPD_ALL, UPD_TEXS}) {
		update(mode, &frame);
		EXPECT_TRUE(turn());
		EXPECT_TRUE(std::equal(cropped, cropped + 8, object(id).renderobj->texturecoord0));
	}
	update(UPD_COORDS, &frame); /* the strip alone, with its own coordinates and the old picture */
	EXPECT_TRUE(turn());
	EXPECT_TRUE(std::equal(whole_picture, whole_picture + 8, object(id).renderobj->texturecoord0));
	EXPECT_EQ(imports.size(), 2U);
	update(UPD_MISC, &frame);
	EXPECT_FALSE(turn());
}

TEST_F(StreamedVideoTest, OutlivesFailures)
{
	imports_fail = true;
	update(UPD_ALL, &frame);
	EXPECT_TRUE(turn());
	imports_fail = false;
	update(UPD_ALL, &frame);
	EXPECT_TRUE(turn());
	EXPECT_EQ(object(id).renderobj->imagekhr, newest_image());
	EXPECT_TRUE(destroyed.empty());

	update(UPD_ALL, nullptr);
	EXPECT_TRUE(turn());
	EXPECT_EQ(destroyed, std::vector<std::size_t>{2});
	EXPECT_EQ(object(id).renderobj->textures[0], 0U);

	f_eglCreateImageKHR = nullptr; /* EGL without images */
	update(UPD_ALL, &frame);
	EXPECT_TRUE(turn());
	EXPECT_EQ(imports.size(), 2U);
}

struct RawVideoTest : VideoTest<VideoRAW_animationpara> {
	void SetUp() override
	{
		create(ANI_VIDEO_RAW);
	}

	void update(BufferInfoRAW frame)
	{
		VideoTest::update(UPD_TEXS, &frame);
	}
};

TEST_F(RawVideoTest, ShowsFramesFromMemory)
{
	/* Black at the bottom, white at the top; the second plane where the stride says. */
	std::array<std::uint8_t, 2 * 4 + 2> pixels = {16, 16, 235, 235, 0, 0, 0, 0, 128, 128};
	const BufferInfoRAW frame = {2, 2, 4, pixels.data(), {}};
	update(frame);
	EXPECT_TRUE(turn()); /* a frame before the first turn is lost: that brings the strip alone */
	EXPECT_EQ(object(id).renderobj->tex_num, 0U);
	EXPECT_FALSE(turn());
	for (int i = 0; i < 2; i++) {
		update({2, 2, 2, pixels.data(), {}}); /* replaced before it is shown */
		update(frame);
		EXPECT_TRUE(turn());
		EXPECT_EQ(live_textures.size(), textures + 2);
	}
	Render3DFrame(window, object(id).renderobj);
	EXPECT_TRUE(looks_like(pixel_at(VP_LCD0, 4, 7), kBlack, 2));
	EXPECT_TRUE(looks_like(pixel_at(VP_LCD0, 4, 0), kWhite, 2));
	EXPECT_FALSE(turn());
	/* Odd sizes are halved downwards: blocks of exactly what such a frame holds, so that a
	 * sanitizer sees a byte more. */
	for (const uint32_t width : {1u, 3u, 5u}) {
		std::vector<std::uint8_t> odd(width * 3 + width / 2 * 2, 100);
		update({width, 3, width, odd.data(), {}});
		EXPECT_TRUE(turn());
	}
	RemoveAnimationObj(id, DEL_IMMEDIATELY);
	EXPECT_FALSE(turn());
}

TEST_F(RawVideoTest, TakesOverReadyTextures)
{
	turn();
	const GLuint planes[2] = {solid_texture(kRed), solid_texture(kGreen)};
	update({1, 1, 1, nullptr, {planes[0], planes[1]}});
	EXPECT_TRUE(turn());
	EXPECT_EQ(bound_texture(0), planes[0]);
	EXPECT_EQ(bound_texture(1), planes[1]);
	RemoveAnimationObj(id, DEL_IMMEDIATELY);
	EXPECT_FALSE(turn());
}

} // namespace
