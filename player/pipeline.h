/* The pipeline as several threads hold it: references, state changes, the way down. */
#pragma once

#include <memory>

#include <player/player_state.h>

struct UnrefObject {
	void operator()(gpointer object) const
	{
		gst_object_unref(object);
	}
};

using ElementRef = std::unique_ptr<GstElement, UnrefObject>;

/* References of the caller's own, or NULL. Of the elements, parse alone is needed by others than
 * their owner, together with its pipeline. */
ElementRef ref_pipeline(const CustomData &player);
ElementRef ref_parse(const CustomData &player, const GstElement *pipeline);

/* A copy; no connection, once the pipeline is not the player's any more. */
Connection connection_of(const CustomData &player, const GstElement *pipeline);

/* Asks for a state; nothing happens once the pipeline is on its way down. */
void set_pipeline_state(const CustomData &player, GstElement *pipeline, GstState state);

struct StateChangeResult {
	bool is_over; /* false: still under way on a thread of its own, which ends with it */
	GstStateChangeReturn result;
};

/* A state change that is waited for for so many microseconds: a source may keep it waiting for
 * minutes. */
StateChangeResult change_state_within(GstElement *pipeline, GstState state, guint64 limit);

/* The state once no change is under way; GST_STATE_VOID_PENDING if there is still one at the limit.
 * A change that somebody else begins in the meantime is waited for as well. */
GstState settled_state(GstElement *pipeline, GstClockTime limit);

/* Takes the pipeline to GST_STATE_NULL, in at most two and a half seconds: one that needs longer
 * goes on by itself, and is reported. */
void bring_down(CustomData &player);

/* Gives back the pipeline and the references into it, which takes its time. */
void release_pipeline(CustomData &player);
