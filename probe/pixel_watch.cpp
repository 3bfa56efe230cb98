#include <probe/pixel_watch.h>

#include <algorithm>
#include <array>
#include <map>
#include <mutex>
#include <string_view>
#include <vector>

#include <sys/uio.h>
#include <unistd.h>

#include <probe/findings.h>
#include <probe/list_lock.h>
#include <probe/textures.h>

namespace
{

struct Pixels {
	const void *address;
	std::size_t size;
	std::optional<std::size_t> hash; /* nothing: the memory cannot be read */
};

struct Upload {
	std::vector<Pixels> pixels;
	bool is_first; /* of a new object, which may have had its frame before we hear of it */
};

struct {
	std::mutex lock;                        /* guards the rest */
	std::map<unsigned int, Upload> uploads; /* by object */
} watch;

/* Through the kernel, which answers for memory that is not there. */
std::optional<std::size_t> hash_of(const void *address, std::size_t size)
{
	std::array<char, 65536> block;
	std::size_t hash = 0;
	for (std::size_t done = 0; done < size;) {
		const std::size_t part = std::min(size - done, block.size());
		const iovec here{block.data(), part};
		const iovec there{const_cast<char *>(static_cast<const char *>(address)) + done, part};
		if (process_vm_readv(getpid(), &here, 1, &there, 1, 0) != static_cast<ssize_t>(part))
			return std::nullopt;
		hash = hash * 31 + std::hash<std::string_view>()({block.data(), part});
		done += part;
	}
	return hash;
}

/* An object without a frame so far, or in its start delay, uploads in a later one. */
bool still_waits(unsigned int id)
{
	for (const AnimationObj *obj = list_head(); obj; obj = obj->next)
		if (obj->objId == id)
			return obj->curframeno == ANIMATION_NOT_STARTED;
	return false;
}

void check(unsigned int id, const Pixels &pixels)
{
	const std::optional<std::size_t> now = hash_of(pixels.address, pixels.size);
	if (!now)
		tell({"pixels-unmapped", "redraw", id,
		    words("pixels that object %u is to upload cannot be read", id),
		    "keep the pixels of TEX_DATA until the frame that uploads them is over"});
	else if (now != pixels.hash)
		tell({"pixels-changed", "redraw", id,
		    words("pixels that object %u is to upload have changed since the call", id),
		    "keep the pixels of TEX_DATA until the frame that uploads them is over"});
}

} // namespace

void watch_pixels(unsigned int id, const std::optional<RecordFacts> &facts, bool is_first)
{
	Upload upload{{}, is_first};
	if (facts && facts->textures && facts->textures->mode == TEX_DATA &&
	    facts->textures->tex_num <= ANIMATION_MAX_TEXTURES)
		for (std::uint32_t i = 0; i < facts->textures->tex_num; i++) {
			const TextureData &data = facts->textures->texdata[i];
			const std::size_t size =
			    std::size_t(data.width) * data.height * bytes_of_pixel(data.textureType);
			if (data.va)
				upload.pixels.push_back({data.va, size, hash_of(data.va, size)});
		}
	const std::lock_guard hold(watch.lock);
	if (upload.pixels.empty())
		watch.uploads.erase(id);
	else
		watch.uploads[id] = std::move(upload);
}

void check_pixels()
{
	const ListHold list; /* before our own lock, as everywhere */
	const std::lock_guard hold(watch.lock);
	std::erase_if(watch.uploads, [](const auto &entry) {
		const auto &[id, upload] = entry;
		const bool waits = upload.is_first && still_waits(id);
		if (waits || !upload.is_first)
			for (const Pixels &pixels : upload.pixels)
				check(id, pixels);
		return !waits;
	});
}
