/* Video through the whole library, from a file or an application's frames to the surface. */
#include <atomic>
#include <cstdlib>
#include <optional>
#include <thread>

#include <player/player.h>

#include "../player/playback.h"
#include "../support/records.h"
#include "system_test.h"

using namespace std::chrono_literals;

namespace
{

constexpr std::uint32_t kWhite = 0xFFFFFF;

/* The film is shown four times as large: a white frame, of another width on each side, around red,
 * green, then blue, a second each. */
constexpr int kWidth = 288, kHeight = 144, kScale = 4;
constexpr int kLeft = 4, kRight = 8, kTop = 12, kBottom = 16;

std::string film_part(const char *argb)
{
	return std::string("videotestsrc num-buffers=25 pattern=solid-color foreground-color=0xff") +
	       argb +
	       " ! video/x-raw,format=I420,width=276,height=116,framerate=25/1"
	       " ! videobox fill=white left=-4 right=-8 top=-12 bottom=-16 ! film. ";
}

std::string film()
{
	static const Folder folder;
	static const std::string path = [] {
		const std::string file = folder.path / "film.mp4";
		Pipeline camera(film_part("ff0000") + film_part("00ff00") + film_part("0000ff") +
		                "concat name=film ! x264enc tune=zerolatency pass=quant quantizer=4"
		                " ! h264parse ! mp4mux ! filesink location=" +
		                file);
		EXPECT_TRUE(camera.ends(20));
		return file;
	}();
	return path;
}

/* Up to what two conversions and a lossy codec may do to it. */
bool is_near(std::uint32_t seen, std::uint32_t expected)
{
	for (int shift : {0, 8, 16})
		if (std::abs(int(seen >> shift & 0xFF) - int(expected >> shift & 0xFF)) > 12)
			return false;
	return true;
}

struct VideoTest : SystemTest {
	float whole_picture[8] = {0, 1, 1, 1, 0, 0, 1, 0};
	VideoGST_animationpara left = record<VideoGST_animationpara>(VP_LCD0);
	VideoGST_animationpara right = record<VideoGST_animationpara>(VP_LCD1);
	unsigned int left_id = ANIMATION_NO_OBJECT, right_id = ANIMATION_NO_OBJECT;
	Caught out{1};

	template <class Para>
	Para record(ViewPortID vp_id)
	{
		auto para = whole_viewport<Para>(vp_id);
		para.texcoord = whole_picture;
		return para;
	}

	void SetUp() override
	{
		gst_init(nullptr, nullptr);
		start_compositor({});
		init();
	}

	void TearDown() override
	{
		StopGSTPlay();
		EXPECT_TRUE(has_ended());
		remove_all();
		finish();
	}

	void play(bool on_left, bool on_right)
	{
		if (on_left && left_id == ANIMATION_NO_OBJECT)
			left_id = CreateAnimationObj(ANI_VIDEO_GST, &left);
		if (on_right && right_id == ANIMATION_NO_OBJECT)
			right_id = CreateAnimationObj(ANI_VIDEO_GST, &right);
		playbacks++;
		ASSERT_TRUE(eventually([] { return StartGSTPlay(film().c_str()) == 0; }));
		ASSERT_EQ(SetGSTPlayAnimationId(on_left ? left_id : ANIMATION_NO_OBJECT, &left,
		              on_right ? right_id : ANIMATION_NO_OBJECT, &right),
		    0);
	}

	bool has_ended()
	{
		return eventually([this] { return count(out.text(), "thread exit\n") == playbacks; });
	}

	bool shows(ViewPortID vp_id, std::uint32_t colour)
	{
		return is_near(pixel(1152 * vp_id + 576, 288), colour);
	}

	bool comes_to_show(ViewPortID vp_id, std::uint32_t colour)
	{
		return eventually([=, this] { return shows(vp_id, colour); });
	}

