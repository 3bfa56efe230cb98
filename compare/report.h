/* What a comparison has found, for people and for CI. */
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <compare/image.h>

enum class Verdict { same, different, wrong };

struct Result {
	std::string scene;
	std::uint64_t frame = 0; /* 0: the scene as a whole is wrong */
	Verdict verdict = Verdict::same;
	std::string text; /* what differs, or what is wrong */
	Difference difference;
	Image kept, now; /* different ones only */
};

struct Report {
	std::string kept_on; /* classes of machines */
	std::string drawn_on;
	std::vector<Result> results;
};

/* "scene, frame 12: 34 pixels differ ..." */
std::string line_of(const Result &result);

/* "12 pictures: 10 same, 1 different, 1 wrong" */
std::string summary_of(const Report &report);

/* One page that needs no other file, the worst first. */
bool write_page(const Report &report, const std::string &path);

/* JUnit's XML, a case for each picture. */
bool write_junit(const Report &report, const std::string &path);
