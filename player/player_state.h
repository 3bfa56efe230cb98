/* What the files of the player share and nobody else sees. */
#pragma once

#include <bitset>
#include <memory>

#include <pthread.h>
#include <sys/select.h>

#include <player/player.h>

/* The one player of the process. g_mutex guards pipeline, parse, grabber, terminate, the ids and
 * the records; timestramp and the two flags below it are read and written as atomics. */
struct CustomData {
	GstElement *pipeline; /* NULL when there is none */
	GstElement *parse;    /* element "parse", which answers position queries; a reference */
	GstElement *grabber;  /* the appsink; a reference */
	pthread_t thread;     /* the message thread */
	gboolean terminate;   /* TRUE: no playback; FALSE: the message thread runs */
	unsigned int id1;     /* first object to feed, or ANIMATION_NO_OBJECT */
	void *para1;          /* the caller's record of id1 */
	unsigned int id2;
	void *para2;
	guint64 timestramp; /* last position in nanoseconds; all ones before the first */
	gboolean is_buffering;
	gboolean is_first_frame; /* a frame has come in this playback */
};

extern CustomData data;

/* How far the end of a playback has come. Guarded by g_mutex. */
enum class Ending {
	kNone,  /* playing */
	kAsked, /* StopGSTPlay was called, perhaps before the loop could hear of it */
	kBegun, /* the pipeline is on its way down, or there is none */
};

extern Ending ending;

/* The message thread's loop; NULL except while it holds one. Guarded by g_mutex. */
extern GMainLoop *loop;

/* Quits the message thread's loop, if there is one. */
void quit_loop();

/* Prints a label with the time of day. */
void print_time(const char *time_type);

/* ---- The pipeline, shared between threads -----------------------------------------------------
 */

struct UnrefObject {
	void operator()(gpointer object) const
	{
		gst_object_unref(object);
	}
};

using ElementRef = std::unique_ptr<GstElement, UnrefObject>;

/* A reference of the caller's own to the pipeline, or NULL. */
ElementRef ref_pipeline(const CustomData &player);

/* Asks for a state; nothing happens once the pipeline is on its way down. */
void set_pipeline_state(const CustomData &player, GstState state);

/* Takes the pipeline to GST_STATE_NULL, in at most two seconds: one that needs longer goes on by
 * itself, and is reported. */
void bring_down(const CustomData &player);

/* Gives back the pipeline and the references into it. */
void release_pipeline(CustomData &player);

/* ---- The connection of rtmpsrc ----------------------------------------------------------------
 */

using Connections = std::bitset<FD_SETSIZE>;

/* The TCP connections of this process, by descriptor. */
Connections open_connections();

/* Remembers the one that has come since, to be called right after rtmpsrc has opened its own. */
void remember_connection(const Connections &before);

/* Gets the source out of its reading, where a connection was remembered, and forgets it. */
void end_reading(GstElement *pipeline);
