/* The pipeline as several threads hold it: references, state changes, the way down. */
#include <utility>

#include <animation/list_lock.h>
#include <player/player_state.h>

namespace
{

constexpr guint64 kBringDownLimit = 2 * G_USEC_PER_SEC;

void go_to_null(GstElement *pipeline, gpointer done)
{
	gst_element_set_state(pipeline, GST_STATE_NULL);
	if (done)
		g_async_queue_push(static_cast<GAsyncQueue *>(done), pipeline);
}

void unref_queue(gpointer queue)
{
	g_async_queue_unref(static_cast<GAsyncQueue *>(queue));
}

void give_back(GstElement *&element)
{
	if (GstElement *last = std::exchange(element, nullptr))
		gst_object_unref(last);
}

} // namespace

ElementRef ref_pipeline(const CustomData &player)
{
	ListLock lock;
	GstElement *pipeline = player.pipeline;
	return ElementRef(pipeline ? GST_ELEMENT(gst_object_ref(pipeline)) : nullptr);
}

void set_pipeline_state(const CustomData &player, GstState state)
{
	auto is_over = [&](GstElement *pipeline) {
		ListLock lock;
		return ending == Ending::kBegun || player.pipeline != pipeline;
	};

	ElementRef pipeline = ref_pipeline(player);
	if (!pipeline || is_over(pipeline.get()))
		return;
	gst_element_set_state(pipeline.get(), state);

	// The way down may have passed us: a pipeline that we woke again nobody else would stop. It is
	// left to another thread, since ours is the application's and going down may take long.
	if (is_over(pipeline.get()))
		gst_element_call_async(pipeline.get(), go_to_null, nullptr, nullptr);
}

void bring_down(const CustomData &player)
{
	ElementRef pipeline = ref_pipeline(player);
	if (!pipeline)
		return;

	end_reading(pipeline.get());

	// A source may still not let go. The appsink is down long before, since a state change goes
	// from the sink to the source.
	GAsyncQueue *done = g_async_queue_new();
	gst_element_call_async(pipeline.get(), go_to_null, g_async_queue_ref(done), unref_queue);
	if (!g_async_queue_timeout_pop(done, kBringDownLimit))
		g_printerr("Pipeline still waits for its source, left to stop by itself.\n");
	g_async_queue_unref(done);
}

void release_pipeline(CustomData &player)
{
	ListLock lock;
	give_back(player.parse);
	give_back(player.grabber);
	give_back(player.pipeline);
}
