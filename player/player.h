/*
 * The player: one GStreamer pipeline at a time, whose decoded frames feed up to two objects of
 * type ANI_VIDEO_GST.
 *
 * The order of calls, all of them between Init and DeInit:
 *
 *   1. create the objects
 *   2. SetGSTPlayAnimationId and StartGSTPlay, in either order, but not before the playback before
 *      has ended (StartGSTPlay(NULL) is -1): its end clears every registration
 *   3. IsFirstFrameStart, IsGSTStatePlaying, GetGSTimeStramp, GSTplayControl, as often as wanted
 *   4. StopGSTPlay, and wait until StartGSTPlay(NULL), which starts nothing, answers -1 and no
 *      longer 1, before the records are freed or DeInit is called
 *
 * What it does not do: it has no seek, no volume and no sound, restarts nothing by itself and
 * reports errors only as text.
 *
 * Threads. Any thread may call, one call of StartGSTPlay at a time. Each playback runs a thread
 * with a GLib main loop on the default main context: an application that runs its own loop on that
 * context shares the player's sources.
 *
 * RTMP: so that its source lets go, the end of a playback shuts the reading half of the TCP
 * connections to its server that came during the start or come while it ends: to its address and
 * port, or to its port alone where the URI names the host. Make none of the application's own to
 * that server at these times. Descriptors from 1024 on are beyond the probe and this way out: keep
 * fewer files open.
 */
#ifndef ANIMATION_PLAYER_H
#define ANIMATION_PLAYER_H

#include <gst/gst.h>

#include <animation/enum.h>

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

/* Orders to a running playback. */
typedef enum GSTControl ANIMATION_32_BIT {
	GST_PLAY = 0,
	GST_PAUSE = 1,
} GSTControl;

/* The player's state, private to it. */
typedef struct CustomData CustomData;

/* ---- The application ------------------------------------------------------------------------ */

/*
 * Starts a playback. The source is chosen by what the URI contains: ".mp4", a local file; else
 * "rtmp", an RTMP stream; else the URI is the address to listen on for RTP/H.264, UDP port 50008.
 * (A URI with both words is a local file that waits for buffering, and stays paused.) An RTMP URI
 * of the form rtmp://HOST/live... is probed first with one ICMP echo request, for up to one second;
 * HOST must be a dotted-quad address, and the process needs the right to open raw sockets. A server
 * that accepts and says nothing is waited for for ten seconds. The URI goes into a launch
 * description as it is: it must have no blanks, and never be one that is not trusted.
 *
 * 0: started; errors from here on are only printed, a missing decoder among them. 1: a playback is
 * in progress, or its end is still under way; nothing changes. -1: failed, with a report unless uri
 * is NULL or its host has more than 19 characters; everything taken is given back. A file name of
 * more than 182 characters, an RTMP URI of more than 115 and an address of more than 13 are
 * refused.
 */
int StartGSTPlay(const char *uri);

/*
 * Registers the objects that show the frames, and the record each was created from. An id of
 * ANIMATION_NO_OBJECT or a NULL record leaves its slot empty. The records stay the caller's and
 * must live until the playback has ended. Until then each frame reads them with their arrays and
 * writes bufinfo and update: touch any of it only under g_mutex. bufinfo must be NULL or a block
 * from malloc: it is written, and freed at the end. A registration ends with the playback; one that
 * another replaces before leaves its bufinfo to the caller, to be freed.
 *
 * 0, or -1 with a report if an id is not that of an ANI_VIDEO_GST object: the earlier registration
 * then stays.
 */
int SetGSTPlayAnimationId(unsigned int id1, void *para1, unsigned int id2, void *para2);

/* Asks the playback to end and returns at once; it ends within three seconds. A source that still
 * waits for its server is left to stop by itself, with a report. The picture stays until its object
 * is removed; but a frame that waits for the render thread at this moment is shown black, if the
 * decoder's memory goes with the pipeline. While StartGSTPlay has not returned there is no playback
 * to end. */
void StopGSTPlay(void);

/* Pauses or resumes. A pause ends by itself as soon as the sink has got its next frame: for a file
 * after about a millisecond, for a live source if a frame was on its way, else only by GST_PLAY or
 * the end. Without a playback nothing happens. Waits for a state change under way. */
void GSTplayControl(GSTControl order);

/* TRUE once a frame has come in this playback, and after it until the next start. It need not have
 * reached an object. */
gboolean IsFirstFrameStart(void);

/* TRUE while a pipeline is up, paused or playing. May wait up to one second for a state change. */
gboolean IsGSTStatePlaying(void);

/* The position in the stream in milliseconds: while it plays, of at most 30 ms ago, else the last
 * one. -140462611 while none is known. */
int GetGSTimeStramp(void);

/* ---- The probe: any thread, no state --------------------------------------------------------- */

/* 0 if the URI (never NULL) needs no probe or its host answered, else -1: also, at once, for a host
 * part of more than 19 characters. */
int check_server(const char *uri);

/* Sends one ICMP echo request to a dotted-quad address. 1 if any ICMP packet came within a second,
 * else 0, also without the right to open raw sockets; reports either. */
int livetest(const char *ip);

/* Internet checksum (RFC 1071) of len bytes. */
unsigned short cal_chksum(const unsigned short *addr, int len);

/* ---- Steps of a playback -------------------------------------------------------------------- */

/* 1 until the first frame of a playback has come. Not to be written. */
extern int first_frame;

/* "new-sample" of the appsink, on a streaming thread: hands the frame's descriptor to the
 * registered objects. Always GST_FLOW_OK. */
GstFlowReturn pad_new_sample(GstElement *sink, CustomData *dataplayer);

/* Body of the playback's thread, with the player's state as arg. Not to be called. */
void *message_thread(void *arg);

/* Timer function for an application that polls the buffering of a pipeline itself: user, which it
 * keeps alive. (The player gives its own to nobody.) At 100 percent, after waiting up to one second
 * for a state change under way, a paused pipeline is set to playing, and one in READY ends the
 * player's playback. The player takes the answer for its own state of buffering, too. TRUE, to be
 * called again, while buffering or while that state change goes on. */
gboolean buffer_timeout(gpointer user);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
