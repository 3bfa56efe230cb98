/* The decoder in real pipelines: what decodebin makes of it, its frames against those of the plain
 * software decoder, and the life of its descriptors. */
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include <fcntl.h>

#include <gst/allocators/gstfdmemory.h>
#include <gst/app/gstappsink.h>
#include <gst/gst.h>
#include <gst/video/gstvideometa.h>

/* The plug-in's code is part of this program. */
extern "C" void gst_plugin_animationdecoder_register();

namespace
{

struct Stop {
	void operator()(GstElement *pipeline) const
	{
		gst_element_set_state(pipeline, GST_STATE_NULL);
		gst_object_unref(pipeline);
	}
};
using PipelinePtr = std::unique_ptr<GstElement, Stop>;
using SamplePtr = std::unique_ptr<GstSample, decltype(&gst_sample_unref)>;

PipelinePtr play(const std::string &description)
{
	PipelinePtr pipeline(gst_parse_launch(description.c_str(), nullptr));
	EXPECT_TRUE(pipeline) << description;
	gst_element_set_state(pipeline.get(), GST_STATE_PLAYING);
	return pipeline;
}

/* Null at the end of the stream. */
SamplePtr next_sample(const PipelinePtr &pipeline, const char *sink_name = "grabber")
{
	GstElement *sink = gst_bin_get_by_name(GST_BIN(pipeline.get()), sink_name);
	SamplePtr sample(
	    gst_app_sink_try_pull_sample(GST_APP_SINK(sink), 20 * GST_SECOND), gst_sample_unref);
	gst_object_unref(sink);
	return sample;
}

std::string stream(int width, int height, int frames, const std::string &format = "I420")
{
	return "videotestsrc pattern=ball background-color=0xff3060c0 num-buffers=" +
	       std::to_string(frames) + " ! video/x-raw,framerate=25/1,format=" + format +
	       ",width=" + std::to_string(width) + ",height=" + std::to_string(height) +
	       " ! x264enc speed-preset=ultrafast threads=1 key-int-max=10";
}

constexpr char kDecoder[] =
    " ! h264parse ! ducatih264decvpe num-input-buffers=8 ! appsink name=grabber sync=false";

struct Frame {
	int width = 0, height = 0; /* of the caps */
	GstVideoCropMeta crop = {};
	int fd = -1;
	std::vector<uint8_t> planes; /* as an importer sees them */

