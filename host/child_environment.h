#pragma once

#include <string>
#include <vector>

/* The environment, as "NAME=value", of a program that is to run on the compositor in this folder:
 * ours, with what leads it to the compositor, what makes it draw in software, the same on every
 * PC, and what puts the host's companions in the place of parts that only the unit has; the folder
 * may be filled for that. */
std::vector<std::string> child_environment(const std::string &folder, const std::string &socket);
