/* Pictures into an MP4 file with H.264 video, one picture one video frame. */
#pragma once

#include <memory>
#include <string>

#include <sinks/picture.h>

struct Recorder;
struct RecorderDeleter {
	void operator()(Recorder *) const;
};
/* Destroying a recorder that was not finished leaves a file without an index, which no player
 * opens. */
using RecorderPtr = std::unique_ptr<Recorder, RecorderDeleter>;

/* Creates the file and starts the encoder's threads. Null with the reason in *error. */
RecorderPtr open_recorder(const std::string &path, int width, int height, std::string *error);

/* Copies the picture for the encoder, and waits if that is several pictures behind: none is ever
 * dropped. False with the reason in *error if the encoder or the file failed. */
bool record_picture(Recorder &recorder, const Picture &picture, std::string *error);

/* Encodes what is left and ends the file; a file without pictures is removed and is a failure. */
bool finish_recording(Recorder &recorder, std::string *error);
