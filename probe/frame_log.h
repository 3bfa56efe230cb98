/*
 * What happens between the ends of two frames: calls, pictures read, times. And who wants to know.
 *
 * Any thread notes; the render thread makes a message of it at the end of each frame.
 */
#pragma once

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>

#include <animation/animation.h>
#include <probe/json_text.h>

/* In rising order of what a frame costs. */
enum class Level {
	kOff,
	kTimes,   /* a message for each frame */
	kObjects, /* with the object list in it */
};

extern std::atomic<Level> watched;

inline bool is_watched()
{
	return watched.load(std::memory_order_relaxed) != Level::kOff;
}

/* What has happened to objects so far. */
enum class Fate {
	kCreated,
	kRefused, /* no object was made of a record */
	kUpdated, /* by the application or the player */
	kRemoved, /* its removal was asked for */
	kFreed,
};
void count(Fate fate);
void write_totals(JsonText &json);

/* Notes a call of the library. The object may be ANIMATION_NO_OBJECT. */
void note_call(const char *name, unsigned int object, std::string text);

/* Notes an image file that was read into a texture. */
void note_picture(const char *file, double ms, std::uint64_t bytes);

struct FrameTimes {
	double turn_ms; /* from the end of the frame before to the end of this one */
	double draw_ms; /* generation and draw, without the swap */
	double swap_ms;
	bool committed; /* it has drawn and swapped */
};

/* What the list is told in. With g_mutex held, if any of it is true. */
struct ListParts {
	bool objects;
	bool texture_bytes;
};

/* The message of a frame. Forgets what was noted. */
std::string frame_message(std::uint32_t frame, const FrameTimes &times, const std::string &player,
    const AnimationObj *head, ListParts parts, unsigned dropped);
