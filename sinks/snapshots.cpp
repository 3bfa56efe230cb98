#include <sinks/snapshots.h>

#include <cerrno>
#include <cstring>

#include <png.h>

#include <sinks/sinks.h>
#include <sinks/unfinished_file.h>

bool open_snapshots(
    const std::vector<Snapshot> &wanted, std::vector<PendingSnapshot> *pending, std::string *error)
{
	for (const Snapshot &snapshot : wanted) {
		FilePtr file(fopen(snapshot.path.c_str(), "wbe"));
		if (!file) {
			*error = "cannot write " + snapshot.path + ": " + strerror(errno);
			std::string unreached; /* the reason is another one here */
			drop_snapshots(pending, &unreached);
			return false;
		}
		pending->push_back({snapshot.number, snapshot.path, std::move(file)});
	}
	return true;
}

/* The fourth byte is no alpha: the surface is opaque whatever it holds. */
static std::vector<unsigned char> without_padding(const Picture &picture)
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

static bool write_png(const PendingSnapshot &snapshot, const Picture &picture, std::string *error)
{
	png_image image = {};
	image.version = PNG_IMAGE_VERSION;
	image.width = static_cast<png_uint_32>(picture.width);
	image.height = static_cast<png_uint_32>(picture.height);
	image.format = PNG_FORMAT_BGR;
	image.flags = PNG_IMAGE_FLAG_FAST; /* the program waits */
	const auto packed = without_padding(picture);
	if (!png_image_write_to_stdio(&image, snapshot.file.get(), 0, packed.data(), 0, nullptr)) {
		*error = "cannot write " + snapshot.path + ": " + image.message;
		return false;
	}
	if (fflush(snapshot.file.get()) != 0) {
		*error = "cannot write " + snapshot.path + ": " + strerror(errno);
		return false;
	}
	return true;
}

bool take_snapshots(std::vector<PendingSnapshot> *pending, std::uint64_t number,
    const Picture &picture, std::string *error)
{
	bool written = true;
	std::erase_if(*pending, [&](const PendingSnapshot &snapshot) {
		if (snapshot.number != number)
			return false;
		written = write_png(snapshot, picture, error) && written;
		return true;
	});
	return written;
}

bool drop_snapshots(std::vector<PendingSnapshot> *pending, std::string *error)
{
	const bool complete = pending->empty();
	for (const PendingSnapshot &snapshot : *pending) {
		remove_unfinished_file(snapshot.path);
		*error += (error->empty() ? "" : "\n") + std::string("no frame ") +
		          std::to_string(snapshot.number) + " came for " + snapshot.path;
	}
	pending->clear();
	return complete;
}
