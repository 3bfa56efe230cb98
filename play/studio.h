/* The scene in the studio: played on the offscreen window, and led by the browser's commands. */
#pragma once

#include <string>

#include <studio/studio.h>

/* Until SIGINT or SIGTERM. A scene that is wrong is told on the page and is no failure. False with
 * *error set. */
bool play_in_studio(
    const std::string &scene_path, const StudioOptions &options, std::string *error);
