/* The player's state: what its files share and nobody else sees. */
#pragma once

#include <atomic>
#include <mutex>
#include <type_traits>

#include <pthread.h>

#include <player/player.h>
#include <player/server_connection.h>

/* Where a playback stands. */
enum class PlayState {
	kIdle,     /* there is none */
	kStarting, /* StartGSTPlay builds the pipeline and asks for its first state */
	kFailed,   /* StartGSTPlay gives back what it built */
	kRunning,  /* the message thread runs its loop, or is about to */
	kDeciding, /* so it does; the queue is full, the state change under way is not over */
	kQuitting, /* the loop has been asked to end, perhaps before it ran and could hear of it */
	kStopping, /* the pipeline goes down and is given back */
};

/* What a state says to the outside:
 *
 *            terminate  pipeline                loop                 state changes are passed on
 * kIdle      TRUE       NULL                    NULL                 no
 * kStarting  TRUE       NULL, then set          NULL                 no
 * kFailed    TRUE       as far as it was built  NULL                 no
 * kRunning   FALSE      set                     NULL, then set       yes
 * kDeciding  FALSE      set                     NULL, then set       yes
 * kQuitting  FALSE      set                     NULL, then set       yes
 * kStopping  FALSE      set, then NULL          set, at once NULL    no
 *
 * (Where the application's own loop runs our handlers, they may come before our loop is there.)
 *
 * The transitions. change_state refuses all others; so a late one, such as a second cause of the
 * end or a report of buffering after it, changes nothing. */
struct Transition {
	PlayState from;
	PlayState to;
};

inline constexpr Transition kTransitions[] = {
    /* On the thread of StartGSTPlay. */
    {PlayState::kIdle, PlayState::kStarting},    /* the URI's host answers or need not */
    {PlayState::kStarting, PlayState::kFailed},  /* no pipeline, an element missing, no state */
    {PlayState::kFailed, PlayState::kIdle},      /* everything is given back */
    {PlayState::kStarting, PlayState::kRunning}, /* started; the message thread comes next */
    {PlayState::kRunning, PlayState::kStopping}, /* but there is no thread */

    /* In the handlers of the loop. */
    {PlayState::kRunning, PlayState::kDeciding},  /* Buffering (100%) */
    {PlayState::kDeciding, PlayState::kDeciding}, /* and again */
    {PlayState::kDeciding, PlayState::kRunning},  /* no state change is under way any more */

    /* In the handlers, or by StopGSTPlay. Each of these quits the loop. */
    {PlayState::kRunning, PlayState::kQuitting},  /* stop, error, end of stream, "PLAY error" */
    {PlayState::kDeciding, PlayState::kQuitting}, /* the first three of them */
    {PlayState::kQuitting, PlayState::kQuitting}, /* one more */

    /* On the message thread. (The first also where there is no thread, but a stop was quicker.) */
    {PlayState::kQuitting, PlayState::kStopping}, /* the loop is over */
    {PlayState::kStopping, PlayState::kIdle},     /* the records are given up */
};

/* Which launch description a URI leads to. */
enum class SourceKind { kFile, kRtmp, kUdp };

/*
 * The one player of the process.
 *
 * g_mutex guards the registration: ids and paras. StartGSTPlay and StopGSTPlay look at terminate
 * under it, too, and the message thread ends its loop and the registration under it, so that a stop
 * is never half-way then.
 *
 * player_lock guards pipeline, parse, grabber, terminate, state, loop, and connection with the two
 * numbers below it. It is the innermost lock: held to copy or exchange them and no longer. The
 * reference that goes with a copied pointer is counted under it, or the owner could let go in
 * between; that is an atomic increment, and nothing else of GStreamer or GLib is called under it.
 * The thread of StartGSTPlay, then the message thread own the pointers, and read them without it.
 *
 * timestramp and the two flags below it are words of their own, read and written as atomics.
 */
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

	PlayState state;
	GMainLoop *loop; /* the message thread's; NULL except while it holds one */

	SourceKind source;

	/* Of an RTMP source. What it reads without giving anything lies in its memory. */
	Connection connection; /* to its server */
	uint64_t read_before;  /* bytes read from it when the last buffer was seen to come out */
	unsigned seen_buffers;
	unsigned buffers; /* that have come out; an atomic word */
};

extern CustomData data;
extern std::mutex player_lock;

/* Every transition goes through here. False, and nothing done, if it is none of the table or if the
 * pipeline is no longer that of the player: a handler in the application's own loop may come too
 * late for its playback, and must not touch the next one. */
bool change_state(CustomData &player, PlayState to, const GstElement *of = nullptr);
PlayState state_of(const CustomData &player);

/* terminate, as StartGSTPlay and StopGSTPlay ask for it. */
bool has_ended(const CustomData &player);

/* Asks the message thread to end the playback. */
void ask_to_end(CustomData &player, const GstElement *of = nullptr);

/* Quitting before g_main_loop_run has no effect, so timer and waiters repeat it. (The waiter may be
 * the application in a handler of its own loop on the same context: the timer cannot run then.) */
void repeat_early_quit(const CustomData &player);

template <class Word>
Word load(Word &word)
{
	return std::atomic_ref(word).load(std::memory_order_relaxed);
}

template <class Word>
void store(Word &word, std::type_identity_t<Word> value)
{
	std::atomic_ref(word).store(value, std::memory_order_relaxed);
}

/* Prints a label with the time of day. */
void print_time(const char *time_type);
