/*
 * Follows every frame of a playback from outside the library, from pad_new_sample to the swap.
 *
 * The executable that links this file defines the functions that a frame passes, so that the
 * library's calls come by here. One object is fed, and the trace is taken when the playback has
 * ended and the object has gone.
 */
#pragma once

#include <chrono>
#include <cstdint>
#include <deque>

#include <EGL/egl.h>
#include <EGL/eglext.h>

#include <bench/work.h>

/* How far a frame has come. */
enum class Fate {
	kLost,     /* none of the others: no frame is to end like this */
	kDropped,  /* the mutex was busy */
	kRecorded, /* in the object's record */
	kReplaced, /* there, by a later frame */
	kRefused,  /* no image could be made of its descriptor */
	kBound,    /* as the image that was made of its own descriptor */
	kShown,    /* and then swapped */
};

struct TracedFrame {
	using Time = std::chrono::steady_clock::time_point;

	Fate fate = Fate::kLost;
	bool met_conversion = false; /* dropped while the host converted an earlier frame */
	std::uint32_t fd = 0;
	EGLImageKHR image = EGL_NO_IMAGE_KHR;

	Time arrival; /* pad_new_sample is entered */
	Time record;  /* the object's record is replaced */
	Time turn;    /* the generator is entered */
	Time bound;   /* and left */
	Time swapped;

	Work delivery;   /* the whole of pad_new_sample */
	Work binding;    /* the generator's own */
	Work conversion; /* the host's, called by the generator */
};

/* Puts the tracer in front of the image functions that Init has fetched. */
void trace_images();

/* The frames since the last call, in order of arrival. */
std::deque<TracedFrame> take_trace();
