#pragma once

#include <string>
#include <string_view>

/* What a program tells about itself. The text begins with the usage, up to an empty line, and names
 * every option with its two dashes. */
struct ProgramHelp {
	const char *program;
	std::string text;
};

/* Answers --help or --version, wherever it stands before a "--". True if there was one. */
bool answer_help(const ProgramHelp &help, int argc, const char *const *argv);

/* What is wrong with such an option, with the nearest one that there is. */
std::string unknown_option(const ProgramHelp &help, std::string_view option);

/* Says on the standard error what is wrong, and the usage. Returns the exit status for it, 2. */
int refuse_arguments(const ProgramHelp &help, const std::string &wrong);
