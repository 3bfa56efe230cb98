#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <utility>

#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <picture_files.h>
#include <program.h>
#include <wait.h>

using namespace std::chrono_literals;
namespace fs = std::filesystem;

namespace
{

/* With the arguments PICTURES END. The whole stacks that the host's own GStreamer needs would take
 * the painter's driver into a deadlock; and a layer is preloaded. */
const std::string kPainter =
    "-- env ASAN_OPTIONS=detect_leaks=0:verify_asan_link_order=0 " PAINTER " ";

bool is_running(pid_t process)
{
	const std::string status = read_file("/proc/" + std::to_string(process) + "/stat");
	return !status.empty() && status.find(") Z ") == status.npos; /* nobody may reap it */
}

struct HostTest : testing::Test {
	Folder temp;
	const std::string folder = temp.path;
	std::string command = HOST_PROGRAM; /* after what it is to find in the environment */
	Program host = {-1, nullptr};
	pid_t painter = -1; /* known once it has painted */

	void start(const std::string &arguments)
	{
		/* Leaks are looked for. The folder takes what a killed host leaves behind; the others stay
		 * out. */
		const char *asan = getenv("ASAN_OPTIONS");
		host = start_program("env 'ASAN_OPTIONS=" + std::string(asan ? asan : "") +
		                     "' WAYLAND_SOCKET=77 GALLIUM_DRIVER=softpipe TMPDIR=" + folder + " " +
		                     command + " " + arguments + " 2>" + folder + "/errors");
	}
	/* A signal to the painter is sent only after this: to process -1 it would end them all. */
	bool has_painted()
	{
		char line[100];
		while (fgets(line, sizeof line, host.output))
			if (sscanf(line, "painted, process %d", &painter) == 1)
				return painter > 1;
		return false;
	}
	int run(const std::string &arguments)
	{
		start(arguments);
		return end_of(host).status;
	}
	std::string errors() const
	{
		return read_file(folder + "/errors");
	}
};

TEST_F(HostTest, PassesTheExitStatusOn)
{
	const std::pair<std::string, int> cases[] = {
	    {kPainter + "3 0", 0},
	    {"--frames 100 " + kPainter + "3 5", 5},
	    {"--frames 3 " + kPainter + "2 abort-late", 128 + SIGABRT},
	    {"-- sh -c 'kill -ABRT $$'", 128 + SIGABRT},
	    {"-- /no/such/program", 127},
	    {"-- /dev/null", 126},
	    {"", 2},
	    {"--", 2},
	    {"--frames 0 -- true", 2},
	    {"--frames 5s -- true", 2},
	    {"--frames 18446744073709551616 -- true", 2},
	    {"--snapshot 0=a.png -- true", 2},
	    {"--snapshot 12= -- true", 2},
	    {"--record", 2},
	    {"--unknown -- true", 2},
	};
	for (const auto &[arguments, status] : cases) {
		EXPECT_EQ(run(arguments), status) << arguments << errors();
		const bool host_speaks = status == 2 || status == 126 || status == 127;
		EXPECT_EQ(errors().starts_with("animation-host: "), host_speaks) << errors();
	}
}

TEST_F(HostTest, LeadsTheProgramToItsPrivateFolder)
{
	start("-- sh -c 'test -S $XDG_RUNTIME_DIR/$WAYLAND_DISPLAY && test -z \"$WAYLAND_SOCKET\" && "
	      "echo $LIBGL_ALWAYS_SOFTWARE $GALLIUM_DRIVER $XDG_RUNTIME_DIR'");
	char runtime[256] = "";
	EXPECT_EQ(fscanf(host.output, "1 llvmpipe %255s", runtime), 1);
	EXPECT_EQ(end_of(host).status, 0);
	EXPECT_FALSE(fs::exists(runtime)) << runtime;
}

TEST_F(HostTest, LeadsTheProgramToItsCompanions)
{
	constexpr const char *kCompanions[] = {
	    "libanimation-egl-import.so", "gstreamer/libgstanimationdecoder.so"};
	const fs::path built = fs::path(HOST_PROGRAM).parent_path() / "../device";
	const fs::path odd = folder + "/of: a user", device = odd / "device";
	fs::create_directories(odd / "host");
	fs::create_directories(device / "gstreamer");
	fs::copy(HOST_PROGRAM, odd / "host");
	for (const char *companion : kCompanions)
		fs::copy(built / companion, device / companion);
	/* A registry of the test's own, with nothing but the decoder in it. */
	const std::string alone = "GST_PLUGIN_SYSTEM_PATH_1_0= GST_REGISTRY=" + folder + "/registry ";
	for (const std::string users : {"GST_PLUGIN_PATH=/none ", "GST_PLUGIN_PATH_1_0= "}) {
		command = alone + users + "'" + odd.string() + "/host/animation-host'";
		EXPECT_EQ(run("-- sh -c 'grep -q egl-import /proc/self/maps && "
		              "gst-inspect-1.0 --exists ducatih264decvpe'"),
		    0)
		    << users;
		EXPECT_EQ(errors(), "");
	}
	for (const char *companion : kCompanions)
		fs::remove(device / companion);
	EXPECT_EQ(run("-- true"), 0);
	for (const std::string companion : kCompanions)
		EXPECT_NE(errors().find(companion + " is missing"), std::string::npos) << errors();
}

TEST_F(HostTest, EndsAfterTheFramesAsked)
{
	const std::string last = folder + "/a=b.png", all = folder + "/all.mp4";
	EXPECT_EQ(run("--frames 5 --verbose --snapshot 5=" + last + " --record " + all + " " +
	              kPainter + "100000 3"),
	    0);
	EXPECT_GT(fs::file_size(all), 500U);
	EXPECT_NE(errors().find("xdg_surface.set_fullscreen(nil)"), std::string::npos) << errors();

	const Image image = read_png(last);
	ASSERT_EQ(image.rgb.size(), 2304U * 576 * 3);
	for (std::size_t i = 0; i < image.rgb.size(); i++)
		ASSERT_EQ(image.rgb[i], i % 3 == 0 ? 255 : 0) << "byte " << i;

	EXPECT_EQ(run("--frames 3 --snapshot 9=" + last + " " + kPainter + "3 0"), 1);
	EXPECT_EQ(errors(), "animation-host: no frame 9 came for " + last + "\n");
}

TEST_F(HostTest, LeavesNoProgramBehind)
{
	struct Case {
		std::string arguments;
		int sent, status;
		std::chrono::seconds at_least;
	};
	const Case cases[] = {
	    {"--frames 3 " + kPainter + "2 stubborn", 0, 0, 3s},
	    {kPainter + "1 interrupt", SIGINT, 1 /* time */, 0s},
	    {kPainter + "1 interrupt", SIGTERM, 128 + SIGTERM, 0s},
	    {kPainter + "1 interrupt", SIGKILL, 128 + SIGKILL, 0s},
	};
	for (const auto &[arguments, sent, status, at_least] : cases) {
		const auto begin = std::chrono::steady_clock::now();
		start(arguments);
		ASSERT_TRUE(has_painted());
		if (sent)
			kill(host.pid, sent);
		EXPECT_EQ(end_of(host).status, status);
		EXPECT_GE(std::chrono::steady_clock::now() - begin, at_least);
		EXPECT_TRUE(wait_until([&] { return !is_running(painter); })) << "signal " << sent;
	}
}

/* The guard is the program's parent. */
TEST_F(HostTest, EndsTheProgramWhoseGuardWasKilled)
{
	start(kPainter + "1 stubborn");
	ASSERT_TRUE(has_painted());
	pid_t guard = -1;
	const std::string status = read_file("/proc/" + std::to_string(painter) + "/stat");
	ASSERT_EQ(sscanf(status.c_str() + status.rfind(')'), ") %*c %d", &guard), 1);
	ASSERT_GT(guard, 1);
	kill(guard, SIGKILL);
	EXPECT_NE(end_of(host).status, 0);
	EXPECT_TRUE(wait_until([&] { return !is_running(painter); }));
}

TEST_F(HostTest, LeavesNoPartOfASnapshotThatCouldNotBeWritten)
{
	command = "sh -c 'trap \"\" XFSZ; exec \"$0\" \"$@\"' " HOST_PROGRAM;
	start("--snapshot 30=" + folder + "/late.png " + kPainter + "1 interrupt");
	ASSERT_TRUE(has_painted());
	const rlimit nothing_more = {64, 64};
	ASSERT_EQ(prlimit(host.pid, RLIMIT_FSIZE, &nothing_more, nullptr), 0);
	EXPECT_EQ(end_of(host).status, 1);
	for (const fs::directory_entry &entry : fs::directory_iterator(folder))
		EXPECT_EQ(entry.path().filename().string().find("late.png"), std::string::npos) << entry;
}

/* Two that no signal to the program or its group would reach, one of which stays after SIGTERM. */
TEST_F(HostTest, TakesWhatTheProgramStartedWithIt)
{
	const std::string script =
	    temp.file("program", std::string("setsid sh -c 'trap \"\" TERM; exec sleep 100' & echo $!\n"
	                                     "(setsid sleep 101 & echo $!)\n"
	                                     "[ \"$1\" ] || sleep 102\n"));
	const std::pair<int, int> cases[] = {
	    {SIGKILL, 128 + SIGKILL}, {SIGTERM, 128 + SIGTERM}, {0, 0}};
	for (const auto &[sent, status] : cases) {
		start("-- sh " + script + (sent ? "" : " end"));
		pid_t started[2] = {-1, -1};
		ASSERT_EQ(fscanf(host.output, "%d %d", &started[0], &started[1]), 2);
		if (sent)
			kill(host.pid, sent);
		EXPECT_EQ(end_of(host).status, status);
		for (const pid_t process : started)
			EXPECT_TRUE(wait_until([&] { return !is_running(process); })) << "signal " << sent;
	}
}

TEST_F(HostTest, SweepsTheFolderOfADeadHostAlone)
{
	start("-- sh -c 'echo $XDG_RUNTIME_DIR; exec sleep 100'");
	char dead[256] = "";
	ASSERT_EQ(fscanf(host.output, "%255s", dead), 1);
	const Program owner = host;
	const auto sees_folder = [&] { return run("-- test -S " + std::string(dead) + "/wayland-0"); };
	EXPECT_EQ(sees_folder(), 0) << "of a host that lives";
	kill(owner.pid, SIGKILL);
	end_of(owner);
	EXPECT_EQ(sees_folder(), 1);

	/* One that was ended before it had a socket, and one that is about to make it. */
	const fs::path half = folder + "/animation-host-half", young = folder + "/animation-host-young";
	for (const fs::path &made : {half, young}) {
		fs::create_directory(made);
		fs::permissions(made, fs::perms::owner_all);
	}
	fs::last_write_time(half, fs::file_time_type::clock::now() - 2min);
	EXPECT_EQ(run("-- true"), 0);
	EXPECT_FALSE(fs::exists(half));
	EXPECT_TRUE(fs::exists(young));
}

TEST_F(HostTest, KeepsItsDescriptorsFromTheProgram)
{
	const std::string script = "sh " + temp.file("program", std::string("echo /proc/$$/fd/*"));
	const auto last_numbers = [](const Program &program) {
		std::istringstream paths(end_of(program).output);
		std::string numbers;
		for (std::string path; paths >> path;)
			numbers += path.substr(path.rfind('/'));
		return numbers;
	};
	start("--record " + folder + "/a.mp4 -- " + script);
	const std::string under_host = last_numbers(host);
	EXPECT_EQ(under_host, last_numbers(start_program(script)));
}

/* A window's desktop may say nothing, and GStreamer waits for threads that it could not start. */
TEST_F(HostTest, EndsOnASignalWhileItsSinksOpen)
{
	sockaddr_un address = {AF_UNIX, {}};
	(folder + "/silent").copy(address.sun_path, sizeof(address.sun_path) - 1);
	const int silent = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
	ASSERT_EQ(bind(silent, reinterpret_cast<const sockaddr *>(&address), sizeof(address)), 0);
	ASSERT_EQ(listen(silent, 1), 0);
	command = "env -u WAYLAND_SOCKET SDL_VIDEODRIVER=wayland WAYLAND_DISPLAY=" + folder +
	          "/silent " + command;
	for (const int sent : {SIGTERM, SIGINT}) {
		start("--window -- touch " + folder + "/run");
		const int connection = accept(silent, nullptr, nullptr);
		kill(host.pid, sent);
		EXPECT_EQ(end_of(host).status, 128 + sent);
		EXPECT_FALSE(fs::exists(folder + "/run"));
		close(connection);
	}
	close(silent);
}

TEST_F(HostTest, EndsOnASignalWhileItsSnapshotIsNotRead)
{
	const std::string pipe = folder + "/pipe";
	ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
	pollfd reader = {open(pipe.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC), POLLIN, 0};
	ASSERT_GT(fcntl(reader.fd, F_SETPIPE_SZ, 4096), 0) << "less than a picture";
	start("--snapshot 1=" + pipe + " " + kPainter + "1 stubborn");
	ASSERT_EQ(poll(&reader, 1, 60000), 1);
	kill(host.pid, SIGTERM);
	EXPECT_EQ(end_of(host).status, 128 + SIGTERM);
	close(reader.fd);
}

TEST_F(HostTest, EndsTheProgramWhenTheDiskIsFull)
{
	EXPECT_EQ(run("--record /dev/full " + kPainter + "100000 1"), 1);
	EXPECT_TRUE(errors().starts_with("animation-host: cannot record to /dev/full: ")) << errors();
	EXPECT_NE(errors().find("No space left"), std::string::npos) << errors();
}

TEST_F(HostTest, LetsATerminalInterruptTheProgramOnce)
{
	int terminal = -1;
	const pid_t child = forkpty(&terminal, nullptr, nullptr, nullptr);
	if (child < 0)
		GTEST_SKIP() << "no terminal to be had here: " << strerror(errno);
	if (child == 0) {
		execl("/bin/sh", "sh", "-c", ("exec " + command + " " + kPainter + "1 interrupt").c_str(),
		    nullptr);
		_exit(99);
	}
	host = {child, fdopen(terminal, "r")};
	ASSERT_TRUE(has_painted());
	ASSERT_EQ(write(terminal, "\x03", 1), 1);
	EXPECT_EQ(end_of(host).status, 1) << "one SIGINT reaches the program";
}

TEST_F(HostTest, OpensItsSinksBeforeTheProgramStarts)
{
	unsetenv("DISPLAY");
	unsetenv("WAYLAND_DISPLAY");
	const std::string good = "--snapshot 1=" + folder + "/good.png ", nowhere = folder + "/no/file";
	const std::pair<std::string, std::string> cases[] = {
	    {"--record " + nowhere, "cannot record to " + nowhere},
	    {"--snapshot 2=" + nowhere, nowhere},
	    {"--window", "cannot open a window: there is no display"},
	};
	for (const auto &[sink, trouble] : cases) {
		EXPECT_EQ(run(good + sink + " -- touch " + folder + "/run"), 1);
		EXPECT_NE(errors().find(trouble), std::string::npos) << errors();
		EXPECT_FALSE(fs::exists(folder + "/good.png"));
		EXPECT_FALSE(fs::exists(folder + "/run"));
	}
}

} // namespace
