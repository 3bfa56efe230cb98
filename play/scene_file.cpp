#include <play/scene_file.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <fstream>
#include <numeric>
#include <utility>

using nlohmann::json;

namespace
{

/* What a scene may have; the largest of ours has a hundredth of each. */
constexpr std::size_t kLargestFile = 2 << 20;
constexpr std::size_t kDeepest = 16;
constexpr std::size_t kMostValues = 200'000;
constexpr std::size_t kLongestText = 1000;

/* Of the parser's complaint, which repeats what it has read. */
constexpr std::size_t kLongestComplaint = 200;

/* Lets the listener below see how far the parser has read. */
struct TrackingIterator {
	using value_type = char;
	using difference_type = std::ptrdiff_t;
	using pointer = const char *;
	using reference = const char &;
	using iterator_category = std::input_iterator_tag;

	const char *at;
	const char **read_up_to;

	reference operator*() const
	{
		return *at;
	}
	TrackingIterator &operator++()
	{
		*read_up_to = ++at;
		return *this;
	}
	bool operator==(const TrackingIterator &other) const
	{
		return at == other.at;
	}
	bool operator!=(const TrackingIterator &other) const
	{
		return at != other.at;
	}
};

std::string escaped(std::string_view name)
{
	std::string result;
	for (const char c : name) {
		if (c == '~')
			result += "~0";
		else if (c == '/')
			result += "~1";
		else
			result += c;
	}
	return result;
}

/* Notes the line of every value while the parser walks through the text. */
class PlaceRecorder : public nlohmann::json_sax<json>
{
public:
	PlaceRecorder(SceneFile *file, const char *begin, const char *const *read_up_to)
	    : file_(file), counted_(begin), read_up_to_(read_up_to)
	{
	}

	bool null() override
	{
		return leaf(0);
	}
	bool boolean(bool) override
	{
		return leaf(0);
	}
	/* The end of a number shows only in the character behind it. */
	bool number_integer(number_integer_t) override
	{
		return leaf(1);
	}
	bool number_unsigned(number_unsigned_t) override
	{
		return leaf(1);
	}
	bool number_float(number_float_t, const string_t &) override
	{
		return leaf(1);
	}
	bool string(string_t &text) override
	{
		leaf(0);
		require_short(text);
		return true;
	}
	bool binary(binary_t &) override
	{
		return leaf(0);
	}
	bool start_object(std::size_t) override
	{
		begin_value(0);
		levels_.push_back({.is_array = false});
		return true;
	}
	bool start_array(std::size_t) override
	{
		begin_value(0);
		levels_.push_back({.is_array = true});
		return true;
	}
	bool end_object() override
	{
		levels_.pop_back();
		return true;
	}
	bool end_array() override
	{
		levels_.pop_back();
		return true;
	}
	bool key(string_t &name) override
	{
		require_short(name);
		levels_.back().name = "/" + escaped(name);
		if (file_->lines.contains(pointer()))
			complain_here("expected only once, found a second time");
		return true;
	}
	bool parse_error(
	    std::size_t, const std::string &, const nlohmann::detail::exception &error) override
	{
		std::string text = error.what();
		text.erase(0, text.find("] ") + 2);
		text.erase(0, text.find(": ") + 2);
		throw SceneError(
		    file_->path + ":" + std::to_string(line(0)) + ": " + text.substr(0, kLongestComplaint));
	}

private:
	struct Level {
		bool is_array;
		std::string name;
		std::size_t next = 0;
	};

	std::string pointer() const
	{
		std::string result;
		for (const Level &level : levels_)
			result += level.name;
		return result;
	}

	int line(int characters_ahead)
	{
		const char *end = *read_up_to_ - characters_ahead;
		if (end > counted_) {
			line_ += static_cast<int>(std::count(counted_, end, '\n'));
			counted_ = end;
		}
		return line_;
	}

	[[noreturn]] void complain_here(const std::string &text)
	{
		throw SceneError(
		    file_->path + ":" + std::to_string(line(0)) + ": " + pointer() + ": " + text);
	}

