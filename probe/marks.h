/* The way to the first picture, step by step: when each step was over. Any thread. */
#pragma once

#include <chrono>
#include <string>

/* In the order in which a program passes them. */
enum class Mark {
	kLoad,        /* the program's start, up to its Init */
	kStartThread, /* up to the render thread's start */
	kConnect,     /* the connection to the compositor, and what it offers */
	kEgl,         /* display and driver, config, context */
	kSurface,     /* the surface, made current */
	kPrograms,    /* the shader programs */
	kFirstTurn,   /* the first turn and the shared context: the end of Init */
	kCreate,      /* up to the first creation */
	kNextFrame,   /* up to the frame that draws first */
	kDraw,        /* in it: pictures read, decoded, uploaded; draw */
	kSwap,        /* the swap */
};

/* Only the first time counts. */
void pass_mark(
    Mark mark, std::chrono::steady_clock::time_point now = std::chrono::steady_clock::now());

/* The marks that were passed, in milliseconds of CLOCK_MONOTONIC: {"type":"first-picture",...}. */
std::string first_picture_message();
