/* From a URI to a running pipeline, and the application's orders to it. */
#include <cstdio>
#include <cstring>

#include <gst/app/gstappsink.h>
#include <sys/time.h>

#include <animation/animation.h>
#include <base/lock.h>
#include <player/pipeline.h>
#include <player/server_connection.h>

CustomData data = {
    .pipeline = nullptr,
    .parse = nullptr,
    .grabber = nullptr,
    .thread = 0,
    .terminate = TRUE,
    .id1 = ANIMATION_NO_OBJECT,
    .para1 = nullptr,
    .id2 = ANIMATION_NO_OBJECT,
    .para2 = nullptr,
    .timestramp = GST_CLOCK_TIME_NONE,
    .is_buffering = FALSE,
    .is_first_frame = FALSE,
};

Ending ending = Ending::kBegun;

namespace
{

constexpr int kDescriptionSize = 256;

/* rtmpsrc connects while it changes its state, and a server may accept and say nothing. */
constexpr guint64 kStartLimit = 10 * G_USEC_PER_SEC;

constexpr char kFileDescription[] = "filesrc location=%s ! qtdemux ! decodebin name=parse"
                                    " ! appsink name=grabber";

constexpr char kRtmpDescription[] =
    "rtmpsrc location=%s ! flvdemux"
    " ! queue2 use-buffering=true  max-size-time=0 max-size-buffers=25 name=parse"
    " ! decodebin ! appsink name=grabber ";

constexpr char kUdpDescription[] =
    "udpsrc address=%s port=50008"
    " caps=\"application/x-rtp, media=video, encoding-name=H264, clock-rate=90000\""
    " ! .recv_rtp_sink_0 rtpbin buffer-mode=0 ! rtph264depay ! h264parse name=parse"
    " ! ducatih264decvpe num-input-buffers=8 ! appsink name=grabber";

struct Source {
	const char *description;
	gboolean is_buffering; /* plays once its queue is full */
	GstState first_state;
};

/* The two words are looked for separately, so that a file below a folder named "rtmp" waits for
 * buffering that it never reports. */
Source source_of(const char *uri)
{
	const bool file = strstr(uri, ".mp4");
	const bool rtmp = strstr(uri, "rtmp");
	return {
	    .description = file   ? kFileDescription
	                   : rtmp ? kRtmpDescription
	                          : kUdpDescription,
	    .is_buffering = rtmp,
	    .first_state = file || rtmp ? GST_STATE_PAUSED : GST_STATE_PLAYING,
	};
}

void prepare_gstreamer()
{
	if (!gst_is_initialized())
		gst_init(nullptr, nullptr);
	gst_debug_set_default_threshold(GST_LEVEL_WARNING);
}

/* The registration stays: it may have been made before the start. */
void reset_player()
{
	ListLock lock;
	data.pipeline = nullptr;
	data.parse = nullptr;
	data.grabber = nullptr;
	data.thread = 0;
	data.terminate = TRUE;
	__atomic_store_n(&data.timestramp, GST_CLOCK_TIME_NONE, __ATOMIC_RELAXED);
	__atomic_store_n(&data.is_buffering, FALSE, __ATOMIC_RELAXED);
	__atomic_store_n(&data.is_first_frame, FALSE, __ATOMIC_RELAXED);
}

/* The pipeline of a start that failed, in whatever state it is: it must not be freed above NULL. */
void abandon_pipeline()
{
	{
		ListLock lock;
		ending = Ending::kBegun;
	}
	bring_down(data);
	release_pipeline(take_pipeline(data));
	ListLock lock;
	data.terminate = TRUE;
}

bool build_pipeline(const Source &source, const char *uri)
{
	char desc[kDescriptionSize];
	const int length = snprintf(desc, sizeof desc, source.description, uri);
	GstElement *pipeline = length < kDescriptionSize ? gst_parse_launch(desc, nullptr) : nullptr;
	if (!pipeline) {
		printf("ERROR: can not support this uri %s\n", uri);
		return false;
	}

	/* Of a description of which only one element exists, that element is all there is. */
	GstBin *bin = GST_IS_BIN(pipeline) ? GST_BIN(pipeline) : nullptr;
	GstElement *parse = bin ? gst_bin_get_by_name(bin, "parse") : nullptr;
	GstElement *grabber = bin ? gst_bin_get_by_name(bin, "grabber") : nullptr;
	{
		ListLock lock;
		data.pipeline = pipeline;
		data.parse = parse;
		data.grabber = grabber;
	}
	if (!parse || !grabber) {
		g_printerr("Not all elements could be created.\n");
		return false;
	}
	gst_app_sink_set_emit_signals(GST_APP_SINK(grabber), TRUE);
	g_signal_connect_data(
	    grabber, "new-sample", G_CALLBACK(pad_new_sample), &data, nullptr, GConnectFlags(0));
	return true;
}

bool start_pipeline(const Source &source, const char *uri)
{
	const bool connects = source.description == kRtmpDescription;
	const Connections before = connects ? open_connections() : Connections();
	__atomic_store_n(&data.is_buffering, source.is_buffering, __ATOMIC_RELAXED);
	const StateChangeResult change =
	    change_state_within(data.pipeline, source.first_state, kStartLimit);
	if (connects)
		remember_connection(before, uri); /* also of a start that failed or takes too long */
	if (change.result == GST_STATE_CHANGE_FAILURE) {
		g_printerr("Unable to set the pipeline to the playing state.\n");
		return false;
	}
	print_time("build link");
	return true;
}

/* From here on there is a playback, which can be asked to end. */
void begin_playback()
{
	ListLock lock;
	data.terminate = FALSE;
	ending = Ending::kNone;
}

bool start_message_thread()
{
	begin_playback();
	if (pthread_create(&data.thread, nullptr, message_thread, &data) != 0) {
		g_printerr("create message process thread failure.\n");
		return false;
	}
	pthread_detach(data.thread);
	return true;
}

bool is_video_or_none(unsigned int id)
{
	if (id == ANIMATION_NO_OBJECT || IsAnimationObjType(id, ANI_VIDEO_GST))
		return true;
	puts("FATAL ERORR: animation type is wrong");
	return false;
}

} // namespace

