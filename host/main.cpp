/* animation-host: runs a program made for the unit on a PC. */
#include <cstdio>
#include <cstring>
#include <exception>
#include <new>

#include <unistd.h>

#include <host/child.h>
#include <host/findings_printer.h>
#include <host/session.h>
#include <sinks/standard_descriptors.h>

namespace
{

constexpr int kExitFailure = 1;
constexpr int kExitUsage = 2;
constexpr int kExitFindings = 3;

void print_usage(FILE *stream)
{
	fprintf(stream,
	    "usage: animation-host [OPTION]... -- PROGRAM [ARGUMENT]...\n"
	    "Runs a program on a compositor of its own, 2304 by 576 pixels, drawn in software.\n"
	    "%s"
	    "  --check[=strict]      tell what the program does wrong, a line each on the standard error;\n"
	    "                        strict: exit status 3 if there was anything\n"
	    "  --report FILE.json    write what the run came to: docs/report.md\n"
	    "  --studio [PORT]       show them on a page for the browser, which can pause and step the\n"
	    "                        program, and stays after its end until Ctrl-C\n"
	    "  --verbose             print the program's Wayland requests to the standard error\n"
	    "Only the frames in which the program draws count. The exit status is the program's. It is 0\n"
	    "if the host ended the program: after N frames, or because the window was closed.\n",
	    kSinkUsage);
}

int refuse(const std::string &message)
{
	fprintf(stderr, "animation-host: %s\n", message.c_str());
	print_usage(stderr);
	return kExitUsage;
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

int run(int argc, char **argv)
{
	SessionOptions options = {};
	options.descriptors = open_descriptors();
	occupy_standard_descriptors();
	Checks checks = Checks::kNone;
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
		if (strcmp(argv[index], "--help") == 0) {
			print_usage(stdout);
			return 0;
		}
		if (take_flag(argv[index], &options, &checks)) {
			index++;
			continue;
		}
		if (strcmp(argv[index], "--report") != 0)
			return refuse(std::string("unknown option ") + argv[index]);
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
