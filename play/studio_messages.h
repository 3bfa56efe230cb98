/* What the probe tells of the frames of a scene, for the studio: in the scene's own words. */
#pragma once

#include <vector>

#include <nlohmann/json_fwd.hpp>

#include <play/scene_run.h>

/* To be called before any run. */
void begin_to_hear();

/* The "level" of a "watch": how closely drawn turns are looked at. */
void set_watch_level(const std::string &level);

/* For SceneRun.look: what is skipped is not looked at. */
void look(bool is_drawn);

/* The findings since the last call, and the newest frame with the scene's numbers and names. */
std::vector<nlohmann::json> take_messages(const SceneRun &run);

/* The text of a report of all that was heard. */
std::string report_of_studio();
