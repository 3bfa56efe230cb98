/* What a scene calls, as a reader of its program would see it. */
#pragma once

#include <string>
#include <vector>

#include <play/stage.h>

/* The calls of the steps from this one on that have been made. */
std::vector<std::string> call_texts(const Stage &stage, std::size_t first_step);
