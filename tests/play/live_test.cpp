/* Scenes on a compositor, in the library's own time. */
#include <array>
#include <cstdlib>
#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include "program.h"

namespace
{

using Colour = std::array<int, 3>;

constexpr char kScene[] = R"({
	"frames": 30,
	"objects": [
		{ "name": "ground", "type": "ANI_BACKGROUND", "rectangle": [0, 0, 1152, 576],
			"textures": { "constant_color": [1, 0, 0, 1] } },
		{ "name": "box", "type": "ANI_FLASH", "viewport": "VP_LCD1", "rectangle": [0, 0, 100, 100],
			"textures": { "constant_color": [0, 0, 1, 1] }, "on_frame": 1 }
	],
	"timeline": [
		{ "frame": 0, "create": ["ground", "box"] },
		{ "frame": 12, "update": "ground", "set": { "textures": { "constant_color": [0, 1, 0, 1] } } },
		{ "frame": 20, "remove": "box" }
	]
})";

/* A frame may pass between the count that the timeline sees and its calls, no more than a few. */
TEST(Live, TheTimelineFollowsTheFrames)
{
	const std::string folder = test_folder();
	write_file(folder + "scene.json", kScene);
	const Outcome outcome = run_program("ANIMATION_HOST",
	    "--snapshot 4=" + folder + "a.png --snapshot 18=" + folder +
	        "b.png --snapshot 26=" + folder + "c.png -- $ANIMATION_PLAY " + folder + "scene.json");
	ASSERT_EQ(outcome.status, 0) << outcome.output;
	const struct {
		const char *file;
		Colour ground;
		Colour box;
	} expected[] = {
	    {"a.png", {255, 0, 0}, {0, 0, 255}},
	    {"b.png", {0, 255, 0}, {0, 0, 255}},
	    {"c.png", {0, 255, 0}, {0, 0, 0}},
	};
	for (const auto &[file, ground, box] : expected) {
		SCOPED_TRACE(file);
		const Image image = read_png(folder + file);
		EXPECT_EQ(image.pixel(600, 300), ground);
		EXPECT_EQ(image.pixel(1152 + 50, 50), box);
	}
}

constexpr char kVideo[] = R"({
	"frames": 60,
	"objects": [
		{ "name": "left", "type": "ANI_VIDEO_GST", "rectangle": [0, 0, 1152, 576] },
		{ "name": "right", "type": "ANI_VIDEO_GST", "viewport": "VP_LCD1", "rectangle": [0, 0, 1152, 576] }
	],
	"timeline": [
		{ "frame": 0, "create": ["left", "right"] },
		{ "frame": 1, "play": "film.mp4", "on": ["left", "right"] },
		{ "frame": 20, "pause": true },
		{ "frame": 25, "resume": true },
		{ "frame": 40, "stop": true }
	]
})";

/* The host gives an application that knows nothing of it a decoder and the import of its frames. */
TEST(Live, TwoObjectsShowOneFilm)
{
	const std::string folder = test_folder();
	write_file(folder + "scene.json", kVideo);
	std::filesystem::create_symlink(std::getenv("FILM"), folder + "film.mp4");
	const Outcome outcome = run_program("ANIMATION_HOST",
	    "--snapshot 8=" + folder + "a.png -- $ANIMATION_PLAY " + folder + "scene.json");
	ASSERT_EQ(outcome.status, 0) << outcome.output;
	for (const char *part : {"first frame: ", "StopGSTPlay-------------2\n", "thread exit\n"})
		EXPECT_NE(outcome.output.find(part), std::string::npos) << outcome.output;
	const Image image = read_png(folder + "a.png");
	EXPECT_GT(image.pixel(576, 500), Colour());
	for (int x = 0; x < 1152; x += 50)
		EXPECT_EQ(image.pixel(x, 300), image.pixel(1152 + x, 300));
}

} // namespace
