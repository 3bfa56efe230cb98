/* The decoder in real pipelines: what decodebin makes of it, its frames against those of the plain
 * software decoder, and the life of its descriptors. */
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>

#include <gst/allocators/gstfdmemory.h>
#include <gst/app/gstappsink.h>
#include <gst/gst.h>
#include <gst/video/gstvideometa.h>
#include <gst/video/video.h>

/* The plug-in's code is part of this program. */
extern "C" void gst_plugin_animationdecoder_register();

namespace
{

constexpr GstClockTime kPatience = 20 * GST_SECOND;

struct Unref {
	void operator()(GstElement *element) const
	{
		gst_element_set_state(element, GST_STATE_NULL);
		gst_object_unref(element);
	}
	void operator()(GstSample *sample) const
	{
		gst_sample_unref(sample);
	}
};
using ElementPtr = std::unique_ptr<GstElement, Unref>;
using SamplePtr = std::unique_ptr<GstSample, Unref>;

ElementPtr play(const std::string &description)
{
	ElementPtr pipeline(gst_parse_launch(description.c_str(), nullptr));
	EXPECT_TRUE(pipeline) << description;
	gst_element_set_state(pipeline.get(), GST_STATE_PLAYING);
	return pipeline;
}

/* True if the stream ended without an error. */
bool wait_for_end(GstElement *pipeline)
{
	GstBus *bus = gst_element_get_bus(pipeline);
	GstMessage *message = gst_bus_timed_pop_filtered(
	    bus, kPatience, static_cast<GstMessageType>(GST_MESSAGE_EOS | GST_MESSAGE_ERROR));
	const bool ended = message && GST_MESSAGE_TYPE(message) == GST_MESSAGE_EOS;
	if (message)
		gst_message_unref(message);
	gst_object_unref(bus);
	return ended;
}

/* The samples of the appsink "grabber", one after the other. */
class Grabber
{
public:
	explicit Grabber(GstElement *pipeline)
	    : sink_(gst_bin_get_by_name(GST_BIN(pipeline), "grabber"), gst_object_unref)
	{
	}
	/* NULL at the end of the stream. */
	SamplePtr next() const
	{
		return SamplePtr(gst_app_sink_try_pull_sample(GST_APP_SINK(sink_.get()), kPatience));
	}

private:
	std::unique_ptr<GstElement, decltype(&gst_object_unref)> sink_;
};

struct Frame {
	int width, height; /* of the caps */
	GstVideoCropMeta crop;
	int fd;
	std::vector<uint8_t> planes;
};

Frame read_frame(GstSample *sample)
{
	Frame frame = {};
	const GstStructure *caps = gst_caps_get_structure(gst_sample_get_caps(sample), 0);
	EXPECT_TRUE(gst_structure_get_int(caps, "width", &frame.width));
	EXPECT_TRUE(gst_structure_get_int(caps, "height", &frame.height));
	EXPECT_STREQ(gst_structure_get_string(caps, "format"), "NV12");
	GstBuffer *buffer = gst_sample_get_buffer(sample);
	const GstVideoCropMeta *crop = gst_buffer_get_video_crop_meta(buffer);
	EXPECT_TRUE(crop);
	if (crop)
		frame.crop = *crop;
	EXPECT_EQ(gst_buffer_n_memory(buffer), 1u);
	GstMemory *memory = gst_buffer_peek_memory(buffer, 0);
	EXPECT_TRUE(gst_is_fd_memory(memory));
	frame.fd = gst_fd_memory_get_fd(memory);

	/* Through the descriptor, as an importer sees it. */
	struct stat status;
	EXPECT_EQ(fstat(frame.fd, &status), 0);
	EXPECT_GE(status.st_size, frame.width * frame.height * 3 / 2);
	frame.planes.resize(size_t(frame.width) * frame.height * 3 / 2);
	EXPECT_EQ(
	    pread(frame.fd, frame.planes.data(), frame.planes.size(), 0), ssize_t(frame.planes.size()));
	return frame;
}

/* The image inside the frame, as I420. */
std::vector<uint8_t> image_of(const Frame &frame)
{
	std::vector<uint8_t> image;
	const uint8_t *luma = frame.planes.data();
	const uint8_t *chroma = luma + size_t(frame.width) * frame.height;
	const auto &crop = frame.crop;
	for (unsigned y = 0; y < crop.height; ++y)
		for (unsigned x = 0; x < crop.width; ++x)
			image.push_back(luma[(crop.y + y) * frame.width + crop.x + x]);
	for (unsigned component : {0, 1})
		for (unsigned y = 0; y < crop.height / 2; ++y)
			for (unsigned x = 0; x < crop.width / 2; ++x)
				image.push_back(
				    chroma[(crop.y / 2 + y) * frame.width + crop.x + 2 * x + component]);
	return image;
}

std::vector<uint8_t> image_of(GstSample *plain)
{
	GstVideoInfo info;
	GstVideoFrame frame;
	std::vector<uint8_t> image;
	gst_video_info_from_caps(&info, gst_sample_get_caps(plain));
	if (!gst_video_frame_map(&frame, &info, gst_sample_get_buffer(plain), GST_MAP_READ))
		return image;
	for (unsigned plane = 0; plane < 3; ++plane)
		for (int y = 0; y < GST_VIDEO_FRAME_COMP_HEIGHT(&frame, plane); ++y) {
			const auto *row = static_cast<uint8_t *>(GST_VIDEO_FRAME_PLANE_DATA(&frame, plane)) +
			                  y * GST_VIDEO_FRAME_PLANE_STRIDE(&frame, plane);
			image.insert(image.end(), row, row + GST_VIDEO_FRAME_COMP_WIDTH(&frame, plane));
		}
	gst_video_frame_unmap(&frame);
	return image;
}

std::string output_of(const std::string &command)
{
	std::string output;
	std::FILE *program = popen(command.c_str(), "r");
	for (int byte; program && (byte = getc(program)) != EOF;)
		output += char(byte);
	if (program)
		pclose(program);
	return output;
}

bool is_open(int fd)
{
	return fcntl(fd, F_GETFD) >= 0;
}

int open_descriptors()
{
	const std::filesystem::directory_iterator fds("/proc/self/fd");
	return int(std::distance(begin(fds), end(fds)));
}

int mapped_pictures()
{
	int count = 0;
	std::ifstream maps("/proc/self/maps");
	for (std::string line; std::getline(maps, line);)
		count += line.find("decoded-picture") != std::string::npos;
	return count;
}

std::string caps(int width, int height, const char *format = "I420")
{
	return "video/x-raw,framerate=25/1,format=" + std::string(format) +
	       ",width=" + std::to_string(width) + ",height=" + std::to_string(height);
}

std::string stream(int width, int height, int frames, const char *format = "I420")
{
	return "videotestsrc pattern=ball background-color=0xff3060c0 num-buffers=" +
	       std::to_string(frames) + " ! " + caps(width, height, format) +
	       " ! x264enc speed-preset=ultrafast key-int-max=10";
}

class Decoder : public testing::Test
{
protected:
	static void SetUpTestSuite()
	{
		gst_init(nullptr, nullptr);
		gst_plugin_animationdecoder_register();
	}
	void SetUp() override
	{
		std::string name = testing::TempDir() + "decoder-XXXXXX";
		folder_ = mkdtemp(name.data());
	}
	void TearDown() override
	{
		std::filesystem::remove_all(folder_);
	}

