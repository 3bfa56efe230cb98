/* From a URI to a running pipeline, and the application's orders to it. */
#include <cstdio>
#include <cstring>

#include <gst/app/gstappsink.h>
#include <sys/stat.h>
#include <sys/time.h>

#include <animation/animation.h>
#include <base/lock.h>
#include <player/pipeline.h>

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
	SourceKind kind;
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
	    .kind = file   ? SourceKind::kFile
	            : rtmp ? SourceKind::kRtmp
	                   : SourceKind::kUdp,
	    .is_buffering = rtmp,
	    .first_state = file || rtmp ? GST_STATE_PAUSED : GST_STATE_PLAYING,
	};
}

const char *description_of(SourceKind kind)
{
	switch (kind) {
	case SourceKind::kFile:
		return kFileDescription;
	case SourceKind::kRtmp:
		return kRtmpDescription;
	default:
		return kUdpDescription;
	}
}

void prepare_gstreamer()
{
	if (!gst_is_initialized())
		gst_init(nullptr, nullptr);
	gst_debug_set_default_threshold(GST_LEVEL_WARNING);
}

void note_connection(const Connection &connection)
{
	const std::lock_guard hold(player_lock);
	data.connection = connection;
	data.read_before = 0;
	data.seen_buffers = load(data.buffers);
}

/* The registration stays: it may have been made before the start. */
void reset_player(SourceKind source)
{
	store(data.timestramp, GST_CLOCK_TIME_NONE);
	store(data.is_buffering, FALSE);
	store(data.is_first_frame, FALSE);
	data.thread = 0;
	data.source = source;
	note_connection({});
	change_state(data, PlayState::kStarting);
}

/* The pipeline of a start that failed, in whatever state it is: it must not be freed above NULL. */
void abandon_pipeline()
{
	if (!change_state(data, PlayState::kFailed))
		change_state(data, PlayState::kStopping);
	bring_down(data);
	release_pipeline(data);
	change_state(data, PlayState::kIdle);
}

void hand_over(GstElement *pipeline, GstElement *parse, GstElement *grabber)
{
	const std::lock_guard hold(player_lock);
	data.pipeline = pipeline;
	data.parse = parse;
	data.grabber = grabber;
}

bool build_pipeline(const char *uri)
{
	char desc[kDescriptionSize];
	const int length = snprintf(desc, sizeof desc, description_of(data.source), uri);
	GstElement *pipeline = length < kDescriptionSize ? gst_parse_launch(desc, nullptr) : nullptr;
	if (!pipeline) {
		printf("ERROR: can not support this uri %s\n", uri);
		return false;
	}

	/* Of a description of which only one element exists, that element is all there is. */
	GstBin *bin = GST_IS_BIN(pipeline) ? GST_BIN(pipeline) : nullptr;
	GstElement *parse = bin ? gst_bin_get_by_name(bin, "parse") : nullptr;
	GstElement *grabber = bin ? gst_bin_get_by_name(bin, "grabber") : nullptr;
	hand_over(pipeline, parse, grabber);
	if (!parse || !grabber) {
		g_printerr("Not all elements could be created.\n");
		return false;
	}
	gst_app_sink_set_emit_signals(GST_APP_SINK(grabber), TRUE);
	g_signal_connect_data(
	    grabber, "new-sample", G_CALLBACK(pad_new_sample), &data, nullptr, GConnectFlags(0));
	return true;
}

/* filesrc would wait for ever for the other end of a FIFO. What is not there it refuses itself. */
bool is_no_file(const char *uri)
{
	struct stat status;
	return stat(uri, &status) == 0 && !S_ISREG(status.st_mode);
}

StateChangeResult start_source(const Source &source, const char *uri)
{
	if (source.kind == SourceKind::kFile && is_no_file(uri))
		return {true, GST_STATE_CHANGE_FAILURE};
	if (source.kind != SourceKind::kRtmp)
		return change_state_within(data.pipeline, source.first_state, kStartLimit);

	const Connections before = open_connections();
	prepare_source(data.pipeline, data.buffers);
	const StateChangeResult change =
	    change_state_within(data.pipeline, source.first_state, kStartLimit);
	note_connection(find_connection(before, uri)); /* of a start that failed, too */
	return change;
}

bool start_pipeline(const Source &source, const char *uri)
{
	store(data.is_buffering, source.is_buffering);
	if (start_source(source, uri).result == GST_STATE_CHANGE_FAILURE) {
		g_printerr("Unable to set the pipeline to the playing state.\n");
		return false;
	}
	print_time("build link");
	return true;
}

/* From the change of state on there is a playback, which can be asked to end. */
bool start_message_thread()
{
	change_state(data, PlayState::kRunning);
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
		const ListLock lock;
		repeat_early_quit(data);
		if (!has_ended(data))
			return 1;
	}
	if (!uri || check_server(uri) == -1)
		return -1;

	print_time("start up");
	store(first_frame, 1);
	prepare_gstreamer();
	const Source source = source_of(uri);
	reset_player(source.kind);

	if (build_pipeline(uri) && start_pipeline(source, uri) && start_message_thread())
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
		const ListLock lock;
		if (has_ended(data))
			return;
		ask_to_end(data);
	}
	g_print("StopGSTPlay-------------2\n");
}

void GSTplayControl(GSTControl order)
{
	const ElementRef pipeline = ref_pipeline(data);
	if (!pipeline)
		return;
	if (order == GST_PLAY)
		set_pipeline_state(data, pipeline.get(), GST_STATE_PLAYING);
	else if (order == GST_PAUSE)
		set_pipeline_state(data, pipeline.get(), GST_STATE_PAUSED);
}
