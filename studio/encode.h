/* A surface buffer as a file. */
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

/* A copy of a surface buffer: rows of bytes B, G, R, X without gaps. */
struct Shot {
	std::uint64_t number = 0; /* of all that were taken, from 1 */
	std::uint32_t frame = 0;
	int width = 0;
	int height = 0;
	std::vector<unsigned char> pixels;
};
using ShotPtr = std::shared_ptr<Shot>;

/* Each is empty if memory does not suffice. */
std::string jpeg_of(const Shot &shot); /* fast, and close enough for what moves */
std::string png_of(const Shot &shot);  /* exact */
