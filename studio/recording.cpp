#include <studio/recording.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace fs = std::filesystem;

namespace
{

std::string file_of(const Recording &recording)
{
	return recording.folder + "/recording.mp4";
}

void remove_folder(Recording &recording)
{
	std::error_code ignored;
	if (!recording.folder.empty())
		fs::remove_all(recording.folder, ignored);
	recording.folder.clear();
}

} // namespace

bool start_recording(Recording &recording, std::string *error)
{
	if (is_recording(recording))
		return true;
	std::error_code ignored;
	recording.folder = (fs::temp_directory_path(ignored) / "animation-studio-XXXXXX").string();
	if (!mkdtemp(recording.folder.data())) {
		recording.folder.clear();
		*error = "no folder for a recording can be made";
		return false;
	}
	recording.sinks = open_sinks(
	    {.record = file_of(recording)}, kSurfaceWidth, kSurfaceHeight, "recording", error);
	if (!recording.sinks)
		remove_folder(recording);
	else
		recording.number++;
	return is_recording(recording);
}

void record_in_studio(Recording &recording, const Picture &picture)
{
	if (is_recording(recording))
		show_picture(*recording.sinks, picture);
}

bool stop_recording(Recording &recording, Studio &studio, std::string *error)
{
	if (!is_recording(recording))
		return true;
	const bool is_whole = finish_sinks(*recording.sinks, error);
	recording.sinks.reset();
	if (is_whole) {
		std::ostringstream content;
		content << std::ifstream(file_of(recording), std::ios::binary).rdbuf();
		offer_file(studio, "recording-" + std::to_string(recording.number) + ".mp4",
		    std::move(content).str());
	}
	remove_folder(recording);
	return is_whole;
}