	void require_short(const std::string &text)
	{
		if (text.size() > kLongestText)
			complain_here("expected a text of at most " + std::to_string(kLongestText) +
			              " characters, found " + std::to_string(text.size()));
	}

	void begin_value(int characters_ahead)
	{
		if (levels_.size() >= kDeepest)
			complain_here("expected at most " + std::to_string(kDeepest) + " levels");
		if (file_->lines.size() >= kMostValues)
			complain_here("expected at most " + std::to_string(kMostValues) + " values in a scene");
		if (!levels_.empty() && levels_.back().is_array)
			levels_.back().name = "/" + std::to_string(levels_.back().next++);
		file_->lines[pointer()] = line(characters_ahead);
	}

	bool leaf(int characters_ahead)
	{
		begin_value(characters_ahead);
		return true;
	}

	SceneFile *file_;
	const char *counted_;
	const char *const *read_up_to_;
	int line_ = 1;
	std::vector<Level> levels_;
};

std::string shown(const Value &value)
{
	constexpr std::size_t kLongest = 40;
	std::string text = value.json->dump(-1, ' ', false, json::error_handler_t::replace);
	if (text.size() > kLongest)
		text = text.substr(0, kLongest) + "...";
	return text;
}

[[noreturn]] void complain_of_kind(const Value &value, const std::string &expected)
{
	complain(value, "expected " + expected + ", found " + shown(value));
}

template <class Names>
std::string listed(const Names &names)
{
	std::string text;
	for (const std::string_view name : names)
		text += (text.empty() ? "" : ", ") + std::string(name);
	return text;
}

std::string on_one_line(std::string text)
{
	std::ranges::replace_if(
	    text, [](unsigned char c) { return std::iscntrl(c) != 0; }, '?');
	return text;
}

/* So many bytes at most. */
std::string read_start(const std::string &path, std::size_t size)
{
	std::ifstream stream(path, std::ios::binary);
	std::string text;
	std::array<char, 16384> block;
	do {
		const std::size_t left = std::min(block.size(), size - text.size());
		stream.read(block.data(), static_cast<std::streamsize>(left));
		text.append(block.data(), static_cast<std::size_t>(stream.gcount()));
	} while (stream && text.size() < size);
	if (!stream.eof() && !stream)
		throw SceneError(path + ": expected a scene file, found nothing that can be read");
	return text;
}

/* How many letters have to be put in, taken out or exchanged. */
std::size_t distance(std::string_view a, std::string_view b)
{
	std::vector<std::size_t> row(b.size() + 1);
	std::iota(row.begin(), row.end(), std::size_t(0));
	for (std::size_t i = 0; i < a.size(); ++i) {
		std::size_t diagonal = std::exchange(row[0], i + 1);
		for (std::size_t k = 0; k < b.size(); ++k) {
			const std::size_t exchanged = diagonal + (a[i] == b[k] ? 0 : 1);
			diagonal = row[k + 1];
			row[k + 1] = std::min({exchanged, diagonal + 1, row[k] + 1});
		}
	}
	return row.back();
}

/* A question for the name that may have been meant, or nothing. */
template <class Names>
std::string did_you_mean(std::string_view found, const Names &names)
{
	constexpr std::size_t kFarthest = 3;
	const auto to_found = [found](std::string_view name) { return distance(found, name); };
	const auto nearest = std::ranges::min_element(names, {}, to_found);
	if (nearest == std::ranges::end(names) || to_found(*nearest) > kFarthest ||
	    to_found(*nearest) >= found.size())
		return "";
	return ", did you mean \"" + std::string(*nearest) + "\"?";
}

} // namespace

SceneError::SceneError(std::string text) : std::runtime_error(on_one_line(std::move(text)))
{
}

SceneFile read_scene_file(const std::string &path)
{
	const std::string text = read_start(path, kLargestFile + 1);
	if (text.size() > kLargestFile)
		throw SceneError(path + ":1: expected a scene of at most " + std::to_string(kLargestFile) +
		                 " bytes, found a longer one");

	SceneFile file{.path = path};
	const char *read_up_to = text.data();
	PlaceRecorder recorder(&file, text.data(), &read_up_to);
	const TrackingIterator begin{text.data(), &read_up_to};
	const TrackingIterator end{text.data() + text.size(), &read_up_to};
	json::sax_parse(begin, end, &recorder, json::input_format_t::json, true, true);
	file.root = json::parse(text, nullptr, true, true);
	return file;
}

