#include <animation/loop_steps.h>
#include <animation/sequence_motions.h>

#include <algorithm>

unsigned int CreateSeqLoopAnimation(SeqLoop_animationpara *para)
{
	return create_object(ANI_SEQUENCE, para);
}

namespace
{

/* What an update without UPD_COORDS keeps: the object's own strip, and the count that belongs to
 * it, since every frame reads the strip. */
struct KeptStrip {
	float *position2d;
	uint32_t coordnum;
};

/* Replaces the record but for its strip. */
void replace_all_but_strip(SeqLoop_animationpara &own, SeqLoop_animationpara *caller)
{
	KeptStrip kept = {own.in_position2d.position2d, own.in_position2d.coordnum};
	caller->pre_frame = own.pre_frame;
	own = *caller;
	own.in_position2d.position2d = kept.position2d;
	own.in_position2d.coordnum = kept.coordnum;
}

} // namespace

void UpdateSeqLoopAnimation(unsigned int id, SeqLoop_animationpara *para)
{
	/* A caller that keeps the strip need not give one. */
	if (!para || (para->update & UPD_COORDS)) {
		replace_record(id, para);
		return;
	}
	if (is_refused_set<SeqLoop_animationpara>(para->textures))
		return;
	ListLock lock;
	if (AnimationObj *obj = FindAnimationObj(id))
		replace_all_but_strip(para_of<SeqLoop_animationpara>(*obj), para);
}

namespace
{

constexpr CycleStates kStates = {ST_SEQIN, ST_SEQOUT};
constexpr uint32_t kQuad = 4;

/* An update may have changed the record's strip without rebuilding the object's: the shorter count
 * fits both. */
uint32_t movable_vertices(const RenderObj &renderobj, const InPosition2D &in_position2d)
{
	return std::min(renderobj.coordnum, in_position2d.coordnum);
}

void move_quad(RenderObj &renderobj, const InPosition2D &in_position2d, const Motion &motion)
{
	uint32_t count = movable_vertices(renderobj, in_position2d);
	if (count < kQuad)
		return;
	Gen3DPosition(in_position2d.position2d, renderobj.position3d, count, motion.angle,
	    motion.hshift_factor, motion.vshift_factor, motion.scale_factor);
}

void run_phase(RenderObj &renderobj, const SeqLoop_animationpara &para, const CyclePosition &at)
{
	switch (at.phase) {
	case Phase::kEntry:
		move_quad(
		    renderobj, para.in_position2d, entry_motion(para.seq_show, at, &renderobj.prealpha0));
		break;
	case Phase::kHold:
		renderobj.prealpha0 = 1.0f;
		break;
	case Phase::kExit:
		move_quad(
		    renderobj, para.in_position2d, exit_motion(para.seq_hide, at, &renderobj.prealpha0));
		break;
	case Phase::kHidden:
		renderobj.prealpha0 = 0.0f;
		break;
	case Phase::kSpent:
		break;
	}
}

} // namespace

void GenSeqLoopAnimationFrame(unsigned int id, void *)
{
	AnimationObj *obj = find_in_frame(id);
	if (!obj)
		return;
	auto &para = para_of<SeqLoop_animationpara>(*obj);
	RenderObj &renderobj = *obj->renderobj;

	if (remove_immediately(*obj, para))
		return;
	set_up(*obj, para, whole_picture, rebuild_textures);

	bind_picture(renderobj);
	renderobj.blendingmode = BLD_SOURCE;
	Convert2DTo3DPosition(para.in_position2d.position2d, renderobj.position3d,
	    movable_vertices(renderobj, para.in_position2d));
	if (!is_waiting(*obj, para)) {
		CyclePosition at = cycle_position(*obj, para);
		run_phase(renderobj, para, at);
		set_cycle_status(*obj, at, kStates);
	}
	bind_alpha_texture(renderobj, para.textures);
	close_loop_frame(*obj, para, cycle_end_of(para));
}
