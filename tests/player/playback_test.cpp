#include <atomic>
#include <malloc.h>
#include <thread>

#include <dlfcn.h>
#include <sys/stat.h>

#include "../support/failing_memory.h"
#include "playback.h"

namespace
{

/* In front of what the player calls: the pipeline that it got, a thread that it does not get, and
 * days that the stream has played before. */
GstElement *launched;
bool threads_fail;
std::atomic<gint64> days_before;

} // namespace

extern "C" GstElement *gst_parse_launch(const gchar *description, GError **error)
{
	static const auto launch =
	    reinterpret_cast<decltype(&gst_parse_launch)>(dlsym(RTLD_NEXT, "gst_parse_launch"));
	return launched = launch(description, error);
}

extern "C" int pthread_create(
    pthread_t *thread, const pthread_attr_t *attributes, void *(*start)(void *), void *argument)
{
	static const auto create =
	    reinterpret_cast<decltype(&pthread_create)>(dlsym(RTLD_NEXT, "pthread_create"));
	if (threads_fail && start == message_thread)
		return EAGAIN;
	return create(thread, attributes, start, argument);
}

extern "C" gboolean gst_element_query_position(
    GstElement *element, GstFormat format, gint64 *position)
{
	static const auto query = reinterpret_cast<decltype(&gst_element_query_position)>(
	    dlsym(RTLD_NEXT, "gst_element_query_position"));
	const gboolean known = query(element, format, position);
	*position += known ? days_before * 86400 * gint64{GST_SECOND} : 0;
	return known;
}

