#include <sinks/snapshots.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>

#include <png.h>
#include <unistd.h>

#include <sinks/open_at_once.h>

namespace fs = std::filesystem;

namespace
{

struct FileCloser {
	void operator()(FILE *file) const
	{
		fclose(file);
	}
};
using FilePtr = std::unique_ptr<FILE, FileCloser>;

/* Where a picture is written to, and the name it gets afterwards. */
struct Target {
	fs::path written;
	fs::path name; /* empty: it is written in place */
};

/* ---- Files that are whole or not there ---- */

/* A file behind a link is replaced, not the link. A device has no whole and takes what comes. */
Target target_of(const std::string &path)
{
	std::error_code ignored;
	const fs::file_status status = fs::status(path, ignored);
	if (fs::is_other(status))
		return {path, {}};
	fs::path name = fs::exists(status) ? fs::canonical(path, ignored) : fs::path();
	if (name.empty())
		name = path;
	return {name.string() + ".part", name};
}

FilePtr open_target(const Target &target)
{
	std::error_code ignored;
	if (fs::is_directory(target.name, ignored)) {
		errno = EISDIR;
		return nullptr;
	}
	const int fd = open_at_once(
	    target.written.c_str(), O_CREAT | O_TRUNC | (target.name.empty() ? 0 : O_NOFOLLOW));
	return FilePtr(fd < 0 ? nullptr : fdopen(fd, "w"));
}

void drop(const Target &target)
{
	if (!target.name.empty())
		unlink(target.written.c_str());
}

std::string refusal(const std::string &path, const char *reason)
{
	return "cannot write " + path + ": " + reason;
}

/* Opening a device, or closing it, may have an effect. */
bool can_write(const Target &target)
{
	if (target.name.empty())
		return access(target.written.c_str(), W_OK) == 0;
	const FilePtr file = open_target(target);
	if (file)
		drop(target);
	return file != nullptr;
}

} // namespace

bool can_write_snapshots(const std::vector<Snapshot> &wanted, std::string *error)
{
	for (const Snapshot &snapshot : wanted) {
		if (can_write(target_of(snapshot.path)))
			continue;
		const char *reason = strerror(errno);
		*error = refusal(snapshot.path, reason);
		return false;
	}
	return true;
}

namespace
{

/* ---- Pictures ---- */

/* The fourth byte is no alpha: the surface is opaque whatever it holds. */
std::vector<unsigned char> without_padding(const Picture &picture)
{
	std::vector<unsigned char> packed;
	packed.reserve(static_cast<std::size_t>(picture.width) * picture.height * 3);
	for (int y = 0; y < picture.height; y++) {
		const unsigned char *pixel = picture.pixels + y * picture.stride;
		for (int x = 0; x < picture.width; x++, pixel += 4)
			packed.insert(packed.end(), pixel, pixel + 3);
	}
	return packed;
}

/* Empty, or the reason why not. */
std::string write_png(FILE *file, const Picture &picture)
{
	png_image image = {};
	image.version = PNG_IMAGE_VERSION;
	image.width = static_cast<png_uint_32>(picture.width);
	image.height = static_cast<png_uint_32>(picture.height);
	image.format = PNG_FORMAT_BGR;
	image.flags = PNG_IMAGE_FLAG_FAST; /* the program waits */
	const auto packed = without_padding(picture);
	if (!png_image_write_to_stdio(&image, file, 0, packed.data(), 0, nullptr))
		return image.message;
	return fflush(file) == 0 ? "" : strerror(errno);
}

/* Empty, or the reason why not. */
std::string write_snapshot(const std::string &path, const Picture &picture)
{
	const Target target = target_of(path);
	FilePtr file = open_target(target);
	if (!file)
		return strerror(errno);
	std::string reason = write_png(file.get(), picture);
	file.reset();
	if (reason.empty() && !target.name.empty() &&
	    rename(target.written.c_str(), target.name.c_str()) != 0)
		reason = strerror(errno);
	if (!reason.empty())
		drop(target);
	return reason;
}

} // namespace

bool take_snapshots(std::vector<Snapshot> *pending, std::uint64_t number, const Picture &picture,
    std::string *error)
{
	bool written = true;
	std::erase_if(*pending, [&](const Snapshot &snapshot) {
		if (snapshot.number != number)
			return false;
		const std::string reason = write_snapshot(snapshot.path, picture);
		if (!reason.empty())
			*error = refusal(snapshot.path, reason.c_str());
		written = written && reason.empty();
		return true;
	});
	return written;
}

std::string pictures_missing(const std::vector<Snapshot> &pending)
{
	std::string numbers, paths;
	for (const Snapshot &snapshot : pending) {
		numbers += (numbers.empty() ? "" : ", ") + std::to_string(snapshot.number);
		paths += (paths.empty() ? "" : ", ") + snapshot.path;
	}
	if (pending.empty())
		return "";
	return (pending.size() == 1 ? "no frame " : "no frames ") + numbers + " came for " + paths;
}
