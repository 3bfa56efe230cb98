#include <probe/frame_log.h>

#include <array>
#include <iterator>
#include <mutex>
#include <utility>
#include <vector>

#include <probe/describe.h>
#include <probe/textures.h>

/* What is called before the first frame comes before the first command is read. */
std::atomic<Level> watched = Level::kTimes;

namespace
{

/* Of each kind in one frame: a flood of calls is not to become a flood of memory. */
constexpr std::size_t kMostNotes = 256;

struct Call {
	const char *name;
	unsigned int object;
	std::string text;
};

struct ReadPicture {
	std::string file;
	double ms;
	std::uint64_t bytes;
};

struct Notes {
	std::vector<Call> calls;
	std::vector<ReadPicture> pictures;
	std::size_t more_calls = 0; /* than are kept */
};

std::mutex lock; /* guards the notes */
Notes notes;

constexpr const char *kFates[] = {"created", "refused", "updated", "removed", "freed"};
std::array<std::atomic<std::uint64_t>, std::size(kFates)> totals;

Notes take_notes()
{
	const std::lock_guard hold(lock);
	return std::exchange(notes, {});
}

void write_calls(JsonText &json, const Notes &taken)
{
	json.key("calls");
	json.open('[');
	for (const Call &call : taken.calls) {
		json.open('{');
		json.member("call", call.name);
		json.key("object");
		if (call.object == ANIMATION_NO_OBJECT)
			json.null();
		else
			json.value(call.object);
		json.key("text");
		json.value(call.text);
		json.close('}');
	}
	json.close(']');
	json.member("more_calls", taken.more_calls);
}

void write_pictures(JsonText &json, const Notes &taken)
{
	json.key("decoded");
	json.open('[');
	for (const ReadPicture &picture : taken.pictures) {
		json.open('{');
		json.key("file");
		json.value(picture.file);
		json.key("ms");
		json.milliseconds(picture.ms);
		json.member("bytes", picture.bytes);
		json.close('}');
	}
	json.close(']');
}

void write_times(JsonText &json, const FrameTimes &times)
{
	json.key("turn_ms");
	json.milliseconds(times.turn_ms);
	json.key("draw_ms");
	json.milliseconds(times.draw_ms);
	json.key("swap_ms");
	json.milliseconds(times.swap_ms);
	json.member("committed", times.committed);
}

} // namespace

void count(Fate fate)
{
	totals[static_cast<std::size_t>(fate)].fetch_add(1, std::memory_order_relaxed);
}

void write_totals(JsonText &json)
{
	json.key("totals");
	json.open('{');
	for (std::size_t i = 0; i < totals.size(); i++)
		json.member(kFates[i], totals[i].load(std::memory_order_relaxed));
	json.close('}');
}

void note_call(const char *name, unsigned int object, std::string text)
{
	const std::lock_guard hold(lock);
	if (notes.calls.size() < kMostNotes)
		notes.calls.push_back({name, object, std::move(text)});
	else
		notes.more_calls++;
}

void note_picture(const char *file, double ms, std::uint64_t bytes)
{
	const std::lock_guard hold(lock);
	if (notes.pictures.size() < kMostNotes)
		notes.pictures.push_back({file, ms, bytes});
}

std::string frame_message(std::uint32_t frame, const FrameTimes &times, const std::string &player,
    const AnimationObj *head, ListParts parts, unsigned dropped)
{
	const Notes taken = take_notes();
	const TextureBytes bytes = texture_bytes();
	JsonText json;
	json.open('{');
	json.member("type", "frame");
	json.member("frame", frame);
	write_times(json, times);
	json.member("texture_bytes", bytes.alive);
	json.member("texture_peak", bytes.peak);
	json.member("dropped", dropped);
	write_calls(json, taken);
	write_pictures(json, taken);
	json.key("player");
	json.raw(player);
	write_totals(json);
	if (parts.texture_bytes) {
		json.key("bytes_by_object");
		describe_texture_bytes(json, head);
	}
	if (parts.objects) {
		json.key("objects");
		describe_objects(json, head);
	}
	json.close('}');
	return json.text();
}
