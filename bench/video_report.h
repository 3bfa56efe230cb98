/* The tables of bench/video_path. */
#pragma once

#include <deque>

#include <bench/frame_tracer.h>

/* A playback of a film of this size. */
struct VideoRun {
	unsigned width, height; /* of the image, without the decoder's border */
	std::deque<TracedFrame> frames;
};

/* How long the frames that were shown took from station to station. */
void print_way(const VideoRun &run);

/* What became of the frames. False if one of them is unaccounted for, or none has come. */
bool print_fates(const VideoRun &run);

/* What the library copies, against what the host does and what a copy would cost. */
void print_copies(const VideoRun &small, const VideoRun &large);
