#include <algorithm>

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

enum Deed { kUpdateNumbers, kUpdateAll, kRemoveOnHide, kRemoveNow };

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
	bool remove_now = false;
	bool remove_on_hide = false;
	float prealpha0 = 0;
	float prealpha1 = 0;
	unsigned int blendingmode = 0;
	bool repaint = false;
	int unit0 = -1; /* index of a picture; -1: not looked at */
	int unit1 = -1;

	void frame();
	void run_phase();
	void move(float from, float to, uint32_t n, uint32_t N, unsigned int moving, unsigned int then);
	void rest(float alpha, unsigned int state);
};

void Model::frame()
{
	unit0 = unit1 = -1;
	if (remove_now) {
		status |= ST_ONDESTROY;
		repaint = false;
		return;
	}
	if (needs_set_up) {
		needs_set_up = false;
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
	if (curframeno >= t.in + t.hold + t.out + t.hidden && (!t.loopcnt || cur_loopcnt < t.loopcnt)) {
		curframeno = 0;
		cur_loopcnt++;
	}
	if ((remove_on_hide && (status & ST_HIDE)) || (t.del && t.loopcnt && cur_loopcnt == t.loopcnt))
		status |= ST_ONDESTROY;
}

void Model::run_phase()
{
	const bool flips = family.pictures > 1;
	const int last = family.pictures - 1;
	uint32_t c = curframeno;
	unit0 = flips ? last : 0;
	if (c < t.in) {
		move(family.out_alpha, family.in_alpha, c + 1, t.in, family.moving_in, ST_SHOW);
		unit0 = unit1;
		unit1 = -1;
		return;
	}
	c -= t.in;
	if (c < t.hold) {
		rest(family.in_alpha, ST_SHOW);
		return;
	}
	c -= t.hold;
	if (c < t.out) {
		move(family.in_alpha, family.out_alpha, c + 1, t.out, family.moving_out, ST_HIDE);
	} else if (c - t.out < t.hidden) {
		rest(family.hidden_alpha, ST_HIDE);
		unit1 = last;
	} else {
		return;
	}
	if (flips)
		blendingmode = BLD_SOURCE_SUB;
}

void Model::move(
    float from, float to, uint32_t n, uint32_t N, unsigned int moving, unsigned int then)
{
	prealpha0 = from + ((to - from) * static_cast<float>(n)) / static_cast<float>(N);
	blendingmode = family.moving_blend;
	rest(prealpha0, n == N ? then : moving);
	const float step = static_cast<float>(N) / static_cast<float>(family.pictures - 1);
	unit1 = family.pictures > 1 ? static_cast<int>(static_cast<float>(n) / step) : 0;
}

void Model::rest(float alpha, unsigned int state)
{
	prealpha0 = alpha;
	status &= ~(family.moving_in | family.moving_out | ST_SHOW | ST_HIDE);
	status |= state;
}

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
    {"new numbers in the start delay", {4, 2, 1, 2, 1}, {{2, kUpdateNumbers, {0, 3, 2, 2, 2}}}},
};

struct LoopFamiliesTest : OffscreenTest {
	/* Calls with the type's record, filled from a family and a timing. */
	template <class Para>
	static Para record_of(const Family &family, const Timing &t)
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

	static unsigned int create(const Family &family, const Timing &timing)
	{
		return with_record(
		    family, timing, [&](auto para) { return CreateAnimationObj(family.type, &para); });
	}

	static void update(unsigned int id, const Family &family, const Timing &timing, UpdateMode mode,
	    uint32_t left_of_delay)
	{
		with_record(family, timing, [&](auto para) {
			para.update = mode;
			UpdateAnimationObj(id, &para);
			EXPECT_EQ(para.pre_frame, left_of_delay);
		});
	}

	void carry_out(const Event &event, unsigned int id, Model &model)
	{
		switch (event.deed) {
		case kUpdateNumbers:
		case kUpdateAll: {
			const bool all = event.deed == kUpdateAll;
			const uint32_t left = model.t.pre;
			model.t = event.timing;
			model.t.pre = left;
			model.needs_set_up = model.needs_set_up || all;
			update(id, model.family, event.timing, all ? UPD_ALL : UPD_MISC, left);
			break;
		}
		default:
			model.remove_now = event.deed == kRemoveNow;
			model.remove_on_hide = event.deed == kRemoveOnHide;
			model.status |= ST_PENDINGDESTROY;
			RemoveAnimationObj(id, model.remove_now ? DEL_IMMEDIATELY : DEL_ON_HIDE);
		}
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
};

TEST_F(LoopFamiliesTest, FollowTheirRulesFrameByFrame)
{
	constexpr int kFrames = 40;
	for (const Family &family : kFamilies) {
		for (const Case &c : kCases) {
			const bool two_phases = family.type == ANI_FLASH || family.type == ANI_TEX_CUT;
			auto fitting = [two_phases](Timing timing) {
				if (two_phases)
					timing.in = timing.out = 0;
				return timing;
			};
			Model model{family, fitting(c.timing)};
			const unsigned int id = create(family, model.t);
			for (int frame = 0; frame < kFrames && FindAnimationObj(id); frame++) {
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
				if (HasFailure())
					return;
			}
			if (FindAnimationObj(id))
				RemoveAnimationObjReal(id);
		}
	}
}

/* Nothing has been set up then, and nothing is drawn until it is. */
TEST_F(LoopFamiliesTest, SurviveAnUpdateOfNumbersBeforeTheFirstFrame)
{
	for (const Family &family : kFamilies) {
		SCOPED_TRACE(family.name);
		const Timing timing = {0, 2, 2, 2, 2};
		const unsigned int id = create(family, timing);
		update(id, family, timing, UPD_MISC, 0);
		for (int frame = 0; frame < 10; frame++)
			EXPECT_TRUE(step(id));
		EXPECT_EQ(object(id).renderobj->coordnum, 0U);
		update(id, family, timing, UPD_ALL, 0);
		EXPECT_TRUE(step(id));
		EXPECT_EQ(object(id).renderobj->coordnum, 4U);
	}
}

TEST_F(LoopFamiliesTest, CutTheTexture)
{
	float cut[8] = {0, 0, 0.5f, -1, 0, 0.5f, 2, 0.5f};
	auto para = record_of<TexCut_animationpara>(kFamilies[1], {0, 0, 5, 0, 5});
	para.in_position2d.texPosition2d = cut;
	const unsigned int id = CreateAnimationObj(ANI_TEX_CUT, &para);
	step(id);
	const RenderObj &drawn = *object(id).renderobj;
	const float held[8] = {0, 0, 0.5f, 0, 0, 0.5f, 1, 0.5f};
	for (const float *seen : {drawn.texturecoord0, drawn.texturecoord1, drawn.texturecoord2})
		EXPECT_TRUE(std::equal(held, held + 8, seen));

	cut[2] = 0.75f;
	for (UpdateMode mode : {UPD_TEXS, UPD_COORDS}) {
		para.update = mode;
		UpdateAnimationObj(id, &para);
		step(id);
		EXPECT_EQ(drawn.texturecoord0[2], mode == UPD_TEXS ? 0.5f : 0.75f);
	}
}

} // namespace
