/* Recordings that are parts of one. */
#pragma once

#include <string>
#include <vector>

/* A recording starts anew after so many video frames: each such group can be decoded by itself, and
 * comes out the same wherever its recording began. */
constexpr int kPicturesPerGroup = 50;

/* Writes the video frames of the parts one after the other to a recording, as they are: nothing is
 * encoded again. If all parts but the last are whole groups, the video frames are those of a single
 * recording. Returns false with the reason in *error. */
bool join_recordings(
    const std::vector<std::string> &parts, const std::string &path, std::string *error);
