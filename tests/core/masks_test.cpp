#include <algorithm>

#include <offscreen_test.h>
#include <table.h>

/* The gradual display's masks as their textures hold them. */

namespace
{

constexpr int kSize = 100;
constexpr int kHalf = kSize / 2;

/* rand() of this program, the library included: gives out a script, or else the seed. */
std::vector<unsigned int> seeds;
std::vector<int> script;
std::size_t next_of_script;

} // namespace

extern "C" void srand(unsigned int seed) noexcept
{
	seeds.push_back(seed);
}

extern "C" int rand() noexcept
{
	if (script.empty())
		return static_cast<int>(seeds.back());
	return script[next_of_script++ % script.size()];
}

namespace
{

const unsigned int kFirstDraw = getrand(1000); /* of the process: before anybody else's */

struct MasksTest : OffscreenTest {
	GraduallyDispLoop_animationpara para = whole_viewport<GraduallyDispLoop_animationpara>();

	/* N frames in, and N frames out. */
	unsigned int create(GraduallyDispMode mode, uint32_t N)
	{
		para.gmode_show = para.gmode_hide = mode;
		para.in_frame = para.out_frame = N;
		const unsigned int id = CreateAnimationObj(ANI_GRADUALLYDISP, &para);
		EXPECT_TRUE(step(id));
		return id;
	}

