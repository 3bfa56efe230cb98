/* What the tests of whole playbacks share: a fixture with two registered objects, and sources. */
#pragma once

#include <animation/animation.h>
#include <player/player.h>

#include "../support/files.h"
#include "../support/pipeline.h"
#include "support.h"

/* A launch description that makes H.264 in real time, or as fast as it can. */
std::string test_pattern(bool live, int frames);

class Playback : public testing::Test
{
protected:
	Playback();
	~Playback() override;

	/* Registers two objects, which it creates when it is first called. */
	void register_objects();

	void remove_objects();

	/* True when the playback ends within the three seconds that a stop may take. */
	bool stops();

	/* True when the playback has ended by itself. */
	bool ends(double seconds = 10);

	/* True when a frame has reached both records since the last call. */
	bool frames_come(double seconds = 10);

	/* The film, made when it is first asked for: 320 x 240, 25 frames a second. */
	static std::string film(int frames = 25);

	/* Not the standard error, so that a sanitizer's report is seen. */
	Caught out{1};
	VideoGST_animationpara left = {}, right = {};

private:
	unsigned ids[2] = {ANIMATION_NO_OBJECT, ANIMATION_NO_OBJECT};
	float corners[8] = {0, 576, 1152, 576, 0, 0, 1152, 0};
	int ended = 0;
};