	explicit Frame(const SamplePtr &sample)
	{
		const GstStructure *caps = gst_caps_get_structure(gst_sample_get_caps(sample.get()), 0);
		gst_structure_get(
		    caps, "width", G_TYPE_INT, &width, "height", G_TYPE_INT, &height, nullptr);
		EXPECT_STREQ(gst_structure_get_string(caps, "format"), "NV12");
		GstBuffer *buffer = gst_sample_get_buffer(sample.get());
		if (const GstVideoCropMeta *meta = gst_buffer_get_video_crop_meta(buffer))
			crop = *meta;
		EXPECT_EQ(gst_buffer_n_memory(buffer), 1u);
		fd = gst_fd_memory_get_fd(gst_buffer_peek_memory(buffer, 0));
		planes.resize(size_t(width) * height * 3 / 2);
		EXPECT_EQ(pread(fd, planes.data(), planes.size(), 0), ssize_t(planes.size()));
	}
	const uint8_t *at(int x, int y, int plane = 0) const
	{
		return &planes[(size_t(plane) * height + y) * width + x];
	}
	/* The first planes of a plain NV12 picture are those inside the border. */
	bool shows(const SamplePtr &plain, unsigned plane_count) const
	{
		bool same = true;
		for (unsigned plane = 0; plane < plane_count; ++plane)
			for (unsigned y = 0; y < crop.height >> plane; ++y)
				same = same && gst_buffer_memcmp(gst_sample_get_buffer(plain.get()),
				                   (plane * crop.height + y) * crop.width,
				                   at(crop.x, (crop.y >> plane) + y, plane), crop.width) == 0;
		return same;
	}
};

const auto is_open = [](int fd) { return fcntl(fd, F_GETFD) >= 0; };

struct Decoder : testing::Test {
	static void SetUpTestSuite()
	{
		gst_init(nullptr, nullptr);
		gst_plugin_animationdecoder_register();
	}
};

/* Every pixel as the plain decoder gives it, inside a border that repeats the edges. */
TEST_F(Decoder, GivesDecodebinPaddedPictures)
{
	const struct {
		int width, height, padded_width, padded_height;
		const char *format;
	} cases[] = {
	    {320, 180, 384, 240, "I420"},   /* height not whole in macroblocks */
	    {1280, 720, 1408, 768, "I420"}, /* the common file */
	    {52, 34, 128, 96, "I420"},      /* less than a row's unit */
	    {320, 180, 384, 240, "Y444"},   /* brought down to NV12, by which chroma may differ */
	};
	for (const auto &size : cases) {
		SCOPED_TRACE(testing::Message() << size.width << size.format);
		const PipelinePtr pipeline =
		    play(stream(size.width, size.height, 5, size.format) +
		         " ! tee name=tee ! queue ! decodebin ! appsink name=grabber sync=false "
		         "tee. ! queue ! avdec_h264 ! videoconvert ! video/x-raw,format=NV12 ! "
		         "appsink name=plain sync=false");
		for (int i = 0; i < 5; ++i) {
			const SamplePtr ours = next_sample(pipeline), plain = next_sample(pipeline, "plain");
			ASSERT_TRUE(ours && plain);
			const Frame frame(ours);
			EXPECT_EQ(frame.width, size.padded_width);
			EXPECT_EQ(frame.height, size.padded_height);
			EXPECT_EQ(frame.crop.x, 32u);
			EXPECT_EQ(frame.crop.y, 24u);
			EXPECT_EQ(frame.crop.width, unsigned(size.width));
			EXPECT_EQ(frame.crop.height, unsigned(size.height));
			EXPECT_TRUE(frame.shows(plain, size.format == std::string("I420") ? 2 : 1));

			bool repeats_edges = true;
			for (int y = 0; y < frame.height; ++y)
				for (int x = 0; x < frame.width; ++x)
					repeats_edges &=
					    *frame.at(x, y) == *frame.at(std::clamp(x, 32, size.width + 31),
					                           std::clamp(y, 24, size.height + 23));
			EXPECT_TRUE(repeats_edges);
		}
		EXPECT_FALSE(next_sample(pipeline));
	}
}

/* The receiver lets go of a buffer and uses its descriptor a little later. */
TEST_F(Decoder, KeepsDescriptorsOpenToTheEndAndRewritesTheOldestFirst)
{
	PipelinePtr pipeline = play(stream(64, 48, 80) + kDecoder + " max-buffers=1");
	std::vector<int> fds;
	while (SamplePtr sample = next_sample(pipeline)) {
		fds.push_back(Frame(sample).fd);
		sample.reset(); /* appsink does not flush well while its sample is held */
		const auto recent = fds.end() - std::min<std::ptrdiff_t>(std::ssize(fds), 6);
		EXPECT_EQ(std::count(recent, fds.end(), fds.back()), 1);
		if (fds.size() == 20)
			gst_element_seek_simple(pipeline.get(), GST_FORMAT_TIME, GST_SEEK_FLAG_FLUSH, 0);
	}
	EXPECT_GE(fds.size(), 40u);
	const std::set<int> distinct(fds.begin(), fds.end());
	EXPECT_LE(distinct.size(), 12u) << "the pool outlives a flush";
	EXPECT_NE(ftruncate(fds[0], 0), 0) << "the size is for good";
	EXPECT_TRUE(std::ranges::all_of(distinct, is_open)) << "after the end of the stream";
	gst_element_set_state(pipeline.get(), GST_STATE_READY);
	EXPECT_TRUE(std::ranges::all_of(distinct, is_open)) << "in READY";
	pipeline.reset();
	EXPECT_TRUE(std::ranges::all_of(distinct, is_open)) << "for frames on their way";
	EXPECT_TRUE(next_sample(play(stream(64, 48, 3) + kDecoder)));
	EXPECT_TRUE(std::ranges::none_of(distinct, is_open)) << "after the next playback";
}

TEST_F(Decoder, TakesAChangeOfSize)
{
	const PipelinePtr pipeline =
	    play(std::string("concat name=both") + kDecoder + " " + stream(64, 48, 4) + " ! both. " +
	         stream(320, 180, 4) + " ! both.");
	std::vector<int> fds;
	while (const SamplePtr sample = next_sample(pipeline)) {
		const Frame frame(sample);
		EXPECT_EQ(frame.crop.width, fds.size() < 4 ? 64u : 320u);
		fds.push_back(frame.fd);
	}
	EXPECT_EQ(fds.size(), 8u);
	EXPECT_TRUE(std::ranges::all_of(fds, is_open));
}

TEST_F(Decoder, LeavesNothingBehind)
{
	const auto descriptors_after = [](int rounds) {
		for (int i = 0; i < rounds; ++i) {
			const PipelinePtr pipeline = play(stream(64, 48, 3) + kDecoder);
			EXPECT_TRUE(next_sample(pipeline));
			gst_element_set_state(pipeline.get(), GST_STATE_NULL);
			gst_element_set_state(pipeline.get(), GST_STATE_PLAYING);
			EXPECT_TRUE(next_sample(pipeline)) << "of a second run";
		}
		return std::ranges::distance(std::filesystem::directory_iterator("/proc/self/fd"));
	};
	const auto before = descriptors_after(1);
	EXPECT_LE(descriptors_after(4), before + 2);
	std::ifstream file("/proc/self/maps");
	const std::string maps(std::istreambuf_iterator<char>{file}, {});
	int mapped = 0;
	for (size_t at = 0; (at = maps.find("decoded-picture", at)) != maps.npos; ++at)
		++mapped;
	EXPECT_LE(mapped, 12) << "of the last run alone";

} // namespace

} // namespace
