#include <algorithm>
#include <csignal>
#include <ctime>
#include <thread>

#include <sys/mman.h>
#include <unistd.h>

#include <wayland-client.h>

#include "../support/caught.h"
#include "../support/program.h"
#include "system_test.h"

using namespace std::chrono_literals;

namespace
{

using LifeCycleTest = SystemTest;

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
		return record.pongs == 1 && record.last_pong == 4711;
	}));
	EXPECT_TRUE(await_turns(3));
	EXPECT_EQ(pictures(), 0U);

	show_and_await(kRed);
	send_ping(*compositor, 4712);
	EXPECT_TRUE(await_record(*compositor, kLimit,
	    [](const CompositorRecord &record) { return record.last_pong == 4712; }));
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
	    *compositor, kLimit, [](const CompositorRecord &record) { return record.pongs > 0; }));
	const std::uint64_t shown = pictures();
	EXPECT_TRUE(await_turns(3));
	EXPECT_EQ(pictures(), shown);
	EXPECT_EQ(last_eighths(), expected);
	EXPECT_TRUE(glIsTexture(handle));
	DeleteTexture(handle);
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

/* libwayland takes such a buffer, whose last row ends behind the client's memory. */
TEST_F(LifeCycleTest, MeetsACompositorThatReadsNoOverlappingRows)
{
	constexpr int kWidth = 2304, kHeight = 576, kSize = kWidth * kHeight;
	start_compositor();
	wl_display *client = wl_display_connect(nullptr);
	wl_registry *registry = wl_display_get_registry(client);
	const auto bind = [registry](int name, const wl_interface *interface) {
		return wl_registry_bind(registry, name, interface, 1);
	};
	auto *surfaces = static_cast<wl_compositor *>(bind(1, &wl_compositor_interface));
	auto *memory = static_cast<wl_shm *>(bind(2, &wl_shm_interface));
	wl_surface *surface = wl_compositor_create_surface(surfaces);
	const int fd = memfd_create("short", MFD_CLOEXEC);
	ASSERT_EQ(ftruncate(fd, kSize), 0);
	wl_shm_pool *pool = wl_shm_create_pool(memory, fd, kSize);
	wl_buffer *buffer = wl_shm_pool_create_buffer(
	    pool, 0, kWidth, kHeight, kSize / kHeight, WL_SHM_FORMAT_XRGB8888);
	wl_surface_attach(surface, buffer, 0, 0);
	wl_surface_commit(surface);
	EXPECT_EQ(wl_display_roundtrip(client), -1);
	EXPECT_EQ(wl_display_get_protocol_error(client, nullptr, nullptr), WL_SHM_ERROR_INVALID_STRIDE);
	wl_buffer_destroy(buffer);
	wl_shm_pool_destroy(pool);
	wl_surface_destroy(surface);
	wl_shm_destroy(memory);
	wl_compositor_destroy(surfaces);
	wl_registry_destroy(registry);
	wl_display_disconnect(client);
	close(fd);
}

TEST_F(LifeCycleTest, EndsTheProcessThatCannotStartUp)
{
	struct Case {
		CompositorOptions options;
		const char *environment;
		const char *report;
	};
	const Case cases[] = {
	    {{}, "env WAYLAND_DISPLAY=nowhere", "start-up condition failed: display.display\n"},
	    {{.offer_shell = false}, "", "create_surface: start-up condition failed: 0\n"},
	    {{.offer_compositor = false}, "", "start-up condition failed: display->compositor\n"},
	    {{}, "", ""},
	};
	for (const Case &c : cases) {
		start_compositor(c.options);
		const Outcome outcome = run_program(std::string(c.environment) + " " START_UP);
		EXPECT_EQ(outcome.status, *c.report ? 128 + SIGABRT : 0) << outcome.output;
		EXPECT_NE(outcome.output.find(c.report), outcome.output.npos) << outcome.output;
	}
}

TEST_F(LifeCycleTest, OutlivesTheCompositor)
{
	for (const bool shows : {true, false}) {
		start_compositor();
		init();
		if (shows)
			show_and_await(kRed);
		compositor.reset();
		std::this_thread::sleep_for(100ms);
		const std::clock_t busy_before = std::clock();
		std::this_thread::sleep_for(500ms);
		EXPECT_LT(std::clock() - busy_before, 0.4 * CLOCKS_PER_SEC); /* it sleeps between turns */
		EXPECT_NE(show(ANI_FLASH, kBlue, 0, 8), ANIMATION_NO_OBJECT);
		EXPECT_EQ(now(running), 2);
		finish();
	}
}

TEST_F(LifeCycleTest, EndsWhileTheCompositorWithholdsFrames)
{
	start_compositor({.hold_frames = true});
	init();
	show_and_await(kRed);
	std::this_thread::sleep_for(100ms);
	const auto begin = std::chrono::steady_clock::now();
	finish();
	EXPECT_LT(std::chrono::steady_clock::now() - begin, 10s); /* two, on a machine that keeps up */
}

} // namespace
