#include <play/scene.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include <play/picture_files.h>
#include <play/record_reader.h>

namespace
{

constexpr Word kUpdateModes[] = {
    {"UPD_MISC", UPD_MISC},
    {"UPD_COORDS", UPD_COORDS},
    {"UPD_TEXS", UPD_TEXS},
    {"UPD_ALL", UPD_ALL},
};

constexpr Word kDeleteModes[] = {
    {"DEL_ON_HIDE", DEL_ON_HIDE},
    {"DEL_IMMEDIATELY", DEL_IMMEDIATELY},
};

constexpr std::size_t kMostObjects = 1024;
constexpr std::size_t kMostSteps = 50'000;

/* The compositor is told it, in a message of its own. */
constexpr std::size_t kLongestTitle = 255;

/* Frames in memory, of all raw files together. */
constexpr std::size_t kMostPixels = std::size_t(1) << 30;

/* An object while the timeline is read from front to back. */
struct Actor {
	bool on_stage;
	Description described; /* with the updates so far */
};

struct Reader {
	Scene scene;
	std::vector<Actor> actors; /* beside scene.objects */
	std::uint32_t frame = 0;   /* of the entry before */
	std::uint64_t raw_pixels = 0;
};

void add_step(Reader &reader, const Value &entry, Step step)
{
	if (reader.scene.steps.size() >= kMostSteps)
		complain(entry, "expected at most " + std::to_string(kMostSteps) + " actions in a scene");
	reader.scene.steps.push_back(std::move(step));
}

template <class Named>
std::string read_new_name(const std::vector<Named> &all, const Value &value)
{
	const std::string name = read_text(value);
	const bool taken = std::any_of(
	    all.begin(), all.end(), [&name](const Named &named) { return named.name == name; });
	if (taken || name.empty())
		complain(value, "expected a name of its own, found \"" + name + "\"");
	return name;
}

const RecordKind &read_type(const Value &value)
{
	std::vector<Word> words;
	for (const RecordKind &kind : kRecordKinds)
		words.push_back({kind.name, static_cast<int>(&kind - kRecordKinds.data())});
	return kRecordKinds[static_cast<std::size_t>(read_word(value, words))];
}

void read_object(Scene &scene, const Value &value)
{
	if (scene.objects.size() >= kMostObjects)
		complain(value, "expected at most " + std::to_string(kMostObjects) + " objects in a scene");
	const std::string name = read_new_name(scene.objects, member(value, "name"));
	const std::optional<Value> like = find_member(value, "like");
	SceneObject object = {.name = name};
	if (like) {
		const SceneObject &model =
		    scene.objects[index_of(scene.objects, *like, "an object above it")];
		object.kind = model.kind;
		object.description = model.description;
	} else {
		object.kind = &read_type(member(value, "type"));
	}

	std::vector<std::string_view> allowed = record_members(*object.kind);
	allowed.insert(allowed.begin(), {"name", like ? "like" : "type"});
	require_members(value, allowed);
	add(object.description, read_description(scene, *object.kind, object.description, value));
	if (object.kind->texture_limit && !like)
		member(value, "textures");
	scene.objects.push_back(std::move(object));
}

void read_handle(Scene &scene, const Value &value)
{
	if (scene.handles.size() >= kMostObjects)
		complain(value, "expected at most " + std::to_string(kMostObjects) + " handles in a scene");
	constexpr std::string_view kMembers[] = {"name", "file", "data"};
	require_members(value, kMembers);
	Handle handle = {.name = read_new_name(scene.handles, member(value, "name"))};
	const std::optional<Value> data = find_member(value, "data");
	const std::optional<Value> file = find_member(value, "file");
	if (file.has_value() == data.has_value())
		complain(value, "expected either file or data");
	if (file)
		handle.file = read_picture_path(*file);
	else
		handle.data = read_texture_data(scene, *data);
	scene.handles.push_back(handle);
}

/* ---- Timeline -------------------------------------------------------------------------------- */

/* One name or several. */
std::vector<Value> names_of(const Value &value)
{
	return value.json->is_array() ? elements(value) : std::vector<Value>{value};
}

std::size_t read_actor_on_stage(const Reader &reader, const Value &name)
{
	const std::size_t object = index_of(reader.scene.objects, name, "an object");
	if (!reader.actors[object].on_stage)
		complain(name, "expected an object that was created and not removed, found \"" +
		                   read_text(name) + "\"");
	return object;
}

std::size_t read_actor_of_type(const Reader &reader, const Value &name, AnimationType type)
{
	const std::size_t object = read_actor_on_stage(reader, name);
	const auto &kind = *std::ranges::find(kRecordKinds, type, &RecordKind::type);
	if (reader.scene.objects[object].kind != &kind)
		complain(name, "expected an object of type " + std::string(kind.name) + ", found \"" +
		                   read_text(name) + "\"");
	return object;
}

void read_create(Reader &reader, std::uint32_t frame, const Value &entry)
{
	for (const Value &name : names_of(member(entry, "create"))) {
		const std::size_t object = index_of(reader.scene.objects, name, "an object");
		Actor &actor = reader.actors[object];
		if (actor.on_stage && !leaves_by_itself(actor.described))
			complain(name, "expected an object that is not there, found \"" + read_text(name) +
			                   "\", which was created before");
		actor = {true, reader.scene.objects[object].description};
		add_step(reader, entry, {frame, Create{object}});
	}
}

void read_update(Reader &reader, std::uint32_t frame, const Value &entry)
{
	const std::optional<Value> set = find_member(entry, "set");
	const std::optional<Value> mode = find_member(entry, "mode");
	for (const Value &name : names_of(member(entry, "update"))) {
		const std::size_t object = read_actor_on_stage(reader, name);
		const RecordKind &kind = *reader.scene.objects[object].kind;
		Description &described = reader.actors[object].described;
		Update update = {.object = object};
		if (set) {
			require_members(*set, record_members(kind));
			update.change = read_description(reader.scene, kind, described, *set);
			add(described, update.change);
		}
		update.mode = mode ? static_cast<UpdateMode>(read_word(*mode, kUpdateModes))
		                   : rebuilt_by(update.change);
		add_step(reader, entry, {frame, update});
	}
}

void read_remove(Reader &reader, std::uint32_t frame, const Value &entry)
{
	const std::optional<Value> mode = find_member(entry, "mode");
	const DeleteObjMode how =
	    mode ? static_cast<DeleteObjMode>(read_word(*mode, kDeleteModes)) : DEL_IMMEDIATELY;
	for (const Value &name : names_of(member(entry, "remove"))) {
		const std::size_t object = read_actor_on_stage(reader, name);
		reader.actors[object].on_stage = false;
		add_step(reader, entry, {frame, Remove{object, how}});
	}
}

void read_play(Reader &reader, std::uint32_t frame, const Value &entry)
{
	const Value uri = member(entry, "play");
	Play play = {.uri = read_text(uri)};
	if (play.uri.find(".mp4") != std::string::npos && !can_be_read(play.uri))
		complain(uri, "expected an MP4 file, found nothing that can be read");
	const Value on = member(entry, "on");
	for (const Value &name : names_of(on))
		play.objects.push_back(read_actor_of_type(reader, name, ANI_VIDEO_GST));
	if (play.objects.empty() || play.objects.size() > 2)
		complain(on, "expected one or two objects");
	add_step(reader, entry, {frame, play});
}

void require_true(const Value &value)
{
	if (!read_flag(value))
		complain(value, "expected true");
}

void read_pause(Reader &reader, std::uint32_t frame, const Value &entry)
{
	require_true(member(entry, "pause"));
	add_step(reader, entry, {frame, Control{GST_PAUSE}});
}

void read_resume(Reader &reader, std::uint32_t frame, const Value &entry)
{
	require_true(member(entry, "resume"));
	add_step(reader, entry, {frame, Control{GST_PLAY}});
}

void read_stop(Reader &reader, std::uint32_t frame, const Value &entry)
{
	require_true(member(entry, "stop"));
	add_step(reader, entry, {frame, Stop{}});
}

/* A whole file of NV12 frames without gaps between them. */
std::vector<std::uint8_t> read_raw_file(Reader &reader, const Value &value, std::uint64_t size)
{
	const std::string path = read_text(value);
	std::error_code error;
	const std::uintmax_t found =
	    std::filesystem::is_regular_file(path, error) ? std::filesystem::file_size(path, error) : 0;
	if (error || found < size)
		complain(value, "expected a file of at least " + std::to_string(size) +
		                    " bytes for these frames, found " + std::to_string(error ? 0 : found));
	reader.raw_pixels += size;
	if (reader.raw_pixels > kMostPixels)
		complain(value, "expected at most 1 GiB of raw frames in a scene");
	std::vector<std::uint8_t> bytes(static_cast<std::size_t>(size));
	std::ifstream file(path, std::ios::binary);
	if (!file.read(reinterpret_cast<char *>(bytes.data()), static_cast<std::streamsize>(size)))
		complain(value, "expected a file that can be read");
	return bytes;
}

void read_raw(Reader &reader, std::uint32_t frame, const Value &entry)
{
	constexpr std::uint32_t kLargest = 4096;
	constexpr Word kSources[] = {{"memory", 0}, {"textures", 1}};
	const std::size_t object = read_actor_of_type(reader, member(entry, "raw"), ANI_VIDEO_RAW);
	BufferInfoRAW info = {};
	info.width = read_count(member(entry, "width"), 2, kLargest);
	info.height = read_count(member(entry, "height"), 2, kLargest);
	const std::optional<Value> stride = find_member(entry, "stride");
	info.stride = stride ? read_count(*stride, info.width, kLargest) : info.width;
	const std::optional<Value> count_value = find_member(entry, "count");
	const std::uint32_t count = count_value ? read_count(*count_value, 1, 1000) : 1;
	const std::optional<Value> every_value = find_member(entry, "every");
	const std::uint32_t every = every_value ? read_count(*every_value, 1) : 1;
	const std::optional<Value> source = find_member(entry, "source");

	const std::size_t size = static_cast<std::size_t>(info.stride) * info.height +
	                         info.width / 2 * 2 * (info.height / 2);
	std::vector<std::uint8_t> &pixels = reader.scene.pixels.emplace_back(
	    read_raw_file(reader, member(entry, "file"), std::uint64_t{size} * count));
	for (std::uint32_t i = 0; i < count; ++i) {
		info.praw = &pixels[i * size];
		add_step(reader, entry,
		    {frame + i * every, RawFrame{object, info, source && read_word(*source, kSources)}});
	}
}

std::uint32_t read_frame(Reader &reader, const Value &entry)
{
	const Value value = member(entry, "frame");
	const std::uint32_t frame = read_count(value, 0, reader.scene.frames - 1);
	if (frame < reader.frame)
		complain(value, "frame numbers out of order, expected at least " +
		                    std::to_string(reader.frame) + ", found " + std::to_string(frame));
	reader.frame = frame;
	return frame;
}

/* What an entry of the timeline does, and the members that go with it. */
struct Verb {
	std::string_view name;
	std::vector<std::string_view> members;
	void (*read)(Reader &reader, std::uint32_t frame, const Value &entry);
};

const Verb kVerbs[] = {
    {"create", {}, read_create},
    {"update", {"set", "mode"}, read_update},
    {"remove", {"mode"}, read_remove},
    {"play", {"on"}, read_play},
    {"pause", {}, read_pause},
    {"resume", {}, read_resume},
    {"stop", {}, read_stop},
    {"raw", {"file", "width", "height", "stride", "count", "every", "source"}, read_raw},
};

const Verb &read_verb(const Value &entry)
{
	const Verb *verb = nullptr;
	for (const Verb &candidate : kVerbs) {
		const std::optional<Value> found = find_member(entry, candidate.name);
		if (found && verb)
			complain(*found, "expected one action in an entry, found a second beside " +
			                     std::string(verb->name));
		if (found)
			verb = &candidate;
	}
	if (!verb)
		complain(entry, "expected one of create, update, remove, play, pause, resume, stop, raw");
	return *verb;
}

void read_entry(Reader &reader, const Value &entry)
{
	const std::uint32_t frame = read_frame(reader, entry);
	const Verb &verb = read_verb(entry);
	std::vector<std::string_view> allowed = {"frame", verb.name};
	allowed.insert(allowed.end(), verb.members.begin(), verb.members.end());
	require_members(entry, allowed);
	verb.read(reader, frame, entry);
}

void enter_folder_of(const std::string &path)
{
	const std::filesystem::path folder = std::filesystem::path(path).parent_path();
	if (!folder.empty())
		std::filesystem::current_path(folder);
}

} // namespace

