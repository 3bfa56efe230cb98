/* The thread that looks after a playback: bus, position timer, end. */
#include <cstdlib>

#include <animation/animation.h>
#include <base/lock.h>
#include <player/pipeline.h>

GMainLoop *loop;

namespace
{

constexpr guint kPositionInterval = 30; /* milliseconds */

/* The queue is full, but the state change under way is not over: the step to PLAYING is decided
 * when it is. Touched by the loop's handlers, and before there is one. */
bool decision_pending;

void decide_after_buffering(CustomData &player)
{
	if (!decision_pending)
		return;
	ElementRef pipeline = ref_pipeline(player);
	/* Not waited for: the loop must keep turning, or a stop would not be heard. */
	const GstState cur = pipeline ? settled_state(pipeline.get(), 0) : GST_STATE_VOID_PENDING;
	if (cur == GST_STATE_VOID_PENDING)
		return;

	decision_pending = false;
	if (cur == GST_STATE_PAUSED) {
		g_print("Done buffering, setting pipeline to PLAYING ...\n");
		set_pipeline_state(player, GST_STATE_PLAYING);
	} else if (cur == GST_STATE_READY) {
		g_print("PLAY error\n");
		quit_loop();
	}
}

/* A handler in the application's own loop may come too late for its playback, and must not touch
 * the next one, least of all end it. */
bool is_of_playback(const CustomData &player, GstBus *bus)
{
	ListLock lock;
	return player.pipeline && GST_ELEMENT_BUS(player.pipeline) == bus;
}

void quit_loop_of(const CustomData &player, GstBus *bus)
{
	ListLock lock;
	if (is_of_playback(player, bus))
		quit_loop();
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

void on_buffering(CustomData &player, GstMessage *message)
{
	gint percent = 0;
	gst_message_parse_buffering(message, &percent);
	g_print("Buffering (%3d%%)\n", percent);
	if (percent != 100)
		return;
	__atomic_store_n(&player.is_buffering, FALSE, __ATOMIC_RELAXED);
	decision_pending = true;
	decide_after_buffering(player);
}

void on_state_changed(CustomData &player, GstMessage *message)
{
	if (GST_MESSAGE_SRC(message) != GST_OBJECT_CAST(ref_pipeline(player).get()))
		return;
	GstState before;
	GstState after;
	gst_message_parse_state_changed(message, &before, &after, nullptr);
	g_print("Pipeline state changed from %s to %s:\n", gst_element_state_get_name(before),
	    gst_element_state_get_name(after));
}

void on_async_done(CustomData &player)
{
	decide_after_buffering(player);
	if (!__atomic_load_n(&player.is_buffering, __ATOMIC_RELAXED))
		set_pipeline_state(player, GST_STATE_PLAYING);
}

gboolean bus_message(GstBus *bus, GstMessage *message, gpointer app)
{
	auto &player = *static_cast<CustomData *>(app);
	GST_DEBUG("got message %s", GST_MESSAGE_TYPE_NAME(message));
	if (!is_of_playback(player, bus))
		return TRUE;

	switch (GST_MESSAGE_TYPE(message)) {
	case GST_MESSAGE_ERROR:
		on_error(message);
		quit_loop_of(player, bus);
		break;
	case GST_MESSAGE_EOS:
		g_print("streamer eos\n");
		quit_loop_of(player, bus);
		break;
	case GST_MESSAGE_CLOCK_LOST:
		set_pipeline_state(player, GST_STATE_PAUSED);
		set_pipeline_state(player, GST_STATE_PLAYING);
		break;
	case GST_MESSAGE_BUFFERING:
		on_buffering(player, message);
		break;
	case GST_MESSAGE_STATE_CHANGED:
		on_state_changed(player, message);
		break;
	case GST_MESSAGE_ASYNC_DONE:
		on_async_done(player);
		break;
	default:
		break;
	}
	return TRUE;
}

/* Asks the element "parse", which the pipeline keeps alive. */
void read_position(CustomData &player, GstElement *parse)
{
	gint64 position = __atomic_load_n(&player.timestramp, __ATOMIC_RELAXED);
	if (!gst_element_query_position(parse, GST_FORMAT_TIME, &position))
		g_printerr("Could not querycurrent position.\n");
	__atomic_store_n(&player.timestramp, guint64(position), __ATOMIC_RELAXED);
}

gboolean time_handler(gpointer user)
{
	auto &player = *static_cast<CustomData *>(user);
	ElementRef pipeline;
	GstElement *parse;
	{
		ListLock lock;
		pipeline = ref_pipeline(player);
		parse = player.parse;
		if (!pipeline)
			return FALSE;
		repeat_early_quit();
	}

	decide_after_buffering(player);
	GstState cur = GST_STATE_NULL;
	gst_element_get_state(pipeline.get(), &cur, nullptr, 0);
	if (cur == GST_STATE_PLAYING)
		read_position(player, parse);
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

void open_loop()
{
	ListLock lock;
	loop = g_main_loop_new(nullptr, TRUE);
}

void close_loop()
{
	ListLock lock;
	ending = Ending::kBegun;
	g_main_loop_unref(loop);
	loop = nullptr;
}

} // namespace

void quit_loop()
{
	ListLock lock;
	if (ending == Ending::kNone)
		ending = Ending::kAsked;
	if (loop)
		g_main_loop_quit(loop);
}

void repeat_early_quit()
{
	ListLock lock;
	if (ending == Ending::kAsked)
		quit_loop();
}

void *message_thread(void *arg)
{
	auto *app = static_cast<CustomData *>(arg);
	decision_pending = false; /* before a handler can run, be it in the application's own loop */
	GstBus *bus = gst_element_get_bus(app->pipeline);
	const guint bus_watch_id = gst_bus_add_watch(bus, bus_message, app);
	gst_object_unref(bus);
	const guint timer = g_timeout_add(kPositionInterval, time_handler, app);

	open_loop();
	g_main_loop_run(loop);
	close_loop();

	g_print("message thread-------------1\n");
	bring_down(*app);
	g_print("message thread-------------2\n");
	Pipeline taken;
	{
		/* In one hold: where the application's own loop runs our timer, that must not find the
		 * pipeline gone and end itself before it is removed. */
		ListLock lock;
		taken = take_pipeline(*app);
		g_source_remove(timer);
		g_source_remove(bus_watch_id);
	}
	release_pipeline(taken);
	{
		ListLock lock;
		end_registration(*app);
		app->terminate = TRUE;
	}
	g_print("thread exit\n");
	return nullptr;
}
