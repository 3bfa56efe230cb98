/*
 * What the loop types share beyond the steps of all types: a start delay, then a cycle that is
 * gone through for ever or a number of times.
 */
#pragma once

#include <animation/type_steps.h>

/* The destroy check of the loop types, which let DEL_ON_HIDE wait for a hidden phase. True if the
 * object goes: its frame is over. */
template <LoopPara Para>
bool remove_immediately(AnimationObj &obj, const Para &para)
{
	if (!has_status(obj, ST_PENDINGDESTROY) || obj.delmode != DEL_IMMEDIATELY)
		return false;
	mark_finished(obj);
	give_up_callers_textures(*obj.renderobj, para.textures, kOwnTextures<Para>);
	return true;
}

/* True in a frame of the start delay without set-up. No phase runs in it. */
template <LoopPara Para>
bool is_waiting(const AnimationObj &obj, const Para &para)
{
	return para.pre_frame && obj.curframeno == ANIMATION_NOT_STARTED;
}

/* Counts the frame, and starts the cycle over at its end if a restart is left. */
template <LoopPara Para>
void count_frame(AnimationObj &obj, const Para &para, uint32_t cycle_end)
{
	obj.curframeno = obj.curframeno + 1;
	if (obj.curframeno >= cycle_end && (!para.loopcnt || obj.cur_loopcnt < para.loopcnt)) {
		obj.curframeno = 0;
		obj.cur_loopcnt++;
	}
}

/* Hides a frame of the start delay, which counts for no cycle. The whole status goes, a removal
 * asked for with it. */
template <LoopPara Para>
void count_start_delay(AnimationObj &obj, Para &para)
{
	para.pre_frame--;
	obj.renderobj->prealpha0 = 0.0f;
	obj.renderobj->prealpha1 = 0.0f;
	obj.status = ST_PREPARE;
	obj.curframeno = para.pre_frame ? ANIMATION_NOT_STARTED : 0;
}

/* The end of a loop type's frame. An object that goes here is still drawn a last time. */
template <LoopPara Para>
void close_loop_frame(AnimationObj &obj, Para &para, uint32_t cycle_end)
{
	if (para.pre_frame)
		count_start_delay(obj, para);
	else
		count_frame(obj, para, cycle_end);
	if (obj.delmode == DEL_ON_HIDE && has_status(obj, ST_PENDINGDESTROY | ST_HIDE))
		set_status(obj, ST_ONDESTROY);
	if (para.delonloopcnt && para.loopcnt && obj.cur_loopcnt == para.loopcnt)
		set_status(obj, ST_ONDESTROY);
	if (has_status(obj, ST_ONDESTROY))
		give_up_callers_textures(*obj.renderobj, para.textures, kOwnTextures<Para>);
	obj.renderobj->repaint = true;
}

/* The phase that a frame of a cycle of entry, hold, exit and hidden time falls in. */
enum class Phase { kEntry, kHold, kExit, kHidden, kSpent };

/* A moving phase is at step n of N, from 1: its untouched start is never drawn. */
struct CyclePosition {
	Phase phase;
	uint32_t n;
	uint32_t N;
};

/* The sums wrap like the fields they are made of. */
template <LoopPara Para>
uint32_t cycle_end_of(const Para &para)
{
	return para.in_frame + para.sin_frame + para.out_frame + para.sout_frame;
}

template <LoopPara Para>
CyclePosition cycle_position(const AnimationObj &obj, const Para &para)
{
	uint32_t frame = obj.curframeno;
	uint32_t exit = para.in_frame + para.sin_frame;
	if (frame < para.in_frame)
		return {Phase::kEntry, frame + 1, para.in_frame};
	if (frame < exit)
		return {Phase::kHold, 0, 0};
	if (frame < exit + para.out_frame)
		return {Phase::kExit, frame - exit + 1, para.out_frame};
	return {frame < cycle_end_of(para) ? Phase::kHidden : Phase::kSpent, 0, 0};
}

/* The states that a type reports while it moves in and out. */
struct CycleStates {
	AnimationStatus moving_in;
	AnimationStatus moving_out;
};

/* The alpha of the phase: ramps between out_alpha and in_alpha. */
struct CycleAlphas {
	float in_alpha;
	float out_alpha;
	float hidden_alpha;
};
void set_cycle_alpha(RenderObj &renderobj, const CyclePosition &at, const CycleAlphas &alphas);

/* Reports the phase. The last step of a moving phase reports the state that it leads to. */
void set_cycle_status(AnimationObj &obj, const CyclePosition &at, const CycleStates &states);