bool has_stream(const Scene &scene)
{
	return std::ranges::any_of(
	    scene.steps, [](const Step &step) { return std::holds_alternative<Play>(step.action); });
}

const std::string *network_stream_of(const Scene &scene)
{
	for (const Step &step : scene.steps) {
		const auto *play = std::get_if<Play>(&step.action);
		const bool is_file = play && play->uri.find(".mp4") != std::string::npos &&
		                     play->uri.find("rtmp") == std::string::npos;
		if (play && !is_file)
			return &play->uri;
	}
	return nullptr;
}

Scene read_scene(const std::string &path)
{
	constexpr std::string_view kMembers[] = {"title", "frames", "handles", "objects", "timeline"};
	const SceneFile file = read_scene_file(path);
	const Value root = root_of(file);
	require_members(root, kMembers);
	enter_folder_of(path);

	Reader reader;
	Scene &scene = reader.scene;
	const std::optional<Value> title = find_member(root, "title");
	scene.title = title ? read_text(*title) : std::filesystem::path(path).stem().string();
	if (title && scene.title.size() > kLongestTitle)
		complain(*title, "expected a title of at most " + std::to_string(kLongestTitle) + " bytes");
	scene.frames = read_count(member(root, "frames"), 1);
	if (const auto handles = find_member(root, "handles")) {
		for (const Value &handle : elements(*handles))
			read_handle(scene, handle);
	}
	for (const Value &object : elements(member(root, "objects")))
		read_object(scene, object);
	for (const SceneObject &object : scene.objects)
		reader.actors.push_back({false, object.description});
	for (const Value &entry : elements(member(root, "timeline")))
		read_entry(reader, entry);
	/* Raw frames reach into the time of later entries. */
	std::ranges::stable_sort(scene.steps, {}, &Step::frame);
	return std::move(reader.scene);
}
