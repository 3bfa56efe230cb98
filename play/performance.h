/* Two ways to play a scene from its first frame to its last. */
#pragma once

#include <string>

#include <sinks/sink_arguments.h>

#include <play/scene.h>

/* Turn by turn on an offscreen window, without waiting: each turn gives the sinks one picture, that
 * of frame n being picture n + 1. Where a turn draws nothing, the picture before it stands. False
 * with *error set. */
bool play_offline(const Scene &scene, const SinkArguments &arguments, std::string *error);

/* On the Wayland display that the environment names, at the library's own pace; to the end of the
 * scene, or until SIGINT or SIGTERM. False with *error set. */
bool play_live(const Scene &scene, std::string *error);
