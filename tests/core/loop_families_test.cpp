#include <utility>

#include <offscreen_test.h>

/* The five loop types, frame by frame against a model of their common rules. */

namespace
{

constexpr uint32_t kNotStarted = 65535;
constexpr float kIn = 0.9f;
constexpr float kOut = 0.2f;
constexpr Pixel kPictures[4] = {kRed, kGreen, kBlue, {0, 0, 0, 128}};

struct Timing {
	uint32_t pre, in, hold, out, hidden;
	uint32_t loopcnt = 0;
	bool del = false;
};

struct Family {
	const char *name;
	AnimationType type;
	unsigned int moving_in, moving_out; /* status bits */
	float in_alpha, out_alpha, hidden_alpha;
	unsigned int moving_blend; /* while it moves, with one picture */
	int pictures;
};

enum Deed { kUpdateNumbers = UPD_MISC, kUpdateAll = UPD_ALL, kRemoveOnHide, kRemoveNow };

struct Event {
	int before_frame;
	Deed deed;
	Timing timing = {};
};

struct Model {
	const Family &family;
	Timing t;
	uint32_t curframeno = kNotStarted;
	uint32_t cur_loopcnt = 0;
	unsigned int status = 0;
	bool needs_set_up = true;
	bool is_set_up = false;
	bool remove_now = false;
	bool remove_on_hide = false;
	float prealpha0 = 0;
	float prealpha1 = 0;
	unsigned int blendingmode = 0;
	bool repaint = false;
	int unit0 = -1; /* index of a picture; -1: not looked at */
	int unit1 = -1;

	void frame()
	{
		unit0 = unit1 = -1;
		if (remove_now) {
			status |= ST_ONDESTROY;
			repaint = false;
			return;
		}
		if (needs_set_up) {
			needs_set_up = false;
			is_set_up = true;
			prealpha0 = 1;
			if (curframeno == kNotStarted)
				curframeno = cur_loopcnt = 0;
		}
		blendingmode = BLD_SOURCE;
		prealpha1 = 1;
		repaint = true;
		if (t.pre) { /* nothing counts, all is hidden, and what was asked for is forgotten */
			curframeno = --t.pre ? kNotStarted : 0;
			prealpha0 = prealpha1 = 0;
			status = ST_PREPARE;
			remove_on_hide = false;
			return;
		}
		run_phase();
		curframeno++;
		if (curframeno >= t.in + t.hold + t.out + t.hidden &&
		    (!t.loopcnt || cur_loopcnt < t.loopcnt)) {
			curframeno = 0;
			cur_loopcnt++;
		}
		if ((remove_on_hide && (status & ST_HIDE)) ||
		    (t.del && t.loopcnt && cur_loopcnt == t.loopcnt))
			status |= ST_ONDESTROY;
	}

	void run_phase()
	{
		const bool flips = family.pictures > 1;
		const int last = family.pictures - 1;
		const uint32_t exit = t.in + t.hold, hidden = exit + t.out;
		unit0 = last;
		if (curframeno < t.in) {
			move(
			    family.out_alpha, family.in_alpha, curframeno + 1, t.in, family.moving_in, ST_SHOW);
			unit0 = std::exchange(unit1, -1);
		} else if (curframeno < exit) {
			rest(family.in_alpha, ST_SHOW);
		} else if (curframeno < hidden) {
			move(family.in_alpha, family.out_alpha, curframeno - exit + 1, t.out, family.moving_out,
			    ST_HIDE);
		} else if (curframeno < hidden + t.hidden) {
			rest(family.hidden_alpha, ST_HIDE);
			unit1 = last;
		}
		if (flips && curframeno >= exit && curframeno < hidden + t.hidden)
			blendingmode = BLD_SOURCE_SUB;
	}

	void move(float from, float to, uint32_t n, uint32_t N, unsigned int moving, unsigned int then)
	{
		rest(from + ((to - from) * static_cast<float>(n)) / static_cast<float>(N),
		    n == N ? then : moving);
		blendingmode = family.moving_blend;
		const float step = static_cast<float>(N) / static_cast<float>(family.pictures - 1);
		unit1 = static_cast<int>(static_cast<float>(n) / step); /* 0 of one picture */
	}

