#include <animation/sequence_motions.h>

namespace
{

/* Counts pass through float on their way to double: part of the numbers. */
double widened(uint32_t count)
{
	return static_cast<double>(static_cast<float>(count));
}

float narrowed(double value)
{
	return static_cast<float>(value);
}

float float_ratio(uint32_t a, uint32_t b)
{
	return static_cast<float>(a) / static_cast<float>(b);
}

/* Rocks one way in the first half and the other way in the second, rising and coming back. */
Motion wave_in(const CyclePosition &at)
{
	double n = widened(at.n);
	double m = widened(at.N - at.n);
	double I = widened(at.N);
	double frame = at.n - 1;
	double length = at.N;
	Motion motion;
	if (frame < 0.25 * length)
		motion.angle = narrowed(45.0 * n / I);
	else if (frame < 0.5 * length)
		motion.angle = narrowed(45.0 * (0.5 * I - n) / I);
	else if (frame < 0.75 * length)
		motion.angle = narrowed(-45.0 * (n - 0.5 * I) / I);
	else
		motion.angle = narrowed(-45.0 * m / I);
	motion.vshift_factor = narrowed(0.5 * (frame < 0.5 * length ? n : m) / I);
	return motion;
}

/* The half of a whip that grows or shrinks, at a given number of steps from its small end. */
Motion whip_far_half(uint32_t steps, uint32_t length, float *alpha)
{
	double progress = 2 * widened(steps) / widened(length);
	Motion motion;
	*alpha = narrowed(progress);
	motion.scale_factor = narrowed(progress * 0.7 + 0.3);
	motion.hshift_factor = narrowed(
	    (1.5 * widened(steps) / widened(length)) * static_cast<double>(motion.scale_factor));
	return motion;
}

/* The half of a whip that only slides, at a given number of steps from its place. */
Motion whip_near_half(uint32_t steps, uint32_t length, float *alpha)
{
	*alpha = 1.0f;
	return {.hshift_factor = narrowed(1.5 * widened(steps) / widened(length))};
}

} // namespace

Motion entry_motion(SEQUENCE_TYPE type, const CyclePosition &at, float *alpha)
{
	uint32_t left = at.N - at.n;
	switch (type) {
	case SEQ_WAVE:
		*alpha = 1.0f;
		return wave_in(at);
	case SEQ_FLOATINOUT:
		*alpha = float_ratio(at.n, at.N);
		return {.vshift_factor = narrowed(-0.5 * widened(left) / widened(at.N))};
	case SEQ_WHIP:
		if (at.n - 1 < 0.5 * at.N)
			return whip_far_half(at.n, at.N, alpha);
		return whip_near_half(left, at.N, alpha);
	case SEQ_SCALEROTATE: {
		float q = float_ratio(at.n, at.N);
		*alpha = q;
		return {.angle = narrowed((1.0 - static_cast<double>(q)) * -90.0), .scale_factor = q};
	}
	default:
		return {};
	}
}

Motion exit_motion(SEQUENCE_TYPE type, const CyclePosition &at, float *alpha)
{
	uint32_t left = at.N - at.n;
	switch (type) {
	case SEQ_WAVE:
		*alpha = 0.0f;
		return {};
	case SEQ_FLOATINOUT:
		*alpha = 1.0f - float_ratio(at.n, at.N);
		return {.vshift_factor = narrowed(-0.5 * widened(at.n) / widened(at.N))};
	case SEQ_WHIP:
		if (at.n - 1 < 0.5 * at.N)
			return whip_near_half(at.n, at.N, alpha);
		return whip_far_half(left, at.N, alpha);
	case SEQ_SCALEROTATE:
		*alpha = float_ratio(left, at.N);
		return {.angle = narrowed(-90.0 * widened(at.n) / widened(at.N)),
		    .scale_factor = float_ratio(left, at.N)};
	default:
		return {};
	}
}
