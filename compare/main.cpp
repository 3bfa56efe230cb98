/* animation-compare: holds what is drawn now against kept pictures. */
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <string_view>

#include <sinks/program_help.h>
#include <sinks/sink_arguments.h>

#include <compare/drawing.h>
#include <compare/kept_folder.h>
#include <compare/report.h>

namespace fs = std::filesystem;

namespace
{

constexpr int kSame = 0;
constexpr int kDifferent = 1;
constexpr int kWrong = 2;

ProgramHelp own_help()
{
	return {"animation-compare",
	    "usage: animation-compare [OPTION]... KEPT-FOLDER -- SCENE.json...\n"
	    "       animation-compare --program [OPTION]... KEPT-FOLDER -- PROGRAM [ARGUMENT]...\n"
	    "       animation-compare --help | --version\n"
	    "\n"
	    "Draws the frames that the folder keeps of each scene, and compares. With --program the\n"
	    "program draws them in animation-host; a frame is then the N-th in which it draws.\n"
	    "\n"
	    "Results:\n"
	    "  --report FILE.html    write a page that shows what differs\n"
	    "  --junit FILE.xml      write the results for CI\n"
	    "\n"
	    "Keeping:\n"
	    "  --update              keep what is drawn now\n"
	    "  --frames N,N...       with --update: the frames to keep, counted from 1; without it those\n"
	    "                        of the folder stay\n"
	    "\n"
	    "Exit status:\n"
	    "  0  all pictures are the same\n"
	    "  1  some differ\n"
	    "  2  a kept picture is missing, or the folder, a scene or the arguments are wrong\n"
	    "\n"
	    "Examples:\n"
	    "  animation-compare --update --frames 1,50,100 kept -- scene.json\n"
	    "  animation-compare --report differences.html kept -- scene.json\n"};
}

struct Arguments {
	bool is_program = false;
	bool update = false;
	std::vector<std::uint64_t> frames;
	std::string report;
	std::string junit;
	std::string kept;
	std::vector<std::string> rest;
};

int complain(const std::string &text)
{
	std::fprintf(stderr, "animation-compare: %s\n", text.c_str());
	return kWrong;
}

/* ---- Arguments ---- */

bool parse_frames(const std::string &text, std::vector<std::uint64_t> *frames)
{
	for (std::size_t start = 0; start <= text.size();) {
		const std::size_t end = std::min(text.find(',', start), text.size());
		if (!parse_count(text.substr(start, end - start), &frames->emplace_back()))
			return false;
		start = end + 1;
	}
	std::ranges::sort(*frames);
	frames->erase(std::unique(frames->begin(), frames->end()), frames->end());
	return true;
}

/* Empty if all is well. */
std::string take_option(
    const std::string &option, const std::string &value, bool *took_value, Arguments *arguments)
{
	*took_value = false;
	if (option == "--program")
		arguments->is_program = true;
	else if (option == "--update")
		arguments->update = true;
	else {
		*took_value = true;
		if (option == "--report")
			arguments->report = value;
		else if (option == "--junit")
			arguments->junit = value;
		else if (option != "--frames")
			return unknown_option(own_help(), option);
		else if (!parse_frames(value, &arguments->frames))
			return "--frames wants numbers from 1 on, not \"" + value + '"';
		if (value.empty())
			return option + " wants a file name";
	}
	return "";
}

/* Empty if all is well. */
std::string take_arguments(int argc, char **argv, Arguments *arguments)
{
	int i = 1;
	for (; i < argc && std::string_view(argv[i]) != "--"; ++i) {
		if (argv[i][0] != '-' && arguments->kept.empty()) {
			arguments->kept = argv[i];
			continue;
		}
		bool took_value = false;
		const std::string wrong =
		    take_option(argv[i], i + 1 < argc ? argv[i + 1] : "", &took_value, arguments);
		if (!wrong.empty())
			return wrong;
		i += took_value;
	}
	if (arguments->kept.empty() || i + 1 >= argc)
		return "expected a folder, then -- and what is to be drawn";
	if (!arguments->frames.empty() && !arguments->update)
		return "--frames goes with --update";
	arguments->rest.assign(argv + i + 1, argv + argc);
	return "";
}

/* A program's name, and a scene's without its ending, is what the folder knows it by. */
std::vector<Drawn> drawn_of(const Arguments &arguments)
{
	if (arguments.is_program)
		return {{fs::path(arguments.rest[0]).filename(), arguments.rest, true}};
	std::vector<Drawn> all;
	for (const std::string &scene : arguments.rest)
		all.push_back({fs::path(scene).stem(), {scene}, false});
	return all;
}

/* ---- Drawing ---- */

/* A folder that goes with its files. */
class TemporaryFolder
{
public:
	TemporaryFolder()
	{
		std::string name = fs::temp_directory_path() / "animation-compare-XXXXXX";
		if (!mkdtemp(name.data()))
			throw fs::filesystem_error(
			    "no temporary folder", std::error_code(errno, std::generic_category()));
		path = name;
	}
	~TemporaryFolder()
	{
		std::error_code ignored;
		fs::remove_all(path, ignored);
	}
	TemporaryFolder(const TemporaryFolder &) = delete;
	TemporaryFolder &operator=(const TemporaryFolder &) = delete;

