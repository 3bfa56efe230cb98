#include <algorithm>
#include <cmath>
#include <unistd.h>

#include <offscreen_test.h>

/* The gradual display's masks as their textures hold them, against a second computation that goes
 * pixel by pixel. */

namespace
{

constexpr int kSize = 100;
using Covers = std::vector<std::uint8_t>;

std::uint8_t radial_cover(int line, int column, int pos)
{
	const auto dist =
	    static_cast<float>(std::sqrt((line - 50) * (line - 50) + (column - 50) * (column - 50)));
	if (dist <= static_cast<float>(pos))
		return 255;
	if (dist >= static_cast<float>(pos + 20))
		return 0;
	return static_cast<std::uint8_t>((pos + 20 - static_cast<double>(dist)) * 255.0 / 20.0);
}

std::uint8_t straight_cover(int depth, int pos)
{
	if (depth < pos)
		return 255;
	if (depth >= pos + 20)
		return 0;
	return static_cast<std::uint8_t>(static_cast<float>(pos + 19 - depth) * 255.0f / 19.0f);
}

std::uint8_t cover(GraduallyDispMode mode, uint32_t n, uint32_t N, int line, int column)
{
	const auto delta = mode == GRAD_CENTER2EDGE || mode == GRAD_EDGE2CENTER
	                       ? static_cast<float>(141.4213562373095 / (2.0 * N))
	                       : 70.0f / static_cast<float>(N);
	const float way = static_cast<float>(n) * delta;
	/* The halves are mirror images. */
	line = std::min(line, kSize - 1 - line);
	column = std::min(column, kSize - 1 - column);
	switch (mode) {
	case GRAD_CENTER2EDGE:
		return radial_cover(line, column, static_cast<int>(way));
	case GRAD_EDGE2CENTER:
		return 255 - radial_cover(line, column, static_cast<int>(70.71067811865476 - way));
	case GRAD_2SIDES2MIDDLE:
		return straight_cover(column, static_cast<int>(way - 20.0));
	case GRAD_MIDDLE22SIDES:
		return 255 - straight_cover(column, static_cast<int>(70.0 - way));
	case GRAD_CENTER2SURROUND:
		return 255 - straight_cover(std::min(line, column), static_cast<int>(70.0 - way));
	default:
		return straight_cover(std::min(line, column), static_cast<int>(way - 20.0));
	}
}

/* rand() after srand(seed), as the library draws it. */
unsigned int draw(unsigned int seed)
{
	srand(seed);
	return static_cast<unsigned int>(rand());
}

const unsigned int kFirstDraw = getrand(1000); /* of the process: before anybody else's */

/* The seed that the library's next draw will have. */
unsigned int next_seed()
{
	const unsigned int value = getrand(0x80000000u);
	unsigned int seed = 2;
	while (draw(seed) != value)
		seed++;
	return seed + 1;
}

/* The blocks of one phase, drawn again. */
struct Blocks {
	bool taken[20][20] = {};

	void take(int per_row, bool exit, unsigned int &seed)
	{
		for (int row = 0; row < 20; row++) {
			int hits = 0;
			while (std::count(taken[row], taken[row] + 20, true) < per_row) {
				int column = static_cast<int>(draw(seed++) % 19);
				if (taken[row][column] && hits++ < 2)
					continue;
				if (taken[row][column]) {
					const bool down = exit && row % 2 == 0;
					column = down ? 19 : 0;
					while (taken[row][column])
						column += down ? -1 : 1;
					hits = 0;
				}
				taken[row][column] = true;
			}
		}
	}
};

struct MasksTest : OffscreenTest {
	GraduallyDispLoop_animationpara para = whole_viewport<GraduallyDispLoop_animationpara>();

	/* An object of one mode in both halves, without pictures. */
	unsigned int create(GraduallyDispMode mode, uint32_t in_frame, uint32_t out_frame)
	{
		para.gmode_show = para.gmode_hide = mode;
		para.in_frame = in_frame;
		para.out_frame = out_frame;
		return CreateAnimationObj(ANI_GRADUALLYDISP, &para);
	}

