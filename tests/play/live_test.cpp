/* Scenes on a compositor, in the library's own time. */
#include <array>
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

} // namespace