	Image picture(std::uint64_t frame) const
	{
		return read_image(path / (std::to_string(frame) + ".png"));
	}

	fs::path path;
};

std::string text_of(const Difference &difference, const Image &kept, const Image &now)
{
	if (kept.width != now.width || kept.height != now.height)
		return "the size differs";
	const auto number = [](auto value) { return std::to_string(value); };
	return number(difference.pixels) +
	       (difference.pixels == 1 ? " pixel differs" : " pixels differ") + " by up to " +
	       number(difference.largest) + " of 255, between " + number(difference.left) + "," +
	       number(difference.top) + " and " + number(difference.right) + "," +
	       number(difference.bottom);
}

Result compare_frame(
    const KeptFolder &folder, const std::string &scene, std::uint64_t frame, Image now)
{
	Result result = {.scene = scene, .frame = frame};
	Image kept = read_image(kept_picture(folder, scene, frame));
	if (kept.rgb.empty()) {
		result.verdict = Verdict::wrong;
		result.text = "no picture is kept that can be read";
		return result;
	}
	result.difference =
	    compare(kept, now, folder.scenes.at(scene).tolerance.value_or(folder.tolerance));
	if (result.difference.pixels == 0)
		return result;
	result.verdict = Verdict::different;
	result.text = text_of(result.difference, kept, now);
	result.kept = std::move(kept);
	result.now = std::move(now);
	return result;
}

void compare_scene(const KeptFolder &folder, const Drawn &drawn, Report *report)
{
	const auto scene = folder.scenes.find(drawn.name);
	std::string error = "not in " + folder.path.string() + ": --update --frames adds it";
	const TemporaryFolder temporary;
	if (scene == folder.scenes.end() ||
	    !draw_frames(drawn, scene->second.frames, temporary.path, &error)) {
		report->results.push_back({.scene = drawn.name, .verdict = Verdict::wrong, .text = error});
		return;
	}
	for (const std::uint64_t frame : scene->second.frames)
		report->results.push_back(
		    compare_frame(folder, drawn.name, frame, temporary.picture(frame)));
}

int compare_all(const KeptFolder &folder, const Arguments &arguments)
{
	Report report = {.kept_on = folder.drawn_by, .drawn_on = machine_class()};
	for (const Drawn &drawn : drawn_of(arguments))
		compare_scene(folder, drawn, &report);
	int status = kSame;
	for (const Result &result : report.results) {
		if (result.verdict == Verdict::same)
			continue;
		status = std::max(status, result.verdict == Verdict::wrong ? kWrong : kDifferent);
		std::puts(line_of(result).c_str());
	}
	std::puts(summary_of(report).c_str());
	if (status != kSame && report.kept_on != report.drawn_on)
		std::printf(
		    "kept on:  %s\ndrawn on: %s\n", report.kept_on.c_str(), report.drawn_on.c_str());
	if (!arguments.report.empty() && !write_page(report, arguments.report))
		return complain("cannot write " + arguments.report);
	if (!arguments.junit.empty() && !write_junit(report, arguments.junit))
		return complain("cannot write " + arguments.junit);
	return status;
}

/* ---- Update ---- */

bool keep_scene(const Drawn &drawn, const std::vector<std::uint64_t> &frames, KeptFolder *folder,
    std::string *error)
{
	KeptScene &scene = folder->scenes[drawn.name];
	if (!frames.empty())
		scene.frames = frames;
	*error = "expected --frames for a scene that is new here";
	const TemporaryFolder temporary;
	if (scene.frames.empty() || !draw_frames(drawn, scene.frames, temporary.path, error))
		return false;
	for (const std::uint64_t frame : scene.frames) {
		const fs::path path = kept_picture(*folder, drawn.name, frame);
		if (!write_image(temporary.picture(frame), path)) {
			*error = "cannot write " + path.string();
			return false;
		}
	}
	return true;
}

int update(KeptFolder *folder, const Arguments &arguments)
{
	std::string error;
	folder->drawn_by = machine_class();
	for (const Drawn &drawn : drawn_of(arguments)) {
		if (!keep_scene(drawn, arguments.frames, folder, &error))
			return complain(drawn.name + ": " + error);
	}
	return write_kept_folder(*folder, &error) ? kSame : complain(error);
}

int run(int argc, char **argv)
{
	if (answer_help(own_help(), argc, argv))
		return 0;
	Arguments arguments;
	const std::string wrong = take_arguments(argc, argv, &arguments);
	if (!wrong.empty())
		return refuse_arguments(own_help(), wrong);
	KeptFolder folder;
	std::string error;
	if (arguments.update)
		fs::create_directories(arguments.kept);
	const bool is_new = arguments.update && fs::is_empty(arguments.kept);
	if (is_new)
		folder.path = arguments.kept;
	else if (!read_kept_folder(arguments.kept, &folder, &error))
		return complain(error);
	return arguments.update ? update(&folder, arguments) : compare_all(folder, arguments);
}

} // namespace

int main(int argc, char **argv)
{
	try {
		return run(argc, argv);
	} catch (const std::exception &error) {
		return complain(error.what());
	}
}
