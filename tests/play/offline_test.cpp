/* Scenes drawn without a compositor: which frame shows what. */
#include <array>
#include <string>

#include <gtest/gtest.h>

#include "program.h"

namespace
{

using Colour = std::array<int, 3>;

constexpr Colour kBlack = {0, 0, 0};
constexpr Colour kRed = {255, 0, 0};
constexpr Colour kGreen = {0, 255, 0};
constexpr Colour kBlue = {0, 0, 255};

/* Before frame 2 a red box comes on the right viewport and a picture of 2 x 2 pixels on the left
 * one; at 4 the box moves; at 5 it turns green; at 6 it goes; at 7 the picture goes. */
constexpr char kScene[] = R"({
	"frames": 9,
	"handles": [
		{ "name": "quarters", "data": { "width": 2, "height": 2, "textureType": "GL_BGRA_EXT",
			"pixels": [0,0,255,255, 0,255,0,255, 255,0,0,255, 0,0,0,255] } }
	],
	"objects": [
		{ "name": "box", "type": "ANI_BACKGROUND", "viewport": "VP_LCD1",
			"rectangle": [100, 100, 50, 50], "textures": { "constant_color": [1, 0, 0, 1] } },
		{ "name": "picture", "type": "ANI_FLASH", "rectangle": [0, 0, 400, 400],
			"textures": { "ids": ["quarters"] }, "on_frame": 1 }
	],
	"timeline": [
		{ "frame": 2, "create": ["box", "picture"] },
		{ "frame": 4, "update": "box", "set": { "rectangle": [300, 100, 50, 50] } },
		{ "frame": 5, "update": "box", "set": { "textures": { "constant_color": [0, 1, 0, 1] } } },
		{ "frame": 6, "remove": "box" },
		{ "frame": 7, "remove": "picture" }
	]
})";

TEST(Offline, StepsTakeEffectBetweenFrames)
{
	const std::string folder = test_folder();
	write_file(folder + "scene.json", kScene);
	std::string arguments = "--offline";
	for (int frame = 0; frame < 9; ++frame)
		arguments += " --snapshot " + std::to_string(frame + 1) + "=" + folder +
		             std::to_string(frame) + ".png";
	const Outcome outcome = run_program("ANIMATION_PLAY", arguments + " " + folder + "scene.json");
	ASSERT_EQ(outcome.status, 0) << outcome.output;

	struct Expected {
		Colour before;  /* where the box is first */
		Colour after;   /* where it moves to */
		Colour picture; /* bottom left of the picture */
	};
	const Expected expected[] = {
	    {kBlack, kBlack, kBlack},
	    {kBlack, kBlack, kBlack},
	    {kRed, kBlack, kRed},
	    {kRed, kBlack, kRed},
	    {kBlack, kRed, kRed},
	    {kBlack, kGreen, kRed},
	    {kBlack, kBlack, kRed},
	    /* What was swapped last stands while nothing is drawn. */
	    {kBlack, kBlack, kRed},
	    {kBlack, kBlack, kRed},
	};
	for (int frame = 0; frame < 9; ++frame) {
		SCOPED_TRACE(frame);
		const Image image = read_png(folder + std::to_string(frame) + ".png");
		ASSERT_EQ(image.width, 2304);
		ASSERT_EQ(image.height, 576);
		EXPECT_EQ(image.pixel(1152 + 125, 125), expected[frame].before);
		EXPECT_EQ(image.pixel(1152 + 325, 125), expected[frame].after);
		EXPECT_EQ(image.pixel(50, 350), expected[frame].picture);
	}
	const Image image = read_png(folder + "3.png");
	EXPECT_EQ(image.pixel(350, 350), kGreen);
	EXPECT_EQ(image.pixel(50, 50), kBlue);
	EXPECT_EQ(image.pixel(350, 50), kBlack);
}

/* Random blocks, since they have a state that outlives a frame. */
TEST(Offline, ASceneAlwaysGivesTheSamePictures)
{
	const std::string folder = test_folder();
	for (const char *run : {"a", "b"}) {
		const Outcome outcome = run_program(
		    "ANIMATION_PLAY", std::string("--offline --frames 12 --snapshot 2=") + folder + run +
		                          "2.png --snapshot 12=" + folder + run + "12.png " +
		                          std::getenv("GALLERY_SCENES") + "/gradual_blocks.json");
		ASSERT_EQ(outcome.status, 0) << outcome.output;
	}
	EXPECT_FALSE(read_file(folder + "a2.png").empty());
	EXPECT_EQ(read_file(folder + "a2.png"), read_file(folder + "b2.png"));
	EXPECT_EQ(read_file(folder + "a12.png"), read_file(folder + "b12.png"));
	EXPECT_NE(read_file(folder + "a2.png"), read_file(folder + "a12.png"));
}

TEST(Offline, AStreamIsRefused)
{
	const Outcome outcome =
	    run_program("ANIMATION_PLAY", std::string("--offline ") + std::getenv("SHOWCASE"));
	EXPECT_EQ(outcome.status, 2);
	EXPECT_NE(outcome.output.find("streams"), std::string::npos) << outcome.output;
}

} // namespace
