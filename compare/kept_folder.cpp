#include <compare/kept_folder.h>

#include <algorithm>
#include <fstream>
#include <set>

#include <nlohmann/json.hpp>

namespace fs = std::filesystem;
using nlohmann::json;

namespace
{

constexpr char kFile[] = "kept.json";
constexpr int kLargestStep = 255;

/* These throw json::exception, or a text that says what is wrong. */
int read_tolerance(const json &value)
{
	const int tolerance = value.at("tolerance").get<int>();
	if (tolerance < 0 || tolerance > kLargestStep)
		throw std::string("expected a tolerance from 0 to 255");
	return tolerance;
}

KeptScene read_scene(const std::string &name, const json &value)
{
	KeptScene scene = {.frames = value.at("frames").get<std::vector<std::uint64_t>>()};
	if (scene.frames.empty() || std::ranges::count(scene.frames, 0U) > 0)
		throw name + ": expected frames from 1 up";
	if (name.empty() || name.find('/') != std::string::npos)
		throw "\"" + name + "\": expected a name without a slash";
	if (value.contains("tolerance"))
		scene.tolerance = read_tolerance(value);
	std::ranges::sort(scene.frames);
	return scene;
}

} // namespace

fs::path kept_picture(const KeptFolder &folder, const std::string &scene, std::uint64_t frame)
{
	return folder.path / (scene + "-" + std::to_string(frame) + ".png");
}

bool read_kept_folder(const fs::path &path, KeptFolder *folder, std::string *error)
{
	folder->path = path;
	std::ifstream file(path / kFile);
	try {
		if (!file)
			throw std::string("cannot be read");
		const json content = json::parse(file);
		folder->drawn_by = content.value("drawn_by", "");
		if (content.contains("tolerance"))
			folder->tolerance = read_tolerance(content);
		for (const auto &[name, value] : content.at("scenes").items())
			folder->scenes[name] = read_scene(name, value);
		return true;
	} catch (const json::exception &fault) {
		*error = fault.what();
	} catch (const std::string &fault) {
		*error = fault;
	}
	*error = (path / kFile).string() + ": " + *error;
	return false;
}

bool write_kept_folder(const KeptFolder &folder, std::string *error)
{
	nlohmann::ordered_json content;
	std::set<fs::path> named;
	content["drawn_by"] = folder.drawn_by;
	if (folder.tolerance > 0)
		content["tolerance"] = folder.tolerance;
	for (const auto &[name, scene] : folder.scenes) {
		content["scenes"][name]["frames"] = scene.frames;
		if (scene.tolerance)
			content["scenes"][name]["tolerance"] = *scene.tolerance;
		for (const std::uint64_t frame : scene.frames)
			named.insert(kept_picture(folder, name, frame));
	}
	std::ofstream file(folder.path / kFile);
	file << content.dump(1, '\t') << '\n';
	if (!file.flush()) {
		*error = "cannot write " + (folder.path / kFile).string();
		return false;
	}
	std::error_code ignored;
	for (const auto &entry : fs::directory_iterator(folder.path, ignored)) {
		if (entry.path().extension() == ".png" && !named.contains(entry.path()))
			fs::remove(entry.path(), ignored);
	}
	return true;
}
