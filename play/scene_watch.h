/* Sees when a scene file is written, by whatever editor: many write another file and give it the
 * name. So its folder is watched. */
#pragma once

#include <string>

struct SceneWatch {
	int descriptor = -1; /* readable when something was written in the folder */
	std::string name;
};

SceneWatch watch_scene_file(const std::string &path);

/* True if the file itself was written since the last call. */
bool was_written(const SceneWatch &watch);
