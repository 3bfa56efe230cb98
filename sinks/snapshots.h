/* Writes single surface buffers to PNG files. */
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <sinks/picture.h>
#include <sinks/sinks.h>

/* Tries whether files of these names can be made, and leaves nothing of the trial. Returns false
 * with the reason in *error. */
bool can_write_snapshots(const std::vector<Snapshot> &wanted, std::string *error);

/* Writes the surface buffer to each file that waits for its number, and takes these off the list. A
 * file has its name only once it is whole. Returns false with the reason in *error if one cannot be
 * written. */
bool take_snapshots(std::vector<Snapshot> *pending, std::uint64_t number, const Picture &picture,
    std::string *error);

/* Names in one line the frames that never came and the files they were for. Empty if there are
 * none. */
std::string pictures_missing(const std::vector<Snapshot> &pending);
