#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <files.h>
#include <offscreen_test.h>

namespace fs = std::filesystem;

/* Whole turns of the render loop: what is drawn when, and cleared and swapped. */

namespace
{

std::string own_marker = CAPTURE_MARKER;

} // namespace

/* All programs of a build have one marker. Those that run beside this test are to see none. */
int access(const char *name, int mode) noexcept
{
	const bool is_marker = strcmp(name, CAPTURE_MARKER) == 0;
	return faccessat(AT_FDCWD, is_marker ? own_marker.c_str() : name, mode, 0);
}

namespace
{

struct RedrawTest : OffscreenTest {
	VideoRAW_animationpara video_para = whole_viewport<VideoRAW_animationpara>();

	bool turn()
	{
		return draw_turn(offscreen());
	}

	/* Red on the left half of a viewport for so many frames, and so many more; then it goes. */
	static unsigned int create_image(uint32_t frames)
	{
		float left_half[8] = {0, 576, 576, 576, 0, 0, 576, 0};
		auto para = whole_viewport<Flash_animationpara>();
		para.in_position2d.position2d = left_half;
		para.textures.constant_color[0] = para.textures.constant_color[3] = 1;
		para.on_frame = para.off_frame = frames;
		para.on_alpha = para.off_alpha = 1;
		para.loopcnt = 1;
		para.delonloopcnt = true;
		return CreateAnimationObj(ANI_FLASH, &para);
	}

	unsigned int create_video()
	{
		return CreateAnimationObj(ANI_VIDEO_RAW, &video_para);
	}

	/* A grey frame for a whole viewport. */
	void feed(unsigned int id, ViewPortID vp_id = VP_LCD0)
	{
		static std::uint8_t pixels[6] = {126, 126, 126, 126, 128, 128};
		BufferInfoRAW frame = {2, 2, 2, pixels, {}};
		video_para.bufinfo = &frame;
		video_para.in_position2d.vp_id = vp_id;
		video_para.update = UPD_TEXS;
		UpdateAnimationObj(id, &video_para);
	}
};

constexpr Pixel kGrey = {128, 128, 128};

TEST_F(RedrawTest, DrawsVideosOnTopAndOnlyWhenNew)
{
	const unsigned int video = create_video();
	const unsigned int other = create_video();
	EXPECT_TRUE(turn()); /* the geometry counts as new */
	EXPECT_FALSE(turn());
	feed(video);
	EXPECT_TRUE(turn());
	EXPECT_TRUE(looks_like(pixel_at(VP_LCD0, 1), kGrey));
	EXPECT_EQ(pixel_at(VP_LCD1, 1), kBlack);
	EXPECT_FALSE(turn());
	feed(video); /* videos alone are cleared for once, not one by one */
	feed(other, VP_LCD1);
	EXPECT_TRUE(turn());
	for (const ViewPortID vp_id : {VP_LCD0, VP_LCD1})
		EXPECT_TRUE(looks_like(pixel_at(vp_id, 1), kGrey));

	create_image(1000);
	feed(video);
	EXPECT_TRUE(turn());
	EXPECT_TRUE(looks_like(pixel_at(VP_LCD0, 1), kGrey));
	/* Beside images, a video without a new frame is not drawn at all. */
	EXPECT_TRUE(turn());
	EXPECT_EQ(pixel_at(VP_LCD0, 1), kRed);
	EXPECT_EQ(pixel_at(VP_LCD0, 6), kBlack);

	/* Behind a background, not even a removal is looked at. */
	auto background = whole_viewport<Backgroud_animationpara>();
	CreateAnimationObj(ANI_BACKGROUND, &background);
	RemoveAnimationObj(video, DEL_IMMEDIATELY);
	EXPECT_TRUE(turn());
	EXPECT_EQ(GetAnimationObjStatus(video), ST_SHOW | ST_PENDINGDESTROY);
}

TEST_F(RedrawTest, SwapsOnlyWhatWasDrawn)
{
	const uint32_t frames = window->frames;
	const int64_t swapped = gpuRender_framecnt;
	EXPECT_FALSE(turn()); /* an empty list */
	for (uint32_t length : {1u, 1u, 1000u})
		create_image(length);
	EXPECT_TRUE(turn());
	EXPECT_EQ(framecnt, swapped + 1);
	EXPECT_TRUE(turn()); /* the last one of the first two */
	EXPECT_EQ(animationItemHead->objId, 2U);
	RemoveAnimationObj(2, DEL_IMMEDIATELY);
	EXPECT_FALSE(turn()); /* the last picture stays */
	EXPECT_FALSE(animationItemHead);
	EXPECT_EQ(gpuRender_framecnt, swapped + 2);
	EXPECT_EQ(window->frames, frames + 4);
}

/* A pipe, a link and a full disk: nothing is written where no whole capture can be. */
TEST_F(RedrawTest, CapturesIntoWholeRegularFiles)
{
	if (std::string(CAPTURE_DIR) == "/data/capture")
		GTEST_SKIP() << "captures go to the unit's folder in this build";
	fs::create_directories(CAPTURE_DIR);
	const Folder folder;
	own_marker = folder.file("marker", std::string("x"));
	const std::string victim = folder.file("victim", std::string("kept"));
	create_image(1000);
	auto next_capture = [] {
		const fs::path path =
		    fs::path(CAPTURE_DIR) / (std::to_string(gpuRender_framecnt + 1) + ".raw");
		fs::remove(path);
		return path;
	};

	fs::path capture = next_capture();
	ASSERT_EQ(mkfifo(capture.c_str(), 0600), 0);
	EXPECT_TRUE(turn());
	EXPECT_TRUE(fs::is_fifo(capture));

	capture = next_capture();
	fs::create_symlink(victim, capture);
	EXPECT_TRUE(turn());
	EXPECT_EQ(read_file(victim), "kept");

	capture = next_capture();
	const auto handler = signal(SIGXFSZ, SIG_IGN);
	rlimit limit;
	getrlimit(RLIMIT_FSIZE, &limit);
	const rlimit one_megabyte = {1 << 20, limit.rlim_max};
	setrlimit(RLIMIT_FSIZE, &one_megabyte);
	EXPECT_TRUE(turn());
	setrlimit(RLIMIT_FSIZE, &limit);
	signal(SIGXFSZ, handler);
	EXPECT_FALSE(fs::exists(capture));

	capture = next_capture();
	std::ofstream(capture).put('x');
	fs::resize_file(capture, 6000000); /* of an earlier run */
	EXPECT_TRUE(turn());
	const std::string pixels = read_file(capture);
	ASSERT_EQ(pixels.size(), 5308416U);
	EXPECT_EQ(pixels.substr(pixels.size() - 9216, 3), std::string("\xff\0\0", 3)); /* red */
	EXPECT_EQ(pixels.substr(pixels.size() - 4, 3), std::string(3, '\0'));
	own_marker = CAPTURE_MARKER;
	fs::remove_all(CAPTURE_DIR);
}

} // namespace
