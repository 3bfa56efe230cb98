#include <host/compositor.h>

#include <algorithm>
#include <filesystem>

#include <gtest/gtest.h>

#include "shm_client.h"

using namespace std::chrono_literals;

namespace
{

constexpr auto kLimit = 20s; /* only a fault takes that long */
constexpr std::uint32_t kRed = 0xffff0000;
constexpr std::uint32_t kBlue = 0x000000ff;

struct Seen {
	int width;
	int height;
	std::uint32_t first;
	std::uint32_t last;
};

struct CompositorTest : testing::Test {
	CompositorPtr compositor;
	std::vector<Seen> seen; /* the compositor's until its record tells of the picture */

	void start(CompositorOptions options = {})
	{
		options.on_picture = [this](const Picture &picture) {
			auto row = [&picture](int y) {
				return reinterpret_cast<const std::uint32_t *>(picture.pixels + y * picture.stride);
			};
			seen.push_back({picture.width, picture.height, row(0)[0],
			    row(picture.height - 1)[picture.width - 1]});
		};
		std::string error;
		compositor = open_compositor(std::move(options), &error);
		ASSERT_TRUE(compositor) << error;
		start_compositor_thread(*compositor);
	}

	ShmClientPtr connect()
	{
		const auto path = compositor_folder(*compositor) + "/" + compositor_socket(*compositor);
		return connect_client(path.c_str());
	}

