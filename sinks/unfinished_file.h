#pragma once

#include <filesystem>
#include <string>

/* Removes a file that was created and never filled. A device that the user named stays. */
inline void remove_unfinished_file(const std::string &path)
{
	std::error_code ignored; /* a file that cannot be removed stays */
	if (std::filesystem::is_regular_file(path, ignored))
		std::filesystem::remove(path, ignored);
}
