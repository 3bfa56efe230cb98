#include <animation/loop_steps.h>

namespace
{

float ramp(float from, float to, const CyclePosition &at)
{
	return from + ((to - from) * static_cast<float>(at.n)) / static_cast<float>(at.N);
}

} // namespace

void set_cycle_alpha(RenderObj &renderobj, const CyclePosition &at, const CycleAlphas &alphas)
{
	switch (at.phase) {
	case Phase::kEntry:
		renderobj.prealpha0 = ramp(alphas.out_alpha, alphas.in_alpha, at);
		break;
	case Phase::kHold:
		renderobj.prealpha0 = alphas.in_alpha;
		break;
	case Phase::kExit:
		renderobj.prealpha0 = ramp(alphas.in_alpha, alphas.out_alpha, at);
		break;
	case Phase::kHidden:
		renderobj.prealpha0 = alphas.hidden_alpha;
		break;
	case Phase::kSpent:
		break;
	}
}

void set_cycle_status(AnimationObj &obj, const CyclePosition &at, const CycleStates &states)
{
	unsigned int bit = ST_SHOW;
	switch (at.phase) {
	case Phase::kEntry:
		bit = at.n == at.N ? ST_SHOW : states.moving_in;
		break;
	case Phase::kHold:
		break;
	case Phase::kExit:
		bit = at.n == at.N ? ST_HIDE : states.moving_out;
		break;
	case Phase::kHidden:
		bit = ST_HIDE;
		break;
	case Phase::kSpent:
		return;
	}
	clear_status(obj, states.moving_in | states.moving_out | ST_SHOW | ST_HIDE);
	set_status(obj, bit);
}
