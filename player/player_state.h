/* What the files of the player share and nobody else sees. */
#pragma once

#include <bitset>
#include <memory>

#include <pthread.h>
#include <sys/select.h>

#include <player/player.h>

/* The one player of the process. All but the last three are written under g_mutex; the thread that
 * starts a playback and the message thread read what is theirs without it. timestramp and the two
 * flags below it are read and written as atomics. */
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
	kAsked, /* an end, an error or StopGSTPlay, perhaps before the loop could hear of it */
	kBegun, /* the pipeline is on its way down or not yet up, or there is none */
};

extern Ending ending;

/* The message thread's loop; NULL except while it holds one. Guarded by g_mutex. */
extern GMainLoop *loop;

/* Quits the message thread's loop. A quit is lost on a loop that does not run yet, and so has to be
 * repeated: by the loop's timer, and by whoever waits for the end, since that may be the
 * application in a handler of its own loop on the same context, during which the timer cannot run.
 */
void quit_loop();
void repeat_early_quit();

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
void bring_down(const CustomData &player);

/* The pipeline and the references into it, taken away from the player. Freeing the elements takes
 * its time: not under g_mutex. */
struct Pipeline {
	GstElement *pipeline;
	GstElement *parse;
	GstElement *grabber;
};
Pipeline take_pipeline(CustomData &player);
void release_pipeline(const Pipeline &taken);

/* ---- The connection of rtmpsrc ----------------------------------------------------------------
 */

using Connections = std::bitset<FD_SETSIZE>;

/* The TCP connections of this process, by descriptor. */
Connections open_connections();

/* Remembers the one that has come since, to be called right after rtmpsrc has opened its own. */
void remember_connection(const Connections &before);

/* Gets the source out of its reading, where a connection was remembered, and forgets it. */
void end_reading(GstElement *pipeline);
