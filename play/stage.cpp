#include <play/stage.h>

#include <algorithm>
#include <chrono>
#include <thread>

#include <base/lock.h>
#include <player/player.h>

namespace
{

constexpr std::chrono::milliseconds kPollInterval(5);

/* A stop is bounded by the player; this is for a source that hangs all the same. */
constexpr std::chrono::seconds kLongestStop(10);

/* A frame's two textures are the object's until it has taken the next ones; then they are to be
 * deleted here. Twice two can be in use. */
constexpr std::size_t kPlanesInUse = 4;

bool call(Stage &stage, const Create &create, std::string *error)
{
	const SceneObject &object = stage.scene->objects[create.object];
	Record &record = stage.records[create.object];
	clear(record);
	fill(record, object.description, stage.handles);
	const unsigned int id = CreateAnimationObj(object.kind->type, address_of(record));
	/* An object that has gone by itself leaves its id to a newcomer. */
	std::ranges::replace(stage.ids, id, ANIMATION_NO_OBJECT);
	stage.ids[create.object] = id;
	if (id == ANIMATION_NO_OBJECT)
		*error = "object \"" + object.name + "\": the library refused to create it";
	return id != ANIMATION_NO_OBJECT;
}

bool call(Stage &stage, const Update &update, std::string *)
{
	Record &record = stage.records[update.object];
	fill(record, update.change, stage.handles);
	UpdateMode &mode = update_of(record);
	mode = update.mode;
	/* The crop of the frame that stands has to be taken again. */
	if (record.kind->type == ANI_VIDEO_GST && mode == UPD_COORDS)
		mode = UPD_ALL;
	UpdateAnimationObj(stage.ids[update.object], address_of(record));
	return true;
}

bool call(Stage &stage, const Remove &remove, std::string *)
{
	if (GetAnimationObjStatus(stage.ids[remove.object]) != ST_INVALID)
		RemoveAnimationObj(stage.ids[remove.object], remove.mode);
	return true;
}

void make_planes(BufferInfoRAW *frame)
{
	const int width = static_cast<int>(frame->width);
	const int height = static_cast<int>(frame->height);
	const auto *luma = static_cast<const std::uint8_t *>(frame->praw);
	const auto *chroma = luma + static_cast<std::size_t>(frame->stride) * frame->height;
	frame->texids[0] = CreateTexture(width, height, GL_LUMINANCE, luma);
	frame->texids[1] = CreateTexture(width / 2, height / 2, GL_LUMINANCE_ALPHA, chroma);
	frame->praw = nullptr;
}

bool call(Stage &stage, const RawFrame &raw, std::string *)
{
	auto &para = *static_cast<VideoRAW_animationpara *>(address_of(stage.records[raw.object]));
	BufferInfoRAW frame = raw.frame;
	if (raw.as_textures) {
		make_planes(&frame);
		stage.raw_planes.insert(
		    stage.raw_planes.end(), std::begin(frame.texids), std::end(frame.texids));
	}
	para.bufinfo = &frame;
	para.update = UPD_TEXS;
	UpdateAnimationObj(stage.ids[raw.object], &para);
	para.bufinfo = nullptr;
	for (; stage.raw_planes.size() > kPlanesInUse; stage.raw_planes.pop_front())
		DeleteTexture(stage.raw_planes.front());
	return true;
}

/* True while a playback is on or its end is under way. */
bool is_player_busy()
{
	return StartGSTPlay(nullptr) == 1;
}

void wait_for_player()
{
	const auto limit = std::chrono::steady_clock::now() + kLongestStop;
	while (is_player_busy() && std::chrono::steady_clock::now() < limit)
		std::this_thread::sleep_for(kPollInterval);
}

/* ---- A film offline ---- */

VideoGST_animationpara &video_of(Stage &stage, std::size_t object)
{
	return *static_cast<VideoGST_animationpara *>(address_of(stage.records[object]));
}

void end_film(Stage &stage)
{
	for (const std::size_t object : stage.film_objects)
		video_of(stage, object).bufinfo = nullptr;
	stage.film_objects.clear();
	stage.film.reset();
}

bool start_film(Stage &stage, const Play &start, std::string *error)
{
	end_film(stage);
	stage.film = open_film(start.uri, error);
	stage.film_objects = start.objects;
	stage.film_pauses = false;
	return stage.film != nullptr;
}

/* As the player delivers a frame to the objects that are still there. */
void play_film(Stage &stage)
{
	if (!stage.film || stage.film_pauses || !advance(*stage.film, &stage.film_frame))
		return;
	const ListLock lock;
	for (const std::size_t object : stage.film_objects) {
		VideoGST_animationpara &para = video_of(stage, object);
		para.bufinfo = &stage.film_frame;
		para.update = UPD_ALL;
		if (GetAnimationObjStatus(stage.ids[object]) != ST_INVALID)
			UpdateAnimationObj(stage.ids[object], &para);
	}
}

/* ---- Playback ---- */

/* Takes the place of a playback that is still on. */
bool call(Stage &stage, const Play &start, std::string *error)
{
	if (stage.is_offline)
		return start_film(stage, start, error);
	StopGSTPlay();
	wait_for_player();
	const std::size_t first = start.objects.front();
	const bool two = start.objects.size() == 2;
	const std::size_t second = start.objects.back();
	SetGSTPlayAnimationId(stage.ids[first], address_of(stage.records[first]),
	    two ? stage.ids[second] : ANIMATION_NO_OBJECT,
	    two ? address_of(stage.records[second]) : nullptr);
	stage.played_stream = true;
	if (StartGSTPlay(start.uri.c_str()) == 0)
		return true;
	*error = "stream \"" + start.uri + "\": the library refused to play it";
	return false;
}

bool call(Stage &stage, const Control &control, std::string *)
{
	if (stage.is_offline)
		stage.film_pauses = control.order == GST_PAUSE;
	else
		GSTplayControl(control.order);
	return true;
}

bool call(Stage &stage, const Stop &, std::string *)
{
	if (stage.is_offline)
		end_film(stage);
	else
		StopGSTPlay();
	return true;
}

/* The player takes g_mutex on threads of its own, so it is called with the mutex free. */
bool is_for_player(const Step &step)
{
	return std::holds_alternative<Play>(step.action) ||
	       std::holds_alternative<Control>(step.action) ||
	       std::holds_alternative<Stop>(step.action);
}

bool is_due(const Stage &stage, std::uint32_t frame)
{
	const std::vector<Step> &steps = stage.scene->steps;
	return stage.next_step < steps.size() && steps[stage.next_step].frame <= frame;
}

const Step &next_step(const Stage &stage)
{
	return stage.scene->steps[stage.next_step];
}

bool call_next_step(Stage &stage, std::string *error)
{
	const Step &step = next_step(stage);
	++stage.next_step;
	return std::visit([&](const auto &action) { return call(stage, action, error); }, step.action);
}

GLuint make_handle(const Handle &handle)
{
	if (handle.file.ends_with(".png"))
		return CreateTextureByPng(handle.file.c_str());
	if (!handle.file.empty())
		return CreateTextureByName(handle.file.c_str());
	const TextureData &data = handle.data;
	return CreateTexture(static_cast<int>(data.width), static_cast<int>(data.height),
	    static_cast<int>(data.textureType), data.va);
}

} // namespace

