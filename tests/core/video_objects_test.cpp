#include <array>

#include <gl_watch.h>
#include <offscreen_test.h>

/* What video objects keep and give back, with stand-ins for the image entry points. */

namespace
{

float whole_picture[8] = {0, 0, 1, 0, 0, 1, 1, 1};

/* Images are numbered from 1. */
std::size_t imports;
std::vector<std::size_t> destroyed;
EGLint imported_fd;

EGLImageKHR stand_in_create(
    EGLDisplay, EGLContext, EGLenum, EGLClientBuffer, const EGLint *attributes)
{
	while (*attributes != EGL_DMA_BUF_PLANE0_FD_EXT)
		attributes += 2;
	imported_fd = attributes[1];
	return reinterpret_cast<EGLImageKHR>(++imports);
}

void stand_in_target(GLenum, GLeglImageOES image)
{
	EXPECT_EQ(image, reinterpret_cast<GLeglImageOES>(imports));
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
	std::size_t textures = live_textures.size();
	unsigned int id = 0;

	void create(AnimationType type)
	{
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
	BufferInfoGST frame = {1280, 720, {320, 90, 640, 540}, 42};

	void SetUp() override
	{
		imports = 0;
		destroyed.clear();
		f_eglCreateImageKHR = stand_in_create;
		f_glEGLImageTargetTexture2DOES = stand_in_target;
		f_eglDestroyImageKHR = stand_in_destroy;
		para.bufinfo = &frame; /* not taken: a new object has no frame */
		create(ANI_VIDEO_GST);
		EXPECT_EQ(para.bufinfo, nullptr);
		EXPECT_TRUE(turn());
		EXPECT_EQ(imports, 0U);
	}

	void TearDown() override
	{
		VideoTest::TearDown();
		GetProcAddress();
	}
};

TEST_F(StreamedVideoTest, HoldsTheNewestFrame)
{
	EXPECT_FALSE(turn());
	BufferInfoGST older = {640, 480, {}, 7};
	update(UPD_ALL, &older);
	update(UPD_ALL, &frame);
	frame.fd = 99; /* the object has its own copy */
	EXPECT_TRUE(turn());
	EXPECT_EQ(imports, 1U);
	EXPECT_EQ(imported_fd, 42);
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
	/* The strip alone comes with its own coordinates and the old picture. */
	for (UpdateMode mode : {UPD_ALL, UPD_TEXS, UPD_COORDS}) {
		update(mode, &frame);
		EXPECT_TRUE(turn());
		EXPECT_EQ(object(id).renderobj->texturecoord0[7], mode == UPD_COORDS ? 1 : 0.875f);
	}
	EXPECT_EQ(imports, 2U);
	update(UPD_MISC, &frame);
	EXPECT_FALSE(turn());

	float inner[8] = {0.1f, 0.3f, 0.7f, 0.3f, 0.1f, 0.9f, 0.7f, 0.9f};
	const float exact[8] = {0x1.5e147cp-4f, 0x1.f6b54ap-3f, 0x1.ee3d7p-2f, 0x1.f6b54ap-3f,
	    0x1.5e147cp-4f, 0x1.46c77cp-1f, 0x1.ee3d7p-2f, 0x1.46c77cp-1f};
	para.texcoord = inner;
	frame = {1920, 1080, {37, 53, 1271, 707}, 42};
	update(UPD_ALL, &frame);
	EXPECT_TRUE(turn());
	for (int i = 0; i < 8; i++)
		EXPECT_EQ(object(id).renderobj->texturecoord0[i], exact[i]) << i;
}

TEST_F(StreamedVideoTest, TakesTheFrameAway)
{
	update(UPD_ALL, &frame);
	EXPECT_TRUE(turn());
	update(UPD_ALL, nullptr);
	EXPECT_TRUE(turn());
	EXPECT_EQ(live_textures.size(), textures);
	EXPECT_EQ(object(id).renderobj->tex_num, 1U);
	EXPECT_TRUE(destroyed.empty()); /* goes with the next import or the object */
	f_eglCreateImageKHR = nullptr;  /* EGL without images */
	update(UPD_ALL, &frame);
	EXPECT_TRUE(turn());
	RemoveAnimationObjReal(id);
	EXPECT_EQ(destroyed, std::vector<std::size_t>{1});
}

struct RawVideoTest : VideoTest<VideoRAW_animationpara> {
	void SetUp() override
	{
		create(ANI_VIDEO_RAW);
		update({}); /* a frame before the first turn is lost: that brings the strip alone */
		EXPECT_TRUE(turn());
		EXPECT_EQ(object(id).renderobj->tex_num, 0U);
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
	EXPECT_FALSE(turn());
	for (int i = 0; i < 2; i++) {
		update({2, 2, 2, pixels.data(), {}}); /* replaced before it is shown */
		update({2, 2, 4, pixels.data(), {}});
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
}

TEST_F(RawVideoTest, TakesOverReadyTextures)
{
	const GLuint planes[2] = {solid_texture(kRed), solid_texture(kGreen)};
	update({1, 1, 1, nullptr, {planes[0], planes[1]}});
	EXPECT_TRUE(turn());
	EXPECT_EQ(bound_texture(0), planes[0]);
	EXPECT_EQ(bound_texture(1), planes[1]);
}

} // namespace
