#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <thread>

#include <sys/resource.h>
#include <sys/wait.h>

#include "system_test.h"

using namespace std::chrono_literals;

namespace
{

using LifeCycleTest = SystemTest;

/* The expected ones among the requests, in this order. */
void expect_order(
    const std::vector<std::string> &requests, std::initializer_list<const char *> expected)
{
	auto next = requests.begin();
	for (const char *request : expected) {
		next = std::find(next, requests.end(), request);
		ASSERT_NE(next, requests.end()) << request << " is missing or out of order";
	}
}

TEST_F(LifeCycleTest, OpensAndClosesOneWindow)
{
	start_compositor({.offer_output = true, .global_gap = 50ms});
	testing::internal::CaptureStdout();
	init();
	EXPECT_EQ(testing::internal::GetCapturedStdout(), "animation version:2.851000\n");
	EXPECT_EQ(now(running), 2);
	remove_output(*compositor);

	/* Nothing to show: nothing is committed, and a ping is answered all the same. */
	send_ping(*compositor, 4711);
	send_configure(*compositor, 100, 50);
	send_close(*compositor);
	EXPECT_TRUE(await_record(*compositor, kLimit, [](const CompositorRecord &record) {
		return record.pongs == std::vector<std::uint32_t>{4711};
	}));
	EXPECT_TRUE(await_turns(3));
	EXPECT_EQ(pictures(), 0U);

	show(ANI_FLASH, kRed, 0, 8);
	EXPECT_TRUE(eventually([this] { return pictures() >= 2; }));
	send_ping(*compositor, 4712);
	EXPECT_TRUE(await_record(*compositor, kLimit,
	    [](const CompositorRecord &record) { return record.pongs.back() == 4712; }));
	EXPECT_EQ(last_picture()[4], kRed); /* and of the old size */
	remove_all();
}

TEST_F(LifeCycleTest, SendsItsRequestsInOrder)
{
	start_compositor();
	init();
	show(ANI_FLASH, kRed, 0, 8);
	EXPECT_TRUE(eventually([this] { return pictures() >= 1; }));
	remove_all();
	EXPECT_TRUE(await_turns(2));
	expect_order(compositor_record(*compositor).requests,
	    {"wl_display.get_registry(new wl_registry)", "xdg_shell.use_unstable_version(5)",
	        "wl_compositor.create_surface(new wl_surface)",
	        "xdg_shell.get_xdg_surface(new xdg_surface, wl_surface)",
	        "wl_compositor.create_region(new wl_region)", "wl_region.add(0, 0, 2304, 576)",
	        "wl_surface.set_opaque_region(wl_region)", "wl_region.destroy()",
	        "xdg_surface.set_fullscreen(nil)", "wl_surface.commit()"});
	for (const std::string &request : compositor_record(*compositor).requests)
		EXPECT_EQ(request.find("ack_configure"), request.npos);
}

TEST_F(LifeCycleTest, StacksObjectsAndKeepsTheLastPicture)
{
	start_compositor();
	init();
	const GLuint handle = [] {
		const std::uint8_t green[4] = {0, 255, 0, 255};
		return CreateTexture(1, 1, GL_BGRA_EXT, green);
	}();
	show(ANI_FLASH, kRed, 0, 6);
	show(ANI_FLASH, 0, 4, 8, VP_LCD0, handle);
	show(ANI_FLASH, kRed, 0, 1, VP_LCD1);
	show(ANI_BACKGROUND, kBlue, 0, 8, VP_LCD1);
	const Eighths expected = {kRed, kRed, kRed, kRed, kGreen, kGreen, kGreen, kGreen, kRed, kBlue,
	    kBlue, kBlue, kBlue, kBlue, kBlue, kBlue};
	EXPECT_TRUE(eventually([&] { return last_picture() == expected; }));

	remove_all();
	const std::uint64_t shown = pictures();
	EXPECT_TRUE(await_turns(3));
	EXPECT_EQ(pictures(), shown);
	EXPECT_EQ(last_picture(), expected);
	EXPECT_TRUE(glIsTexture(handle));
	DeleteTexture(handle);
}

TEST_F(LifeCycleTest, CapturesSwappedFrames)
{
	namespace fs = std::filesystem;
	if (std::string(CAPTURE_DIR) == "/data/capture")
		GTEST_SKIP() << "captures go to the unit's folder in this build";
	fs::remove_all(CAPTURE_DIR);
	fs::create_directories(CAPTURE_DIR);
	std::ofstream(CAPTURE_MARKER).put('x');
	start_compositor();
	init();
	const int64_t before = now(gpuRender_framecnt);
	show(ANI_FLASH, kRed, 0, 8);
	show(ANI_FLASH, kBlue, 0, 8, VP_LCD1);
	const fs::path first = fs::path(CAPTURE_DIR) / (std::to_string(before + 1) + ".raw");
	const fs::path second = fs::path(CAPTURE_DIR) / (std::to_string(before + 2) + ".raw");
	EXPECT_TRUE(eventually([&] { return fs::exists(second); }));
	fs::remove(CAPTURE_MARKER);
	EXPECT_TRUE(await_turns(3));
	remove_all();
	const auto files = std::distance(fs::directory_iterator(CAPTURE_DIR), fs::directory_iterator());
	EXPECT_LT(files, now(gpuRender_framecnt) - before); /* the last ones were not captured */

	ASSERT_EQ(fs::file_size(first), 5308416U);
	std::ifstream file(second, std::ios::binary);
	std::array<unsigned char, 9216> row;
	file.seekg(300 * row.size()).read(reinterpret_cast<char *>(row.data()), row.size());
	EXPECT_EQ((std::array{row[0], row[1], row[2]}), (std::array<unsigned char, 3>{255, 0, 0}));
	EXPECT_EQ(
	    (std::array{row[9212], row[9213], row[9214]}), (std::array<unsigned char, 3>{0, 0, 255}));
	fs::remove_all(CAPTURE_DIR);
}

TEST_F(LifeCycleTest, StopsOnTheFirstInterrupt)
{
	start_compositor();
	for (int run = 0; run < 2; run++) { /* and begins anew afterwards */
		init();
		raise(SIGINT);
		EXPECT_EQ(now(running), 0);
		struct sigaction action;
		sigaction(SIGINT, nullptr, &action);
		EXPECT_EQ(action.sa_handler, SIG_DFL); /* the second one ends the process */
		DeInit();
	}
	init();
	show(ANI_FLASH, kGreen, 0, 8);
	EXPECT_TRUE(eventually([this] { return last_picture()[3] == kGreen; }));
	remove_all();
}

TEST_F(LifeCycleTest, DoesNotWaitForAThreadThatWasInterrupted)
{
	start_compositor();
	std::thread interrupter([] {
		while (now(running) != 1) {
		}
		signal_int(SIGINT);
	});
	testing::internal::CaptureStderr();
	init();
	const std::string report = testing::internal::GetCapturedStderr();
	EXPECT_EQ(std::ranges::count(report, '\n'), 1) << report;
	interrupter.join();
}

TEST_F(LifeCycleTest, OutlivesTheCompositor)
{
	auto busy = [] {
		rusage usage;
		getrusage(RUSAGE_SELF, &usage);
		return (usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) * 1000 +
		       (usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1000;
	};
	for (const bool shows : {true, false}) {
		start_compositor();
		init();
		if (shows) {
			show(ANI_FLASH, kRed, 0, 8);
			EXPECT_TRUE(eventually([this] { return pictures() >= 2; }));
		}
		compositor.reset();
		std::this_thread::sleep_for(100ms);
		const auto busy_before = busy();
		std::this_thread::sleep_for(500ms);
		EXPECT_LT(busy() - busy_before, 400); /* milliseconds: it sleeps between its turns */
		EXPECT_NE(show(ANI_FLASH, kBlue, 0, 8), ANIMATION_NO_OBJECT);
		EXPECT_EQ(now(running), 2);
		finish();
	}
}

TEST_F(LifeCycleTest, EndsWhileTheCompositorWithholdsFrames)
{
	start_compositor({.hold_frames = true});
	init();
	show(ANI_FLASH, kRed, 0, 8);
	EXPECT_TRUE(eventually([this] { return pictures() >= 1; }));
	std::this_thread::sleep_for(100ms);
}

/* Output and wait status of the program that does nothing but Init and DeInit. */
struct Outcome {
	std::string output;
	int status;
};

Outcome run_start_up(const char *environment = "")
{
	/* Leaks are looked for in this process: there the driver stays loaded until then. */
	const std::string command =
	    std::string("exec env ASAN_OPTIONS=detect_leaks=0 ") + environment + " " START_UP " 2>&1";
	FILE *pipe = popen(command.c_str(), "r");
	Outcome outcome = {};
	for (int c; (c = fgetc(pipe)) != EOF;)
		outcome.output += static_cast<char>(c);
	outcome.status = pclose(pipe);
	return outcome;
}

TEST_F(LifeCycleTest, EndsTheProcessThatCannotStartUp)
{
	struct Case {
		CompositorOptions options;
		const char *environment;
		const char *report;
	};
	const Case cases[] = {
	    {{}, "WAYLAND_DISPLAY=nowhere", "start-up condition failed: display.display\n"},
	    {{.offer_shell = false}, "", "create_surface: start-up condition failed: 0\n"},
	    {{.offer_compositor = false}, "", "start-up condition failed: display->compositor\n"},
	};
	for (const Case &c : cases) {
		start_compositor(c.options);
		const Outcome outcome = run_start_up(c.environment);
		EXPECT_TRUE(WIFSIGNALED(outcome.status) && WTERMSIG(outcome.status) == SIGABRT);
		EXPECT_NE(outcome.output.find(c.report), outcome.output.npos)
		    << outcome.output << "without " << c.report;
	}
	start_compositor();
	const Outcome outcome = run_start_up();
	EXPECT_TRUE(WIFEXITED(outcome.status) && WEXITSTATUS(outcome.status) == 0) << outcome.output;
}

} // namespace