	/* The covers of the mask that is bound for the draw; the slot is of the object's eleven. */
	Covers mask(unsigned int id, int slot)
	{
		const RenderObj &drawn = *object(id).renderobj;
		EXPECT_EQ(bound_texture(1), drawn.textures[para.textures.tex_num + slot]);
		EXPECT_EQ(drawn.blendingmode, BLD_PRE_ALPHA);
		const float window[8] = {0, 0, 1, 0, 0, 1, 1, 1};
		EXPECT_TRUE(std::equal(window, window + 8, drawn.texturecoord1));
		Covers covers;
		for (const Pixel &pixel : read_texture(bound_texture(1), kSize, kSize))
			covers.push_back(pixel.a);
		return covers;
	}
};

struct Mode {
	GraduallyDispMode mode;
	int entry_slot, exit_slot;
};

constexpr Mode kModes[] = {
    {GRAD_CENTER2EDGE, 4, 5},
    {GRAD_EDGE2CENTER, 5, 4},
    {GRAD_2SIDES2MIDDLE, 7, 6},
    {GRAD_MIDDLE22SIDES, 6, 7},
    {GRAD_CENTER2SURROUND, 8, 8},
    {GRAD_SURROUND2CENTER, 9, 9},
};

TEST_F(MasksTest, CoverPixelByPixel)
{
	for (const Mode &m : kModes) {
		for (const uint32_t N : {1u, 2u, 7u, 20u, 70u, 100u}) {
			const unsigned int id = create(m.mode, N, N);
			for (uint32_t frame = 0; frame < 2 * N; frame++) {
				const bool exit = frame >= N;
				const uint32_t n = frame % N + 1;
				SCOPED_TRACE(testing::Message()
				             << "mode " << m.mode << (exit ? " exit " : " entry ") << n << " of "
				             << N);
				ASSERT_TRUE(step(id));
				const Covers seen = mask(id, exit ? m.exit_slot : m.entry_slot);
				for (int i = 0; i < kSize * kSize; i++) {
					const int expected = cover(m.mode, n, N, i / kSize, i % kSize);
					ASSERT_EQ(+seen[i], exit ? 255 - expected : expected)
					    << "line " << i / kSize << ", column " << i % kSize;
				}
			}
			RemoveAnimationObjReal(id);
		}
	}
}

/* A wipe begins at the side that its name begins with, in the entry as in the exit. */
TEST_F(MasksTest, WipeFromTheNamedSide)
{
	struct Wipe {
		GraduallyDispMode mode;
		int x, y; /* near the side where it begins, in eighths of the viewport */
	};
	if (access(MASK_DIR "GT.bmp", R_OK) != 0)
		GTEST_SKIP() << "the bitmaps have not been installed to " MASK_DIR;
	SmallTarget target;
	add_picture(para.textures, kRed);
	para.in_alpha = para.out_alpha = 1;
	for (const Wipe &wipe : {Wipe{GRAD_LEFT2RIGHT, 0, 4}, {GRAD_RIGHT2LEFT, 7, 4},
	         {GRAD_TOP2BOTTOM, 4, 0}, {GRAD_BOTTOM2TOP, 4, 7}}) {
		const unsigned int id = create(wipe.mode, 2, 2);
		for (int frame = 0; frame < 4; frame++) {
			target.clear(kBlack);
			ASSERT_TRUE(step(id));
			Render3DFrame(window, object(id).renderobj);
			const int other_x = wipe.x == 4 ? 4 : 7 - wipe.x;
			const int other_y = wipe.y == 4 ? 4 : 7 - wipe.y;
			const bool begun = frame < 2;                /* what the entry shows, the exit hides */
			const bool ended = frame == 1 || frame == 2; /* the far side is the last to change */
			EXPECT_EQ(target.at(VP_LCD0, wipe.x, wipe.y), begun ? kRed : kBlack)
			    << wipe.mode << ", " << frame;
			EXPECT_EQ(target.at(VP_LCD0, other_x, other_y), ended ? kRed : kBlack)
			    << wipe.mode << ", " << frame;
		}
	}
}

TEST_F(MasksTest, DrawBlocksFromAFixedSeries)
{
	EXPECT_EQ(kFirstDraw, draw(2) % 1000);
	for (const uint32_t N : {1u, 7u, 20u, 33u, 40u}) {
		const unsigned int id = create(GRAD_BLOCKS, N, N);
		unsigned int seed = next_seed();
		Blocks halves[2];
		for (uint32_t frame = 0; frame < 2 * N; frame++) {
			const bool exit = frame >= N;
			const uint32_t n = frame % N + 1;
			SCOPED_TRACE(testing::Message() << (exit ? "exit " : "entry ") << n << " of " << N);
			halves[exit].take(static_cast<int>(n * 20 / N), exit, seed);
			ASSERT_TRUE(step(id));
			const Covers seen = mask(id, 10);
			for (int i = 0; i < kSize * kSize; i++) {
				const bool expected = halves[exit].taken[i / kSize / 5][i % kSize / 5];
				ASSERT_EQ(+seen[i], expected != exit ? 255 : 0) << i;
			}
		}
		EXPECT_EQ(next_seed(), seed + 1); /* as many draws as were needed */
		RemoveAnimationObjReal(id);
	}
}

/* They share a pattern, which then holds more than a step of one of them wants. */
TEST_F(MasksTest, LetTwoObjectsShareTheBlocks)
{
	const unsigned int slow = create(GRAD_BLOCKS, 40, 40);
	const unsigned int fast = create(GRAD_BLOCKS, 3, 3);
	for (int frame = 0; frame < 100; frame++) {
		ASSERT_TRUE(step(slow) && step(fast));
		if (frame % 17 == 9) {
			para.in_frame = para.out_frame = static_cast<uint32_t>(frame);
			para.update = UPD_MISC;
			UpdateAnimationObj(slow, &para);
		}
	}
}

} // namespace
