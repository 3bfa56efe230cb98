#include <sinks/sinks.h>

#include <cstdlib>

#include <SDL.h>
#include <sys/stat.h>

#include <files.h>
#include <pipeline.h>
#include <wait.h>

namespace
{

constexpr int kWidth = 96;
constexpr int kHeight = 64;

/* Red; green and blue are each 20 less than the one before. */
int level(std::uint64_t number)
{
	return 60 + static_cast<int>(number % 25) * 7;
}

/* One colour that tells the number. The rows lie further apart than they are long, and the gap
 * holds white. */
Picture picture(std::uint64_t number)
{
	constexpr std::size_t kRow = kWidth * 4, kStride = kRow + 64;
	static std::vector<unsigned char> bytes(kStride * kHeight, 255);
	for (std::size_t i = 0; i < bytes.size(); i++)
		if (i % kStride < kRow)
			bytes[i] = level(number) - 40 + i % 4 * 20;
	return {bytes.data(), kWidth, kHeight, kStride};
}

struct SinksTest : testing::Test {
	Folder folder;
	std::string error;

	SinksPtr open(const SinkOptions &options)
	{
		return open_sinks(options, kWidth, kHeight, "test", &error);
	}
};

/* Plays a recording to where it stops, and tells how many pictures that were. */
std::uint64_t count_recorded(const std::string &path)
{
	const Pipeline player("filesrc location=" + path +
	                      " ! qtdemux ! h264parse ! avdec_h264 ! videoconvert ! "
	                      "video/x-raw,format=RGBx ! appsink name=grabber sync=false");
	std::uint64_t count = 0;
	while (const SamplePtr sample = player.next_sample()) {
		GstBuffer *buffer = gst_sample_get_buffer(sample.get());
		EXPECT_EQ(GST_BUFFER_PTS(buffer), count * GST_SECOND / kPicturesPerSecond);
		count++;
		unsigned char pixel[3] = {};
		gst_buffer_extract(buffer, gst_buffer_get_size(buffer) / 8 * 4, pixel, sizeof(pixel));
		for (int channel = 0; channel < 3; channel++)
			EXPECT_NEAR(pixel[channel], level(count) - 20 * channel, 5) << count;
	}
	return count;
}

TEST_F(SinksTest, RecordsEveryPictureAsOneFrame)
{
	constexpr std::uint64_t kPictures = 120;
	const std::string path = folder.path / "recorded.mp4";
	SinksPtr sinks = open({.record = path});
	ASSERT_TRUE(sinks) << error;
	for (std::uint64_t number = 1; number <= kPictures; number++)
		ASSERT_TRUE(show_picture(*sinks, picture(number)));
	ASSERT_TRUE(finish_sinks(*sinks, &error)) << error;
	EXPECT_EQ(count_recorded(path), kPictures);

	/* As the end of the process or of the disk's space leaves it. */
	std::filesystem::resize_file(path, std::filesystem::file_size(path) * 7 / 10);
	EXPECT_GE(count_recorded(path), kPictures / 2);
}

TEST_F(SinksTest, TellsOfFailuresOnTheWay)
{
	for (const SinkOptions &full :
	    {SinkOptions{.record = "/dev/full"}, SinkOptions{.snapshots = {{1, "/dev/full"}}}}) {
		SinksPtr sinks = open(full);
		ASSERT_TRUE(sinks) << error;
		for (int number = 1; number <= 20 && show_picture(*sinks, picture(number));)
			number++;
		EXPECT_FALSE(finish_sinks(*sinks, &error));
		EXPECT_NE(error.find("No space left"), std::string::npos) << error;
		EXPECT_TRUE(std::filesystem::exists("/dev/full"));
	}

	/* Nobody reads it: to wait for a reader would be for ever. */
	const std::string pipe = folder / "pipe";
	ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
	EXPECT_FALSE(open({.record = pipe}));
	EXPECT_EQ(error, "cannot record to " + pipe + ": No such device or address");
	{
		SinksPtr sinks = open({.snapshots = {{1, pipe}}});
		EXPECT_FALSE(show_picture(*sinks, picture(1)));
	}

	const std::string empty = folder.path / "empty.mp4";
	SinksPtr sinks = open({.record = empty});
	Picture wrong = picture(1);
	wrong.width /= 2;
	EXPECT_FALSE(show_picture(*sinks, wrong));
	EXPECT_FALSE(show_picture(*sinks, picture(2))) << "a failure is for good";
	EXPECT_FALSE(finish_sinks(*sinks, &error));
	EXPECT_TRUE(error.starts_with("frame 1 is 48x64, not 96x64")) << error;
	EXPECT_FALSE(std::filesystem::exists(empty)) << "a recording without pictures";
}

TEST_F(SinksTest, EndsWhenTheWindowIsClosed)
{
	const std::string came = folder.path / "came.png", missed = folder.path / "missed.png";
	setenv("SDL_VIDEODRIVER", "dummy", 1);
	SinksPtr sinks = open({.window = true, .snapshots = {{1, came}, {9, missed}}});
	unsetenv("SDL_VIDEODRIVER");
	ASSERT_TRUE(sinks) << error;
	EXPECT_TRUE(show_picture(*sinks, picture(1)));
	EXPECT_TRUE(service_sinks(*sinks));
	SDL_Event quit = {.type = SDL_QUIT};
	SDL_PushEvent(&quit);
	EXPECT_TRUE(wait_until([&sinks] { return !service_sinks(*sinks); }));
	EXPECT_FALSE(show_picture(*sinks, picture(2)));
	EXPECT_TRUE(finish_sinks(*sinks, &error)) << "what never came is no failure then";
	EXPECT_EQ(error, "no frame 9 came for " + missed);
	EXPECT_TRUE(std::filesystem::exists(came));
	EXPECT_EQ(count_entries(folder.path.c_str()), 1) << "and nothing unfinished";
}

} // namespace
