/* The probe in a real program, on a compositor and with a listener of the test's own. */
#include <algorithm>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <utility>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <poll.h>
#include <sys/socket.h>

#include <files.h>
#include <host/compositor.h>
#include <program.h>
#include <wait.h>

using namespace std::chrono_literals;
using Json = nlohmann::json;

namespace
{

const std::string kPreload = "env LD_PRELOAD=" PROBE " ";
const std::string kFullscreen = "xdg_surface.set_fullscreen(nil)";

/* The second object may have come after the frame had begun. */
bool shows_both(const Json &message)
{
	return message["type"] == "frame" && message["committed"] == true &&
	       message["objects"].size() == 2 && message["objects"][1]["rect"].is_array();
}

struct ProbeTest : testing::Test {
	std::string error;
	const CompositorPtr compositor = open_compositor({.keep_requests = true}, &error);
	int ours = -1, theirs = -1;
	Program program = {-1, nullptr};
	std::string received;

	void SetUp() override
	{
		ASSERT_TRUE(compositor) << error;
		setenv("XDG_RUNTIME_DIR", compositor_folder(*compositor).c_str(), 1);
		setenv("WAYLAND_DISPLAY", compositor_socket(*compositor).c_str(), 1);
		setenv("LIBGL_ALWAYS_SOFTWARE", "1", 1);
		start_compositor_thread(*compositor);
		int ends[2];
		ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
		ours = ends[0];
		theirs = ends[1];
		fcntl(ours, F_SETFD, FD_CLOEXEC);
	}
	void TearDown() override
	{
		leave();
		close(theirs);
	}

	void start(const std::string &command)
	{
		setenv("ANIMATION_PROBE_FD", std::to_string(theirs).c_str(), 1);
		program = start_program(command);
	}
	void leave()
	{
		if (ours >= 0)
			close(std::exchange(ours, -1));
	}
	void command(const std::string &text)
	{
		const std::string line = "{\"command\":" + text + "}\n";
		ASSERT_EQ(write(ours, line.data(), line.size()), std::ssize(line));
	}

