#include <array>

#include <offscreen_test.h>

/* The five loop types, frame by frame. */

namespace
{

constexpr float kIn = 0.9f;
constexpr float kOut = 0.2f;
constexpr Pixel kPictures[4] = {kRed, kGreen, kBlue, {0, 0, 0, 128}};

struct Timing {
	uint32_t pre, in, hold, out, hidden;
	uint32_t loopcnt = 0;
	bool del = false;
};

struct Family {
	AnimationType type;
	unsigned int moving_in, moving_out; /* status bits */
	int pictures;
	float in_alpha, out_alpha, hidden_alpha;
};

const Family kFlash = {ANI_FLASH, 0, 0, 1, kIn, kOut, kOut};
const Family kTextureCut = {ANI_TEX_CUT, 0, 0, 1, kIn, kOut, kOut};
const Family kFade = {ANI_FADEINOUT, ST_FADEIN, ST_FADEOUT, 1, kIn, kOut, kOut};
const Family kFlipBook = {ANI_FADEINOUT, ST_FADEIN, ST_FADEOUT, 3, kIn, kOut, kOut};
const Family kTwoPages = {ANI_FADEINOUT, ST_FADEIN, ST_FADEOUT, 2, kIn, kOut, kOut};
const Family kGradual = {ANI_GRADUALLYDISP, ST_GRADEIN, ST_GRADEOUT, 1, kIn, kOut, 0};
const Family kSequence = {ANI_SEQUENCE, ST_SEQIN, ST_SEQOUT, 1, 1, 0, 0};

enum Deed { kUpdateNumbers = UPD_MISC, kUpdateAll = UPD_ALL, kRemoveOnHide, kRemoveNow };

struct Event {
	int before_frame;
	Deed deed;
	Timing timing = {};
	uint32_t told_delay = 0; /* what is left of the start delay, whatever the update says */
};

/*
 * The course of forty frames, a letter a frame: in, Shown, out, Hidden; prepared, and _ where the
 * start delay hides all; a picture that nothing has set up is - and one that goes undrawn x; after
 * ! the object is gone. At the end, the frame and the count of its cycle.
 */
struct Case {
	const char *name;
	Timing timing;
	const char *course, *two_phases; /* without entry and exit */
	std::vector<Event> events = {};
};

const Case kCases[] = {
    {"without end", {0, 3, 2, 3, 2}, "iiSSSooHHHiiSSSooHHHiiSSSooHHHiiSSSooHHH 0/4",
        "SSHHSSHHSSHHSSHHSSHHSSHHSSHHSSHHSSHHSSHH 0/10"},
    {"no entry", {0, 0, 2, 2, 1}, "SSoHHSSoHHSSoHHSSoHHSSoHHSSoHHSSoHHSSoHH 0/8",
        "SSHSSHSSHSSHSSHSSHSSHSSHSSHSSHSSHSSHSSHS 1/13"},
    {"no hold, no hidden time", {0, 2, 0, 2, 0}, "iSoHiSoHiSoHiSoHiSoHiSoHiSoHiSoHiSoHiSoH 0/10",
        "pppppppppppppppppppppppppppppppppppppppp 0/40"},
    {"only hidden", {0, 0, 0, 0, 3}, "HHHHH!", "HHHHH!", {{4, kRemoveOnHide}}},
    {"no length, a start delay, three loops", {2, 0, 0, 0, 0, 3},
        "__pppppppppppppppppppppppppppppppppppppp 35/3",
        "__pppppppppppppppppppppppppppppppppppppp 35/3", {{2, kUpdateAll, {0, 0, 0, 0, 0, 3}}}},
    {"three plays", {0, 3, 1, 2, 1, 2}, "iiSSoHHiiSSoHHiiSSoHHHHHHHHHHHH!",
        "SHSHSHHHHHHHHHHHHHHHHHHHHHHHHHH!", {{30, kRemoveOnHide}}},
    {"two plays and gone", {0, 3, 1, 2, 1, 2, true}, "iiSSoHHiiSSoHH!", "SHSH!"},
    {"one play and gone, after a start delay", {2, 1, 1, 1, 1, 1, true}, "__SSHH!", "__SH!"},
    {"loop count without an end", {0, 1, 1, 1, 1, 0, true},
        "SSHHSSHHSSHHSSHHSSHHSSHHSSHHSSHHSSHHSSHH 0/10",
        "SHSHSHSHSHSHSHSHSHSHSHSHSHSHSHSHSHSHSHSH 0/20"},
    {"spent without hidden time", {0, 2, 1, 2, 0, 1}, "iSSoHiSSoHHHHHHHHHHHx!",
        "SSSSSSSSSSSSSSSSSSSSx!", {{20, kRemoveNow}}},
    {"never hidden", {0, 2, 2, 0, 0}, "iSSSiSSSix!", "SSSSSSSSSx!",
        {{3, kRemoveOnHide}, {9, kRemoveNow}}},
    {"removal in the entry waits", {0, 3, 2, 3, 2}, "iiSSSooH!", "SSH!", {{1, kRemoveOnHide}}},
    {"removal changes its mind", {0, 3, 2, 3, 2}, "iiSx!", "SSH!",
        {{1, kRemoveOnHide}, {3, kRemoveNow}}},
    {"removal before the first frame", {0, 3, 2, 3, 2}, "x!", "x!", {{0, kRemoveNow}}},
    {"removal in the start delay", {3, 1, 1, 1, 1}, "___SSH!", "___SHSH!",
        {{1, kRemoveOnHide}, {5, kRemoveOnHide}}},
    {"removal at once in the start delay", {3, 1, 1, 1, 1}, "__x!", "__x!", {{2, kRemoveNow}}},
    {"longer in the entry", {0, 4, 2, 4, 2}, "iiiiiSSSoSooooHHHiiiiiSSSSSooooHHHiiiiiS 6/2",
        "SSHHSSHHSSSSHHSSSSHHSSSSHHSSSSHHSSSSHHSS 2/7",
        {{2, kUpdateNumbers, {9, 6, 2, 4, 2}}, {9, kUpdateAll, {9, 6, 4, 5, 2}}}},
    {"shorter than now", {0, 4, 4, 4, 4}, "iiiSSSSSoooHHSSHHSSHHSSHHSSHHSSHHSSHHSSH 3/7",
        "SSSSHHHHSSSSSSHSHSHSHSHSHSHSHSHSHSHSHSHS 1/15", {{12, kUpdateNumbers, {0, 1, 1, 1, 1}}}},
    {"shorter than now, loops used up", {0, 2, 2, 2, 2, 1},
        "iSSSoHHHiSSSoHHHHHoooHHHHHHHHHiiSSSSoooo 10/2",
        "SSHHSSHHHHHHHHHHHHHSSSHHHHHHHHSSSHHHHHHH 10/3",
        {{14, kUpdateNumbers, {0, 1, 1, 1, 1, 1}}, {18, kUpdateAll, {0, 3, 3, 8, 8, 3}}}},
    {"numbers before the first frame take the set-up away", {0, 2, 2, 2, 2},
        "----------SSSoHHHiSSSoHHHiSSSoHHHiSSSoHH 7/5",
        "----------SHHSSHHSSHHSSHHSSHHSSHHSSHHSSH 3/10",
        {{0, kUpdateNumbers, {0, 2, 2, 2, 2}}, {10, kUpdateAll, {0, 2, 2, 2, 2}}}},
    {"new numbers in the start delay", {4, 2, 1, 2, 1},
        "____iiSSSoHHHiiSSSoHHHiiSSSoHHHiiSSSoHHH 0/4",
        "____SSHHSSHHSSHHSSHHSSHHSSHHSSHHSSHHSSHH 0/9", {{2, kUpdateNumbers, {0, 3, 2, 2, 2}, 2}}},
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

	static void carry_out(const Event &event, unsigned int id, const Family &family)
	{
		if (event.deed == kRemoveOnHide || event.deed == kRemoveNow) {
			RemoveAnimationObj(id, event.deed == kRemoveNow ? DEL_IMMEDIATELY : DEL_ON_HIDE);
			EXPECT_TRUE(GetAnimationObjStatus(id) & ST_PENDINGDESTROY);
			return;
		}
		with_record(family, event.timing, [&](auto para) {
			para.update = static_cast<UpdateMode>(event.deed);
			UpdateAnimationObj(id, &para);
			EXPECT_EQ(para.pre_frame, event.told_delay);
		});
	}

	static char letter(const Family &family, const AnimationObj &seen)
	{
		const unsigned int status = seen.status & ~(ST_PENDINGDESTROY | ST_ONDESTROY);
		const RenderObj &drawn = *seen.renderobj;
		if (!drawn.repaint)
			return 'x';
		if (!drawn.coordnum)
			return '-';
		EXPECT_EQ(bound_texture(2), drawn.textures[family.pictures]);
		if (!drawn.prealpha0 && !drawn.prealpha1 && status == ST_PREPARE)
			return '_';
		/* After a start delay the second alpha comes back only in types that can read it. */
		if (family.type == ANI_FADEINOUT || family.type == ANI_GRADUALLYDISP) {
			EXPECT_EQ(drawn.prealpha1, 1);
		}
		if (status == ST_PREPARE)
			return 'p';
		if (status == ST_SHOW || status == ST_HIDE)
			return status == ST_SHOW ? 'S' : 'H';
		return status == family.moving_in ? 'i' : status == family.moving_out ? 'o' : '?';
	}

	void run(const Family &family, const Case &c)
	{
		const bool two_phases = !family.moving_in;
		auto fitting = [two_phases](Timing timing) {
			if (two_phases)
				timing.in = timing.out = 0;
			return timing;
		};
		const unsigned int id = with_record(family, fitting(c.timing),
		    [&](auto para) { return CreateAnimationObj(family.type, &para); });
		std::string course;
		for (int frame = 0; frame < 40 && FindAnimationObj(id); frame++) {
			for (Event event : c.events) {
				event.timing = fitting(event.timing);
				if (event.before_frame == frame)
					carry_out(event, id, family);
			}
			GenAnimationFrame(id, window);
			course += letter(family, object(id));
			if (object(id).status & ST_ONDESTROY) {
				RemoveAnimationObjReal(id);
				course += '!';
			}
		}
		if (FindAnimationObj(id))
			course += " " + std::to_string(object(id).curframeno) + "/" +
			          std::to_string(object(id).cur_loopcnt);
		EXPECT_EQ(course, two_phases ? c.two_phases : c.course) << c.name << ", " << family.type;
	}
};

TEST_F(LoopFamiliesTest, FollowTheirCourse)
{
	for (const Case &c : kCases)
		for (const Family *family :
		    {&kFlash, &kTextureCut, &kFade, &kFlipBook, &kGradual, &kSequence})
			run(*family, c);
}

/* A cycle of seven frames in, two held, seven out and two hidden (or nine on and nine off). */
struct Look {
	const Family &family;
	std::array<float, 18> alphas;
	const char *blends;         /* source, minus, pre-alpha */
	const char *first, *second; /* textures on units 0 and 1 */
};

constexpr std::array<float, 18> kOnOff = {kIn, kIn, kIn, kIn, kIn, kIn, kIn, kIn, kIn, kOut, kOut,
    kOut, kOut, kOut, kOut, kOut, kOut, kOut};

constexpr std::array<float, 18> ramps(float hidden)
{
	return {0x1.333334p-2f, 0.4f, 0.5f, 0.6f, 0.7f, 0x1.999998p-1f, kIn, kIn, kIn, 0x1.999998p-1f,
	    0.7f, 0.6f, 0x1.fffffep-2f, 0x1.999998p-2f, 0x1.333334p-2f, 0x1.999998p-3f, hidden, hidden};
}

const Look kLooks[] = {
    {kFlash, kOnOff, "ssssssssssssssssss", "000000000000000000", "                  "},
    {kTextureCut, kOnOff, "ssssssssssssssssss", "000000000000000000", "                  "},
    {kFade, ramps(kOut), "ssssssssssssssssss", "000000000000000000", "                  "},
    {kFlipBook, ramps(kOut), "sssssssssmmmmmmmmm", "000111222222222222", "         000111222"},
    {kTwoPages, ramps(kOut), "sssssssssmmmmmmmmm", "000000111111111111", "         000000111"},
    {kGradual, ramps(0), "pppppppsspppppppss", "000000000000000000", "6666666  5555555  "},
};

TEST_F(LoopFamiliesTest, LookAsTheirPhaseTells)
{
	for (const Look &look : kLooks) {
		const Timing timing = look.family.moving_in ? Timing{0, 7, 2, 7, 2} : Timing{0, 0, 9, 0, 9};
		const unsigned int id = with_record(look.family, timing,
		    [&](auto para) { return CreateAnimationObj(look.family.type, &para); });
		for (std::size_t frame = 0; frame < look.alphas.size(); frame++) {
			SCOPED_TRACE(testing::Message() << "type " << look.family.type << ", frame " << frame);
			for (const GLenum unit : {GL_TEXTURE1, GL_TEXTURE0}) {
				glActiveTexture(unit);
				glBindTexture(GL_TEXTURE_2D, 0);
			}
			ASSERT_TRUE(step(id));
			const RenderObj &drawn = *object(id).renderobj;
			const char blend = look.blends[frame];
			EXPECT_EQ(drawn.prealpha0, look.alphas[frame]);
			EXPECT_EQ(
			    unsigned{drawn.blendingmode}, BLD_ALPHA_MASK | (blend == 's'      ? BLD_SOURCE
			                                                       : blend == 'm' ? BLD_SOURCE_SUB
			                                                                      : BLD_PRE_ALPHA));
			EXPECT_EQ(bound_texture(0), drawn.textures[look.first[frame] - '0']);
			if (look.second[frame] != ' ') {
				EXPECT_EQ(bound_texture(1), drawn.textures[look.second[frame] - '0']);
			}
		}
	}
}

} // namespace
