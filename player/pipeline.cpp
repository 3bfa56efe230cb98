#include <player/pipeline.h>

#include <algorithm>
#include <new>
#include <utility>

namespace
{

constexpr guint64 kBringDownLimit = 2 * G_USEC_PER_SEC;

struct UnrefQueue {
	void operator()(GAsyncQueue *queue) const
	{
		g_async_queue_unref(queue);
	}
};

using Queue = std::unique_ptr<GAsyncQueue, UnrefQueue>;

/* A state change on a thread of its own, which outlives a caller that lost its patience. */
struct StateChange {
	ElementRef pipeline;
	GstState state;
	Queue done;
};

void *change_on_thread(void *arg)
{
	const std::unique_ptr<StateChange> change(static_cast<StateChange *>(arg));
	outlive_resets();
	const GstStateChangeReturn result =
	    gst_element_set_state(change->pipeline.get(), change->state);
	g_async_queue_push(change->done.get(), GINT_TO_POINTER(result + 1)); /* NULL is no answer */
	return nullptr;
}

/* The thread owns arg from then on, unless there is none. */
bool start_detached(void *(*body)(void *), void *arg)
{
	pthread_t thread;
	if (pthread_create(&thread, nullptr, body, arg) != 0)
		return false;
	pthread_detach(thread);
	return true;
}

/* The references of the player's own. */
struct Elements {
	ElementRef pipeline;
	ElementRef parse;
	ElementRef grabber;
};

Elements take_elements(CustomData &player)
{
	const std::lock_guard hold(player_lock);
	return {
	    ElementRef(std::exchange(player.pipeline, nullptr)),
	    ElementRef(std::exchange(player.parse, nullptr)),
	    ElementRef(std::exchange(player.grabber, nullptr)),
	};
}

Connection take_connection(CustomData &player)
{
	const std::lock_guard hold(player_lock);
	return std::exchange(player.connection, {});
}

/* The copied pointer's count, under the lock. */
ElementRef ref(GstElement *element)
{
	return ElementRef(element ? GST_ELEMENT_CAST(gst_object_ref(element)) : nullptr);
}

/* Whether its states are still the player's to change. */
bool is_in_use(const CustomData &player, const GstElement *pipeline)
{
	const std::lock_guard hold(player_lock);
	return player.pipeline == pipeline &&
	       (player.state == PlayState::kRunning || player.state == PlayState::kDeciding ||
	           player.state == PlayState::kQuitting);
}

} // namespace

StateChangeResult change_state_within(GstElement *pipeline, GstState state, guint64 limit)
{
	const Queue done(g_async_queue_new());
	auto *change = new (std::nothrow) StateChange{
	    ref(pipeline),
	    state,
	    Queue(g_async_queue_ref(done.get())),
	};
	if (!change || !start_detached(change_on_thread, change)) {
		delete change;
		return {true, gst_element_set_state(pipeline, state)};
	}
	gpointer answer = g_async_queue_timeout_pop(done.get(), limit);
	if (!answer)
		return {false, GST_STATE_CHANGE_FAILURE};
	return {true, static_cast<GstStateChangeReturn>(GPOINTER_TO_INT(answer) - 1)};
}

GstState settled_state(GstElement *pipeline, GstClockTime limit)
{
	const gint64 deadline = g_get_monotonic_time() + static_cast<gint64>(limit / GST_USECOND);
	GstState cur = GST_STATE_NULL;
	GstStateChangeReturn result;
	gint64 left;
	do {
		left = std::max<gint64>(deadline - g_get_monotonic_time(), 0);
		result = gst_element_get_state(pipeline, &cur, nullptr, left * GST_USECOND);
	} while (left > 0 && (result == GST_STATE_CHANGE_ASYNC || cur == GST_STATE_VOID_PENDING));
	return result == GST_STATE_CHANGE_ASYNC ? GST_STATE_VOID_PENDING : cur;
}

ElementRef ref_pipeline(const CustomData &player)
{
	const std::lock_guard hold(player_lock);
	return ref(player.pipeline);
}

ElementRef ref_parse(const CustomData &player, const GstElement *pipeline)
{
	const std::lock_guard hold(player_lock);
	return ref(player.pipeline == pipeline ? player.parse : nullptr);
}

Connection connection_of(const CustomData &player, const GstElement *pipeline)
{
	const std::lock_guard hold(player_lock);
	return player.pipeline == pipeline ? player.connection : Connection();
}

void set_pipeline_state(const CustomData &player, GstElement *pipeline, GstState state)
{
	if (!is_in_use(player, pipeline))
		return;
	gst_element_set_state(pipeline, state);

	/* The way down may have passed us: a pipeline that we woke again nobody else would stop. Ours
	 * may be the application's thread, and going down may take long. */
	if (!is_in_use(player, pipeline))
		change_state_within(pipeline, GST_STATE_NULL, 0);
}

void bring_down(CustomData &player)
{
	const ElementRef pipeline = ref_pipeline(player);
	if (!pipeline)
		return;

	end_reading(take_connection(player), pipeline.get());

	/* A source may still not let go. The appsink is down long before, since a state change goes
	 * from the sink to the source. */
	if (!change_state_within(pipeline.get(), GST_STATE_NULL, kBringDownLimit).is_over)
		g_printerr("Pipeline still waits for its source, left to stop by itself.\n");
}

void release_pipeline(CustomData &player)
{
	const Elements taken = take_elements(player);
	/* One that has been left to stop by itself must not feed the next playback. */
	if (taken.grabber)
		g_signal_handlers_disconnect_by_data(taken.grabber.get(), &player);
}
