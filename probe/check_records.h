#pragma once

#include <animation/animation.h>
#include <probe/record_facts.h>

/* Whom a finding is about. */
struct Subject {
	const char *call;
	unsigned int object = ANIMATION_NO_OBJECT;
};

/* para is not null. is_new: a creation's record. */
void check_record(const Subject &about, AnimationType type, const void *para, bool is_new);
