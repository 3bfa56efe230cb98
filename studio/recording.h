/* A recording that is started and stopped from the page. The file is made in a folder of its own
 * and then offered for download, so that nothing stays on this machine. */
#pragma once

#include <string>

#include <sinks/sinks.h>
#include <studio/studio.h>

struct Recording {
	SinksPtr sinks; /* NULL: none is under way */
	std::string folder;
	int number = 0; /* of all that were started */
};

inline bool is_recording(const Recording &recording)
{
	return recording.sinks != nullptr;
}

/* Does nothing if it is on already. False with *error set. */
bool start_recording(Recording &recording, std::string *error);

/* Ends it, and with it whatever failed, if that can be. */
void record_in_studio(Recording &recording, const Picture &picture);

/* Offers what was recorded. Does nothing if none is on. False with *error set. */
bool stop_recording(Recording &recording, Studio &studio, std::string *error);
