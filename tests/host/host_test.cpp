#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <png.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace std::chrono_literals;

namespace
{

struct Ended {
	int status; /* as a shell tells it */
	std::string output;
	std::string errors;
};

std::string read_all(int fd)
{
	std::string all;
	char part[4096];
	ssize_t length;
	while ((length = read(fd, part, sizeof(part))) > 0)
		all.append(part, static_cast<std::size_t>(length));
	return all;
}

[[noreturn]] void execute_host(std::vector<std::string> arguments)
{
	arguments.insert(arguments.begin(), HOST_PROGRAM);
	std::vector<char *> argv;
	for (std::string &argument : arguments)
		argv.push_back(argument.data());
	argv.push_back(nullptr);
	execv(argv[0], argv.data());
	_exit(99);
}

int status_of(pid_t process)
{
	int status = 0;
	waitpid(process, &status, 0);
	return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

struct HostTest : testing::Test {
	std::filesystem::path folder;
	pid_t host = -1;
	FILE *output = nullptr;

	void SetUp() override
	{
		std::string name = testing::TempDir() + "host-XXXXXX";
		ASSERT_TRUE(mkdtemp(name.data()));
		folder = name;
		setenv("TMPDIR", name.c_str(), 1); /* for what a killed host leaves behind */
	}
	void TearDown() override
	{
		if (output)
			fclose(output);
		unsetenv("TMPDIR");
		std::filesystem::remove_all(folder);
	}

	/* The standard error goes to a file, the standard output to a pipe. */
	void start(const std::vector<std::string> &arguments)
	{
		int ends[2];
		ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
		host = fork();
		if (host == 0) {
			const int errors = open((folder / "errors").c_str(), O_CREAT | O_RDWR | O_TRUNC, 0600);
			dup2(ends[1], STDOUT_FILENO);
			dup2(errors, STDERR_FILENO);
			execute_host(arguments);
		}
		close(ends[1]);
		output = fdopen(ends[0], "r");
	}

	/* The program's process, once it has painted what it was told to. */
	pid_t await_painted()
	{
		int process = 0;
		EXPECT_EQ(fscanf(output, "painted, process %d", &process), 1);
		return process;
	}

	Ended await_end()
	{
		Ended ended = {.output = read_all(fileno(output))};
		ended.status = status_of(host);
		const int errors = open((folder / "errors").c_str(), O_RDONLY | O_CLOEXEC);
		ended.errors = read_all(errors);
		close(errors);
		fclose(std::exchange(output, nullptr));
		return ended;
	}

	Ended run(const std::vector<std::string> &arguments)
	{
		start(arguments);
		return await_end();
	}
};

bool is_running(pid_t process)
{
	std::ifstream status("/proc/" + std::to_string(process) + "/stat");
	std::string number, name, state;
	return status >> number >> name >> state && state != "Z"; /* nobody may be there to reap it */
}

/* Of the first pixel; -1 if there is no such picture. */
int grey_of(const std::string &path)
{
	png_image image = {.version = PNG_IMAGE_VERSION};
	if (!png_image_begin_read_from_file(&image, path.c_str()))
		return -1;
	image.format = PNG_FORMAT_GRAY;
	std::vector<unsigned char> pixels(PNG_IMAGE_SIZE(image));
	if (!png_image_finish_read(&image, nullptr, pixels.data(), 0, nullptr))
		return -1;
	return pixels[0];
}

TEST_F(HostTest, PassesTheExitStatusOn)
{
	const struct {
		std::vector<std::string> arguments;
		int status;
	} cases[] = {
	    {{"--", SHM_PROGRAM, "3", "0"}, 0},
	    {{"--", SHM_PROGRAM, "3", "5"}, 5},
	    {{"--frames", "100", "--", SHM_PROGRAM, "3", "5"}, 5},
	    {{"--", SHM_PROGRAM, "0", "abort"}, 128 + SIGABRT},
	    {{"--", "sh", "-c", "kill -KILL $$"}, 128 + SIGKILL},
	    {{"--", "/no/such/program"}, 127},
	    {{"--", "/dev/null"}, 126},
	    {{}, 2},
	    {{"--"}, 2},
	    {{"--frames", "3"}, 2},
	    {{"--frames", "0", "--", "true"}, 2},
	    {{"--unknown", "--", "true"}, 2},
	    {{"true"}, 2},
	};
	for (const auto &line : cases) {
		const Ended ended = run(line.arguments);
		EXPECT_EQ(ended.status, line.status) << ended.errors;
		const bool host_speaks = line.status == 2 || line.status == 126 || line.status == 127;
		EXPECT_EQ(ended.errors.starts_with("animation-host: "), host_speaks) << ended.errors;
	}
}

TEST_F(HostTest, LeadsTheProgramToItsPrivateFolder)
{
	setenv("WAYLAND_SOCKET", "77", 1);
	setenv("GALLIUM_DRIVER", "softpipe", 1);
	const Ended ended = run({"--", "sh", "-c",
	    "test -S $XDG_RUNTIME_DIR/$WAYLAND_DISPLAY && test -z \"$WAYLAND_SOCKET\" && "
	    "echo $LIBGL_ALWAYS_SOFTWARE $GALLIUM_DRIVER $XDG_RUNTIME_DIR"});
	unsetenv("WAYLAND_SOCKET");
	unsetenv("GALLIUM_DRIVER");
	EXPECT_EQ(ended.status, 0);
	char runtime[256] = "";
	EXPECT_EQ(sscanf(ended.output.c_str(), "1 llvmpipe %255s", runtime), 1) << ended.output;
	EXPECT_FALSE(std::filesystem::exists(runtime)) << runtime;
}

TEST_F(HostTest, EndsAfterTheFramesAsked)
{
	const std::string last = folder / "5.png";
	const Ended ended = run({"--frames", "5", "--snapshot", "5=" + last, "--verbose", "--record",
	    folder / "all.mp4", "--", SHM_PROGRAM, "100000", "3"});
	EXPECT_EQ(ended.status, 0) << ended.errors;
	EXPECT_EQ(grey_of(last), 5);
	EXPECT_GT(std::filesystem::file_size(folder / "all.mp4"), 500U);
	EXPECT_NE(ended.errors.find("xdg_surface.set_fullscreen(nil)"), std::string::npos);
}

TEST_F(HostTest, KillsAProgramThatStays)
{
	const auto begin = std::chrono::steady_clock::now();
	start({"--frames", "3", "--", SHM_PROGRAM, "2", "stubborn"});
	const pid_t program = await_painted();
	EXPECT_EQ(await_end().status, 0);
	EXPECT_GE(std::chrono::steady_clock::now() - begin, 3s);
	EXPECT_FALSE(is_running(program));
}

TEST_F(HostTest, TellsOfACrashAtTheEnd)
{
	EXPECT_EQ(run({"--frames", "3", "--", SHM_PROGRAM, "2", "abort-late"}).status, 128 + SIGABRT);
}

TEST_F(HostTest, HandsSignalsOn)
{
	start({"--", SHM_PROGRAM, "1", "interrupt"});
	await_painted();
	kill(host, SIGINT);
	EXPECT_EQ(await_end().status, 1) << "one SIGINT was sent";

	start({"--", SHM_PROGRAM, "1", "interrupt"});
	await_painted();
	kill(host, SIGTERM);
	EXPECT_EQ(await_end().status, 128 + SIGTERM);

	start({"--", SHM_PROGRAM, "1", "interrupt"});
	const pid_t program = await_painted();
	kill(host, SIGKILL);
	EXPECT_EQ(await_end().status, 128 + SIGKILL);
	for (int tries = 0; tries < 1000 && is_running(program); tries++)
		std::this_thread::sleep_for(10ms);
	EXPECT_FALSE(is_running(program)) << "left behind";
}

TEST_F(HostTest, LetsATerminalInterruptTheProgramOnce)
{
	int terminal = -1;
	const pid_t host = forkpty(&terminal, nullptr, nullptr, nullptr);
	ASSERT_GE(host, 0);
	if (host == 0)
		execute_host({"--", SHM_PROGRAM, "1", "interrupt"});
	std::string shown;
	char part[256];
	ssize_t length;
	while (shown.find("painted") == std::string::npos &&
	       (length = read(terminal, part, sizeof(part))) > 0)
		shown.append(part, static_cast<std::size_t>(length));
	ASSERT_EQ(write(terminal, "\x03", 1), 1);
	EXPECT_EQ(status_of(host), 1) << "one SIGINT reaches the program";
	close(terminal);
}

TEST_F(HostTest, OpensItsSinksBeforeTheProgramStarts)
{
	const std::string started = folder / "started";
	const std::string nowhere = folder / "missing" / "file";
	for (const std::vector<std::string> &sink : {std::vector<std::string>{"--record", nowhere},
	         std::vector<std::string>{"--snapshot", "1=" + nowhere}}) {
		std::vector<std::string> arguments = sink;
		arguments.insert(arguments.end(), {"--", "touch", started});
		const Ended ended = run(arguments);
		EXPECT_EQ(ended.status, 1);
		EXPECT_TRUE(ended.errors.starts_with("animation-host: cannot ")) << ended.errors;
		EXPECT_NE(ended.errors.find(nowhere), std::string::npos) << ended.errors;
		EXPECT_FALSE(std::filesystem::exists(started));
	}
}

TEST_F(HostTest, FailsIfASnapshotIsNeverReached)
{
	const std::string late = folder / "late.png";
	const Ended ended = run({"--snapshot", "9=" + late, "--", SHM_PROGRAM, "3", "0"});
	EXPECT_EQ(ended.status, 1);
	EXPECT_EQ(ended.errors, "animation-host: no picture 9 came for " + late + "\n");
}

} // namespace
