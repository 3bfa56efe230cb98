/* A live scene on a compositor that goes away, or stands still. */
#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <thread>

#include <gtest/gtest.h>

#include <host/compositor.h>

#include <files.h>
#include <wait.h>

#include "program.h"

namespace
{

constexpr char kScene[] = R"({
	"title": "Endless",
	"frames": 100000,
	"objects": [ { "name": "box", "type": "ANI_FLASH", "rectangle": [0, 0, 9, 9],
		"textures": { "constant_color": [1, 0, 0, 1] }, "on_frame": 1 } ],
	"timeline": [ { "frame": 0, "create": "box" } ]
})";

enum Fault {
	kGone,    /* hangs up */
	kSilent,  /* takes requests, sends no frame callback */
	kStopped, /* does nothing from the first picture on */
	kAbsent,  /* never does anything: Init waits */
};

struct Case {
	const char *name;
	Fault fault;
	int signal; /* sent to the player then; 0: none */
	double seconds;
};

constexpr Case kCases[] = {
    {"gone", kGone, 0, 5},
    {"silent", kSilent, 0, 5},
    {"silent, SIGINT", kSilent, SIGINT, 3},
    {"stopped, SIGTERM", kStopped, SIGTERM, 3},
    {"absent, SIGTERM", kAbsent, SIGTERM, 3},
};

TEST(LostCompositor, EndsTheProgram)
{
	const Folder folder;
	const std::string scene = folder.file("scene.json", std::string(kScene));
	for (const Case &tried : kCases) {
		SCOPED_TRACE(tried.name);
		std::atomic<int> pictures = 0;
		std::atomic<bool> is_over = false;
		CompositorOptions options = {.on_picture =
		                                 [&](const Picture &) {
			                                 ++pictures;
			                                 while (tried.fault == kStopped && !is_over)
				                                 std::this_thread::yield();
		                                 },
		    .keep_requests = true,
		    .hold_frames = tried.fault == kSilent};
		std::string error;
		const CompositorPtr compositor = open_compositor(std::move(options), &error);
		ASSERT_TRUE(compositor) << error;
		setenv("XDG_RUNTIME_DIR", compositor_folder(*compositor).c_str(), 1);
		setenv("WAYLAND_DISPLAY", compositor_socket(*compositor).c_str(), 1);
		const Program player = start_program("ANIMATION_PLAY", scene);
		if (tried.fault == kAbsent)
			std::this_thread::sleep_for(std::chrono::milliseconds(500));
		else
			start_compositor_thread(*compositor);
		EXPECT_TRUE(tried.fault == kAbsent || wait_until([&] { return pictures > 0; }, 30));

		const auto begin = std::chrono::steady_clock::now();
		if (tried.signal)
			kill(player.pid, tried.signal);
		if (tried.fault == kGone) {
			EXPECT_TRUE(await_record(*compositor, std::chrono::seconds(5), [](const auto &record) {
				return std::ranges::count(record.requests, "xdg_surface.set_title(\"Endless\")");
			}));
			disconnect_clients(*compositor);
		}
		const Outcome outcome = end_of(player);
		is_over = true;
		const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - begin;
		EXPECT_LT(taken.count(), tried.seconds);
		EXPECT_NE(outcome.status, -1);
		const std::size_t line = outcome.output.find("animation-play: ");
		EXPECT_EQ(outcome.output.rfind("animation-play: "), line) << outcome.output;
		if (tried.signal == 0) { /* with one, there may be nothing left to remove */
			EXPECT_EQ(outcome.status, 1);
			EXPECT_NE(line, outcome.output.npos) << outcome.output;
		}
	}
}

} // namespace