	/* The path of a file that the description before it was written to. */
	std::string write_file(const std::string &name, const std::string &description)
	{
		const std::string path = folder_ + "/" + name;
		const ElementPtr pipeline = play(description + " ! filesink location=" + path);
		EXPECT_TRUE(wait_for_end(pipeline.get())) << description;
		return path;
	}

	std::string folder_;
};

constexpr char kByteStream[] =
    " ! h264parse name=parse ! ducatih264decvpe num-input-buffers=8 ! appsink name=grabber "
    "sync=false";

/* The plug-in as others load it; its folder alone, to save the time of all the others. */
TEST_F(Decoder, TellsWhatItIs)
{
	const std::string command = "GST_REGISTRY=" + folder_ +
	                            "/registry GST_PLUGIN_SYSTEM_PATH_1_0= GST_PLUGIN_PATH=" +
	                            DECODER_FOLDER " gst-inspect-1.0 ";
	const std::string plugin = output_of(command + "animationdecoder");
	const std::string element = output_of(command + "ducatih264decvpe");
	for (const char *line : {"License                  MIT/X11", "ducatih264decvpe: H.264"})
		EXPECT_TRUE(plugin.find(line) != plugin.npos) << line << " in\n" << plugin;
	for (const char *line :
	    {"Rank                     primary + 64 (320)", "Author                   animation",
	        "Codec/Decoder/Video", "Unsigned Integer. Range: 1 - 32 Default: 8"})
		EXPECT_TRUE(element.find(line) != element.npos) << line << " in\n" << element;
}

/* A file through decodebin: every pixel as the plain decoder gives it, inside a border that
 * repeats the edges. */
TEST_F(Decoder, DecodesAFileIntoPaddedPictures)
{
	const struct {
		int width, height, padded_width, padded_height;
	} cases[] = {
	    {320, 180, 384, 240},   /* height not whole in macroblocks */
	    {1280, 720, 1408, 768}, /* the common file */
	    {50, 34, 128, 96},      /* less than a row's unit */
	};
	for (const auto &size : cases) {
		SCOPED_TRACE(size.width);
		const std::string path =
		    write_file("file.mp4", stream(size.width, size.height, 5) + " ! mp4mux");
		const ElementPtr ours = play("filesrc location=" + path +
		                             " ! qtdemux ! decodebin name=parse ! appsink name=grabber");
		const ElementPtr plain =
		    play("filesrc location=" + path +
		         " ! qtdemux ! h264parse ! avdec_h264 ! appsink name=grabber sync=false");
		const Grabber our_frames(ours.get()), plain_frames(plain.get());
		for (int i = 0; i < 5; ++i) {
			const SamplePtr our = our_frames.next(), other = plain_frames.next();
			ASSERT_TRUE(our && other);
			const Frame frame = read_frame(our.get());
			EXPECT_EQ(frame.width, size.padded_width);
			EXPECT_EQ(frame.height, size.padded_height);
			EXPECT_EQ(frame.crop.x, 32u);
			EXPECT_EQ(frame.crop.y, 24u);
			EXPECT_EQ(frame.crop.width, unsigned(size.width));
			EXPECT_EQ(frame.crop.height, unsigned(size.height));
			ASSERT_TRUE(image_of(frame) == image_of(other.get()));

			const auto luma = [&frame](int x, int y) {
				return frame.planes[size_t(y) * frame.width + x];
			};
			const int right = 32 + size.width, bottom = 24 + size.height;
			EXPECT_EQ(luma(0, 0), luma(32, 24));
			EXPECT_EQ(luma(31, 60 % bottom), luma(32, 60 % bottom));
			EXPECT_EQ(luma(right, bottom - 1), luma(right - 1, bottom - 1));
			EXPECT_EQ(luma(frame.width - 1, frame.height - 1), luma(right - 1, bottom - 1));
		}
		EXPECT_FALSE(our_frames.next());
	}
}

TEST_F(Decoder, BringsOtherChromaFormatsDownToNv12)
{
	const ElementPtr pipeline = play(stream(64, 48, 3, "Y444") + kByteStream);
	const SamplePtr sample = Grabber(pipeline.get()).next();
	ASSERT_TRUE(sample);
	EXPECT_EQ(read_frame(sample.get()).crop.width, 64u);
}

/* The receiver lets go of a buffer and uses its descriptor a little later. */
TEST_F(Decoder, KeepsDescriptorsOpenToTheEndAndRewritesTheOldestFirst)
{
	const std::string path = write_file("file.mp4", stream(64, 48, 40) + " ! mp4mux");
	ElementPtr pipeline = play("filesrc location=" + path +
	                           " ! qtdemux ! decodebin ! appsink name=grabber sync=false "
	                           "max-buffers=1");
	std::optional<Grabber> frames(pipeline.get());
	std::vector<int> fds;
	while (const SamplePtr sample = frames->next()) {
		const int fd =
		    gst_fd_memory_get_fd(gst_buffer_peek_memory(gst_sample_get_buffer(sample.get()), 0));
		EXPECT_EQ(std::count(fds.end() - std::min<size_t>(fds.size(), 5), fds.end(), fd), 0);
		fds.push_back(fd);
	}
	ASSERT_EQ(fds.size(), 40u);
	const std::set<int> distinct(fds.begin(), fds.end());
	EXPECT_LE(distinct.size(), 12u);

	const auto all_open = [&distinct] {
		return std::all_of(distinct.begin(), distinct.end(), is_open);
	};
	EXPECT_TRUE(all_open()) << "after the end of the stream";
	EXPECT_NE(ftruncate(fds[0], 0), 0) << "the size is for good";
	gst_element_seek_simple(pipeline.get(), GST_FORMAT_TIME,
	    static_cast<GstSeekFlags>(GST_SEEK_FLAG_FLUSH | GST_SEEK_FLAG_KEY_UNIT), 0);
	EXPECT_TRUE(distinct.count(read_frame(frames->next().get()).fd)) << "the pool outlives a flush";
	EXPECT_TRUE(all_open()) << "after a flush";
	gst_element_set_state(pipeline.get(), GST_STATE_READY);
	EXPECT_TRUE(all_open()) << "in READY";
	/* The sink itself keeps its last sample until it goes. */
	frames.reset();
	pipeline.reset();
	EXPECT_TRUE(std::none_of(distinct.begin(), distinct.end(), is_open));
}

TEST_F(Decoder, TakesAChangeOfSizeAndASecondRun)
{
	const std::string bytes = " ! video/x-h264,stream-format=byte-stream";
	const std::string path = write_file("a.h264", stream(64, 48, 4) + bytes);
	const std::string other = write_file("b.h264", stream(320, 180, 4) + bytes);
	std::ofstream(path, std::ios::app | std::ios::binary)
	    << std::ifstream(other, std::ios::binary).rdbuf();

	const ElementPtr pipeline = play("filesrc location=" + path + kByteStream);
	const Grabber frames(pipeline.get());
	for (int run = 0; run < 2; ++run) {
		std::vector<int> fds, widths;
		while (const SamplePtr sample = frames.next()) {
			const Frame frame = read_frame(sample.get());
			fds.push_back(frame.fd);
			widths.push_back(int(frame.crop.width));
		}
		EXPECT_EQ(widths, (std::vector<int>{64, 64, 64, 64, 320, 320, 320, 320}));
		EXPECT_TRUE(std::all_of(fds.begin(), fds.end(), is_open));
		gst_element_set_state(pipeline.get(), GST_STATE_NULL);
		gst_element_set_state(pipeline.get(), GST_STATE_PLAYING);
	}
}

TEST_F(Decoder, PlaysOnWhenPacketsAreLost)
{
	const ElementPtr pipeline =
	    play(stream(320, 180, 100) +
	         " ! rtph264pay mtu=400 config-interval=-1 ! identity drop-probability=0.1 ! "
	         "rtph264depay" +
	         kByteStream);
	const Grabber frames(pipeline.get());
	int count = 0;
	while (frames.next())
		++count;
	EXPECT_GT(count, 5);
	EXPECT_TRUE(wait_for_end(pipeline.get()));
}

TEST_F(Decoder, LeavesNothingBehind)
{
	const std::string path =
	    write_file("file.h264", stream(64, 48, 3) + " ! video/x-h264,stream-format=byte-stream");
	const auto round = [&path] {
		const ElementPtr pipeline = play("filesrc location=" + path + kByteStream);
		EXPECT_TRUE(Grabber(pipeline.get()).next());
	};
	for (int i = 0; i < 3; ++i)
		round();
	const int descriptors = open_descriptors();
	for (int i = 0; i < 15; ++i)
		round();
	EXPECT_LE(open_descriptors(), descriptors + 2);
	EXPECT_EQ(mapped_pictures(), 0);
}

} // namespace
