#include <atomic>
#include <random>
#include <thread>

#include "../support/records.h"
#include "system_test.h"

namespace
{

struct ConcurrencyTest : SystemTest {
	std::atomic<int> gone{0};

	/* The life of an object, from one thread: it meets no object but its own under its id. */
	template <class Para>
	void live(AnimationType type, Para para, std::mt19937 &random)
	{
		float strip[8] = {0, 40, 40, 40, 0, 0, 40, 0};
		para.in_position2d = {4, strip, strip, VP_LCD1};
		if constexpr (requires { para.sin_frame; })
			para.in_frame = para.out_frame = para.sout_frame = 2;
		if constexpr (requires { para.gmode_show; })
			para.gmode_show = para.gmode_hide = GRAD_BLOCKS;
		if constexpr (requires { para.seq_show; })
			para.seq_show = para.seq_hide = SEQ_WHIP;
		const unsigned int id = CreateAnimationObj(type, &para);
		ASSERT_NE(id, ANIMATION_NO_OBJECT);
		for (unsigned int updates = random() % 4; updates; updates--) {
			ASSERT_TRUE(IsAnimationObjType(id, type));
			ASSERT_NE(GetAnimationObjStatus(id), ST_INVALID);
			para.update = static_cast<UpdateMode>(random() % 4);
			strip[0] = static_cast<float>(random() % 40);
			UpdateAnimationObj(id, &para);
			std::this_thread::sleep_for(std::chrono::milliseconds(random() % 20));
		}
		RemoveAnimationObj(id, DEL_IMMEDIATELY);
		gone++;
	}
};

TEST_F(ConcurrencyTest, ThreadsShareTheListWithTheFrames)
{
	start_compositor({});
	init();
	show(ANI_FLASH, kRed, 0, 8);
	std::atomic<bool> stop{false};
	std::vector<std::thread> threads;
	for (unsigned int seed = 0; seed < 4; seed++) {
		threads.emplace_back([this, seed, &stop] {
			std::mt19937 random(seed);
			while (!stop) {
				for_each_type([&](AnimationType type, auto para) {
					if (type != ANI_BACKGROUND) /* which hides videos */
						live(type, para, random);
				});
			}
		});
	}
	const std::uint32_t begin = turns();
	EXPECT_TRUE(eventually([&] { return turns() >= begin + 40 && gone > 100; }));
	stop = true;
	for (std::thread &thread : threads)
		thread.join();
	EXPECT_EQ(last_eighths()[4], kRed);
	remove_all();
}

} // namespace
