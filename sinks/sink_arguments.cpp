#include <sinks/sink_arguments.h>

#include <charconv>
#include <string_view>

const char kSinkUsage[] =
    "  --window              show the frames in a window, where ? tells the keys\n"
    "  --record FILE.mp4     record them, each as one video frame\n"
    "  --snapshot N=FILE.png write the N-th frame, counted from 1\n"
    "  --frames N            end after N frames\n";

bool parse_count(const std::string &text, std::uint64_t *value)
{
	const char *end = text.data() + text.size();
	std::uint64_t read = 0;
	auto [stop, failure] = std::from_chars(text.data(), end, read);
	if (failure != std::errc() || stop != end || read == 0)
		return false;
	*value = read;
	return true;
}

namespace
{

bool parse_snapshot(const std::string &text, std::vector<Snapshot> *snapshots)
{
	std::size_t equals = text.find('=');
	Snapshot snapshot = {};
	if (equals == std::string::npos || equals + 1 == text.size() ||
	    !parse_count(text.substr(0, equals), &snapshot.number))
		return false;
	snapshot.path = text.substr(equals + 1);
	snapshots->push_back(snapshot);
	return true;
}

} // namespace

ArgumentResult take_sink_argument(
    int argc, char *const *argv, int *index, SinkArguments *arguments, std::string *error)
{
	const std::string_view option = argv[*index];
	if (option == "--window") {
		arguments->sinks.window = true;
		++*index;
		return ArgumentResult::taken;
	}
	if (option != "--record" && option != "--snapshot" && option != "--frames")
		return ArgumentResult::not_ours;

	const std::string value = *index + 1 < argc ? argv[*index + 1] : "";
	const char *expected = nullptr;
	if (option == "--record") {
		if (!arguments->sinks.record.empty()) {
			*error = "only one --record can be given";
			return ArgumentResult::wrong;
		}
		arguments->sinks.record = value;
		if (value.empty())
			expected = "a file name";
	} else if (option == "--snapshot") {
		if (!parse_snapshot(value, &arguments->sinks.snapshots))
			expected = "N=FILE.png with N from 1 up";
	} else if (!parse_count(value, &arguments->frames)) {
		expected = "a number from 1 up";
	}
	if (expected) {
		*error = std::string(option) + " wants " + expected + ", not \"" + value + "\"";
		return ArgumentResult::wrong;
	}
	*index += 2;
	return ArgumentResult::taken;
}
