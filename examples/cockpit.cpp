/*
 * A complete application: a dial, lamps and a warning on the left display, a map by day and by
 * night on the right one, and a camera that has both displays while it sends.
 *
 * usage: cockpit PICTURES SIGNALS    (PICTURES: the folder, such as build/scenes)
 *
 * SIGNALS is a pipe or a file of lines such as "speed 120"; examples/drive makes them. speed is 0
 * to 240, all others are 0 or 1. Exit status: 0 asked to end, 1 compositor lost or a picture
 * missing.
 */
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <string>
#include <thread>
#include <utility>

#include <wayland-client.h>

#include <animation/animation.h>
#include <player/player.h>
#include <render/render.h>

namespace
{

using namespace std::chrono_literals;
enum Signal { kSpeed, kLeft, kRight, kFuel, kFrost, kNight, kWarning, kCamera };
constexpr const char *kSignals[] = {
    "speed", "left", "right", "fuel", "frost", "night", "warning", "camera"};
enum Picture { kRoad, kDial, kNeedle, kTurnLeft, kTurnRight, kIcons, kSign, kMapDay, kMapNight };
constexpr const char *kFiles[] = {"road_night.png", "dial.png", "needle.png", "turn_left.png",
    "turn_right.png", "atlas.png", "warning.png", "map_day.png", "map_night.png"};

struct Strip {
	float corners[8];
	/* Begins with its bottom edge: so pictures are upright. */
	constexpr Strip(float x, float y, float width, float height)
	    : corners{x, y + height, x + width, y + height, x, y, x + width, y}
	{
	}
	InPosition2D on(ViewPortID display)
	{
		return {4, nullptr, corners, display};
	}
};

struct Lamp {
	Signal signal;
	Picture picture;
	Strip strip, part; /* on the display; of the picture, v upwards */
	bool flashes;
};
constexpr Lamp kLamps[] = {
    {kLeft, kTurnLeft, {128, 60, 160, 140}, {0, 1, 1, -1}, true},
    {kRight, kTurnRight, {864, 60, 160, 140}, {0, 1, 1, -1}, true},
    {kFuel, kIcons, {216, 470, 80, 80}, {0.5f, 1, 0.5f, -0.5f}, false},
    {kFrost, kIcons, {856, 470, 80, 80}, {0, 0.5f, 0.5f, -0.5f}, false},
};
enum Place { kRoadPlace, kMapPlace, kDialPlace, kNeedlePlace, kSignPlace, kLampPlace };
enum class Camera { kOff, kStarts, kShows };

struct Cockpit {
	GLuint textures[std::size(kFiles)];
	unsigned int ids[kLampPlace + std::size(kLamps)]; /* of the objects, by their places */
	Strip whole{0, 0, ANIMATION_VIEWPORT_WIDTH, ANIMATION_VIEWPORT_HEIGHT};
	Strip blade{0, 0, 0, 0};
	Backgroud_animationpara needle, map; /* what updates change */
	float speed = 0;
	bool night = false;
	Camera camera = Camera::kOff;
	VideoGST_animationpara films[2]; /* what the player reads while it plays */
	unsigned int film_ids[2] = {ANIMATION_NO_OBJECT, ANIMATION_NO_OBJECT};
} cockpit;
std::atomic<float> signals[std::size(kSignals)];
volatile sig_atomic_t asked_to_end = 0;

/* A thread of its own, as for the bus of a vehicle. */
void read_signals(const std::string &path)
{
	std::ifstream input(path);
	std::string name;
	for (float value = 0; input >> name >> value;)
		if (const auto *known = std::ranges::find(kSignals, name); known != std::end(kSignals))
			signals[known - kSignals] = value;
}

/* Why the compositor counts as lost; empty while it does not. */
std::string compositor_fault()
{
	static uint32_t last_turns = 0;
	static auto last_turn = std::chrono::steady_clock::now();
	const auto now = std::chrono::steady_clock::now();
	const uint32_t turns = __atomic_load_n(&p_gwindow->frames, __ATOMIC_ACQUIRE);
	if (turns != std::exchange(last_turns, turns))
		last_turn = now;
	if (wl_display_get_error(p_gwindow->display->display) != 0)
		return "the compositor has closed the connection";
	return now - last_turn > 3s ? "the compositor shows nothing for 3 seconds" : "";
}

std::string make_textures(const std::string &folder)
{
	for (std::size_t i = 0; i < std::size(kFiles); i++) {
		cockpit.textures[i] = CreateTextureByPng((folder + "/" + kFiles[i]).c_str());
		if (cockpit.textures[i] == ANIMATION_NO_HANDLE)
			return std::string("cannot load ") + kFiles[i];
	}
	return "";
}

TextureArray pictures(Picture first, Picture second = kRoad)
{
	TextureArray set = ANIMATION_TEXTURES_INIT;
	set.mode = TEX_IDS; /* the textures stay ours, and serve any number of objects */
	set.texids[0] = cockpit.textures[first];
	set.texids[1] = cockpit.textures[second];
	set.tex_num = second == kRoad ? 1 : 2;
	return set;
}

bool is_there(unsigned int id)
{
	return id != ANIMATION_NO_OBJECT && GetAnimationObjStatus(id) != ST_INVALID;
}

/* What has gone by itself leaves its id to the next object. */
void create(std::size_t place, AnimationType type, void *record)
{
	const unsigned int id = CreateAnimationObj(type, record);
	std::ranges::replace(cockpit.ids, id, ANIMATION_NO_OBJECT);
	cockpit.ids[place] = id;
}

void remove_and_wait(unsigned int &id)
{
	if (is_there(id))
		RemoveAnimationObj(id, DEL_IMMEDIATELY);
	while (running && is_there(id) && compositor_fault().empty())
		std::this_thread::sleep_for(5ms);
	id = ANIMATION_NO_OBJECT;
}

Backgroud_animationpara create_still(Place place, Strip &strip, ViewPortID display, Picture picture)
{
	Backgroud_animationpara record = ANIMATION_BACKGROUND_INIT;
	record.in_position2d = strip.on(display);
	record.textures = pictures(picture);
	create(place, ANI_BACKGROUND, &record);
	return record;
}

void turn_needle()
{
	constexpr float kReach = 204, kDegree = 0.01745329f, kCorners[] = {135, 45, 225, 315};
	const float angle =
	    cockpit.speed * 260 / 240 - 130 - 38; /* as on the scale, 38 as it is drawn */
	for (int i = 0; i < 4; i++) {
		cockpit.blade.corners[2 * i] = 576 + kReach * std::cos((kCorners[i] + angle) * kDegree);
		cockpit.blade.corners[2 * i + 1] = 276 + kReach * std::sin((kCorners[i] + angle) * kDegree);
	}
}

void show_pictures()
{
	Strip face(376, 76, 400, 400);
	turn_needle();
	create_still(kRoadPlace, cockpit.whole, VP_LCD0, kRoad);
	create_still(kDialPlace, face, VP_LCD0, kDial);
	cockpit.needle = create_still(kNeedlePlace, cockpit.blade, VP_LCD0, kNeedle);
	cockpit.map =
	    create_still(kMapPlace, cockpit.whole, VP_LCD1, cockpit.night ? kMapNight : kMapDay);
}

void follow_speed(float speed)
{
	const float rest = speed - cockpit.speed;
	if (rest == 0)
		return;
	cockpit.speed = std::abs(rest) < 0.2f ? speed : cockpit.speed + rest * 0.2f;
	turn_needle();
	cockpit.needle.update = UPD_COORDS; /* the texture stays as it is */
	UpdateAnimationObj(cockpit.ids[kNeedlePlace], &cockpit.needle);
}

void follow_daylight(bool night)
{
	if (night == std::exchange(cockpit.night, night))
		return;
	cockpit.map.textures = night ? pictures(kMapDay, kMapNight) : pictures(kMapNight, kMapDay);
	cockpit.map.update = UPD_TEXS; /* two pictures: the first fades into the second */
	UpdateAnimationObj(cockpit.ids[kMapPlace], &cockpit.map);
}

void follow_lamp(const Lamp &lamp, std::size_t place)
{
	const bool on = signals[lamp.signal] != 0, is_on = is_there(cockpit.ids[place]);
	if (is_on && !on)
		RemoveAnimationObj(cockpit.ids[place], lamp.flashes ? DEL_ON_HIDE : DEL_IMMEDIATELY);
	if (is_on || !on)
		return;
	Strip strip = lamp.strip, part = lamp.part;
	TexCut_animationpara record = ANIMATION_TEX_CUT_INIT;
	record.in_position2d = strip.on(VP_LCD0);
	record.in_position2d.texPosition2d = part.corners;
	record.textures = pictures(lamp.picture);
	record.off_frame = lamp.flashes ? record.on_frame : 0;
	create(place, ANI_TEX_CUT, &record);
}

/* The newest object lies over all others. This one goes when its only cycle is over. */
void warn()
{
	Strip strip(456, 150, 240, 216);
	FadeInOutLoop_animationpara record = ANIMATION_FADE_INIT;
	record.in_position2d = strip.on(VP_LCD0);
	record.textures = pictures(kSign);
	record.loopcnt = 1;
	record.delonloopcnt = true;
	create(kSignPlace, ANI_FADEINOUT, &record);
}

/* A video flickers beside pictures, and a background hides it: they go meanwhile. */
void show_camera()
{
	static float upright[] = {0, 1, 1, 1, 0, 0, 1, 0};
	std::ranges::for_each(cockpit.ids, remove_and_wait);
	for (ViewPortID display : {VP_LCD0, VP_LCD1}) {
		cockpit.films[display] = {cockpit.whole.on(display), upright, nullptr, UPD_ALL};
		cockpit.film_ids[display] = CreateAnimationObj(ANI_VIDEO_GST, &cockpit.films[display]);
	}
	SetGSTPlayAnimationId(
	    cockpit.film_ids[0], &cockpit.films[0], cockpit.film_ids[1], &cockpit.films[1]);
	cockpit.camera = Camera::kShows;
}

/* The pictures stay until the camera has sent its first, and come back when it ends. */
void follow_camera()
{
	const bool wanted = signals[kCamera] != 0, plays = StartGSTPlay(nullptr) == 1;
	if (cockpit.camera == Camera::kOff && wanted && !plays && StartGSTPlay("127.0.0.1") == 0)
		cockpit.camera = Camera::kStarts;
	else if (cockpit.camera == Camera::kStarts && wanted && IsFirstFrameStart())
		show_camera();
	if (cockpit.camera == Camera::kOff || (wanted && StartGSTPlay(nullptr) == 1))
		return;
	StopGSTPlay();
	std::ranges::for_each(cockpit.film_ids, remove_and_wait);
	if (std::exchange(cockpit.camera, Camera::kOff) == Camera::kShows)
		show_pictures();
}

void follow_signals()
{
	follow_camera();
	if (cockpit.camera == Camera::kShows)
		return;
	follow_speed(std::clamp(signals[kSpeed].load(), 0.0f, 240.0f));
	follow_daylight(signals[kNight] != 0);
	for (std::size_t i = 0; i < std::size(kLamps); i++)
		follow_lamp(kLamps[i], kLampPlace + i);
	if (!is_there(cockpit.ids[kSignPlace]) && signals[kWarning].exchange(0) != 0)
		warn();
}

} // namespace

