/* animation-host: runs a program made for the unit on a PC. */
#include <cstdio>
#include <cstring>

#include <host/session.h>

static constexpr int kExitUsage = 2;

static void print_usage(FILE *stream)
{
	fprintf(stream,
	    "usage: animation-host [OPTION]... -- PROGRAM [ARGUMENT]...\n"
	    "Runs a program on a compositor of its own, 2304 by 576 pixels, drawn in software.\n"
	    "%s"
	    "  --verbose             print the program's Wayland requests to the standard error\n"
	    "Only the frames in which the program draws count. The exit status is the program's. It is 0\n"
	    "if the host ended the program: after N frames, or because the window was closed.\n",
	    kSinkUsage);
}

static int refuse(const std::string &message)
{
	fprintf(stderr, "animation-host: %s\n", message.c_str());
	print_usage(stderr);
	return kExitUsage;
}

int main(int argc, char **argv)
{
	SessionOptions options = {};
	int index = 1;
	while (index < argc && strcmp(argv[index], "--") != 0) {
		std::string error;
		const ArgumentResult result =
		    take_sink_argument(argc, argv, &index, &options.pictures, &error);
		if (result == ArgumentResult::taken)
			continue;
		if (result == ArgumentResult::wrong)
			return refuse(error);
		if (strcmp(argv[index], "--help") == 0) {
			print_usage(stdout);
			return 0;
		}
		if (strcmp(argv[index], "--verbose") != 0)
			return refuse(std::string("unknown option ") + argv[index]);
		options.verbose = true;
		index++;
	}
	if (index + 1 >= argc)
		return refuse("no program is named after --");
	options.program = argv + index + 1;

	block_session_signals();
	return run_session(options);
}