namespace
{

constexpr int kUnknownPosition = -140462611;

constexpr char kDown1[] = "message thread-------------1\n";
constexpr char kDown2[] = "message thread-------------2\n";
constexpr char kExit[] = "thread exit\n";

// Nothing answers there and nothing sends there.
constexpr char kNobody[] = "127.0.7.2";

TEST_F(Playback, RefusesWhatItCannotStart)
{
	Caught err(2);
	const std::string a182(178, 'a');
	const Folder folder;
	const std::string fifo = folder / "x.mp4";
	ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
	struct {
		std::string uri;
		std::string out;
		std::string err;
	} const cases[] = {
	    {"rtmp://127.0.0.1/application/live/x", "", ""},
	    {"/" + a182 + ".mp4", "can not support this uri /aaa", ""},
	    {a182 + ".mp4", "", "Unable to set the pipeline to the playing state.\n"},
	    {fifo, "", "Unable to set the pipeline to the playing state.\n"},
	    {"rtmp" + std::string(112, 'a'), "can not support this uri rtmpaaa", ""},
	    {"127.000.000.01", "ERROR: can not support this uri 127.000.000.01\n", ""},
	    {"x.mp4 (", "ERROR: can not support this uri x.mp4 (\n", ""},
	};
	EXPECT_EQ(StartGSTPlay(nullptr), -1);
	EXPECT_EQ(out.text(), "");
	for (const auto &[uri, said, warned] : cases) {
		SCOPED_TRACE(uri);
		out.clear();
		err.clear();
		const gint64 start = g_get_monotonic_time();
		ASSERT_EQ(StartGSTPlay(uri.c_str()), -1);
		EXPECT_LT(g_get_monotonic_time() - start, 3 * G_USEC_PER_SEC);
		EXPECT_TRUE(out.has(said)) << out.text();
		EXPECT_TRUE(err.has(warned)) << err.text();
		EXPECT_FALSE(IsGSTStatePlaying());
	}

	out.clear();
	StopGSTPlay();
	EXPECT_EQ(out.text(), "StopGSTPlay-------------1\n");
}

TEST_F(Playback, TakesAStartBackThatGotNoElementsOrNoThread)
{
	Caught err(2);
	GstRegistry *registry = gst_registry_get();
	GstPluginFeature *decodebin = gst_registry_lookup_feature(registry, "decodebin");
	gst_registry_remove_feature(registry, decodebin);
	EXPECT_EQ(StartGSTPlay(film().c_str()), -1);
	EXPECT_TRUE(err.has("Not all elements could be created.\n"));
	gst_registry_add_feature(registry, decodebin);
	gst_object_unref(decodebin);

	threads_fail = true;
	EXPECT_EQ(StartGSTPlay(film().c_str()), -1);
	EXPECT_TRUE(err.has("create message process thread failure.\n"));
	threads_fail = false;
	out.clear();
	EXPECT_FALSE(IsGSTStatePlaying());
	ASSERT_EQ(StartGSTPlay(film().c_str()), 0);
	EXPECT_TRUE(stops());
}

TEST_F(Playback, EndsIfThePipelineFallsBackToReadyWhileItBuffers)
{
	const auto report_full = [] {
		gst_element_set_state(launched, GST_STATE_READY);
		GstMessage *full = gst_message_new_buffering(GST_OBJECT(launched), 100);
		gst_element_post_message(launched, full);
	};
	ASSERT_EQ(StartGSTPlay(kNobody), 0);
	report_full();
	EXPECT_TRUE(ends(3));
	EXPECT_TRUE(in_order(out.text(), {"Buffering (100%)\n", "PLAY error\n", kDown1}));

	/* The polling form says nothing. */
	ASSERT_EQ(StartGSTPlay(kNobody), 0);
	EXPECT_TRUE(buffer_timeout(launched)); /* no element here answers its query */
	EXPECT_TRUE(stops());
}

TEST_F(Playback, RegistersOnlyVideoObjects)
{
	register_objects();
	EXPECT_EQ(SetGSTPlayAnimationId(ANIMATION_NO_OBJECT, nullptr, ANIMATION_NO_OBJECT, nullptr), 0);
	EXPECT_EQ(out.text(), "");
	EXPECT_EQ(SetGSTPlayAnimationId(77, &left, 1, &right), -1);
	EXPECT_EQ(SetGSTPlayAnimationId(0, &left, 77, &right), -1);
	EXPECT_EQ(count(out.text(), "FATAL ERORR: animation type is wrong\n"), 2);
}

TEST_F(Playback, PlaysAFileToItsEnd)
{
	register_objects();
	ASSERT_EQ(StartGSTPlay(film().c_str()), 0);
	EXPECT_EQ(StartGSTPlay("127.0.0.1"), 1);
	EXPECT_TRUE(frames_come());
	EXPECT_TRUE(IsFirstFrameStart());
	EXPECT_TRUE(IsGSTStatePlaying());
	EXPECT_TRUE(wait_until([] { return GetGSTimeStramp() > 100 && GetGSTimeStramp() < 1100; }));
	EXPECT_TRUE(ends());
	GSTplayControl(GST_PLAY); // nothing to play

	EXPECT_TRUE(in_order(out.text(),
	    {"start up: ", "build link: ", "Pipeline state changed from PAUSED to PLAYING:\n",
	        "streamer eos\n", kDown1, kDown2, kExit}))
	    << out.text();
	EXPECT_FALSE(IsGSTStatePlaying());
	EXPECT_TRUE(IsFirstFrameStart());
	EXPECT_EQ(left.bufinfo, nullptr);
	EXPECT_EQ(right.bufinfo, nullptr);
	EXPECT_TRUE(wait_until([] { return StartGSTPlay(kNobody) == 0; }));

	// The next playback knows nothing of the one before.
	EXPECT_EQ(GetGSTimeStramp(), kUnknownPosition);
	EXPECT_FALSE(IsFirstFrameStart());
	EXPECT_TRUE(stops());
}

TEST_F(Playback, CutsThePositionTo32Bits)
{
	ASSERT_EQ(StartGSTPlay(film(250).c_str()), 0);
	for (const auto &[days, cut] : {std::pair{25, -2134967296}, {50, 25032704}}) {
		days_before = days;
		EXPECT_TRUE(wait_until(
		    [cut = cut] { return GetGSTimeStramp() >= cut && GetGSTimeStramp() <= cut + 10000; }));
	}
	days_before = 0;
	EXPECT_TRUE(stops());
}

TEST_F(Playback, StopsBeforeItHasAnything)
{
	Caught err(2);
	// At once: the message thread has hardly begun.
	ASSERT_EQ(StartGSTPlay(kNobody), 0);
	EXPECT_TRUE(stops());
	// And after a while of waiting for a first packet.
	ASSERT_EQ(StartGSTPlay(kNobody), 0);
	std::this_thread::sleep_for(std::chrono::milliseconds(200));
	EXPECT_EQ(StartGSTPlay(kNobody), 1);
	EXPECT_TRUE(stops());
	EXPECT_EQ(count(err.text(), "Could not query"), 0);
	// In a handler of the application's own loop, which keeps the player's handlers waiting.
	ASSERT_TRUE(g_main_context_acquire(nullptr));
	ASSERT_EQ(StartGSTPlay(kNobody), 0);
	StopGSTPlay();
	EXPECT_TRUE(wait_until([] { return StartGSTPlay(nullptr) == -1; }, 3));
	g_main_context_release(nullptr);
	EXPECT_TRUE(ends());
}

TEST_F(Playback, GivesEverythingBack)
{
	const auto threads = [] { return count_entries("/proc/self/task"); };
	long first_descriptors = 0;
	long first_threads = 0;
	size_t first_memory = 0;
	const std::string path = film();
	for (int round = 0; round < 50; ++round) {
		register_objects();
		EXPECT_EQ(StartGSTPlay("/nowhere.mp4"), -1);
		ASSERT_EQ(StartGSTPlay(path.c_str()), 0);
		if (round % 3 == 1)
			wait_until([] { return IsGSTStatePlaying(); });
		if (round % 3 == 2)
			frames_come();
		ASSERT_TRUE(stops());
		EXPECT_TRUE(in_order(out.text(), {"StopGSTPlay-------------1\n", kDown1, kDown2, kExit}));
		if (round == 19) {
			first_descriptors = open_descriptors();
			first_threads = threads();
			first_memory = mallinfo2().uordblks;
		}
	}
	// GStreamer's helper threads let go a moment after the player.
	EXPECT_TRUE(wait_until([&] { return open_descriptors() <= first_descriptors; }))
	    << open_descriptors();
	EXPECT_TRUE(wait_until([&] { return threads() <= first_threads; })) << threads();
	EXPECT_TRUE(wait_until([&] { return mallinfo2().uordblks < first_memory + 100'000; }))
	    << mallinfo2().uordblks - first_memory << " bytes in 30 rounds";
}

/* Each allocation in turn fails, from a start over two frames to the end, until none is left. */
TEST_F(Playback, OutlivesAnyFailedAllocation)
{
	if (!kMemoryCanFail)
		GTEST_SKIP();
	const std::string path = film(2);
	std::size_t blocks = SIZE_MAX;
	bool failed = true;
	for (std::size_t n = 0; failed && !HasFailure(); ++n) {
		SCOPED_TRACE(n);
		fail_allocation(n);
		register_objects();
		const bool started = StartGSTPlay(path.c_str()) == 0;
		EXPECT_TRUE(!started || ends());
		failed = fail_allocation(0) >= n;
		EXPECT_TRUE((started && IsFirstFrameStart()) || (failed && n > 0));
		EXPECT_FALSE(IsGSTStatePlaying());
		remove_objects();
		EXPECT_EQ(animationItemHead, nullptr);
		blocks = std::min(blocks, live_blocks());
		EXPECT_TRUE(wait_until([&] { return live_blocks() <= blocks; }, 3)) << live_blocks();
	}
}

} // namespace
