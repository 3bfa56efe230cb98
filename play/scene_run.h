/* One run of a scene on the offscreen window: it stands at a frame and can be led to any other. The
 * same frame has the same pixels however it was reached. */
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include <offscreen/offscreen_window.h>
#include <play/stage.h>

struct SceneRun {
	OffscreenWindow *window;
	Scene scene;
	Stage stage;
	std::uint32_t next_frame = 0; /* that is to be played */
	OffscreenPicture picture;     /* what a viewer sees of the frame before */
	bool has_swapped = false;     /* in the frame before */
	double turn_ms = 0;           /* of the frame before */
	void (*look)(
	    bool) = nullptr; /* told whether the turns to come are drawn, as skipped ones are many */
};
struct SceneRunCloser {
	void operator()(SceneRun *run) const;
};
using SceneRunPtr = std::unique_ptr<SceneRun, SceneRunCloser>;

/* Before its first frame. Only one may be open on a window. NULL with *error set. */
SceneRunPtr open_scene_run(OffscreenWindow &window, Scene scene, std::string *error);

/* Plays one frame. False with *error set. */
bool play_frame(SceneRun &run, std::string *error);

/* Plays to the end of this frame without drawing those before it; from the beginning again if the
 * run is past it. False with *error set. */
bool seek(SceneRun &run, std::uint32_t frame, std::string *error);