	/* The white frame ends where it should, within half a pixel of the film. */
	void expect_edges(ViewPortID vp_id, std::uint32_t colour)
	{
		const int x0 = 1152 * vp_id;
		const int right = (kWidth - kRight) * kScale, bottom = (kHeight - kBottom) * kScale;
		for (const int beside : {-3, 2}) { /* an edge */
			const int x[] = {kLeft * kScale + beside, right - 1 - beside, 576, 576};
			const int y[] = {288, 288, kTop * kScale + beside, bottom - 1 - beside};
			for (int edge = 0; edge < 4; edge++)
				EXPECT_TRUE(is_near(pixel(x0 + x[edge], y[edge]), beside < 0 ? kWhite : colour))
				    << vp_id << ", edge " << edge;
		}
	}

private:
	int playbacks = 0;
};

TEST_F(VideoTest, PlaysAFileOnBothViewportsAndKeepsItsLastPicture)
{
	play(true, true);
	for (const std::uint32_t colour : {kRed, kGreen, kBlue}) {
		EXPECT_TRUE(eventually([&] { return shows(VP_LCD0, colour) && shows(VP_LCD1, colour); }));
		if (colour == kRed) {
			GSTplayControl(GST_PAUSE); /* which the end of the change to it takes back */
			GSTplayControl(GST_PLAY);
		}
	}
	EXPECT_TRUE(has_ended());
	EXPECT_FALSE(IsGSTStatePlaying());
	EXPECT_TRUE(
	    eventually([this] { /* until the last frame is on the surface, and nothing after it */
		    const std::uint64_t shown = pictures();
		    return await_turns(3) && pictures() == shown;
	    }));
	expect_edges(VP_LCD0, kBlue);
	expect_edges(VP_LCD1, kBlue);

	/* A second playback, on one viewport, and stopped in the middle. */
	RemoveAnimationObj(right_id, DEL_IMMEDIATELY);
	play(true, false);
	EXPECT_TRUE(comes_to_show(VP_LCD0, kGreen));
	StopGSTPlay();
	EXPECT_TRUE(has_ended());
	EXPECT_EQ(count(out.text(), "streamer eos\n"), 1) << "of the first playback";
	EXPECT_TRUE(await_turns(2));
	expect_edges(VP_LCD0, kGreen);
	EXPECT_TRUE(shows(VP_LCD1, kBlack));
}

TEST_F(VideoTest, SharesItsObjectsWithOtherThreads)
{
	play(true, true);
	std::atomic<bool> over = false;
	std::thread application([&] {
		auto own = record<VideoGST_animationpara>(VP_LCD1);
		while (!over) {
			const unsigned int id = CreateAnimationObj(ANI_VIDEO_GST, &own);
			SetGSTPlayAnimationId(left_id, &left, id, &own);
			std::this_thread::sleep_for(50ms);
			SetGSTPlayAnimationId(left_id, &left, right_id, &right);
			RemoveAnimationObj(id, DEL_IMMEDIATELY);
			free(own.bufinfo); /* no longer the player's */
			own.bufinfo = nullptr;
		}
	});
	EXPECT_TRUE(comes_to_show(VP_LCD0, kGreen));
	EXPECT_TRUE(comes_to_show(VP_LCD0, kBlue));
	EXPECT_TRUE(has_ended());
	over = true;
	application.join();
	SetGSTPlayAnimationId(ANIMATION_NO_OBJECT, nullptr, ANIMATION_NO_OBJECT, nullptr);
	free(right.bufinfo); /* if it was not registered at the end */
}

/* NV12 of one colour, the lower half black. */
std::vector<std::uint8_t> raw_frame(std::uint8_t luma, std::uint8_t u, std::uint8_t v)
{
	return {luma, luma, luma, luma, 16, 16, 16, 16, u, v, u, v};
}

TEST_F(VideoTest, ShowsAnApplicationsFramesAndGoesOnAfterDescriptorsThatAreNone)
{
	auto raw = record<VideoRAW_animationpara>(VP_LCD1);
	const unsigned int raw_id = CreateAnimationObj(ANI_VIDEO_RAW, &raw);
	EXPECT_TRUE(await_turns(2)); /* the first frame takes no picture */
	std::vector<std::uint8_t> grey(6, 128);
	BufferInfoRAW picture = {2, 2, 2, grey.data(), {}};
	raw.bufinfo = &picture;
	raw.update = UPD_TEXS;
	UpdateAnimationObj(raw_id, &raw);
	EXPECT_TRUE(comes_to_show(VP_LCD1, 0x828282));

	const unsigned int id = CreateAnimationObj(ANI_VIDEO_GST, &left);
	auto feed = [&](int fd) {
		BufferInfoGST frame = {2, 4, {0, 0, 2, 2}, static_cast<std::uint32_t>(fd)};
		left.bufinfo = &frame;
		left.update = UPD_ALL;
		UpdateAnimationObj(id, &left);
		const std::uint64_t shown = pictures();
		EXPECT_TRUE(eventually([&] { return pictures() > shown; }));
	};
	std::optional<Descriptor> red(raw_frame(81, 90, 240));
	const int fd = red->fd;
	feed(fd);
	EXPECT_TRUE(comes_to_show(VP_LCD0, kRed));
	red.reset();
	feed(fd);
	const Descriptor reused({1, 2, 3});
	EXPECT_EQ(reused.fd, fd);
	feed(fd);
	EXPECT_FALSE(shows(VP_LCD0, kRed));
	const Descriptor green(raw_frame(145, 54, 34));
	feed(green.fd);
	EXPECT_TRUE(comes_to_show(VP_LCD0, kGreen));
}

} // namespace
