/* A scene: what a scene file says, checked and ready to be called. docs/scenes.md tells the
 * format. */
#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <variant>
#include <vector>

#include <player/player.h>

#include <play/records.h>

/* A texture that is made before the scene starts. */
struct Handle {
	std::string name;
	std::string file; /* empty: made from data */
	TextureData data = {};
};

struct SceneObject {
	std::string name;
	const RecordKind *kind;
	Description description;
};

struct Create {
	std::size_t object;
};

struct Update {
	std::size_t object;
	Description change;
	UpdateMode mode;
};

struct Remove {
	std::size_t object;
	DeleteObjMode mode;
};

struct Play {
	std::string uri;
	std::vector<std::size_t> objects; /* one or two */
};

struct Control {
	GSTControl order;
};

struct Stop {
};

/* One NV12 frame of an application's own. */
struct RawFrame {
	std::size_t object;
	BufferInfoRAW frame;
	bool as_textures; /* handed over as two ready textures */
};

struct Step {
	std::uint32_t frame; /* the frame that the action comes before, counted from 0 */
	std::variant<Create, Update, Remove, Play, Control, Stop, RawFrame> action;
};

struct Scene {
	std::string title;
	std::uint32_t frames;
	std::vector<Handle> handles;
	std::vector<SceneObject> objects;
	std::vector<Step> steps;                      /* in the order of their frames */
	std::deque<std::vector<std::uint8_t>> pixels; /* what is pointed to; never moves */
};

/* True if the scene plays a stream, which goes by the clock and not by frames. */
bool has_stream(const Scene &scene);

/* The first of them that is no file; NULL if there is none. */
const std::string *network_stream_of(const Scene &scene);

/*
 * Reads and checks a whole scene file; throws SceneError. Makes the folder of the file the working
 * folder of the process, since the file's paths start there and a record's paths have to be short.
 */
Scene read_scene(const std::string &path);
