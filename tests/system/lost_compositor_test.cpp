/* A compositor that says nothing, goes away or falls silent. */
#include <csignal>
#include <ctime>
#include <thread>

#include <poll.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <files.h>

#include "system_test.h"

using namespace std::chrono_literals;

namespace
{

struct LostCompositorTest : SystemTest {
	void show_and_await(std::uint32_t rgb)
	{
		show(ANI_FLASH, rgb, 0, 8);
		EXPECT_TRUE(eventually([&] { return last_eighths()[4] == rgb; }));
	}

	void TearDown() override
	{
		if (program > 0)
			kill(program, SIGKILL);
		SystemTest::TearDown();
	}

	void start(const char *path)
	{
		/* Leaks are looked for in this process: there the driver stays loaded until then. */
		setenv("ASAN_OPTIONS", "detect_leaks=0", 1);
		char *const arguments[] = {const_cast<char *>(path), nullptr};
		ASSERT_EQ(posix_spawn(&program, path, nullptr, nullptr, arguments, environ), 0);
	}

	int await_status()
	{
		int status = -1;
		EXPECT_TRUE(eventually([&] { return waitpid(program, &status, WNOHANG) == program; }));
		program = -1;
		return status;
	}

	pid_t program = -1;
};

/* A socket that accepts and is never read. */
int listen_in_silence(const std::string &path)
{
	sockaddr_un address = {AF_UNIX, {}};
	path.copy(address.sun_path, sizeof(address.sun_path) - 1);
	const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
	EXPECT_EQ(bind(fd, reinterpret_cast<const sockaddr *>(&address), sizeof(address)), 0);
	EXPECT_EQ(listen(fd, 1), 0);
	return fd;
}

double processor_seconds(pid_t process)
{
	clockid_t clock;
	timespec time = {};
	EXPECT_EQ(clock_getcpuclockid(process, &clock), 0);
	EXPECT_EQ(clock_gettime(clock, &time), 0);
	return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

TEST_F(LostCompositorTest, InitWaitsForASilentOneAtNoCost)
{
	const Folder folder;
	const int silent = listen_in_silence(folder / "silent");
	setenv("WAYLAND_DISPLAY", (folder / "silent").c_str(), 1);
	start(START_UP);
	pollfd connection = {silent, POLLIN, 0};
	ASSERT_EQ(poll(&connection, 1, 20000), 1);
	std::this_thread::sleep_for(200ms);
	const double before = processor_seconds(program);
	std::this_thread::sleep_for(1s);
	EXPECT_LT(processor_seconds(program) - before, 0.03);
	kill(program, SIGTERM);
	const int status = await_status();
	EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGTERM) << status;
	close(silent);
}

TEST_F(LostCompositorTest, OutlivesTheCompositor)
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

/* As examples/watch.c does. */
TEST_F(LostCompositorTest, IsNoticedByAnApplication)
{
	struct Case {
		bool hold_frames;
		void (*lose)(CompositorPtr &);
	};
	const Case cases[] = {
	    {false, [](CompositorPtr &compositor) { disconnect_clients(*compositor); }},
	    {false, [](CompositorPtr &compositor) { send_error(*compositor); }},
	    {false, [](CompositorPtr &compositor) { compositor.reset(); }},
	    {true, [](CompositorPtr &) {}},
	};
	for (const Case &c : cases) {
		start_compositor({.hold_frames = c.hold_frames});
		start(WATCH);
		ASSERT_TRUE(eventually([&] { return pictures() > 0; }));
		c.lose(compositor);
		const int status = await_status();
		EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 1) << status;
		compositor.reset();
	}
}

TEST_F(LostCompositorTest, EndsWhileTheCompositorWithholdsFrames)
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
