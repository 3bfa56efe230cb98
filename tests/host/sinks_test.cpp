#include <host/sink_arguments.h>
#include <host/sinks.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <optional>

#include <SDL.h>
#include <gst/app/gstappsink.h>
#include <gst/gst.h>
#include <gtest/gtest.h>
#include <png.h>

namespace
{

constexpr int kWidth = 96;
constexpr int kHeight = 64;

/* A grey whose brightness tells the number of the picture. The rows lie further apart than they
 * are long, and the gap holds white. */
struct Numbered {
	static constexpr std::size_t kStride = kWidth * 4 + 64;
	std::vector<unsigned char> bytes = std::vector<unsigned char>(kStride * kHeight, 255);

	static int level(std::uint64_t number)
	{
		return 40 + static_cast<int>(number % 25) * 7;
	}
	Picture picture(std::uint64_t number)
	{
		for (int y = 0; y < kHeight; y++)
			memset(&bytes[y * kStride], level(number), kWidth * std::size_t{4});
		return {bytes.data(), kWidth, kHeight, kStride};
	}
};

struct SinksTest : testing::Test {
	std::filesystem::path folder;
	std::string error;

	void SetUp() override
	{
		std::string name = testing::TempDir() + "sinks-XXXXXX";
		ASSERT_TRUE(mkdtemp(name.data()));
		folder = name;
	}
	void TearDown() override
	{
		std::filesystem::remove_all(folder);
	}
	SinksPtr open(const SinkOptions &options)
	{
		return open_sinks(options, kWidth, kHeight, "test", &error);
	}
};

struct Decoded {
	std::vector<int> levels;
	std::vector<GstClockTime> times;
};

Decoded decode(const std::string &path)
{
	gst_init(nullptr, nullptr);
	Decoded decoded;
	GstElement *pipeline =
	    gst_parse_launch("filesrc name=file ! qtdemux ! h264parse ! avdec_h264 ! videoconvert ! "
	                     "video/x-raw,format=BGRx ! appsink name=frames sync=false",
	        nullptr);
	GstElement *file = gst_bin_get_by_name(GST_BIN(pipeline), "file");
	GstElement *frames = gst_bin_get_by_name(GST_BIN(pipeline), "frames");
	g_object_set(file, "location", path.c_str(), nullptr);
	gst_element_set_state(pipeline, GST_STATE_PLAYING);
	while (GstSample *sample = gst_app_sink_pull_sample(GST_APP_SINK(frames))) {
		GstBuffer *buffer = gst_sample_get_buffer(sample);
		unsigned char pixel[4] = {};
		const gsize middle = gst_buffer_get_size(buffer) / 2;
		gst_buffer_extract(buffer, middle - middle % 4, pixel, sizeof(pixel));
		decoded.levels.push_back(pixel[1]);
		decoded.times.push_back(GST_BUFFER_PTS(buffer));
		gst_sample_unref(sample);
	}
	gst_element_set_state(pipeline, GST_STATE_NULL);
	gst_object_unref(file);
	gst_object_unref(frames);
	gst_object_unref(pipeline);
	return decoded;
}

TEST_F(SinksTest, RecordsEveryPictureAsOneFrame)
{
	constexpr std::uint64_t kPictures = 120;
	const std::string path = folder / "recorded.mp4";
	SinksPtr sinks = open({.record = path});
	ASSERT_TRUE(sinks) << error;
	Numbered numbered;
	for (std::uint64_t number = 1; number <= kPictures; number++)
		ASSERT_TRUE(show_picture(*sinks, numbered.picture(number)));
	ASSERT_TRUE(finish_sinks(*sinks, &error)) << error;

	const Decoded decoded = decode(path);
	ASSERT_EQ(decoded.levels.size(), kPictures);
	for (std::size_t i = 0; i < kPictures; i++) {
		EXPECT_NEAR(decoded.levels[i], Numbered::level(i + 1), 3) << "frame " << i + 1;
		EXPECT_EQ(decoded.times[i] - decoded.times[0], i * GST_SECOND / kPicturesPerSecond);
	}
}

TEST_F(SinksTest, WritesTheNumberedPictures)
{
	const std::string second = folder / "second.png";
	const std::string again = folder / "again.png";
	const std::string late = folder / "late.png";
	SinksPtr sinks = open({.snapshots = {{2, second}, {9, late}, {2, again}}});
	ASSERT_TRUE(sinks) << error;
	Numbered numbered;
	for (int number = 1; number <= 3; number++)
		ASSERT_TRUE(show_picture(*sinks, numbered.picture(number)));
	EXPECT_FALSE(finish_sinks(*sinks, &error));
	EXPECT_EQ(error, "no picture 9 came for " + late);
	EXPECT_FALSE(std::filesystem::exists(late));

	for (const std::string &path : {second, again}) {
		png_image image = {.version = PNG_IMAGE_VERSION};
		ASSERT_TRUE(png_image_begin_read_from_file(&image, path.c_str())) << path;
		ASSERT_EQ(image.width, static_cast<unsigned>(kWidth));
		ASSERT_EQ(image.height, static_cast<unsigned>(kHeight));
		image.format = PNG_FORMAT_RGB;
		std::vector<unsigned char> read(PNG_IMAGE_SIZE(image));
		ASSERT_TRUE(png_image_finish_read(&image, nullptr, read.data(), 0, nullptr));
		EXPECT_EQ(read, std::vector<unsigned char>(read.size(), Numbered::level(2)));
	}
}

TEST_F(SinksTest, SwapsNoColours)
{
	const std::string path = folder / "colour.png";
	SinksPtr sinks = open_sinks({.snapshots = {{1, path}}}, 1, 1, "test", &error);
	ASSERT_TRUE(sinks) << error;
	const unsigned char blue_green_red[] = {10, 20, 30, 40};
	ASSERT_TRUE(show_picture(*sinks, {blue_green_red, 1, 1, 4}));
	ASSERT_TRUE(finish_sinks(*sinks, &error)) << error;
	png_image image = {.version = PNG_IMAGE_VERSION};
	ASSERT_TRUE(png_image_begin_read_from_file(&image, path.c_str()));
	image.format = PNG_FORMAT_RGBA;
	unsigned char read[4];
	ASSERT_TRUE(png_image_finish_read(&image, nullptr, read, 0, nullptr));
	const unsigned char expected[] = {30, 20, 10, 255};
	EXPECT_EQ(memcmp(read, expected, sizeof(read)), 0);
}

TEST_F(SinksTest, NamesWhatItCannotOpen)
{
	unsetenv("DISPLAY");
	unsetenv("WAYLAND_DISPLAY");
	const std::string good = folder / "good.png";
	const std::string nowhere = folder / "missing" / "file";
	const struct {
		SinkOptions options;
		std::string what;
		std::string why;
	} cases[] = {
	    {{.record = nowhere, .snapshots = {{1, good}}}, nowhere, "No such file"},
	    {{.snapshots = {{1, good}, {2, nowhere}}}, nowhere, "No such file"},
	    {{.window = true, .snapshots = {{1, good}}}, "window", "no display"},
	};
	for (const auto &unopenable : cases) {
		EXPECT_FALSE(open(unopenable.options));
		EXPECT_NE(error.find(unopenable.what), std::string::npos) << error;
		EXPECT_NE(error.find(unopenable.why), std::string::npos) << error;
		EXPECT_TRUE(std::filesystem::is_empty(folder)) << error;
	}
}

TEST_F(SinksTest, TellsOfFailuresOnTheWay)
{
	const std::string full = "/dev/full";
	const struct {
		SinkOptions options;
		std::string why;
	} cases[] = {
	    {{.record = full}, "No space left"},
	    {{.snapshots = {{1, full}}}, "No space left"},
	};
	Numbered numbered;
	for (const auto &failing : cases) {
		SinksPtr sinks = open(failing.options);
		ASSERT_TRUE(sinks) << error;
		for (int number = 1; number <= 20 && show_picture(*sinks, numbered.picture(number));)
			number++;
		EXPECT_FALSE(finish_sinks(*sinks, &error));
		EXPECT_NE(error.find(failing.why), std::string::npos) << error;
		EXPECT_TRUE(std::filesystem::exists(full));
	}

	SinksPtr sinks = open({});
	const Picture wrong = {numbered.bytes.data(), kWidth / 2, kHeight, Numbered::kStride};
	EXPECT_TRUE(show_picture(*sinks, numbered.picture(1)));
	EXPECT_FALSE(show_picture(*sinks, wrong));
	EXPECT_FALSE(show_picture(*sinks, numbered.picture(3))) << "a failure is for good";
	EXPECT_FALSE(finish_sinks(*sinks, &error));
	EXPECT_EQ(error, "picture 2 is 48x64, not 96x64");
}

TEST_F(SinksTest, RemovesARecordingWithoutPictures)
{
	const std::string path = folder / "empty.mp4";
	SinksPtr sinks = open({.record = path});
	ASSERT_TRUE(sinks) << error;
	EXPECT_FALSE(finish_sinks(*sinks, &error));
	EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(SinksTest, EndsWhenTheWindowIsClosed)
{
	setenv("SDL_VIDEODRIVER", "dummy", 1);
	SinksPtr sinks = open({.window = true});
	ASSERT_TRUE(sinks) << error;
	Numbered numbered;
	EXPECT_TRUE(show_picture(*sinks, numbered.picture(1)));
	EXPECT_TRUE(service_sinks(*sinks));
	SDL_Event quit = {.type = SDL_QUIT};
	SDL_PushEvent(&quit);
	EXPECT_FALSE(service_sinks(*sinks));
	EXPECT_FALSE(show_picture(*sinks, numbered.picture(2)));
	EXPECT_TRUE(finish_sinks(*sinks, &error)) << error;
	unsetenv("SDL_VIDEODRIVER");
}

TEST(SinkArguments, AreRead)
{
	const struct {
		std::vector<const char *> words;
		ArgumentResult result;
		int used;
	} cases[] = {
	    {{"--window", "--record"}, ArgumentResult::taken, 1},
	    {{"--record", "a.mp4"}, ArgumentResult::taken, 2},
	    {{"--snapshot", "12=a=b.png"}, ArgumentResult::taken, 2},
	    {{"--frames", "18446744073709551615"}, ArgumentResult::taken, 2},
	    {{"--verbose"}, ArgumentResult::not_ours, 0},
	    {{"program", "--window"}, ArgumentResult::not_ours, 0},
	    {{"--record"}, ArgumentResult::wrong, 0},
	    {{"--snapshot", "12="}, ArgumentResult::wrong, 0},
	    {{"--snapshot", "0=a.png"}, ArgumentResult::wrong, 0},
	    {{"--snapshot", "a.png"}, ArgumentResult::wrong, 0},
	    {{"--frames", "0"}, ArgumentResult::wrong, 0},
	    {{"--frames", "5s"}, ArgumentResult::wrong, 0},
	    {{"--frames", "-5"}, ArgumentResult::wrong, 0},
	    {{"--frames", "18446744073709551616"}, ArgumentResult::wrong, 0},
	};
	SinkArguments all;
	for (const auto &line : cases) {
		SinkArguments arguments;
		std::string error;
		int index = 0;
		std::vector<char *> argv;
		for (const char *word : line.words)
			argv.push_back(const_cast<char *>(word));
		EXPECT_EQ(take_sink_argument(
		              static_cast<int>(argv.size()), argv.data(), &index, &arguments, &error),
		    line.result)
		    << line.words.back();
		EXPECT_EQ(index, line.used) << line.words.back();
		EXPECT_EQ(error.empty(), line.result != ArgumentResult::wrong) << line.words.back();
		if (arguments.frames)
			all.frames = arguments.frames;
		for (const Snapshot &snapshot : arguments.sinks.snapshots)
			all.sinks.snapshots.push_back(snapshot);
	}
	EXPECT_EQ(all.frames, UINT64_MAX);
	ASSERT_EQ(all.sinks.snapshots.size(), 1U);
	EXPECT_EQ(all.sinks.snapshots[0].number, 12U);
	EXPECT_EQ(all.sinks.snapshots[0].path, "a=b.png");
}

} // namespace
