/* What the checks ask of the object list. */
#pragma once

#include <optional>

#include <animation/animation.h>

struct LiveObject {
	AnimationType type;
	bool was_set_up; /* it has had a frame in which its strip was built */
	bool waits;      /* for its first frame, or in its start delay */
	bool is_delayed; /* in its start delay */
};

/* Any thread, between Init and DeInit. */
std::optional<LiveObject> find_live_object(unsigned int id);

/* An object on the list that shows the texture, or ANIMATION_NO_OBJECT. */
unsigned int find_object_showing(GLuint texture);

/* True if GL has given out the name and it was not deleted. */
bool is_texture_name(GLuint name);
