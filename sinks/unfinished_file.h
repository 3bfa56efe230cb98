#pragma once

#include <filesystem>
#include <string>

/* Removes a file that was created and never filled; a device that the user named stays. */
inline void remove_unfinished_file(const std::string &path)
{
	std::error_code ignored; /* what cannot be looked at or removed stays as well */
	if (std::filesystem::is_regular_file(path, ignored))
		std::filesystem::remove(path, ignored);
}
