/* The text of a scene: JSON values that know where in the file they stand, so that every complaint
 * names the file, the line and what was expected there. Line comments are allowed. */
#pragma once

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include <nlohmann/json.hpp>

/* What is wrong with a scene, as one line for the user: control characters of names in it are shown
 * as question marks. */
struct SceneError : std::runtime_error {
	explicit SceneError(std::string text);
};

struct SceneFile {
	std::string path;
	nlohmann::json root;
	std::unordered_map<std::string, int> lines; /* JSON pointer to line */
};

/* A value and its place. Good as long as its SceneFile. */
struct Value {
	const SceneFile *file;
	const nlohmann::json *json;
	std::string pointer;
};

/* A name that the file may use, and what it stands for. */
struct Word {
	std::string_view name;
	int value;
};

/* All of these throw SceneError. */

/* Reads a file. Also complains of a member that is given twice, and of a file that goes beyond what
 * a scene can need: so the memory for any file is bounded. */
SceneFile read_scene_file(const std::string &path);
Value root_of(const SceneFile &file);

/* Complains of a value: "FILE:LINE: POINTER: " and the text. */
[[noreturn]] void complain(const Value &value, const std::string &text);

/* Requires an object that has no other members than these. */
void require_members(const Value &value, std::span<const std::string_view> allowed);

std::optional<Value> find_member(const Value &object, std::string_view name);
Value member(const Value &object, std::string_view name);
std::vector<Value> elements(const Value &array);

std::string read_text(const Value &value);
bool read_flag(const Value &value);
float read_number(const Value &value);
float read_fraction(const Value &value); /* from 0 to 1 */
std::uint32_t read_count(const Value &value, std::uint32_t lowest = 0,
    std::uint32_t highest = std::numeric_limits<std::uint32_t>::max());
int read_word(const Value &value, std::span<const Word> words);

/* An array of exactly this many numbers. */
std::vector<float> read_numbers(const Value &value, std::size_t count);
