#include <host/child_environment.h>

#include <cstdio>
#include <filesystem>
#include <map>

#include <unistd.h>

namespace fs = std::filesystem;
using Environment = std::map<std::string, std::string>;

namespace
{

Environment own_environment()
{
	Environment environment;
	for (char **entry = environ; *entry; entry++) {
		const std::string text = *entry;
		const std::size_t equals = text.find('=');
		if (equals != std::string::npos)
			environment.emplace(text.substr(0, equals), text.substr(equals + 1));
	}
	return environment;
}

/* ---- The compositor ---- */

void lead_to_compositor(
    Environment &environment, const std::string &folder, const std::string &socket)
{
	environment["XDG_RUNTIME_DIR"] = folder;
	environment["WAYLAND_DISPLAY"] = socket;
	environment.erase("WAYLAND_SOCKET"); /* would be taken before the two */
}

/* ---- Drawing ---- */

/* Where several vendors' EGL are installed, only Mesa's draws in software. */
constexpr char kMesaVendorFile[] = "/usr/share/glvnd/egl_vendor.d/50_mesa.json";

void force_software_drawing(Environment &environment)
{
	environment["LIBGL_ALWAYS_SOFTWARE"] = "1";
	environment["GALLIUM_DRIVER"] = "llvmpipe";
	/* As offscreen/: with AVX the rasteriser rounds otherwise. */
	environment.emplace("GALLIUM_OVERRIDE_CPU_CAPS", "sse4.1");
	environment.erase("MESA_LOADER_DRIVER_OVERRIDE");
	environment.erase("EGL_PLATFORM");
	std::error_code ignored;
	if (fs::exists(kMesaVendorFile, ignored))
		environment["__EGL_VENDOR_LIBRARY_FILENAMES"] = kMesaVendorFile;
}

/* ---- Companions ---- */

/* What is put into the program. Without it the program does without what it stands for. */
struct Companion {
	const char *room; /* whose folder of the build tree holds it */
	const char *name;
	const char *loss;
};

constexpr Companion kImport = {
    "device", "libanimation-egl-import.so", "streamed video will not be shown"};
constexpr Companion kDecoder = {
    "device", "gstreamer/libgstanimationdecoder.so", "streamed video will not be shown"};
constexpr Companion kProbe = {
    "probe", "libanimation-probe.so", "the program cannot be looked into"};

/* In the build tree, or in the library folder when installed. Empty if it is in neither. */
fs::path find_companion(const Companion &companion)
{
	std::error_code failure;
	const fs::path folder = fs::read_symlink("/proc/self/exe", failure).parent_path();
	if (failure)
		return {};
	for (const fs::path &path : {folder / ".." / companion.room / companion.name,
	         folder / ".." / COMPANION_FOLDER / companion.name})
		if (fs::exists(path, failure))
			return fs::weakly_canonical(path, failure);
	return {};
}

/* LD_PRELOAD is a list with blanks or colons between its paths, GST_PLUGIN_PATH one with colons. */
bool breaks_a_list(const fs::path &path)
{
	return path.string().find_first_of(" :") != std::string::npos;
}

/* By another name, if its own would break a list: a link in the private folder, and alone there,
 * since GStreamer takes everything beside a plug-in for one, too. Every other run keeps the real
 * path, for which GStreamer's registry need not be written again. */
fs::path listable(const fs::path &companion, const fs::path &private_folder)
{
	if (!breaks_a_list(companion))
		return companion;
	const fs::path link = private_folder / companion.stem() / companion.filename();
	std::error_code failure;
	fs::create_directory(link.parent_path(), failure);
	fs::create_symlink(companion, link, failure);
	return failure || breaks_a_list(link) ? fs::path() : link;
}

/* Empty, which is said, if the program is to do without it. */
fs::path offer_companion(const Companion &companion, const fs::path &private_folder)
{
	const fs::path found = find_companion(companion), path = listable(found, private_folder);
	if (path.empty())
		fprintf(stderr, "animation-host: %s %s: %s\n", companion.name,
		    found.empty() ? "is missing" : "cannot be linked to a path without blank or colon",
		    companion.loss);
	return path;
}

void put_in_front(Environment &environment, const std::string &name, const fs::path &path)
{
	if (path.empty())
		return;
	std::string &value = environment[name];
	value = path.string() + (value.empty() ? "" : ":" + value);
}

void add_companions(Environment &environment, const fs::path &private_folder)
{
	put_in_front(environment, "LD_PRELOAD", offer_companion(kImport, private_folder));
	/* Where the one with the version is set, GStreamer takes it in place of the other. */
	const std::string plugins =
	    environment.contains("GST_PLUGIN_PATH_1_0") ? "GST_PLUGIN_PATH_1_0" : "GST_PLUGIN_PATH";
	put_in_front(environment, plugins, offer_companion(kDecoder, private_folder).parent_path());
}

/* Before the import, so that it sees the calls of the program and not those of the import. */
void add_probe(Environment &environment, const fs::path &private_folder, int fd, bool checks)
{
	environment.erase("ANIMATION_PROBE_FD");
	environment.erase("ANIMATION_PROBE_CHECK");
	if (fd < 0)
		return;
	put_in_front(environment, "LD_PRELOAD", offer_companion(kProbe, private_folder));
	environment["ANIMATION_PROBE_FD"] = std::to_string(fd);
	if (checks)
		environment["ANIMATION_PROBE_CHECK"] = "1";
}

} // namespace

std::vector<std::string> child_environment(
    const std::string &folder, const std::string &socket, int probe_fd, bool checks)
{
	Environment environment = own_environment();
	lead_to_compositor(environment, folder, socket);
	force_software_drawing(environment);
	add_companions(environment, folder);
	add_probe(environment, folder, probe_fd, checks);
	std::vector<std::string> entries;
	for (const auto &[name, value] : environment)
		entries.push_back(name + '=' + value);
	return entries;
}
