/* animation-host: runs a program made for the unit on a PC. */
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <filesystem>
#include <new>
#include <vector>

#include <unistd.h>

#include <host/child.h>
#include <host/findings_printer.h>
#include <host/session.h>
#include <sinks/program_help.h>
#include <sinks/standard_descriptors.h>

namespace fs = std::filesystem;

namespace
{

constexpr int kExitFailure = 1;
constexpr int kExitFindings = 3;

ProgramHelp own_help()
{
	return {"animation-host",
	    std::string(
	        "usage: animation-host [OPTION]... -- PROGRAM [ARGUMENT]...\n"
	        "       animation-host --help | --version\n"
	        "\n"
	        "Runs a program on a compositor of its own, 2304 by 576 pixels, drawn in software.\n"
	        "Only the frames in which the program draws count.\n"
	        "\n"
	        "Frames:\n") +
	        kSinkUsage +
	        "\n"
	        "The program:\n"
	        "  --check[=strict]      tell what it does wrong, a line each on the standard error\n"
	        "  --compare FOLDER      hold its frames against those that animation-compare keeps there\n"
	        "  --report FILE.json    write what the run came to: docs/report.md\n"
	        "  --studio [PORT]       show its frames on a page for the browser, which can pause and\n"
	        "                        step it, and stays after its end until Ctrl-C\n"
	        "  --verbose             print its Wayland requests to the standard error\n"
	        "\n"
	        "Exit status: the program's, or 128 and the number of the signal that ended it. Also:\n"
	        "  0  the host ended the program: after N frames, or because the window was closed\n"
	        "  1  something failed in the host\n"
	        "  2  the arguments are wrong\n"
	        "  3  with --check=strict: the program did something wrong\n"
	        "\n"
	        "Examples:\n"
	        "  animation-host --window -- animation-play showcase.json\n"
	        "  animation-host --frames 10 --snapshot 10=frame.png -- ./minimal map_day.png\n"};
}

int refuse(const std::string &message)
{
	return refuse_arguments(own_help(), message);
}

/* The program's guard ends it when we have gone, so this may leave at once, and from any thread. */
[[noreturn]] void leave_without_memory()
{
	constexpr char kLine[] = "animation-host: out of memory\n";
	if (write(STDERR_FILENO, kLine, sizeof(kLine) - 1) < 0)
		_exit(kExitFailure);
	_exit(kExitFailure);
}

enum class Checks { kNone, kTell, kStrict };

/* False if the argument is no option without a value. */
bool take_flag(const char *argument, SessionOptions *options, Checks *checks)
{
	if (strcmp(argument, "--verbose") == 0)
		options->verbose = true;
	else if (strcmp(argument, "--check") == 0)
		*checks = Checks::kTell;
	else if (strcmp(argument, "--check=strict") == 0)
		*checks = Checks::kStrict;
	else
		return false;
	return true;
}

/* animation-compare draws by another host, and lies where this one does. */
int compare_with_kept(char **folder_and_program)
{
	std::error_code ignored;
	const fs::path folder = fs::read_symlink("/proc/self/exe", ignored).parent_path();
	fs::path compare = folder / "animation-compare";
	if (!fs::exists(compare, ignored))
		compare = folder / "../compare/animation-compare";
	std::vector<char *> arguments = {
	    const_cast<char *>("animation-compare"), const_cast<char *>("--program")};
	for (; *folder_and_program; ++folder_and_program)
		arguments.push_back(*folder_and_program);
	arguments.push_back(nullptr);
	execv(compare.c_str(), arguments.data());
	fprintf(stderr, "animation-host: cannot start %s: %s\n", compare.c_str(), strerror(errno));
	return kExitFailure;
}

int run(int argc, char **argv)
{
	SessionOptions options = {};
	options.descriptors = open_descriptors();
	occupy_standard_descriptors();
	Checks checks = Checks::kNone;
	if (answer_help(own_help(), argc, argv))
		return 0;
	int index = 1;
	while (index < argc && strcmp(argv[index], "--") != 0) {
		std::string error;
		const ArgumentResult result =
		    take_sink_argument(argc, argv, &index, &options.pictures, &error);
		if (result == ArgumentResult::taken)
			continue;
		if (result == ArgumentResult::wrong)
			return refuse(error);
		if (take_studio_argument(argc, argv, &index, &options.studio))
			continue;
		if (strcmp(argv[index], "--compare") == 0) {
			if (index == 1 && argc > 4)
				return compare_with_kept(argv + 2);
			return refuse("--compare comes first: --compare FOLDER -- PROGRAM [ARGUMENT]...");
		}
		if (take_flag(argv[index], &options, &checks)) {
			index++;
			continue;
		}
		if (strcmp(argv[index], "--report") != 0)
			return refuse(unknown_option(own_help(), argv[index]));
		options.report = index + 1 < argc ? argv[index + 1] : "";
		if (options.report.empty())
			return refuse("--report wants a file name");
		index += 2;
	}
	if (index + 1 >= argc)
		return refuse("no program is named after --");
	options.program = argv + index + 1;

	unsigned long findings = 0;
	if (checks != Checks::kNone)
		options.listeners.push_back(findings_printer(&findings));
	const int status = run_session(options);
	return checks == Checks::kStrict && findings > 0 ? kExitFindings : status;
}

} // namespace

int main(int argc, char **argv)
{
	std::set_new_handler(leave_without_memory);
	try {
		return run(argc, argv);
	} catch (const std::exception &error) {
		fprintf(stderr, "animation-host: %s\n", error.what());
		return kExitFailure;
	}
}
