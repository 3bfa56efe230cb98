/* Writes single surface buffers to PNG files. */
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include <sinks/picture.h>

struct Snapshot;

struct FileCloser {
	void operator()(FILE *file) const
	{
		fclose(file);
	}
};
using FilePtr = std::unique_ptr<FILE, FileCloser>;

/* A snapshot that is not taken yet. Its file exists from the start, so that a bad name is noticed
 * before anything is drawn. */
struct PendingSnapshot {
	std::uint64_t number;
	std::string path;
	FilePtr file;
};

/* Creates the files. On failure it removes them and returns false with the reason in *error. */
bool open_snapshots(
    const std::vector<Snapshot> &wanted, std::vector<PendingSnapshot> *pending, std::string *error);

/* Writes the surface buffer to each file that waits for its number, and takes these off the list.
 * Returns false with the reason in *error if one cannot be written. */
bool take_snapshots(std::vector<PendingSnapshot> *pending, std::uint64_t number,
    const Picture &picture, std::string *error);

/* Removes the files that are still pending. If there are any, returns false and names them in
 * *error. */
bool drop_snapshots(std::vector<PendingSnapshot> *pending, std::string *error);
