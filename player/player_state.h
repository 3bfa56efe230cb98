/* The player's state: what its files share and nobody else sees. */
#pragma once

#include <pthread.h>

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