bool open_stage(Stage *stage, const Scene &scene, std::string *error)
{
	stage->scene = &scene;
	stage->ids.assign(scene.objects.size(), ANIMATION_NO_OBJECT);
	for (const SceneObject &object : scene.objects)
		stage->records.emplace_back(*object.kind);
	for (const Handle &handle : scene.handles) {
		const GLuint texture = make_handle(handle);
		if (texture == ANIMATION_NO_HANDLE) {
			*error = "handle \"" + handle.name + "\": the library refused to load it";
			return false;
		}
		stage->handles.push_back(texture);
	}
	return true;
}

bool play_steps(Stage &stage, std::uint32_t frame, std::string *error)
{
	while (is_due(stage, frame)) {
		if (is_for_player(next_step(stage))) {
			if (!call_next_step(stage, error))
				return false;
			continue;
		}
		const ListLock lock; /* several calls take effect in the same frame */
		while (is_due(stage, frame) && !is_for_player(next_step(stage))) {
			if (!call_next_step(stage, error))
				return false;
		}
	}
	play_film(stage);
	return true;
}

void clear_stage(Stage &stage)
{
	if (stage.played_stream) {
		StopGSTPlay();
		wait_for_player();
	}
	const ListLock lock;
	for (const unsigned int id : stage.ids) {
		if (GetAnimationObjStatus(id) != ST_INVALID)
			RemoveAnimationObj(id, DEL_IMMEDIATELY);
	}
}

void close_stage(Stage &stage)
{
	for (const GLuint handle : stage.handles)
		DeleteTexture(handle);
	stage.handles.clear();
}
