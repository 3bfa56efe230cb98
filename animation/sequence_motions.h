/* The motions of a sequence: from a step of a moving phase to the alpha and place of the quad. */
#pragma once

#include <animation/animation.h>
#include <animation/loop_steps.h>

/* Factors of Gen3DPosition; the defaults leave the quad where it is. */
struct Motion {
	float angle = 0.0f;
	float hshift_factor = 0.0f;
	float vshift_factor = 0.0f;
	float scale_factor = 1.0f;
};

/* at is a step of the phase concerned. Sets *alpha unless the motion leaves it alone. */
Motion entry_motion(SEQUENCE_TYPE type, const CyclePosition &at, float *alpha);
Motion exit_motion(SEQUENCE_TYPE type, const CyclePosition &at, float *alpha);