	void rest(float alpha, unsigned int state)
	{
		prealpha0 = alpha;
		status &= ~(family.moving_in | family.moving_out | ST_SHOW | ST_HIDE);
		status |= state;
	}
};

const Family kFamilies[] = {
    {"flash", ANI_FLASH, 0, 0, kIn, kOut, kOut, BLD_SOURCE, 1},
    {"texture cut", ANI_TEX_CUT, 0, 0, kIn, kOut, kOut, BLD_SOURCE, 1},
    {"fade", ANI_FADEINOUT, ST_FADEIN, ST_FADEOUT, kIn, kOut, kOut, BLD_SOURCE, 1},
    {"flip-book", ANI_FADEINOUT, ST_FADEIN, ST_FADEOUT, kIn, kOut, kOut, BLD_SOURCE, 3},
    {"gradual", ANI_GRADUALLYDISP, ST_GRADEIN, ST_GRADEOUT, kIn, kOut, 0, BLD_PRE_ALPHA, 1},
    {"sequence", ANI_SEQUENCE, ST_SEQIN, ST_SEQOUT, 1, 0, 0, BLD_SOURCE, 1},
};

struct Case {
	const char *name;
	Timing timing;
	std::vector<Event> events = {};
};

const Case kCases[] = {
    {"without end", {0, 3, 2, 3, 2}},
    {"a start delay of three", {3, 3, 2, 3, 2}},
    {"no entry", {0, 0, 2, 2, 1}},
    {"no hold, no hidden time", {0, 2, 0, 2, 0}},
    {"only hidden", {0, 0, 0, 0, 3}, {{4, kRemoveOnHide}}},
    {"no length", {0, 0, 0, 0, 0}},
    {"no length, a start delay, three loops", {2, 0, 0, 0, 0, 3}},
    {"single frames", {0, 1, 1, 1, 1}},
    {"three plays", {0, 3, 1, 2, 1, 2}, {{30, kRemoveOnHide}}},
    {"two plays and gone", {0, 3, 1, 2, 1, 2, true}},
    {"one play and gone, after a start delay", {2, 1, 1, 1, 1, 1, true}},
    {"loop count without an end", {0, 1, 1, 1, 1, 0, true}},
    {"spent without hidden time", {0, 2, 1, 2, 0, 1}, {{20, kRemoveNow}}},
    {"never hidden", {0, 2, 2, 0, 0}, {{3, kRemoveOnHide}, {9, kRemoveNow}}},
    {"removal in the entry waits", {0, 3, 2, 3, 2}, {{1, kRemoveOnHide}}},
    {"removal changes its mind", {0, 3, 2, 3, 2}, {{1, kRemoveOnHide}, {3, kRemoveNow}}},
    {"removal before the first frame", {0, 3, 2, 3, 2}, {{0, kRemoveNow}}},
    {"removal in the start delay", {3, 1, 1, 1, 1}, {{1, kRemoveOnHide}, {5, kRemoveOnHide}}},
    {"removal at once in the start delay", {3, 1, 1, 1, 1}, {{2, kRemoveNow}}},
    {"longer in the entry", {0, 4, 2, 4, 2},
        {{2, kUpdateNumbers, {9, 6, 2, 4, 2}}, {9, kUpdateAll, {9, 6, 4, 5, 2}}}},
    {"shorter than now", {0, 4, 4, 4, 4}, {{12, kUpdateNumbers, {0, 1, 1, 1, 1}}}},
    {"shorter than now, loops used up", {0, 2, 2, 2, 2, 1},
        {{14, kUpdateNumbers, {0, 1, 1, 1, 1, 1}}, {18, kUpdateAll, {0, 3, 3, 8, 8, 3}}}},
    {"numbers before the first frame take the set-up away", {0, 2, 2, 2, 2},
        {{0, kUpdateNumbers, {0, 2, 2, 2, 2}}, {10, kUpdateAll, {0, 2, 2, 2, 2}}}},
    {"new numbers in the start delay", {4, 2, 1, 2, 1}, {{2, kUpdateNumbers, {0, 3, 2, 2, 2}}}},
};

/* The type's record, filled from a family and a timing. */
template <class Para>
Para record_of(const Family &family, const Timing &t)
{
	auto para = whole_viewport<Para>();
	for (int i = 0; i < family.pictures; i++)
		add_picture(para.textures, kPictures[i]);
	para.textures.alpha_index = para.textures.tex_num;
	add_picture(para.textures, kPictures[3]);
	para.in_position2d.texPosition2d = viewport_strip;
	para.pre_frame = t.pre;
	if constexpr (requires { para.on_frame; }) {
		para.on_frame = t.hold;
		para.off_frame = t.hidden;
		para.on_alpha = family.in_alpha;
		para.off_alpha = family.hidden_alpha;
	} else {
		para.in_frame = t.in;
		para.sin_frame = t.hold;
		para.out_frame = t.out;
		para.sout_frame = t.hidden;
	}
	if constexpr (requires { para.in_alpha; }) {
		para.in_alpha = family.in_alpha;
		para.out_alpha = family.out_alpha;
	}
	if constexpr (requires { para.gmode_show; }) {
		para.gmode_show = GRAD_CENTER2EDGE;
		para.gmode_hide = GRAD_LEFT2RIGHT;
	}
	if constexpr (requires { para.seq_show; })
		para.seq_show = para.seq_hide = SEQ_FLOATINOUT;
	para.loopcnt = t.loopcnt;
	para.delonloopcnt = t.del;
	return para;
}

struct LoopFamiliesTest : OffscreenTest {
	template <class Call>
	static auto with_record(const Family &family, const Timing &timing, Call call)
	{
		switch (family.type) {
		case ANI_FADEINOUT:
			return call(record_of<FadeInOutLoop_animationpara>(family, timing));
		case ANI_GRADUALLYDISP:
			return call(record_of<GraduallyDispLoop_animationpara>(family, timing));
		case ANI_SEQUENCE:
			return call(record_of<SeqLoop_animationpara>(family, timing));
		default:
			return call(record_of<Flash_animationpara>(family, timing));
		}
	}

