#include <sinks/recorder.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include <unistd.h>

#include <gst/app/gstappsrc.h>
#include <gst/gst.h>
#include <gst/video/video.h>

#include <sinks/joined_recording.h>
#include <sinks/open_at_once.h>
#include <sinks/pipeline_end.h>
#include <sinks/unfinished_file.h>

namespace
{

/* At a constant quantiser the ultrafast preset is cheap enough to run beside a software renderer on
 * two cores, and sharp edges stay sharp. It also starts a group at a fixed distance only. x264enc
 * makes 4:4:4 of anything but I420. */
const std::string kPipeline =
    "appsrc name=pictures format=time ! videoconvert ! video/x-raw,format=I420 ! "
    "x264enc speed-preset=ultrafast pass=quant quantizer=20 key-int-max=" +
    std::to_string(kPicturesPerGroup) + " ! " + kRecordingFile;

constexpr guint64 kMostWaiting = 4; /* surface buffers of 5 MB */
constexpr GstClockTime kFrameTime = GST_SECOND / kPicturesPerSecond;

/* Without room for a picture, counted in looks, so that a process that was stopped goes on. */
constexpr GstClockTime kLookInterval = 2 * GST_MSECOND;
constexpr int kMostLooks = 10 * GST_SECOND / kLookInterval;

} // namespace

struct Recorder {
	std::string path;
	std::unique_ptr<GstElement, Unref> pipeline;
	std::unique_ptr<GstAppSrc, Unref> source;
	std::unique_ptr<GstBus, Unref> bus;
	std::unique_ptr<GstBufferPool, Unref> pool;
	std::size_t row_size;
	int height;
	guint64 pictures = 0;
	bool stands_still = false;
};

namespace
{

/* Waits so long at most, and tells whether the pipeline has failed by then. */
bool has_failed(Recorder &recorder, GstClockTime wait, std::string *error)
{
	MessagePtr message(gst_bus_timed_pop_filtered(recorder.bus.get(), wait, GST_MESSAGE_ERROR));
	if (!message)
		return false;
	*error = "cannot record to " + recorder.path + ": " + reason_of(message.get());
	return true;
}

bool create_pipeline(Recorder &recorder, std::string *error)
{
	GError *failure = nullptr;
	recorder.pipeline.reset(
	    gst_parse_launch_full(kPipeline.c_str(), nullptr, GST_PARSE_FLAG_FATAL_ERRORS, &failure));
	if (!recorder.pipeline) {
		*error = "cannot record to " + recorder.path + ": " + failure->message;
		g_error_free(failure);
		return false;
	}
	GstBin *bin = GST_BIN(recorder.pipeline.get());
	std::unique_ptr<GstElement, Unref> file(gst_bin_get_by_name(bin, "file"));
	g_object_set(file.get(), "location", recorder.path.c_str(), nullptr);
	recorder.source.reset(GST_APP_SRC(gst_bin_get_by_name(bin, "pictures")));
	recorder.bus.reset(gst_element_get_bus(recorder.pipeline.get()));
	return true;
}

/* Otherwise surface buffers of 5 MB go back to the system, and come as fresh pages each time. */
bool create_pool(Recorder &recorder, int width)
{
	GstVideoInfo info;
	gst_video_info_set_format(&info, GST_VIDEO_FORMAT_BGRx, width, recorder.height);
	info.fps_n = kPicturesPerSecond;
	GstCaps *caps = gst_video_info_to_caps(&info);
	gst_app_src_set_caps(recorder.source.get(), caps);
	recorder.pool.reset(gst_buffer_pool_new());
	GstStructure *config = gst_buffer_pool_get_config(recorder.pool.get());
	gst_buffer_pool_config_set_params(config, caps, static_cast<guint>(info.size), 0, 0);
	gst_caps_unref(caps);
	return gst_buffer_pool_set_config(recorder.pool.get(), config) &&
	       gst_buffer_pool_set_active(recorder.pool.get(), TRUE);
}

void copy_rows(const Recorder &recorder, const Picture &picture, unsigned char *target)
{
	if (picture.stride == recorder.row_size) {
		memcpy(target, picture.pixels, recorder.row_size * recorder.height);
		return;
	}
	for (int y = 0; y < recorder.height; y++)
		memcpy(
		    target + y * recorder.row_size, picture.pixels + y * picture.stride, recorder.row_size);
}

bool start_pipeline(Recorder &recorder, std::string *error)
{
	/* Held until the pipeline has opened the file itself, or a pipe's reader would see an end. */
	std::error_code ignored;
	const bool is_fifo = std::filesystem::is_fifo(recorder.path, ignored);
	const int fifo = is_fifo ? open_at_once(recorder.path.c_str(), 0) : -1;
	if (is_fifo && fifo < 0) {
		*error = "cannot record to " + recorder.path + ": " + strerror(errno);
		return false;
	}
	const bool started = gst_element_set_state(recorder.pipeline.get(), GST_STATE_PLAYING) !=
	                     GST_STATE_CHANGE_FAILURE;
	if (fifo >= 0)
		close(fifo);
	if (!started && !has_failed(recorder, 0, error))
		*error = "cannot record to " + recorder.path + ": the encoder does not start";
	return started;
}

} // namespace

