#include <compare/drawing.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>

#include <fcntl.h>
#include <spawn.h>
#include <sys/utsname.h>
#include <sys/wait.h>
#include <unistd.h>

#include <offscreen/offscreen_window.h>

namespace fs = std::filesystem;

namespace
{

/* Beside this program where both are installed, in its room's folder in the build tree. */
std::string path_of(const char *program, const char *room)
{
	std::error_code ignored;
	const fs::path folder = fs::read_symlink("/proc/self/exe", ignored).parent_path();
	const fs::path installed = folder / program;
	return fs::exists(installed, ignored) ? installed : folder / ".." / room / program;
}

std::vector<std::string> command_of(
    const Drawn &drawn, const std::vector<std::uint64_t> &frames, const fs::path &folder)
{
	std::vector<std::string> command;
	if (drawn.is_program)
		command = {path_of("animation-host", "host")};
	else
		command = {path_of("animation-play", "play"), "--offline"};
	for (const std::uint64_t frame : frames) {
		const std::string number = std::to_string(frame);
		const fs::path file = folder / (number + ".png");
		command.insert(command.end(), {"--snapshot", number + "=" + file.string()});
	}
	command.insert(command.end(), {"--frames", std::to_string(std::ranges::max(frames))});
	if (drawn.is_program)
		command.emplace_back("--");
	command.insert(command.end(), drawn.command.begin(), drawn.command.end());
	return command;
}

/* Its exit status; -1 if it did not start or was ended by a signal. */
int run(const std::vector<std::string> &command, const fs::path &log)
{
	std::vector<char *> arguments;
	for (const std::string &argument : command)
		arguments.push_back(const_cast<char *>(argument.c_str()));
	arguments.push_back(nullptr);
	posix_spawn_file_actions_t actions;
	posix_spawn_file_actions_init(&actions);
	posix_spawn_file_actions_addopen(
	    &actions, STDOUT_FILENO, log.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
	posix_spawn_file_actions_adddup2(&actions, STDOUT_FILENO, STDERR_FILENO);
	pid_t pid = -1;
	int status = -1;
	const bool started =
	    posix_spawn(&pid, arguments[0], &actions, nullptr, arguments.data(), environ) == 0;
	posix_spawn_file_actions_destroy(&actions);
	return started && waitpid(pid, &status, 0) == pid && WIFEXITED(status) ? WEXITSTATUS(status)
	                                                                       : -1;
}

std::string text_of(const fs::path &file)
{
	std::ifstream stream(file);
	return {std::istreambuf_iterator<char>(stream), {}};
}

} // namespace

bool draw_frames(const Drawn &drawn, const std::vector<std::uint64_t> &frames,
    const fs::path &folder, std::string *error)
{
	const fs::path log = folder / "log";
	const int status = run(command_of(drawn, frames, folder), log);
	if (status == 0)
		return true;
	*error = text_of(log);
	if (error->empty())
		*error = "the program did not start";
	return false;
}

std::string machine_class()
{
	utsname system = {};
	uname(&system);
	std::string error;
	const OffscreenWindowPtr window = open_offscreen_window(&error);
	if (!window)
		return std::string(system.machine) + ", " + error;
	const std::string version = reinterpret_cast<const char *>(glGetString(GL_VERSION));
	const std::size_t mesa = version.find("Mesa");
	return std::string(system.machine) + ", " +
	       reinterpret_cast<const char *>(glGetString(GL_RENDERER)) +
	       (mesa == std::string::npos ? "" : ", " + version.substr(mesa));
}