	static void carry_out(const Event &event, unsigned int id, Model &model)
	{
		if (event.deed == kRemoveOnHide || event.deed == kRemoveNow) {
			model.remove_now = event.deed == kRemoveNow;
			model.remove_on_hide = !model.remove_now;
			model.status |= ST_PENDINGDESTROY;
			RemoveAnimationObj(id, model.remove_now ? DEL_IMMEDIATELY : DEL_ON_HIDE);
			return;
		}
		const uint32_t left_of_delay = std::exchange(model.t, event.timing).pre;
		model.t.pre = left_of_delay;
		model.needs_set_up = event.deed == kUpdateAll;
		with_record(model.family, event.timing, [&](auto para) {
			para.update = static_cast<UpdateMode>(event.deed);
			UpdateAnimationObj(id, &para);
			EXPECT_EQ(para.pre_frame, left_of_delay);
		});
	}

	void expect_as(const Model &model, unsigned int id)
	{
		const AnimationObj &seen = object(id);
		const RenderObj &drawn = *seen.renderobj;
		EXPECT_EQ(unsigned{seen.status}, model.status);
		EXPECT_EQ(drawn.repaint, model.repaint);
		if (!model.repaint)
			return;
		EXPECT_EQ(seen.curframeno, model.curframeno);
		EXPECT_EQ(seen.cur_loopcnt, model.cur_loopcnt);
		EXPECT_EQ(drawn.prealpha0, model.prealpha0);
		EXPECT_EQ(drawn.prealpha1, model.prealpha1);
		EXPECT_EQ(drawn.coordnum, model.is_set_up ? 4U : 0U); /* draws nothing before */
		if (!model.is_set_up)
			return;
		if (model.t.pre == 0 && model.prealpha1 > 0) {
			EXPECT_EQ(unsigned{drawn.blendingmode}, model.blendingmode | BLD_ALPHA_MASK);
		}
		if (model.unit0 >= 0) {
			EXPECT_EQ(bound_texture(0), drawn.textures[model.unit0]);
		}
		if (model.unit1 >= 0 && model.blendingmode == BLD_SOURCE_SUB) {
			EXPECT_EQ(bound_texture(1), drawn.textures[model.unit1]);
		}
		EXPECT_EQ(bound_texture(2), drawn.textures[model.family.pictures]);
	}

	void run(const Family &family, const Case &c)
	{
		const bool two_phases = family.type == ANI_FLASH || family.type == ANI_TEX_CUT;
		auto fitting = [two_phases](Timing timing) {
			if (two_phases)
				timing.in = timing.out = 0;
			return timing;
		};
		Model model{family, fitting(c.timing)};
		const unsigned int id = with_record(
		    family, model.t, [&](auto para) { return CreateAnimationObj(family.type, &para); });
		for (int frame = 0; frame < 40 && FindAnimationObj(id) && !HasFailure(); frame++) {
			SCOPED_TRACE(testing::Message() << family.name << ", " << c.name << ", " << frame);
			for (Event event : c.events) {
				event.timing = fitting(event.timing);
				if (event.before_frame == frame)
					carry_out(event, id, model);
			}
			model.frame();
			GenAnimationFrame(id, window);
			expect_as(model, id);
			if (object(id).status & ST_ONDESTROY)
				RemoveAnimationObjReal(id);
		}
	}
};

TEST_F(LoopFamiliesTest, FollowTheirRulesFrameByFrame)
{
	for (const Family &family : kFamilies)
		for (const Case &c : kCases)
			run(family, c);
}

} // namespace
