#include <offscreen_test.h>
#include <table.h>

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

struct Event {
	int before_frame;
	std::string deed;
	uint32_t told_delay; /* what is left of the start delay, whatever the update says */
	Timing timing;
};

Timing read_timing(std::istringstream text)
{
	Timing t = {};
	text >> t.pre >> t.in >> t.hold >> t.out >> t.hidden >> t.loopcnt >> t.del;
	return t;
}

Event read_event(const std::string &field)
{
	std::istringstream text(field);
	Event event;
	text >> event.before_frame >> event.deed >> event.told_delay;
	event.timing = read_timing(std::move(text));
	return event;
}

struct LoopFamiliesTest : OffscreenTest {
	/* The type's record, filled from a family and a timing. */
	template <class Call>
	static void with_record(const Family &family, const Timing &t, Call call)
	{
		for_each_type([&](AnimationType type, auto para) {
			if constexpr (requires { para.pre_frame; }) {
				if (type != family.type)
					return;
				for (int i = 0; i < family.pictures; i++)
					add_picture(para.textures, kPictures[i]);
				para.textures.alpha_index = para.textures.tex_num;
				add_picture(para.textures, kPictures[3]);
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
				call(para);
			}
		});
	}

	static unsigned int create(const Family &family, const Timing &timing)
	{
		unsigned int id = ANIMATION_NO_OBJECT;
		with_record(
		    family, timing, [&](auto para) { id = CreateAnimationObj(family.type, &para); });
		return id;
	}

	static void carry_out(const Event &event, unsigned int id, const Family &family)
	{
		if (event.deed == "on_hide" || event.deed == "now") {
			RemoveAnimationObj(id, event.deed == "now" ? DEL_IMMEDIATELY : DEL_ON_HIDE);
			EXPECT_TRUE(GetAnimationObjStatus(id) & ST_PENDINGDESTROY);
			return;
		}
		with_record(family, event.timing, [&](auto para) {
			para.update = event.deed == "all" ? UPD_ALL : UPD_MISC;
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

	/* A row of the table. */
	void run(const Family &family, const std::vector<std::string> &row)
	{
		const bool two_phases = !family.moving_in;
		auto fitting = [two_phases](Timing timing) {
			if (two_phases)
				timing.in = timing.out = 0;
			return timing;
		};
		const unsigned int id = create(family, fitting(read_timing(std::istringstream(row[1]))));
		std::string course;
		for (int frame = 0; frame < 40 && FindAnimationObj(id); frame++) {
			for (std::size_t i = 4; i < row.size(); i++) {
				Event event = read_event(row[i]);
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
		EXPECT_EQ(course, row[two_phases ? 3 : 2]) << row[0] << ", " << family.type;
	}
};

TEST_F(LoopFamiliesTest, FollowTheirCourse)
{
	for (const auto &row : read_table("courses.txt"))
		for (const Family *family :
		    {&kFlash, &kTextureCut, &kFade, &kFlipBook, &kGradual, &kSequence})
			run(*family, row);
}

TEST_F(LoopFamiliesTest, LookAsTheirPhaseTells)
{
	const Family *const families[] = {
	    &kFlash, &kTextureCut, &kFade, &kFlipBook, &kTwoPages, &kGradual};
	const auto looks = read_table("looks.txt");
	ASSERT_EQ(looks.size(), std::size(families));
	for (std::size_t i = 0; i < looks.size(); i++) {
		const std::string &blends = looks[i][1], &first = looks[i][2], &second = looks[i][3];
		const auto alphas = numbers(looks[i][4]);
		const unsigned int id = create(*families[i], read_timing(std::istringstream(looks[i][0])));
		for (std::size_t frame = 0; frame < alphas.size(); frame++) {
			SCOPED_TRACE(testing::Message() << "row " << i << ", frame " << frame);
			for (const GLenum unit : {GL_TEXTURE1, GL_TEXTURE0}) {
				glActiveTexture(unit);
				glBindTexture(GL_TEXTURE_2D, 0);
			}
			ASSERT_TRUE(step(id));
			const RenderObj &drawn = *object(id).renderobj;
			const char blend = blends[frame];
			EXPECT_EQ(drawn.prealpha0, alphas[frame]);
			/* Unit 1 of a gradual display looks at a part of the mask. */
			const bool masked = families[i] == &kGradual;
			for (const float *copy :
			    {masked ? drawn.texturecoord2 : drawn.texturecoord1, drawn.texturecoord2})
				EXPECT_TRUE(std::equal(copy, copy + 2 * drawn.coordnum, drawn.texturecoord0));
			EXPECT_EQ(
			    unsigned{drawn.blendingmode}, BLD_ALPHA_MASK | (blend == 's'      ? BLD_SOURCE
			                                                       : blend == 'm' ? BLD_SOURCE_SUB
			                                                                      : BLD_PRE_ALPHA));
			EXPECT_EQ(bound_texture(0), drawn.textures[first[frame] - '0']);
			if (second[frame] != '-') {
				EXPECT_EQ(bound_texture(1), drawn.textures[second[frame] - '0']);
			}
		}
	}
}

} // namespace
