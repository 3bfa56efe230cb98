/* Single pictures into PNG files. */
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

/* A snapshot not yet taken. Its file exists from the start, so that a bad name is known before any
 * picture comes. */
struct PendingSnapshot {
	std::uint64_t number;
	std::string path;
	FilePtr file;
};

/* Creates the files. False with the reason in *error, and none of them left. */
bool open_snapshots(
    const std::vector<Snapshot> &wanted, std::vector<PendingSnapshot> *pending, std::string *error);

/* Writes the picture to each file that waits for its number, and takes those off the list. False
 * with the reason in *error if one could not be written. */
bool take_snapshots(std::vector<PendingSnapshot> *pending, std::uint64_t number,
    const Picture &picture, std::string *error);

/* Removes the files of what is still pending, and tells in *error, if any, of which. */
bool drop_snapshots(std::vector<PendingSnapshot> *pending, std::string *error);
