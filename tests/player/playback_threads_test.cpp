/* A playback among threads that hold the mutex, stop, pause and ask. */
#include <atomic>
#include <cstdlib>
#include <future>
#include <thread>

#include <base/lock.h>

#include "playback.h"

using namespace std::chrono_literals;

namespace
{

constexpr char kNobody[] = "127.0.7.2";

TEST_F(Playback, GoesOnWhileTheApplicationHoldsTheMutex)
{
	register_objects();
	const std::string path = film();
	{
		const ListLock held;
		ASSERT_EQ(StartGSTPlay(path.c_str()), 0);
		EXPECT_TRUE(out.waits_for("Pipeline state changed from PAUSED to PLAYING:\n"));
		EXPECT_TRUE(out.waits_for("pthread_mutex_trylock lock failed\n"));
		EXPECT_TRUE(wait_until([] { return GetGSTimeStramp() > 100 && GetGSTimeStramp() < 1100; }));
		auto others = std::async(std::launch::async, [] {
			GSTplayControl(GST_PLAY);
			return IsGSTStatePlaying();
		});
		EXPECT_EQ(others.wait_for(500ms), std::future_status::ready);
		EXPECT_TRUE(out.waits_for("streamer eos\n"));
		EXPECT_EQ(left.bufinfo, nullptr); /* no frame came through */
	}
	EXPECT_TRUE(ends(3));
}

/* PLAYBACK_ROUNDS=1000 for more than a look. */
TEST_F(Playback, StartsAndStopsBesideOtherThreads)
{
	const char *asked = std::getenv("PLAYBACK_ROUNDS");
	const int rounds = asked ? std::atoi(asked) : 20;
	const std::string path = film();
	std::atomic<bool> over = false;
	const auto until_over = [&](auto act) {
		return std::thread([&over, act] {
			for (unsigned i = 0; !over; ++i) {
				act(i);
				std::this_thread::sleep_for(std::chrono::milliseconds(i % 7));
			}
		});
	};
	std::thread threads[] = {
	    until_over([](unsigned i) {
		    if (i % 5 == 0)
			    StopGSTPlay();
	    }),
	    until_over([](unsigned i) { GSTplayControl(i % 2 ? GST_PLAY : GST_PAUSE); }),
	    until_over([](unsigned) {
		    IsGSTStatePlaying();
		    IsFirstFrameStart();
		    GetGSTimeStramp();
	    }),
	};
	for (int round = 0; round < rounds; ++round) {
		register_objects();
		int started = 1;
		EXPECT_TRUE(wait_until(
		    [&] { return (started = StartGSTPlay(round % 2 ? kNobody : path.c_str())) != 1; }, 5))
		    << round;
		ASSERT_EQ(started, 0) << round;
	}
	over = true;
	for (std::thread &thread : threads)
		thread.join();
	StopGSTPlay();
	EXPECT_TRUE(wait_until([] { return StartGSTPlay(nullptr) == -1; }, 3));
	EXPECT_EQ(count(out.text(), "thread exit\n"), rounds);
}

} // namespace