	bool await_pictures(std::uint64_t count)
	{
		return await_record(*compositor, kLimit,
		    [count](const CompositorRecord &record) { return record.pictures >= count; });
	}
};

TEST_F(CompositorTest, HandsOverPicturesAndTellsTheRequests)
{
	start();
	const std::string folder = compositor_folder(*compositor);
	EXPECT_EQ(std::filesystem::status(folder).permissions(), std::filesystem::perms::owner_all);

	ShmClientPtr client = connect();
	ASSERT_TRUE(client && open_window(*client, 64, 32));
	EXPECT_EQ(client->configured_width, kSurfaceWidth);
	paint(*client, kRed, kBlue);
	ASSERT_TRUE(await_frame(*client));
	paint(*client, kBlue, kRed);
	ASSERT_TRUE(await_frame(*client) && await_pictures(2));
	ASSERT_EQ(seen.size(), 2U);
	EXPECT_EQ(seen[0].width, 64);
	EXPECT_EQ(seen[0].height, 32);
	EXPECT_EQ(seen[0].first, kRed);
	EXPECT_EQ(seen[0].last, kBlue);
	EXPECT_EQ(seen[1].first, kBlue);
	client.reset();

	const auto requests = compositor_record(*compositor).requests;
	auto next = requests.begin();
	for (const char *expected : {"wl_display.get_registry(new wl_registry)",
	         "xdg_shell.use_unstable_version(5)", "wl_compositor.create_surface(new wl_surface)",
	         "xdg_shell.get_xdg_surface(new xdg_surface, wl_surface)",
	         "xdg_surface.set_fullscreen(nil)", "wl_surface.frame(new wl_callback)",
	         "wl_surface.attach(wl_buffer, 0, 0)", "wl_surface.damage(0, 0, 64, 32)",
	         "wl_surface.commit()", "xdg_surface.destroy()", "wl_surface.destroy()",
	         "xdg_shell.destroy()"}) {
		next = std::find(next, requests.end(), expected);
		ASSERT_NE(next, requests.end()) << expected << " is missing or out of order";
	}

	compositor.reset();
	EXPECT_FALSE(std::filesystem::exists(folder));
}

TEST_F(CompositorTest, SendsWhatATestAsksFor)
{
	start({.offer_output = true});
	ShmClientPtr client = connect();
	ASSERT_TRUE(client && open_window(*client, 64, 32));
	EXPECT_EQ(client->globals.front(), "wl_output");

	send_ping(*compositor, 77);
	send_configure(*compositor, 100, 50);
	send_close(*compositor);
	remove_output(*compositor);
	wl_display_roundtrip(client->display);
	EXPECT_EQ(client->configured_width, 100);
	EXPECT_TRUE(client->closed);
	EXPECT_EQ(client->removed.size(), 1U);
	wl_display_flush(client->display);
	EXPECT_TRUE(await_record(*compositor, kLimit, [](const CompositorRecord &record) {
		return record.pongs == std::vector<std::uint32_t>{77};
	}));
}

TEST_F(CompositorTest, WithholdsGlobals)
{
	for (const char *withheld : {"wl_compositor", "xdg_shell"}) {
		start({.offer_compositor = withheld != std::string("wl_compositor"),
		    .offer_shell = withheld != std::string("xdg_shell")});
		ShmClientPtr client = connect();
		ASSERT_TRUE(client);
		EXPECT_EQ(client->globals.size(), 2U);
		EXPECT_EQ(std::ranges::count(client->globals, withheld), 0);
	}
}

TEST_F(CompositorTest, SendsGlobalsOneByOne)
{
	start({.global_gap = 50ms});
	const auto path = compositor_folder(*compositor) + "/" + compositor_socket(*compositor);
	int announced = 0;
	const wl_registry_listener listener = {
	    .global = [](void *data, wl_registry *, std::uint32_t, const char *,
	                  std::uint32_t) { ++*static_cast<int *>(data); },
	    .global_remove = [](void *, wl_registry *, std::uint32_t) {}};
	wl_display *display = wl_display_connect(path.c_str());
	ASSERT_TRUE(display);
	wl_registry *registry = wl_display_get_registry(display);
	wl_registry_add_listener(registry, &listener, &announced);
	wl_display_dispatch(display);
	EXPECT_LT(announced, 3);
	wl_display_roundtrip(display);
	EXPECT_EQ(announced, 3);
	wl_registry_destroy(registry);
	wl_display_disconnect(display);
}

TEST_F(CompositorTest, HoldsFramesBack)
{
	start({.hold_frames = true});
	ShmClientPtr client = connect();
	ASSERT_TRUE(client && open_window(*client, 64, 32));
	paint(*client, kRed, kRed);
	ASSERT_TRUE(await_pictures(1));
	wl_display_roundtrip(client->display);
	EXPECT_TRUE(client->frame);
	send_frames(*compositor);
	EXPECT_TRUE(await_frame(*client));

	paint(*client, kRed, kRed); /* one more that nobody ever answers */
	ASSERT_TRUE(await_pictures(2));
}

TEST_F(CompositorTest, DiesUnderItsClients)
{
	start();
	ShmClientPtr client = connect();
	ASSERT_TRUE(client && open_window(*client, 64, 32));
	disconnect_clients(*compositor);
	EXPECT_LT(wl_display_roundtrip(client->display), 0);

	client = connect();
	ASSERT_TRUE(client && open_window(*client, 64, 32));
	paint(*client, kRed, kRed);
	compositor.reset();
	EXPECT_LT(wl_display_roundtrip(client->display), 0);
}

TEST_F(CompositorTest, RefusesWhatTheProtocolForbids)
{
	struct Case {
		const char *name;
		void (*misbehave)(ShmClient &);
	};
	const Case cases[] = {
	    {"a window before the version",
	        [](ShmClient &client) {
		        client.surface = wl_compositor_create_surface(client.compositor);
		        client.window = xdg_shell_get_xdg_surface(client.shell, client.surface);
	        }},
	    {"another version",
	        [](ShmClient &client) { xdg_shell_use_unstable_version(client.shell, 4); }},
	    {"a shell destroyed before its window",
	        [](ShmClient &client) {
		        open_window(client, 64, 32);
		        xdg_shell_destroy(client.shell);
		        client.shell = nullptr;
	        }},
	};
	start();
	for (const Case &wrong : cases) {
		ShmClientPtr client = connect();
		ASSERT_TRUE(client);
		wrong.misbehave(*client);
		EXPECT_LT(wl_display_roundtrip(client->display), 0) << wrong.name;
		EXPECT_EQ(wl_display_get_error(client->display), EPROTO) << wrong.name;
	}
}

TEST_F(CompositorTest, ShowsOnlyWindows)
{
	start();
	ShmClientPtr client = connect();
	ASSERT_TRUE(client && open_window(*client, 64, 32));
	xdg_surface_destroy(client->window);
	client->window = nullptr;
	paint(*client, kRed, kRed);
	EXPECT_TRUE(await_frame(*client));
	EXPECT_EQ(compositor_record(*compositor).pictures, 0U);
}

} // namespace
