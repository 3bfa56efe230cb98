/* What an application can ask of a playback from outside. */
#include <memory>

#include <base/lock.h>
#include <player/pipeline.h>

namespace
{

struct UnrefQuery {
	void operator()(GstQuery *query) const
	{
		gst_query_unref(query);
	}
};

using Query = std::unique_ptr<GstQuery, UnrefQuery>;

constexpr GstClockTime kStateWait = GST_SECOND;

/* Milliseconds from the position to the end, or 0 if either is unknown. */
guint64 play_left(GstElement *pipeline)
{
	gint64 position = -1;
	gint64 duration = -1;
	if (!gst_element_query_position(pipeline, GST_FORMAT_TIME, &position))
		position = -1;
	if (!gst_element_query_duration(pipeline, GST_FORMAT_TIME, &duration))
		duration = -1;
	return position != -1 && duration != -1 ? (duration - position) / GST_MSECOND : 0;
}

int log_buffering(GstElement *pipeline, GstQuery *query)
{
	gboolean busy;
	gint percent;
	gint64 estimated_total;
	gst_query_parse_buffering_percent(query, &busy, &percent);
	gst_query_parse_buffering_range(query, nullptr, nullptr, nullptr, &estimated_total);
	if (estimated_total == -1)
		estimated_total = 0;
	g_log(nullptr, G_LOG_LEVEL_MESSAGE,
	    "play_left %" G_GUINT64_FORMAT ", estimated_total %" G_GUINT64_FORMAT ", percent %d",
	    play_left(pipeline), static_cast<guint64>(estimated_total), percent);
	return percent;
}

} // namespace

gboolean IsGSTStatePlaying(void)
{
	const ElementRef pipeline = ref_pipeline(data);
	if (!pipeline)
		return FALSE;
	GstState cur = settled_state(pipeline.get(), kStateWait);
	if (cur == GST_STATE_VOID_PENDING) /* still changing: the state that it comes from counts */
		gst_element_get_state(pipeline.get(), &cur, nullptr, 0);
	return cur == GST_STATE_READY || cur == GST_STATE_PAUSED || cur == GST_STATE_PLAYING;
}

int GetGSTimeStramp(void)
{
	const ListLock lock;
	return int(load(data.timestramp) / GST_MSECOND);
}

gboolean buffer_timeout(gpointer user)
{
	auto *pipeline = static_cast<GstElement *>(user);
	const Query query(gst_query_new_buffering(GST_FORMAT_TIME));
	if (!gst_element_query(pipeline, query.get()))
		return TRUE;

	const gboolean is_buffering = log_buffering(pipeline, query.get()) != 100;
	store(data.is_buffering, is_buffering);
	if (is_buffering)
		return TRUE;

	const GstState cur = settled_state(pipeline, kStateWait);
	if (cur == GST_STATE_VOID_PENDING)
		return TRUE; /* look again at the next tick */
	if (cur == GST_STATE_PAUSED)
		gst_element_set_state(pipeline, GST_STATE_PLAYING);
	else if (cur == GST_STATE_READY)
		ask_to_end(data);
	return FALSE;
}
