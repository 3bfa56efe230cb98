/* The decoder in real pipelines: what decodebin makes of it, its frames against those of the plain
 * software decoder, and the life of its descriptors. */
#include <algorithm>
#include <optional>
#include <set>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

#include <gst/allocators/gstfdmemory.h>
#include <gst/video/gstvideometa.h>

#include <files.h>
#include <pipeline.h>

/* The plug-in's code is part of this program. */
extern "C" void gst_plugin_animationdecoder_register();

namespace
{

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
	const uint8_t *luma(int x, int y) const
	{
		return &planes[size_t(y) * width + x];
	}
	/* The luma of a plain picture, inside a border that repeats the edges. */
	bool shows(const SamplePtr &plain) const
	{
		const int right = crop.x + crop.width - 1, bottom = crop.y + crop.height - 1;
		bool same = *luma(0, 0) == *luma(crop.x, crop.y) &&
		            *luma(width - 1, height - 1) == *luma(right, bottom);
		for (unsigned y = 0; y < crop.height; ++y)
			same = same && gst_buffer_memcmp(gst_sample_get_buffer(plain.get()), y * crop.width,
			                   luma(crop.x, crop.y + y), crop.width) == 0;
		return same;
	}
};

bool is_open(int fd)
{
	return fcntl(fd, F_GETFD) >= 0;
}

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
		unsigned width, height;
		int padded_width, padded_height;
		const char *format = "I420";
	} cases[] = {
	    {320, 180, 384, 240},         /* height not whole in macroblocks */
	    {1280, 720, 1408, 768},       /* the common file */
	    {52, 34, 128, 96},            /* less than a row's unit */
	    {320, 180, 384, 240, "Y444"}, /* brought down to NV12 */
	};
	for (const auto &size : cases) {
		SCOPED_TRACE(testing::Message() << size.width << size.format);
		const Pipeline pipeline(stream(size.width, size.height, 5, size.format) +
		                        " ! tee name=tee ! queue ! decodebin ! appsink name=grabber "
		                        "sync=false tee. ! queue ! avdec_h264 ! videoconvert ! "
		                        "video/x-raw,format=NV12 ! appsink name=plain sync=false");
		for (int i = 0; i < 5; ++i) {
			const SamplePtr ours = pipeline.next_sample(), plain = pipeline.next_sample("plain");
			ASSERT_TRUE(ours && plain);
			const Frame frame(ours);
			EXPECT_EQ(std::pair(frame.width, frame.height),
			    std::pair(size.padded_width, size.padded_height));
			EXPECT_EQ(std::pair(frame.crop.x, frame.crop.y), std::pair(32u, 24u));
			EXPECT_EQ(
			    std::pair(frame.crop.width, frame.crop.height), std::pair(size.width, size.height));
			EXPECT_TRUE(frame.shows(plain));
		}
		EXPECT_FALSE(pipeline.next_sample());
	}
}

/* The receiver lets go of a buffer and uses its descriptor a little later. */
TEST_F(Decoder, KeepsDescriptorsOpenToTheEndAndRewritesTheOldestFirst)
{
	const long descriptors = open_descriptors();
	std::optional<Pipeline> pipeline(
	    std::in_place, stream(64, 48, 80) + kDecoder + " max-buffers=1");
	std::vector<int> fds;
	while (SamplePtr sample = pipeline->next_sample()) {
		fds.push_back(Frame(sample).fd);
		sample.reset(); /* appsink does not flush well while its sample is held */
		const auto recent = fds.end() - std::min<std::ptrdiff_t>(std::ssize(fds), 6);
		EXPECT_EQ(std::count(recent, fds.end(), fds.back()), 1);
		if (fds.size() == 20)
			gst_element_seek_simple(pipeline->element, GST_FORMAT_TIME, GST_SEEK_FLAG_FLUSH, 0);
	}
	EXPECT_GE(fds.size(), 40u);
	const std::set<int> distinct(fds.begin(), fds.end());
	EXPECT_LE(distinct.size(), 12u) << "the pool outlives a flush";
	EXPECT_NE(ftruncate(fds[0], 0), 0) << "the size is for good";
	EXPECT_TRUE(std::ranges::all_of(distinct, is_open)) << "after the end of the stream";
	pipeline->set_state(GST_STATE_READY);
	EXPECT_TRUE(std::ranges::all_of(distinct, is_open)) << "in READY";

	pipeline->set_state(GST_STATE_NULL);
	EXPECT_TRUE(std::ranges::all_of(distinct, is_open)) << "for frames on their way";
	pipeline->set_state(GST_STATE_PLAYING);
	EXPECT_TRUE(pipeline->next_sample()) << "of a second run";
	pipeline.reset();
	EXPECT_TRUE(std::ranges::none_of(distinct, is_open)) << "after the next playback";
	EXPECT_LE(open_descriptors(), descriptors + 12) << "those of the last run alone";
}

TEST_F(Decoder, TakesAChangeOfSizeAndClosesTheOldDescriptors)
{
	const Pipeline pipeline(std::string("concat name=both") + kDecoder + " max-buffers=1 " +
	                        stream(64, 48, 4) + " ! both. " + stream(320, 180, 12) + " ! both.");
	std::vector<int> fds;
	while (const SamplePtr sample = pipeline.next_sample()) {
		const Frame frame(sample);
		EXPECT_EQ(frame.crop.width, fds.size() < 4 ? 64u : 320u);
		fds.push_back(frame.fd);
		if (fds.size() == 8) {
			EXPECT_TRUE(std::ranges::all_of(fds, is_open)) << "for frames on their way";
		}
	}
	EXPECT_EQ(fds.size(), 16u);
	EXPECT_TRUE(std::none_of(fds.begin(), fds.begin() + 4, is_open));
	EXPECT_TRUE(std::all_of(fds.begin() + 4, fds.end(), is_open));
}

} // namespace