int main(int argc, char **argv)
{
	if (argc != 3)
		return fprintf(stderr, "usage: cockpit PICTURES SIGNALS\n"), 2;
	std::ranges::fill(cockpit.ids, ANIMATION_NO_OBJECT);
	std::thread(read_signals, std::string(argv[2])).detach();
	Init();
	for (int number : {SIGINT, SIGTERM}) /* not before: Init may have to wait */
		std::signal(number, [](int) { asked_to_end = 1; });
	std::string fault = make_textures(argv[1]);
	if (fault.empty())
		show_pictures();
	while (running && !asked_to_end && fault.empty() && (fault = compositor_fault()).empty()) {
		follow_signals();
		std::this_thread::sleep_for(20ms);
	}
	StopGSTPlay();
	while (StartGSTPlay(nullptr) == 1)
		std::this_thread::sleep_for(5ms);
	if (!fault.empty()) { /* nothing can be removed any more */
		fprintf(stderr, "cockpit: %s\n", fault.c_str());
	} else {
		std::ranges::for_each(cockpit.ids, remove_and_wait);
		std::ranges::for_each(cockpit.film_ids, remove_and_wait);
		std::ranges::for_each(cockpit.textures, DeleteTexture);
	}
	DeInit();
	return fault.empty() ? 0 : 1;
}
