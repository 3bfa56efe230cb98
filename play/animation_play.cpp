/* animation-play: plays a scene file through the library's public calls. */
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>

#include <play/performance.h>

namespace
{

constexpr int kFailed = 1;
constexpr int kWrongInput = 2;

struct Arguments {
	bool offline = false;
	bool has_sinks = false;
	SinkArguments sinks;
	std::string scene;
};

int usage(const std::string &error)
{
	std::fprintf(stderr,
	    "animation-play: %s\n"
	    "usage: animation-play SCENE.json\n"
	    "       animation-play --offline [OPTIONS] SCENE.json\n"
	    "\n"
	    "Without --offline the scene plays on the Wayland display of the environment;\n"
	    "animation-host offers one. With it, every frame goes to these, without waiting:\n"
	    "%s",
	    error.c_str(), kSinkUsage);
	return kWrongInput;
}

/* Empty if all is well. */
std::string take_arguments(int argc, char **argv, Arguments *arguments)
{
	for (int i = 1; i < argc; ++i) {
		std::string error;
		int next = i;
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
		if (std::strcmp(argv[i], "--offline") == 0)
			arguments->offline = true;
		else if (argv[i][0] == '-' || !arguments->scene.empty())
			return std::string("unexpected argument ") + argv[i];
		else
			arguments->scene = argv[i];
	}
	if (arguments->scene.empty())
		return "no scene given";
	if (arguments->has_sinks && !arguments->offline)
		return "pictures of a live scene are the compositor's, give these options to animation-host";
	return "";
}

/* Reading the scene changes the working folder. */
void fix_paths(SinkOptions *sinks)
{
	if (!sinks->record.empty())
		sinks->record = std::filesystem::absolute(sinks->record);
	for (Snapshot &snapshot : sinks->snapshots)
		snapshot.path = std::filesystem::absolute(snapshot.path);
}

} // namespace

int main(int argc, char **argv)
{
	Arguments arguments;
	const std::string wrong = take_arguments(argc, argv, &arguments);
	if (!wrong.empty())
		return usage(wrong);
	fix_paths(&arguments.sinks.sinks);

	try {
		const Scene scene = read_scene(arguments.scene);
		if (arguments.offline && has_stream(scene))
			throw SceneError(
			    arguments.scene +
			    ": expected a scene without streams, which go by the clock, for --offline");
		std::string error;
		const bool played = arguments.offline ? play_offline(scene, arguments.sinks, &error)
		                                      : play_live(scene, &error);
		if (played)
			return 0;
		std::fprintf(stderr, "animation-play: %s\n", error.c_str());
		return kFailed;
	} catch (const SceneError &error) {
		std::fprintf(stderr, "%s\n", error.what());
		return kWrongInput;
	}
}
