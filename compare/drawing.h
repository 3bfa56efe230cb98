/* What a scene or a program draws now. */
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

/* What is drawn: a scene file, or a program with its arguments, which runs in animation-host. */
struct Drawn {
	std::string name;
	std::vector<std::string> command; /* a scene file alone, or a program and its arguments */
	bool is_program = false;
};

/* Writes these frames, counted from 1, to FOLDER/FRAME.png. False with *error set, which holds what
 * animation-play or animation-host has said. */
bool draw_frames(const Drawn &drawn, const std::vector<std::uint64_t> &frames,
    const std::filesystem::path &folder, std::string *error);

/* What the pixels depend on beside the scene: the architecture, and the rasteriser with the width
 * of its vectors. */
std::string machine_class();
