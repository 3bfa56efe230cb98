/* Programs whose compositor says nothing, goes away or stands still. */
#include <ctime>
#include <thread>

#include <sys/socket.h>
#include <sys/un.h>

#include <files.h>
#include <program.h>

#include "../system/system_test.h"

using namespace std::chrono_literals;

namespace
{

struct LostCompositor : SystemTest {
	const Folder folder;
	const std::string play = "$ANIMATION_PLAY " SCENES "/endless.json";
};

double processor_seconds(pid_t process)
{
	clockid_t clock;
	timespec time = {};
	EXPECT_EQ(clock_getcpuclockid(process, &clock), 0);
	EXPECT_EQ(clock_gettime(clock, &time), 0);
	return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

TEST_F(LostCompositor, IsWaitedForAtNoCost)
{
	sockaddr_un address = {AF_UNIX, {}};
	(folder / "silent").copy(address.sun_path, sizeof(address.sun_path) - 1);
	const int silent = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
	EXPECT_EQ(bind(silent, reinterpret_cast<const sockaddr *>(&address), sizeof(address)), 0);
	EXPECT_EQ(listen(silent, 1), 0);
	setenv("WAYLAND_DISPLAY", address.sun_path, 1);
	for (const std::string &command : {std::string("$START_UP"), play}) {
		const Program program = start_program(command);
		const int connection = accept(silent, nullptr, nullptr);
		std::this_thread::sleep_for(200ms);
		const double before = processor_seconds(program.pid);
		std::this_thread::sleep_for(1s);
		EXPECT_LT(processor_seconds(program.pid) - before, 0.1); /* 0.017 when quiet */
		kill(program.pid, SIGTERM);
		const Outcome outcome = end_of(program);
		EXPECT_EQ(outcome.status < 128, command == play) << outcome.status << outcome.output;
		close(connection);
	}
	close(silent);
}

/* A player that was asked to end may have nothing left to remove. */
TEST_F(LostCompositor, EndsTheProgram)
{
	struct Case {
		const char *name;
		void (*lose)(CompositorPtr &);
		int signal = 0; /* sent to the program then */
	};
	const auto stay = [](CompositorPtr &) {};
	const Case cases[] = {
	    {"gone", [](CompositorPtr &compositor) { disconnect_clients(*compositor); }},
	    {"at fault", [](CompositorPtr &compositor) { send_error(*compositor); }},
	    {"ended", [](CompositorPtr &compositor) { compositor.reset(); }},
	    {"silent", stay},
	    {"silent, SIGINT", stay, SIGINT},
	    {"stopped, SIGTERM", stay, SIGTERM},
	};
	for (const std::string &command :
	    {std::string("$WATCH"), std::string("$COCKPIT $PICTURES /dev/null"), play})
		for (const Case &c : cases) {
			SCOPED_TRACE(command + c.name);
			if (c.signal && command != play)
				continue;
			start_compositor({.hold_frames = std::string(c.name).starts_with("silent")});
			const Program program = start_program(command);
			EXPECT_TRUE(eventually([&] { return pictures() > 0; }));
			std::unique_lock stopped(picture_lock, std::defer_lock);
			if (c.signal == SIGTERM)
				stopped.lock();
			const auto begin = std::chrono::steady_clock::now();
			c.lose(compositor);
			if (c.signal)
				kill(program.pid, c.signal);
			const Outcome outcome = end_of(program);
			EXPECT_LT(std::chrono::steady_clock::now() - begin, c.signal ? 3s : 10s);
			EXPECT_LT(outcome.status, c.signal ? 128 : 2) << outcome.output;
			const std::size_t line = outcome.output.find("animation-play: ");
			EXPECT_EQ(outcome.output.rfind("animation-play: "), line) << outcome.output;
			if (!c.signal) {
				EXPECT_EQ(outcome.status, 1);
				EXPECT_EQ(line != outcome.output.npos, command == play) << outcome.output;
			}
		}
}

} // namespace