Value root_of(const SceneFile &file)
{
	return {&file, &file.root, ""};
}

void complain(const Value &value, const std::string &text)
{
	throw SceneError(value.file->path + ":" + std::to_string(value.file->lines.at(value.pointer)) +
	                 ": " + (value.pointer.empty() ? "/" : value.pointer) + ": " + text);
}

void require_members(const Value &value, std::span<const std::string_view> allowed)
{
	if (!value.json->is_object())
		complain_of_kind(value, "an object { }");
	for (const auto &[name, unused] : value.json->items()) {
		if (std::find(allowed.begin(), allowed.end(), name) == allowed.end())
			complain(*find_member(value, name),
			    "unknown field, expected one of " + listed(allowed) + did_you_mean(name, allowed));
	}
}

std::optional<Value> find_member(const Value &object, std::string_view name)
{
	const auto found = object.json->find(std::string(name));
	if (found == object.json->end())
		return std::nullopt;
	return Value{object.file, &*found, object.pointer + "/" + escaped(name)};
}

Value member(const Value &object, std::string_view name)
{
	if (!object.json->is_object())
		complain_of_kind(object, "an object { }");
	std::optional<Value> found = find_member(object, name);
	if (!found)
		complain(object, "expected a field \"" + std::string(name) + "\", found none");
	return *found;
}

std::vector<Value> elements(const Value &array)
{
	if (!array.json->is_array())
		complain_of_kind(array, "an array [ ]");
	std::vector<Value> result;
	for (std::size_t i = 0; i < array.json->size(); ++i)
		result.push_back({array.file, &(*array.json)[i], array.pointer + "/" + std::to_string(i)});
	return result;
}

std::string read_text(const Value &value)
{
	if (!value.json->is_string())
		complain_of_kind(value, "a text in quotes");
	return value.json->get<std::string>();
}

bool read_flag(const Value &value)
{
	if (!value.json->is_boolean())
		complain_of_kind(value, "true or false");
	return value.json->get<bool>();
}

float read_number(const Value &value)
{
	if (!value.json->is_number() || !std::isfinite(value.json->get<float>()))
		complain_of_kind(value, "a number");
	return value.json->get<float>();
}

float read_fraction(const Value &value)
{
	const float number = read_number(value);
	if (number < 0.0f || number > 1.0f)
		complain_of_kind(value, "a number from 0 to 1");
	return number;
}

std::uint32_t read_count(const Value &value, std::uint32_t lowest, std::uint32_t highest)
{
	const bool fits = value.json->is_number_unsigned() &&
	                  value.json->get<std::uint64_t>() >= lowest &&
	                  value.json->get<std::uint64_t>() <= highest;
	if (!fits)
		complain_of_kind(value,
		    "a whole number from " + std::to_string(lowest) + " to " + std::to_string(highest));
	return value.json->get<std::uint32_t>();
}

int read_word(const Value &value, std::span<const Word> words)
{
	const auto found = std::find_if(words.begin(), words.end(), [&value](const Word &word) {
		return value.json->is_string() && value.json->get_ref<const std::string &>() == word.name;
	});
	if (found != words.end())
		return found->value;
	std::vector<std::string_view> names;
	for (const Word &word : words)
		names.push_back(word.name);
	const bool is_text = value.json->is_string();
	complain(value, "expected one of " + listed(names) + ", found " + shown(value) +
	                    (is_text ? did_you_mean(value.json->get<std::string>(), names) : ""));
}

std::vector<float> read_numbers(const Value &value, std::size_t count)
{
	if (!value.json->is_array() || value.json->size() != count)
		complain_of_kind(value, "an array of " + std::to_string(count) + " numbers");
	std::vector<float> numbers;
	for (const Value &element : elements(value))
		numbers.push_back(read_number(element));
	return numbers;
}