void print_time(const char *time_type)
{
	timeval now;
	gettimeofday(&now, nullptr);
	printf("%s: %d - %d\n", time_type, int(now.tv_sec), int(now.tv_usec));
}

int StartGSTPlay(const char *uri)
{
	{
		ListLock lock;
		repeat_early_quit();
		if (!data.terminate)
			return 1;
	}
	if (!uri || check_server(uri) == -1)
		return -1;

	print_time("start up");
	__atomic_store_n(&first_frame, 1, __ATOMIC_RELAXED);
	prepare_gstreamer();
	reset_player();

	const Source source = source_of(uri);
	if (build_pipeline(source, uri) && start_pipeline(source, uri) && start_message_thread())
		return 0;

	abandon_pipeline();
	return -1;
}

int SetGSTPlayAnimationId(unsigned int id1, void *para1, unsigned int id2, void *para2)
{
	if (!is_video_or_none(id1) || !is_video_or_none(id2))
		return -1;

	ListLock lock;
	data.id1 = id1;
	data.id2 = id2;
	data.para1 = para1;
	data.para2 = para2;
	return 0;
}

void StopGSTPlay(void)
{
	g_print("StopGSTPlay-------------1\n");
	{
		ListLock lock;
		if (data.terminate)
			return;
		quit_loop();
	}
	g_print("StopGSTPlay-------------2\n");
}

void GSTplayControl(GSTControl order)
{
	if (order == GST_PLAY)
		set_pipeline_state(data, GST_STATE_PLAYING);
	else if (order == GST_PAUSE)
		set_pipeline_state(data, GST_STATE_PAUSED);
}
