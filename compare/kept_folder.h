/* The folder of kept pictures: kept.json tells of which frames, and beside it lies a PNG file for
 * each, SCENE-FRAME.png. docs/compare.md tells the format. */
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

struct KeptScene {
	std::vector<std::uint64_t> frames; /* counted from 1, ascending */
	std::optional<int> tolerance;      /* in place of the folder's */
};

struct KeptFolder {
	std::filesystem::path path;
	std::string drawn_by; /* the machine's class */
	int tolerance = 0;    /* the largest step of a channel that is no difference */
	std::map<std::string, KeptScene> scenes;
};

std::filesystem::path kept_picture(
    const KeptFolder &folder, const std::string &scene, std::uint64_t frame);

/* False with *error set if there is no kept.json, or a wrong one. */
bool read_kept_folder(const std::filesystem::path &path, KeptFolder *folder, std::string *error);

/* Removes the pictures that no scene names. False with *error set. */
bool write_kept_folder(const KeptFolder &folder, std::string *error);
