#include <algorithm>
#include <cmath>

#include <offscreen_test.h>

/* The gradual display's masks as their textures hold them, against a second computation that goes
 * pixel by pixel. */

namespace
{

constexpr int kSize = 100;

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

	/* Half a cycle of N frames in, and half of N frames out. */
	unsigned int create(GraduallyDispMode mode, uint32_t N)
	{
		para.gmode_show = para.gmode_hide = mode;
		para.in_frame = para.out_frame = N;
		return CreateAnimationObj(ANI_GRADUALLYDISP, &para);
	}

	/* Runs the cycle and holds the mask that is bound for each draw against
	 * expected(exit, n)(line, column), in an exit against its complement. */
	template <class Expected>
	void expect_masks(GraduallyDispMode mode, uint32_t N, Expected expected)
	{
		const unsigned int id = create(mode, N);
		for (uint32_t frame = 0; frame < 2 * N; frame++) {
			const bool exit = frame >= N;
			const uint32_t n = frame % N + 1;
			SCOPED_TRACE(testing::Message()
			             << "mode " << mode << (exit ? " exit " : " entry ") << n << " of " << N);
			const auto covers = expected(exit, n);
			ASSERT_TRUE(step(id));
			const auto seen = read_texture(bound_texture(1), kSize, kSize);
			for (int i = 0; i < kSize * kSize; i++) {
				const int cover = covers(i / kSize, i % kSize);
				ASSERT_EQ(+seen[i].a, exit ? 255 - cover : cover)
				    << "line " << i / kSize << ", column " << i % kSize;
			}
		}
		RemoveAnimationObjReal(id);
	}
};

TEST_F(MasksTest, CoverPixelByPixel)
{
	for (const GraduallyDispMode mode : {GRAD_CENTER2EDGE, GRAD_EDGE2CENTER, GRAD_2SIDES2MIDDLE,
	         GRAD_MIDDLE22SIDES, GRAD_CENTER2SURROUND, GRAD_SURROUND2CENTER})
		for (const uint32_t N : {1u, 2u, 7u, 20u, 70u, 100u})
			expect_masks(mode, N, [=](bool, uint32_t n) {
				return [=](int line, int column) { return cover(mode, n, N, line, column); };
			});
}

TEST_F(MasksTest, DrawBlocksFromAFixedSeries)
{
	EXPECT_EQ(kFirstDraw, draw(2) % 1000);
	for (const uint32_t N : {1u, 7u, 20u, 33u, 40u}) {
		unsigned int seed = next_seed();
		Blocks halves[2];
		expect_masks(GRAD_BLOCKS, N, [&](bool exit, uint32_t n) {
			halves[exit].take(static_cast<int>(n * 20 / N), exit, seed);
			return [&taken = halves[exit].taken](
			           int line, int column) { return taken[line / 5][column / 5] ? 255 : 0; };
		});
		EXPECT_EQ(next_seed(), seed + 1); /* as many draws as were needed */
	}
}

/* They share a pattern, which then holds more than a step of one of them wants. */
TEST_F(MasksTest, LetTwoObjectsShareTheBlocks)
{
	const unsigned int slow = create(GRAD_BLOCKS, 40);
	const unsigned int fast = create(GRAD_BLOCKS, 3);
	for (int frame = 0; frame < 100; frame++)
		ASSERT_TRUE(step(slow) && step(fast));
}

} // namespace
