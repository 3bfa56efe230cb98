/*
 * The player runs one GStreamer pipeline at a time. The decoded video frames feed up to two objects
 * of type ANI_VIDEO_GST.
 *
 * The order of calls, all between Init and DeInit:
 *
 *   1. Create the objects.
 *   2. SetGSTPlayAnimationId and StartGSTPlay, in either order. An earlier playback must have
 *      ended, because its end clears every registration. StartGSTPlay(NULL) starts nothing: it
 *      returns 1 while a playback exists, and -1 when there is none.
 *   3. IsFirstFrameStart, IsGSTStatePlaying, GetGSTimeStramp, GSTplayControl, as often as you like.
 *   4. StopGSTPlay. Wait until StartGSTPlay(NULL) returns -1. Only then free the records or call
 *      DeInit.
 *
 * The player cannot seek. It has no sound and no volume. It restarts nothing by itself. It reports
 * errors only as text.
 *
 * Threads. Any thread may call. Only one call of StartGSTPlay may run at a time. Each playback runs
 * a thread with a GLib main loop on the default main context. If an application runs a loop of its
 * own on that context, either loop may run the handlers of the other.
 *
 * RTMP. While an RTMP playback starts or stops, open no connection of your own to its server: the
 * end of the playback shuts down the read side of all connections to the server that were opened in
 * that time. If the server has hung up and the source has connected again, this goes for all that
 * were opened since the start. The player finds them by the server's address and port, or by the
 * port alone if the URI gives a host name. If a server has sent 8 MB and nothing of it belongs to a
 * stream, the player closes the connection, and an error ends the playback, unless the source has
 * connected again. All this and the probe work only with descriptors below 1024: keep fewer files
 * open.
 */
#ifndef ANIMATION_PLAYER_H
#define ANIMATION_PLAYER_H

#include <gst/gst.h>

#include <animation/enum.h>

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

/* What GetGSTimeStramp returns while no position is known. */
#define ANIMATION_NO_POSITION (-140462611)

/* Orders to a running playback. */
typedef enum GSTControl ANIMATION_32_BIT {
	GST_PLAY = 0,
	GST_PAUSE = 1,
} GSTControl;

/* The player's private state. */
typedef struct CustomData CustomData;

/* ---- The application ------------------------------------------------------------------------ */

/*
 * Starts a playback.
 *
 *     VideoGST_animationpara film = ANIMATION_VIDEO_INIT;
 *     ... // set the strip and texcoord
 *     unsigned int id = CreateAnimationObj(ANI_VIDEO_GST, &film);
 *     SetGSTPlayAnimationId(id, &film, ANIMATION_NO_OBJECT, NULL);
 *     if (StartGSTPlay("film.mp4") == 0)
 *         ... // the object shows the film from now on
 *
 * The URI decides the source:
 *
 *   contains ".mp4"          a local file
 *   else, contains "rtmp"    an RTMP stream
 *   else                     RTP/H.264 on UDP port 50008; the URI is the address to listen on
 *
 * A URI with both words is a local file that waits for buffering and so stays paused.
 *
 * An RTMP URI of the form rtmp://HOST/live... is probed first: the player sends one ICMP echo
 * request and waits up to one second. HOST must be an address such as 192.168.0.2, and the process
 * needs the right to open raw sockets. If the server accepts the connection and then says nothing,
 * the call gives up after ten seconds.
 *
 * The URI becomes part of a GStreamer launch description. It must have no blanks. Never pass a URI
 * that you do not trust. The longest file name has 182 characters, the longest RTMP URI 115, the
 * longest address 13.
 *
 * A local file that exists and is no regular file is refused at once. RTP packets that hold no
 * H.264 are skipped. Packets that look like H.264 and cannot be decoded may end the playback by an
 * error.
 *
 * Returns 0 if the playback has started. Later errors, such as a missing decoder, are only printed.
 * Returns 1 if a playback exists or has not fully ended; nothing changes. Returns -1 on failure;
 * nothing but the registration stays. A failure is reported, unless uri is NULL or its host has
 * more than 19 characters.
 */
int StartGSTPlay(const char *uri);