	/* The next message, or null if none comes in this time. */
	Json next(std::chrono::milliseconds limit = 20s)
	{
		std::size_t end;
		while ((end = received.find('\n')) == received.npos) {
			pollfd socket = {ours, POLLIN, 0};
			char block[65536];
			const ssize_t length = poll(&socket, 1, static_cast<int>(limit.count())) > 0
			                           ? read(ours, block, sizeof block)
			                           : 0;
			if (length <= 0)
				return nullptr;
			received.append(block, static_cast<std::size_t>(length));
		}
		const Json message = Json::parse(received.substr(0, end));
		received.erase(0, end + 1);
		return message;
	}
	/* The next one that passes the test. */
	template <class Test>
	Json await(Test test)
	{
		Json message;
		do
			message = next();
		while (!message.is_null() && !test(message));
		return message;
	}
	Json await_type(const std::string &type)
	{
		return await([&](const Json &message) { return message["type"] == type; });
	}
	Json await_shown()
	{
		return await([](const Json &message) { return shows_both(message); });
	}
	Outcome interrupt() const
	{
		kill(program.pid, SIGINT);
		return end_of(program);
	}
};

Json texture(int width, int height, const char *format, int bytes)
{
	return {{"width", width}, {"height", height}, {"format", format}, {"bytes", bytes}};
}

TEST_F(ProbeTest, TellsWhatTheProgramHasMade)
{
	command(R"("watch","level":"objects")");
	start(WATCHED_INSIDE);
	EXPECT_EQ(await_type("hello")["pid"], program.pid);

	Json calls;
	Json frame = await([&](const Json &message) {
		for (const Json &call : message.value("calls", Json::array()))
			calls.push_back(call["text"]);
		return shows_both(message) && calls.size() >= 5; /* the update came, too */
	});
	ASSERT_TRUE(frame.is_object());
	const Json expected_calls = {"Init()", "CreateTexture(2, 8) = 1",
	    "CreateAnimationObj(ANI_BACKGROUND) = 0", "CreateAnimationObj(ANI_FLASH) = 1",
	    "UpdateAnimationObj(1, UPD_COORDS)"};
	EXPECT_EQ(calls, expected_calls);

	Json &background = frame["objects"][0], &flash = frame["objects"][1];
	for (Json &one : background["textures"])
		one.erase("name");
	background["curframeno"] = flash["curframeno"] = nullptr;
	const Json expected_background = {{"id", 0}, {"kind", "background"}, {"type", "ANI_BACKGROUND"},
	    {"viewport", 1}, {"status", {"ST_SHOW"}}, {"curframeno", nullptr}, {"cur_loopcnt", 0},
	    {"rect", {1252, 50, 200, 100}}, {"blend", "BLD_SOURCE"}, {"render_mode", "RENDER_TEXTURED"},
	    {"alpha", 1}, {"alpha1", 1}, {"color", {1, 1, 1, 1}},
	    {"textures", {texture(4, 4, "BGRA", 64), texture(5, 4, "RGB", 60)}}};
	EXPECT_EQ(background, expected_background);
	const Json expected_flash = {{"id", 1}, {"kind", "flash"}, {"type", "ANI_FLASH"},
	    {"viewport", 0}, {"status", {"ST_SHOW"}}, {"curframeno", nullptr}, {"cur_loopcnt", 0},
	    {"rect", {0, 500, 20, 76}}, {"blend", "BLD_SOURCE"}, {"render_mode", "RENDER_CONSTANT"},
	    {"alpha", 0.5}, {"alpha1", 1}, {"color", {1, 0.25, 1, 1}}, {"textures", Json::array()}};
	EXPECT_EQ(flash, expected_flash);

	constexpr int kHandle = 2 * 8 * 2;
	EXPECT_EQ(frame["texture_bytes"], 64 + 60 + kHandle);
	EXPECT_EQ(interrupt().status, 0);
	const Json end = await_type("end");
	EXPECT_EQ(end["left_objects"], 2);
	EXPECT_EQ(end["texture_bytes"], 64 + 60) << "of the objects that were left";
}

TEST_F(ProbeTest, HoldsStepsAndSlowsTheFrames)
{
	command(R"("watch","level":"objects")");
	start(WATCHED_INSIDE);
	ASSERT_TRUE(await_shown().is_object());

	command("\"pause\"");
	std::uint64_t held = await_type("paused")["frame"];
	const std::uint64_t pictures = compositor_record(*compositor).pictures;
	send_ping(*compositor, 77);
	EXPECT_TRUE(await_record(*compositor, 5s, [](const CompositorRecord &record) {
		return record.pongs == 1 && record.last_pong == 77;
	}));
	EXPECT_TRUE(next(200ms).is_null()) << "a frame in a pause";
	for (int step = 0; step < 3; step++) {
		command("\"step\"");
		EXPECT_EQ(next()["frame"], ++held);
		EXPECT_EQ(next(), Json({{"type", "paused"}, {"frame", held}}));
	}
	EXPECT_TRUE(await_record(*compositor, 5s,
	    [&](const CompositorRecord &record) { return record.pictures == pictures + 3; }));

	command(R"("speed","factor":0.02)");
	command("\"continue\"");
	EXPECT_EQ(await_type("running")["frame"], held);
	const auto start_time = std::chrono::steady_clock::now();
	for (int frame = 0; frame < 3; frame++)
		EXPECT_EQ(await_type("frame")["frame"], ++held);
	EXPECT_GT(std::chrono::steady_clock::now() - start_time, 2 * 50 * 20ms) << "50 times slower";

	command("\"pause\"");
	leave(); /* and nobody would ever let it go on */
	const std::uint64_t seen = compositor_record(*compositor).pictures;
	EXPECT_TRUE(await_record(*compositor, 10s,
	    [&](const CompositorRecord &record) { return record.pictures > seen + 5; }));
	EXPECT_EQ(interrupt().status, 0);
}

/* Preloaded into the shell, too, which hands the descriptor on. */
TEST_F(ProbeTest, SpeaksForOneProgramAtATime)
{
	const std::string in_shell = kPreload + "sh -c 'exec " WATCHED "'";
	start(in_shell);
	const Program first = program;
	EXPECT_EQ(await_type("hello")["pid"], first.pid);
	start(in_shell);
	EXPECT_TRUE(await_record(*compositor, 10s, [](const CompositorRecord &record) {
		return std::count(record.requests.begin(), record.requests.end(), kFullscreen) == 2;
	}));
	for (Json message; !(message = next(100ms)).is_null();)
		EXPECT_NE(message["type"], "hello");
	interrupt();
	kill(first.pid, SIGINT);
	end_of(first);
	EXPECT_TRUE(await_type("end").is_object());
	start(in_shell);
	EXPECT_EQ(await_type("hello")["pid"], program.pid);
	interrupt();
}

TEST_F(ProbeTest, DoesNothingWithoutAListener)
{
	const std::string none = "env -u ANIMATION_PROBE_FD ";
	for (const std::string &descriptor : {none, none + "ANIMATION_PROBE_FD= ",
	         none + "ANIMATION_PROBE_FD=0 ", none + "ANIMATION_PROBE_FD=1234567 "}) {
		start(descriptor + kPreload + WATCHED);
		char line[100] = "";
		while (fgets(line, sizeof line, program.output) && strcmp(line, "shown\n") != 0)
			;
		EXPECT_STREQ(line, "shown\n") << descriptor;
		const std::uint64_t seen = compositor_record(*compositor).pictures;
		EXPECT_TRUE(await_record(*compositor, 10s,
		    [&](const CompositorRecord &record) { return record.pictures > seen + 2; }));
		const Outcome outcome = interrupt();
		EXPECT_EQ(outcome.status, 0) << descriptor;
		EXPECT_EQ(outcome.output, "");
	}
}

} // namespace
