#pragma once

#include <string>
#include <vector>

/* The environment of the program that runs on the compositor in this folder, as "NAME=value". It is
 * our environment, with the variables that select this compositor, software rendering and our
 * plug-ins. May put files into the folder. The probe, which is preloaded then, speaks over
 * probe_fd; -1 stands for no probe. It then looks for mistakes of the program if checks is true. */
std::vector<std::string> child_environment(
    const std::string &folder, const std::string &socket, int probe_fd, bool checks);