/*
 * Registers up to two objects that show the video, each with the record that it was created from.
 * An id of ANIMATION_NO_OBJECT or a NULL record leaves that place empty.
 *
 *     // one video on both displays: two objects from two records
 *     SetGSTPlayAnimationId(left_id, &left, right_id, &right);
 *
 * The records stay the application's. They and their arrays must live until the playback has ended.
 * Each video frame reads them, and writes bufinfo and update. Touch them only under g_mutex.
 *
 * bufinfo must be NULL or a block from malloc(). The player writes the block, and frees it at the
 * end of the playback. <animation/animation.h> has a table of who owns it when.
 *
 * The end of the playback ends the registration. A start that fails does not: before you free the
 * records, register ANIMATION_NO_OBJECT. A second registration replaces the first. The bufinfo
 * blocks of the first are then the application's to free.
 *
 * Returns 0. Returns -1 with a report if an id is not that of an ANI_VIDEO_GST object. The earlier
 * registration then stays.
 */
int SetGSTPlayAnimationId(unsigned int id1, void *para1, unsigned int id2, void *para2);

/* Tells the playback to end and returns at once. The playback ends within three seconds. A source
 * that still waits for its server is left to stop by itself, with a report. The last video frame
 * stays until its object is removed. A video frame that the render thread has not yet taken may
 * turn black, because the decoder's memory can go with the pipeline. Until StartGSTPlay has
 * returned, there is no playback to end. */
void StopGSTPlay(void);

/* Pauses or resumes. A paused file plays on after about a millisecond: the sink gets its next video
 * frame, and the player then sets the pipeline to playing again. A live source also plays on if a
 * video frame was on its way. If none was, it stays paused until GST_PLAY or the end. Without a
 * playback nothing happens. The call waits for a state change that is in progress. */
void GSTplayControl(GSTControl order);

/* Returns TRUE from the first video frame of a playback until the next start. The video frame may
 * not have reached an object. */
gboolean IsFirstFrameStart(void);

/* Returns TRUE while a pipeline is in READY, PAUSED or PLAYING. May wait up to one second for a
 * state change. */
gboolean IsGSTStatePlaying(void);

/* Returns the position in the stream in milliseconds. During playback it is at most 30 ms old,
 * otherwise it is the last one. ANIMATION_NO_POSITION means that no position is known yet. The
 * position is cut to 32 bits: it is negative after 24.8 days and begins again at 0 after 49.7. */
int GetGSTimeStramp(void);

/* ---- The probe: any thread, no state --------------------------------------------------------- */

/* Returns 0 if the URI needs no probe or its host answers, else -1. A host of more than 19
 * characters gives -1 at once. uri must not be NULL. */
int check_server(const char *uri);

/* Sends one ICMP echo request to an address such as 192.168.0.2. Returns 1 if any ICMP packet comes
 * within a second, else 0. Without the right to open raw sockets it returns 0. Either result is
 * reported. */
int livetest(const char *ip);

/* Returns the Internet checksum (RFC 1071) of len bytes. */
unsigned short cal_chksum(const unsigned short *addr, int len);

/* ---- Steps of a playback -------------------------------------------------------------------- */

/* 1 until the first video frame of a playback has come. Do not write it. */
extern int first_frame;

/* Handles "new-sample" of the appsink, on a streaming thread: gives the video frame's descriptor to
 * the registered objects. Always returns GST_FLOW_OK. */
GstFlowReturn pad_new_sample(GstElement *sink, CustomData *dataplayer);

/* The body of the playback's thread. arg is the player's state. Do not call it. */
void *message_thread(void *arg);

/* A GLib timer function for an application that polls the buffering of a pipeline of its own. user
 * is the pipeline. The application keeps it alive. (The player's own pipeline is private.)
 *
 * At 100 percent the function waits up to one second for a state change that is in progress. It
 * then sets a paused pipeline to playing. A pipeline in READY ends the player's playback. The
 * player also takes the result as its own state of buffering. Returns TRUE, to be called again,
 * while the pipeline buffers or its state still changes. */
gboolean buffer_timeout(gpointer user);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
