/* animation-play: plays a scene file through the library's public calls. */
#include <cstdio>
#include <cstring>
#include <exception>
#include <filesystem>
#include <new>
#include <string>
#include <string_view>

#include <unistd.h>

#include <sinks/program_help.h>
#include <sinks/standard_descriptors.h>
#include <studio/studio.h>

#include <play/performance.h>
#include <play/studio.h>

namespace
{

constexpr int kFailed = 1;
constexpr int kWrongInput = 2;

struct Arguments {
	bool offline = false;
	bool has_sinks = false;
	SinkArguments sinks;
	Stretch stretch;
	std::uint64_t jobs = 1;
	std::string report; /* file; empty: none */
	StudioArgument studio;
	std::string scene;
};

ProgramHelp own_help()
{
	return {"animation-play",
	    std::string(
	        "usage: animation-play SCENE.json\n"
	        "       animation-play --offline [OPTION]... SCENE.json\n"
	        "       animation-play --studio [PORT] SCENE.json\n"
	        "       animation-play --help | --version\n"
	        "\n"
	        "Plays a scene file on the Wayland display of the environment; animation-host offers one.\n"
	        "\n"
	        "Without a display, frame by frame and without waiting:\n"
	        "  --offline             play so; the options below need it\n") +
	        kSinkUsage +
	        "  --from N, --to N      only the frames from N on, or up to N, counted from 1 in the whole\n"
	        "                        scene: those before are run, but not drawn\n"
	        "  --jobs N              draw N slices at once, each in a process\n"
	        "  --report FILE.json    write what the run came to: docs/report.md\n"
	        "\n"
	        "On a page for the browser, where it can be paused, led to any frame and edited:\n"
	        "  --studio [PORT]       print the page's address; PORT is one of 127.0.0.1, without it any\n"
	        "                        that is free\n"
	        "\n"
	        "Exit status:\n"
	        "  0  the scene was played, to its end or to SIGINT or SIGTERM\n"
	        "  1  something failed while it played\n"
	        "  2  the scene or the arguments are wrong\n"
	        "\n"
	        "Examples:\n"
	        "  animation-play --offline --frames 100 --snapshot 100=frame.png scene.json\n"
	        "  animation-play --offline --record scene.mp4 scene.json\n"};
}

/* Where the number of this option goes; NULL for any other. */
std::uint64_t *count_of(std::string_view option, Arguments *arguments)
{
	if (option == "--from")
		return &arguments->stretch.from;
	if (option == "--to")
		return &arguments->stretch.to;
	if (option == "--jobs")
		return &arguments->jobs;
	return nullptr;
}

/* Empty if all is well. */
std::string take_arguments(int argc, char **argv, Arguments *arguments)
{
	for (int i = 1; i < argc; ++i) {
		std::string error;
		int next = i;
		const bool has_record = !arguments->sinks.sinks.record.empty();
		if (has_record && std::strcmp(argv[i], "--record") == 0)
			return "only one --record can be given";
		switch (take_sink_argument(argc, argv, &next, &arguments->sinks, &error)) {
		case ArgumentResult::wrong:
			return error;
		case ArgumentResult::taken:
			arguments->has_sinks = true;
			i = next - 1;
			continue;
		case ArgumentResult::not_ours:
			break;
		}
		if (take_studio_argument(argc, argv, &next, &arguments->studio)) {
			i = next - 1;
			continue;
		}
		if (std::uint64_t *const count = count_of(argv[i], arguments)) {
			const std::string option = argv[i];
			const std::string value = ++i < argc ? argv[i] : "";
			if (!parse_count(value, count))
				return option + " wants a number from 1 up, not \"" + value + "\"";
			arguments->has_sinks = true;
		} else if (std::strcmp(argv[i], "--report") == 0) {
			arguments->report = ++i < argc ? argv[i] : "";
			if (arguments->report.empty())
				return "--report wants a file name";
			arguments->has_sinks = true;
		} else if (std::strcmp(argv[i], "--offline") == 0)
			arguments->offline = true;
		else if (argv[i][0] == '-')
			return unknown_option(own_help(), argv[i]);
		else if (!arguments->scene.empty())
			return std::string("unexpected argument ") + argv[i];
		else
			arguments->scene = argv[i];
	}
	if (arguments->scene.empty())
		return "no scene given";
	if (arguments->jobs > 1 && arguments->sinks.sinks.window)
		return "--window shows one process's frames, so it does not go with --jobs";
	if (!arguments->report.empty() && (arguments->jobs > 1 || arguments->stretch.from > 1))
		return "--report tells of a whole run, so it goes with neither --jobs nor --from";
	if (arguments->studio.is_wanted && (arguments->offline || arguments->has_sinks))
		return "--studio goes without --offline and its options";
	if (arguments->has_sinks && !arguments->offline)
		return "pictures of a live scene are the compositor's, give these options to animation-host";
	return "";
}

/* Reading the scene changes the working folder. */
void fix_paths(SinkOptions *sinks, std::string *report)
{
	sinks->folder = std::filesystem::current_path();
	if (!report->empty())
		*report = std::filesystem::absolute(*report);
	if (!sinks->record.empty())
		sinks->record = std::filesystem::absolute(sinks->record);
	for (Snapshot &snapshot : sinks->snapshots)
		snapshot.path = std::filesystem::absolute(snapshot.path);
}

/* Cut to the scene's length. */
Stretch stretch_of(const Arguments &arguments, const Scene &scene)
{
	Stretch stretch = arguments.stretch;
	for (const std::uint64_t end : {arguments.sinks.frames, std::uint64_t{scene.frames}})
		stretch.to = stretch.to == 0 || (end != 0 && end < stretch.to) ? end : stretch.to;
	if (stretch.from > stretch.to)
		throw SceneError(arguments.scene + ": expected a first frame from 1 to " +
		                 std::to_string(stretch.to) + ", found " + std::to_string(stretch.from));
	return stretch;
}

bool play_offline(const Arguments &arguments, const Scene &scene, std::string *error)
{
	if (const std::string *stream = network_stream_of(scene))
		throw SceneError(arguments.scene +
		                 ": expected no RTMP or RTP stream for --offline, since it goes by the "
		                 "clock and not by frames, found \"" +
		                 *stream + "\"");
	Stretch stretch = stretch_of(arguments, scene);
	if (!arguments.report.empty())
		return play_reported(scene, arguments.sinks, stretch, arguments.report, error);
	if (stretch.from > 1 || arguments.jobs > 1 || !is_every_frame_seen(arguments.sinks.sinks))
		return play_in_slices(scene, arguments.sinks, stretch, arguments.jobs, error);
	return play_offline(scene, arguments.sinks, &stretch, error) == Played::whole;
}

/* The studio reads the scene itself, as often as it is written. */
bool play_scene(const Arguments &arguments, std::string *error)
{
	if (arguments.studio.is_wanted)
		return play_in_studio(arguments.scene, arguments.studio.options, error);
	const Scene scene = read_scene(arguments.scene);
	return arguments.offline ? play_offline(arguments, scene, error) : play_live(scene, error);
}

int play(const Arguments &arguments)
{
	std::string error;
	if (play_scene(arguments, &error))
		return 0;
	if (!error.empty())
		std::fprintf(stderr, "animation-play: %s\n", error.c_str());
	return kFailed;
}

int run(int argc, char **argv)
{
	if (answer_help(own_help(), argc, argv))
		return 0;
	Arguments arguments;
	const std::string wrong = take_arguments(argc, argv, &arguments);
	if (!wrong.empty())
		return refuse_arguments(own_help(), wrong);
	fix_paths(&arguments.sinks.sinks, &arguments.report);
	try {
		return play(arguments);
	} catch (const SceneError &error) {
		std::fprintf(stderr, "%s\n", error.what());
		return kWrongInput;
	}
}

/* On whatever thread it is: many of them are not ours, and nothing there would catch a failure. */
void end_without_memory()
{
	constexpr std::string_view kText = "animation-play: out of memory\n";
	[[maybe_unused]] const ssize_t written = write(STDERR_FILENO, kText.data(), kText.size());
	_exit(kFailed);
}

} // namespace

int main(int argc, char **argv)
{
	occupy_standard_descriptors();
	std::set_new_handler(end_without_memory);
	try {
		return run(argc, argv);
	} catch (const std::exception &error) { /* a thread, a path, a size that cannot be had */
		std::fprintf(stderr, "animation-play: %s\n", error.what());
		return kFailed;
	}
}
