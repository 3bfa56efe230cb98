#include "program.h"

#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include <gtest/gtest.h>
#include <png.h>

Outcome run_program(const char *variable, const std::string &arguments)
{
	const char *program = std::getenv(variable);
	if (!program)
		return {-1, std::string(variable) + " is not set"};
	/* What a driver keeps looks leaked once EGL has unloaded it. The host preloads a library.
	 */
	const std::string environment =
	    "ASAN_OPTIONS=$ASAN_OPTIONS:detect_leaks=0:verify_asan_link_order=0 ";
	FILE *pipe = popen((environment + program + " " + arguments + " 2>&1").c_str(), "r");
	Outcome outcome = {-1, ""};
	std::array<char, 4096> buffer;
	while (const std::size_t count = std::fread(buffer.data(), 1, buffer.size(), pipe))
		outcome.output.append(buffer.data(), count);
	const int status = pclose(pipe);
	if (WIFEXITED(status))
		outcome.status = WEXITSTATUS(status);
	return outcome;
}

std::string test_folder()
{
	const auto *info = testing::UnitTest::GetInstance()->current_test_info();
	const std::filesystem::path folder = std::filesystem::path(testing::TempDir()) /
	                                     (std::string(info->test_suite_name()) + "." +
	                                         info->name() + "." + std::to_string(getpid()));
	std::filesystem::remove_all(folder);
	std::filesystem::create_directories(folder);
	return folder.string() + "/";
}

void write_file(const std::string &path, const std::string &text)
{
	std::ofstream(path, std::ios::binary) << text;
}

std::string read_file(const std::string &path)
{
	std::ifstream stream(path, std::ios::binary);
	return {std::istreambuf_iterator<char>(stream), {}};
}

std::array<int, 3> Image::pixel(int x, int y) const
{
	const std::uint8_t *at = &rgb[(static_cast<std::size_t>(y) * width + x) * 3];
	return {at[0], at[1], at[2]};
}

Image read_png(const std::string &path)
{
	png_image png = {};
	png.version = PNG_IMAGE_VERSION;
	if (!png_image_begin_read_from_file(&png, path.c_str())) {
		ADD_FAILURE() << path << ": " << png.message;
		return {};
	}
	png.format = PNG_FORMAT_RGB;
	Image image = {static_cast<int>(png.width), static_cast<int>(png.height), {}};
	image.rgb.resize(PNG_IMAGE_SIZE(png));
	png_image_finish_read(&png, nullptr, image.rgb.data(), 0, nullptr);
	return image;
}
