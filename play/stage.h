/* A scene being played: the public calls that its steps come to, and which object answers to which
 * name. Used on the thread that called Init or opened the offscreen window. */
#pragma once

#include <deque>
#include <string>
#include <vector>

#include <play/film.h>
#include <play/scene.h>

struct Stage {
	const Scene *scene;
	std::vector<GLuint> handles;   /* beside scene->handles */
	std::vector<unsigned int> ids; /* beside scene->objects; ANIMATION_NO_OBJECT: not there */
	std::deque<Record> records;    /* beside scene->objects; what the library and player get */
	std::deque<GLuint> raw_planes; /* textures handed over as raw frames, the newest last */
	std::size_t next_step = 0;
	bool played_stream = false;

	bool is_offline = false; /* films go by turns, not by the clock */
	FilmPtr film;            /* offline */
	std::vector<std::size_t> film_objects;
	BufferInfoGST film_frame = {}; /* the records point to it */
	bool film_pauses = false;
};

/* Makes the scene's texture handles. The scene outlives the stage. False with *error set. */
bool open_stage(Stage *stage, const Scene &scene, std::string *error);

/* Makes the calls of every step up to this frame that is still to be made, between two frames of
 * the library. False with *error set if a creation failed. */
bool play_steps(Stage &stage, std::uint32_t frame, std::string *error);

/* Ends the playback, if there is one, and waits for its end; asks for the removal of all objects,
 * so that one frame takes them all away (videos one later, if a background hides them). */
void clear_stage(Stage &stage);

/* Deletes the texture handles. Every object has gone by now. */
void close_stage(Stage &stage);
