/* Writes an MP4 file with H.264 video. Each surface buffer becomes one video frame. */
#pragma once

#include <memory>
#include <string>

#include <sinks/picture.h>

/* A file in fragments of half a second, each whole in itself and written at once, plays up to where
 * it stops, however its end came. */
constexpr char kRecordingFile[] =
    "mp4mux fragment-duration=500 ! filesink name=file buffer-mode=unbuffered";

struct Recorder;
struct RecorderDeleter {
	void operator()(Recorder *) const;
};
/* A recorder that is destroyed before it was finished, or with its process, leaves a file that
 * plays up to the last half second written. */
using RecorderPtr = std::unique_ptr<Recorder, RecorderDeleter>;

/* Creates the file and starts the encoder's threads. Returns null with the reason in *error. */
RecorderPtr open_recorder(const std::string &path, int width, int height, std::string *error);

/* Copies the surface buffer for the encoder. Never drops one: waits if the encoder is several
 * behind. Returns false with the reason in *error if the encoder or the file failed. */
bool record_picture(Recorder &recorder, const Picture &picture, std::string *error);

/* Encodes what is left and ends the file. A file without a video frame is removed, and that is a
 * failure. */
bool finish_recording(Recorder &recorder, std::string *error);
