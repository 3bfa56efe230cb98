#include <sinks/program_help.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <numeric>
#include <vector>

namespace
{

/* How many letters must be put in, taken out or exchanged to make one word of the other. */
std::size_t distance(std::string_view one, std::string_view other)
{
	std::vector<std::size_t> row(other.size() + 1);
	std::iota(row.begin(), row.end(), std::size_t{0});
	for (std::size_t i = 0; i < one.size(); i++) {
		std::size_t diagonal = row[0];
		row[0] = i + 1;
		for (std::size_t j = 0; j < other.size(); j++) {
			const std::size_t exchanged = diagonal + (one[i] == other[j] ? 0 : 1);
			diagonal = row[j + 1];
			row[j + 1] = std::min({diagonal + 1, row[j] + 1, exchanged});
		}
	}
	return row.back();
}

std::vector<std::string_view> options_of(std::string_view text)
{
	constexpr char kLetters[] = "abcdefghijklmnopqrstuvwxyz-";
	std::vector<std::string_view> options;
	for (std::size_t at = text.find("--"); at != text.npos; at = text.find("--", at)) {
		const std::size_t end = std::min(text.find_first_not_of(kLetters, at), text.size());
		if (end > at + 2)
			options.push_back(text.substr(at, end - at));
		at = end;
	}
	return options;
}

} // namespace

bool answer_help(const ProgramHelp &help, int argc, const char *const *argv)
{
	for (int i = 1; i < argc && std::strcmp(argv[i], "--") != 0; i++) {
		if (std::strcmp(argv[i], "--help") == 0)
			return std::fputs(help.text.c_str(), stdout), true;
		if (std::strcmp(argv[i], "--version") == 0)
			return std::printf("%s %s\n", help.program, VERSION), true;
	}
	return false;
}

std::string unknown_option(const ProgramHelp &help, std::string_view option)
{
	std::string_view nearest;
	std::size_t least = option.size() / 2; /* so much like it at least */
	for (const std::string_view known : options_of(help.text)) {
		const std::size_t changes = distance(option, known);
		if (changes < least) {
			least = changes;
			nearest = known;
		}
	}
	std::string wrong = "unknown option " + std::string(option);
	return nearest.empty() ? wrong : wrong + ", the nearest is " + std::string(nearest);
}

int refuse_arguments(const ProgramHelp &help, const std::string &wrong)
{
	const std::string usage = help.text.substr(0, help.text.find("\n\n"));
	std::fprintf(stderr, "%s: %s\n%s\n", help.program, wrong.c_str(), usage.c_str());
	return 2;
}