RecorderPtr open_recorder(const std::string &path, int width, int height, std::string *error)
{
	RecorderPtr recorder(new Recorder{
	    .path = path, .row_size = static_cast<std::size_t>(width) * 4, .height = height});
	gst_init(nullptr, nullptr);
	if (!create_pipeline(*recorder, error))
		return nullptr;
	if (!create_pool(*recorder, width)) {
		*error = "cannot record to " + path + ": no memory for frames";
		return nullptr;
	}
	if (!start_pipeline(*recorder, error))
		return nullptr;
	return recorder;
}

namespace
{

/* An encoder that has ended must not hold us, nor one that waits for a slow reader or a thread. */
bool await_room(Recorder &recorder, std::string *error)
{
	for (int looks = 0; looks < kMostLooks; looks++) {
		if (has_failed(recorder, looks ? kLookInterval : 0, error))
			return false;
		if (gst_app_src_get_current_level_buffers(recorder.source.get()) < kMostWaiting)
			return true;
	}
	recorder.stands_still = true;
	*error = "cannot record to " + recorder.path + ": the encoder stands still";
	return false;
}

} // namespace

bool record_picture(Recorder &recorder, const Picture &picture, std::string *error)
{
	if (!await_room(recorder, error))
		return false;
	GstBuffer *buffer = nullptr;
	GstMapInfo map;
	if (gst_buffer_pool_acquire_buffer(recorder.pool.get(), &buffer, nullptr) != GST_FLOW_OK ||
	    !gst_buffer_map(buffer, &map, GST_MAP_WRITE)) {
		gst_clear_buffer(&buffer);
		*error = "cannot record to " + recorder.path + ": no memory for frames";
		return false;
	}
	copy_rows(recorder, picture, map.data);
	gst_buffer_unmap(buffer, &map);
	GST_BUFFER_PTS(buffer) = recorder.pictures++ * kFrameTime;
	GST_BUFFER_DURATION(buffer) = kFrameTime;
	gst_app_src_push_buffer(recorder.source.get(), buffer);
	return true;
}

bool finish_recording(Recorder &recorder, std::string *error)
{
	if (recorder.pictures == 0) {
		gst_element_set_state(recorder.pipeline.get(), GST_STATE_NULL);
		remove_unfinished_file(recorder.path);
		*error = "nothing to record to " + recorder.path + ": no frame came";
		return false;
	}
	gst_app_src_end_of_stream(recorder.source.get());
	const MessagePtr end = wait_for_end(recorder.bus.get());
	const std::string reason = reason_of_end(end);
	recorder.stands_still = !end;
	if (!reason.empty())
		*error = "cannot record to " + recorder.path + ": " + reason;
	return reason.empty();
}

void RecorderDeleter::operator()(Recorder *recorder) const
{
	if (recorder->stands_still)
		(void)recorder->pipeline.release(); /* to stop it would be to wait for it */
	if (recorder->pipeline)
		gst_element_set_state(recorder->pipeline.get(), GST_STATE_NULL);
	if (recorder->pool)
		gst_buffer_pool_set_active(recorder->pool.get(), FALSE);
	delete recorder;
}