	/* The cover of each pixel in the given frame of the cycle. */
	std::vector<int> mask(unsigned int id, uint32_t frame)
	{
		object(id).curframeno = frame;
		EXPECT_TRUE(step(id));
		std::vector<int> covers;
		for (const Pixel &pixel : read_texture(bound_texture(1), kSize, kSize))
			covers.push_back(pixel.a);
		return covers;
	}
};

GraduallyDispMode mode_of(const std::vector<std::string> &shape)
{
	return static_cast<GraduallyDispMode>(std::stoi(shape[0]));
}

TEST_F(MasksTest, CoverAsFarAsTheirStep)
{
	for (const auto &shape : read_table("shapes.txt"))
		for (std::size_t field = 2; field < shape.size(); field++) {
			const auto sums = numbers(shape[field]);
			const auto N = static_cast<uint32_t>(sums[0]), n = static_cast<uint32_t>(sums[1]);
			const unsigned int id = create(mode_of(shape), N);
			for (const bool exit : {false, true})
				for (uint32_t i = 2; i < sums.size(); i++) {
					const auto covers = mask(id, n - 3 + i + exit * N);
					int sum = 0;
					for (int pixel = 0; pixel < kHalf * kHalf; pixel++)
						sum += covers[pixel / kHalf * kSize + pixel % kHalf];
					EXPECT_EQ(sum, exit ? 255 * kHalf * kHalf - sums[i] : sums[i])
					    << "mode " << shape[0] << ", step " << n - 2 + i << " of " << N;
				}
		}
}

TEST_F(MasksTest, HaveTheirShapes)
{
	for (const auto &shape : read_table("shapes.txt")) {
		SCOPED_TRACE(shape[0]);
		const GraduallyDispMode mode = mode_of(shape);
		const auto covers = mask(create(mode, 70), 34);
		const bool bars = mode == GRAD_2SIDES2MIDDLE || mode == GRAD_MIDDLE22SIDES;
		const auto profile = numbers(shape[1]); /* behind where it begins */
		const int from = static_cast<int>(profile[0]) - 1, last = std::ssize(profile) - 1;
		for (int i = 0; i < kHalf; i++)
			EXPECT_EQ(covers[(kHalf - 1) * kSize + i], profile[std::clamp(i - from, 1, last)])
			    << "column " << i;
		for (int i = 0; i < kSize * kSize && !HasFailure(); i++) {
			const int line = i / kSize, column = i % kSize;
			EXPECT_EQ(covers[i], covers[line * kSize + kSize - 1 - column]);
			EXPECT_EQ(covers[i], covers[(kSize - 1 - line) * kSize + column]);
			EXPECT_EQ(covers[i], covers[bars ? column : column * kSize + line]);
		}
	}
}

/* A window moves over one of four fixed bitmaps. */
TEST_F(MasksTest, WipeByAWindow)
{
	struct Wipe {
		GraduallyDispMode mode;
		float corners[4]; /* at step 3 of 7 */
		int entry, exit;  /* bitmaps */
	};
	for (const Wipe &wipe : {Wipe{GRAD_LEFT2RIGHT, {0x1.5f15fp-2f, 0, 0x1.7c57c4p-1f, 1}, 2, 3},
	         {GRAD_RIGHT2LEFT, {0x1.075076p-2f, 0, 0x1.507508p-1f, 1}, 3, 2},
	         {GRAD_TOP2BOTTOM, {0, 0x1.075076p-2f, 1, 0x1.507508p-1f}, 0, 1},
	         {GRAD_BOTTOM2TOP, {0, 0x1.5f15fp-2f, 1, 0x1.7c57c4p-1f}, 1, 0}}) {
		para.textures.tex_num = 0;
		add_picture(para.textures, kRed);
		const unsigned int id = create(wipe.mode, 7);
		for (const bool exit : {false, true}) {
			object(id).curframeno = exit ? 9 : 2;
			EXPECT_TRUE(step(id));
			const RenderObj &drawn = *object(id).renderobj;
			EXPECT_EQ(bound_texture(1), drawn.textures[1 + (exit ? wipe.exit : wipe.entry)]);
			for (const int i : {0, 1, 6, 7})
				EXPECT_EQ(drawn.texturecoord1[i], wipe.corners[i % 4]) << wipe.mode;
		}
	}
}

/* What a row of blocks lets through. */
std::string blocks(const std::vector<int> &covers, int row)
{
	std::string result;
	for (int column = 0; column < kSize; column += 5)
		result += covers[row * 5 * kSize + column] ? '#' : '.';
	for (int i = 0; i < 5 * kSize; i++)
		EXPECT_EQ(covers[row * 5 * kSize + i] ? '#' : '.', result[i % kSize / 5]);
	return result;
}

/* Two draws of a taken column are drawn again, the third is replaced by a scan. */
TEST_F(MasksTest, DrawBlocks)
{
	const char *const entry[5] = {"##.#...#............", "########............",
	    "############........", "################....", "####################"};
	const char *const even_exit[5] = {"###.###.##########..", "###.###.######......",
	    "###.###.##..........", "###.#...............", "...................."};
	const char *const odd_exit[5] = {"..#.###.############", "........############",
	    "............########", "................####", "...................."};
	EXPECT_EQ(kFirstDraw, 2U);
	const unsigned int draw = getrand(3);
	EXPECT_EQ(draw, seeds.back() % 3);
	script = {22, 22, 26, 22, 22, 22, 22, 22}; /* columns 3 and 7, as often as a step needs */
	const unsigned int id = create(GRAD_BLOCKS, 5);
	seeds = {seeds.back()};
	next_of_script = 0;
	for (uint32_t frame = 0; frame < 10; frame++) {
		const auto covers = mask(id, frame);
		for (int row = 0; row < 20; row++) {
			const auto &table = frame < 5 ? entry : row % 2 ? odd_exit : even_exit;
			EXPECT_EQ(blocks(covers, row), table[frame % 5]) << frame << ", row " << row;
		}
	}
	ASSERT_EQ(seeds.size(), 1U + 2 * 20 * (8 + 4 * 4 * 3));
	EXPECT_EQ(seeds.back() - seeds.front(), seeds.size() - 1);
	script.clear();
}

/* Objects share the pattern, which can hold more than a step of one of them wants. */
TEST_F(MasksTest, LeaveABlockRowThatIsFuller)
{
	const unsigned int slow = create(GRAD_BLOCKS, 40);
	EXPECT_EQ(mask(slow, 0), std::vector<int>(kSize * kSize, 0));
	const auto fast = mask(create(GRAD_BLOCKS, 3), 0);
	EXPECT_EQ(mask(slow, 1), fast);
}

} // namespace
