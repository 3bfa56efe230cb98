/* A playback with two objects while other threads do all that an application may do beside it. */
#include <atomic>
#include <thread>

#include "playback.h"

namespace
{

using Threads = Playback;

TEST_F(Threads, MayCreateRemoveRegisterAndAskDuringAPlayback)
{
	register_objects();
	std::atomic<bool> over = false;
	std::thread application([&] {
		float corners[8] = {};
		VideoGST_animationpara own = {
		    .in_position2d = {.coordnum = 4, .position2d = corners}, .texcoord = corners};
		while (!over) {
			// Removed by the render thread in real life, which ours stands for.
			const unsigned id = CreateAnimationObj(ANI_VIDEO_GST, &own);
			SetGSTPlayAnimationId(ANIMATION_NO_OBJECT, nullptr, ANIMATION_NO_OBJECT, nullptr);
			RemoveAnimationObj(id, DEL_IMMEDIATELY);
			RemoveAnimationObjReal(id);
			register_objects();
			std::this_thread::sleep_for(std::chrono::milliseconds(10));
		}
	});
	std::thread curious([&] {
		while (!over) {
			IsFirstFrameStart();
			is_up();
			position();
			GSTplayControl(GST_PLAY);
			std::this_thread::sleep_for(std::chrono::milliseconds(3));
		}
	});

	for (int round = 0; round < 5; ++round) {
		ASSERT_EQ(StartGSTPlay(film().c_str()), 0);
		EXPECT_TRUE(wait_until([] { return IsFirstFrameStart(); }));
		std::this_thread::sleep_for(std::chrono::milliseconds(100));
		EXPECT_TRUE(stops());
	}
	over = true;
	application.join();
	curious.join();
	SetGSTPlayAnimationId(ANIMATION_NO_OBJECT, nullptr, ANIMATION_NO_OBJECT, nullptr);
}

} // namespace
