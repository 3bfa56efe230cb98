/* The thread that looks after a playback: bus, position timer, end. */
#include <algorithm>
#include <cstdlib>
#include <utility>

#include <animation/animation.h>
#include <base/lock.h>
#include <player/pipeline.h>

namespace
{

constexpr guint kPositionInterval = 30; /* milliseconds */

/* More than a frame may have, with all that comes beside it. */
constexpr uint64_t kFruitlessBytes = 8 << 20;

/* The step to PLAYING once the queue is full. */
void decide_after_buffering(CustomData &player, GstElement *pipeline)
{
	if (state_of(player) != PlayState::kDeciding)
		return;
	/* Not waited for: the loop must keep turning, or a stop would not be heard. */
	const GstState cur = settled_state(pipeline, 0);
	if (cur == GST_STATE_VOID_PENDING || !change_state(player, PlayState::kRunning, pipeline))
		return;

	if (cur == GST_STATE_PAUSED) {
		g_print("Done buffering, setting pipeline to PLAYING ...\n");
		set_pipeline_state(player, pipeline, GST_STATE_PLAYING);
	} else if (cur == GST_STATE_READY) {
		g_print("PLAY error\n");
		ask_to_end(player, pipeline);
	}
}

void on_error(GstMessage *message)
{
	GError *error = nullptr;
	gchar *debug = nullptr;
	gst_message_parse_error(message, &error, &debug);
	g_printerr(
	    "ERROR from element %s: %s\n", GST_OBJECT_NAME(GST_MESSAGE_SRC(message)), error->message);
	g_printerr("Debugging info: %s\n", debug ? debug : "none");
	g_error_free(error);
	g_free(debug);
}

void on_buffering(CustomData &player, GstElement *pipeline, GstMessage *message)
{
	gint percent = 0;
	gst_message_parse_buffering(message, &percent);
	g_print("Buffering (%3d%%)\n", percent);
	if (percent == 100 && change_state(player, PlayState::kDeciding, pipeline))
		decide_after_buffering(player, pipeline);
}

void on_state_changed(GstElement *pipeline, GstMessage *message)
{
	if (GST_MESSAGE_SRC(message) != GST_OBJECT_CAST(pipeline))
		return;
	GstState before;
	GstState after;
	gst_message_parse_state_changed(message, &before, &after, nullptr);
	g_print("Pipeline state changed from %s to %s:\n", gst_element_state_get_name(before),
	    gst_element_state_get_name(after));
}

void on_async_done(CustomData &player, GstElement *pipeline)
{
	decide_after_buffering(player, pipeline);
	if (!load(player.is_buffering))
		set_pipeline_state(player, pipeline, GST_STATE_PLAYING);
}

gboolean bus_message(GstBus *bus, GstMessage *message, gpointer app)
{
	auto &player = *static_cast<CustomData *>(app);
	GST_DEBUG("got message %s", GST_MESSAGE_TYPE_NAME(message));
	const ElementRef ours = ref_pipeline(player);
	GstElement *pipeline = ours.get();
	/* A handler in the application's own loop may come too late for its playback. */
	if (!pipeline || GST_ELEMENT_BUS(pipeline) != bus)
		return TRUE;

	switch (GST_MESSAGE_TYPE(message)) {
	case GST_MESSAGE_ERROR:
		on_error(message);
		ask_to_end(player, pipeline);
		break;
	case GST_MESSAGE_EOS:
		g_print("streamer eos\n");
		ask_to_end(player, pipeline);
		break;
	case GST_MESSAGE_CLOCK_LOST:
		set_pipeline_state(player, pipeline, GST_STATE_PAUSED);
		set_pipeline_state(player, pipeline, GST_STATE_PLAYING);
		break;
	case GST_MESSAGE_BUFFERING:
		on_buffering(player, pipeline, message);
		break;
	case GST_MESSAGE_STATE_CHANGED:
		on_state_changed(pipeline, message);
		break;
	case GST_MESSAGE_ASYNC_DONE:
		on_async_done(player, pipeline);
		break;
	default:
		break;
	}
	return TRUE;
}

/* Unless the playback whose position it is has ended in the meantime. */
void note_position(CustomData &player, const GstElement *pipeline, guint64 position)
{
	const std::lock_guard hold(player_lock);
	if (player.pipeline == pipeline)
		store(player.timestramp, position);
}

void read_position(CustomData &player, const GstElement *pipeline)
{
	const ElementRef parse = ref_parse(player, pipeline);
	if (!parse)
		return;
	auto position = gint64(load(player.timestramp));
	if (!gst_element_query_position(parse.get(), GST_FORMAT_TIME, &position))
		g_printerr("Could not querycurrent position.\n");
	note_position(player, pipeline, guint64(position));
}

/* How much has been read since a buffer was last seen to come out, after the next look. */
uint64_t note_read(CustomData &player, const GstElement *pipeline, uint64_t read)
{
	const std::lock_guard hold(player_lock);
	if (player.pipeline != pipeline)
		return 0;
	const unsigned buffers = load(player.buffers);
	if (std::exchange(player.seen_buffers, buffers) != buffers)
		player.read_before = read;
	return read - std::min(read, player.read_before);
}

/* An RTMP source that reads what is no RTMP may keep all of it. */
void limit_reading(CustomData &player, const GstElement *pipeline)
{
	const Connection connection = connection_of(player, pipeline);
	const uint64_t read = bytes_read(connection);
	if (read > 0 && note_read(player, pipeline, read) > kFruitlessBytes)
		hang_up(connection);
}

gboolean time_handler(gpointer user)
{
	auto &player = *static_cast<CustomData *>(user);
	const ElementRef pipeline = ref_pipeline(player);
	if (!pipeline) /* the message thread removes its timer itself, and has to find it */
		return state_of(player) == PlayState::kStopping;

	repeat_early_quit(player);
	limit_reading(player, pipeline.get());
	decide_after_buffering(player, pipeline.get());
	GstState cur = GST_STATE_NULL;
	gst_element_get_state(pipeline.get(), &cur, nullptr, 0);
	if (cur == GST_STATE_PLAYING)
		read_position(player, pipeline.get());
	return TRUE;
}

/* The records are touched here for the last time. */
void end_registration(CustomData &player)
{
	for (void **slot : {&player.para1, &player.para2}) {
		auto *para = static_cast<VideoGST_animationpara *>(*slot);
		if (!para)
			continue;
		free(para->bufinfo);
		para->bufinfo = nullptr;
		*slot = nullptr;
	}
	player.id1 = ANIMATION_NO_OBJECT;
	player.id2 = ANIMATION_NO_OBJECT;
}

GMainLoop *exchange_loop(CustomData &player, GMainLoop *loop)
{
	const std::lock_guard hold(player_lock);
	return std::exchange(player.loop, loop);
}

/* A quit may be a late one that was meant for the loop before: the state decides. */
void run_loop(CustomData &player)
{
	GMainLoop *loop = g_main_loop_new(nullptr, TRUE);
	exchange_loop(player, loop);
	while (state_of(player) != PlayState::kQuitting)
		g_main_loop_run(loop);

	const ListLock lock;
	change_state(player, PlayState::kStopping);
	g_main_loop_unref(exchange_loop(player, nullptr));
}

void end_playback(CustomData &player)
{
	const ListLock lock;
	end_registration(player);
	change_state(player, PlayState::kIdle);
}

} // namespace

void *message_thread(void *arg)
{
	auto *app = static_cast<CustomData *>(arg);
	GstBus *bus = gst_element_get_bus(app->pipeline);
	const guint bus_watch_id = gst_bus_add_watch(bus, bus_message, app);
	gst_object_unref(bus);
	const guint timer = g_timeout_add(kPositionInterval, time_handler, app);

	run_loop(*app);

	g_print("message thread-------------1\n");
	bring_down(*app);
	g_print("message thread-------------2\n");
	release_pipeline(*app);
	g_source_remove(timer);
	g_source_remove(bus_watch_id);
	end_playback(*app);
	g_print("thread exit\n");
	return nullptr;
}
