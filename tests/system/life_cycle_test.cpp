#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <thread>

#include <sys/wait.h>

#include "../support/caught.h"
#include "system_test.h"

using namespace std::chrono_literals;

namespace
{

struct LifeCycleTest : SystemTest {
	void show_and_await(std::uint32_t rgb)
	{
		show(ANI_FLASH, rgb, 0, 8);
		EXPECT_TRUE(eventually([&] { return last_eighths()[4] == rgb; }));
	}
};

TEST_F(LifeCycleTest, OpensAndClosesOneWindow)
{
	start_compositor({.keep_requests = true, .offer_output = true, .global_gap = 50ms});
	{
		const Caught out(1);
		init();
		EXPECT_EQ(out.text(), "animation version:2.851000\n");
	}
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

	show_and_await(kRed);
	send_ping(*compositor, 4712);
	EXPECT_TRUE(await_record(*compositor, kLimit,
	    [](const CompositorRecord &record) { return record.pongs.back() == 4712; }));
	remove_all();

	const std::vector<std::string> requests = compositor_record(*compositor).requests;
	auto next = requests.begin();
	for (const char *request : {"wl_display.get_registry(new wl_registry)",
	         "xdg_shell.use_unstable_version(5)", "wl_compositor.create_surface(new wl_surface)",
	         "xdg_shell.get_xdg_surface(new xdg_surface, wl_surface)",
	         "wl_compositor.create_region(new wl_region)", "wl_region.add(0, 0, 2304, 576)",
	         "wl_surface.set_opaque_region(wl_region)", "wl_region.destroy()",
	         "xdg_surface.set_fullscreen(nil)", "wl_surface.commit()"}) {
		next = std::find(next, requests.end(), request);
		ASSERT_NE(next, requests.end()) << request << " is missing or out of order";
	}
	for (const std::string &request : requests)
		EXPECT_EQ(request.find("ack_configure"), request.npos);
}

TEST_F(LifeCycleTest, StacksObjectsAndKeepsTheLastPicture)
{
	start_compositor();
	init();
	const std::uint8_t green[4] = {0, 255, 0, 255};
	const GLuint handle = CreateTexture(1, 1, GL_BGRA_EXT, green);
	show(ANI_FLASH, kRed, 0, 6);
	show(ANI_FLASH, 0, 4, 8, VP_LCD0, handle);
	show(ANI_FLASH, kRed, 0, 1, VP_LCD1);
	show(ANI_BACKGROUND, kBlue, 0, 8, VP_LCD1);
	const Eighths expected = {kRed, kRed, kRed, kRed, kGreen, kGreen, kGreen, kGreen, kRed, kBlue,
	    kBlue, kBlue, kBlue, kBlue, kBlue, kBlue};
	EXPECT_TRUE(eventually([&] { return last_eighths() == expected; }));

	remove_all();
	send_ping(*compositor, 1); /* the answer comes behind the last commit */
	EXPECT_TRUE(await_record(
	    *compositor, kLimit, [](const CompositorRecord &record) { return !record.pongs.empty(); }));
	const std::uint64_t shown = pictures();
	EXPECT_TRUE(await_turns(3));
	EXPECT_EQ(pictures(), shown);
	EXPECT_EQ(last_eighths(), expected);
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
	remove_all();

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
	show_and_await(kGreen);
	remove_all();
}

/* Runs the program that does nothing but Init and DeInit; its wait status. */
int run_start_up(const char *environment, std::string *output)
{
	/* Leaks are looked for in this process: there the driver stays loaded until then. */
	const std::string command =
	    std::string("exec env ASAN_OPTIONS=detect_leaks=0 ") + environment + " " START_UP " 2>&1";
	FILE *pipe = popen(command.c_str(), "r");
	for (int c; (c = fgetc(pipe)) != EOF;)
		*output += static_cast<char>(c);
	return pclose(pipe);
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
	    {{}, "", nullptr},
	};
	for (const Case &c : cases) {
		start_compositor(c.options);
		std::string output;
		const int status = run_start_up(c.environment, &output);
		if (c.report) {
			EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGABRT);
			EXPECT_NE(output.find(c.report), output.npos) << output << "without " << c.report;
		} else {
			EXPECT_EQ(status, 0) << output;
		}
	}
}

} // namespace
