/* Tables of numbers in text files: a row a line, its fields between bars; # begins a comment. */
#ifndef TESTS_SUPPORT_TABLE_H
#define TESTS_SUPPORT_TABLE_H

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

/* A file beside the test's source. */
inline std::vector<std::vector<std::string>> read_table(const std::string &name)
{
	std::vector<std::vector<std::string>> rows;
	std::ifstream file(std::string(TABLES) + "/" + name);
	for (std::string line; std::getline(file, line);) {
		std::istringstream fields(line);
		if (!line.starts_with('#'))
			for (rows.emplace_back(); std::getline(fields >> std::ws, line, '|');)
				rows.back().push_back(line.substr(0, line.find_last_not_of(' ') + 1));
	}
	return rows;
}

/* Also hexadecimal ones, which a stream does not read. */
inline std::vector<float> numbers(const std::string &field)
{
	std::vector<float> result;
	std::istringstream words(field);
	for (std::string word; words >> word;)
		result.push_back(std::strtof(word.c_str(), nullptr));
	return result;
}

#endif
