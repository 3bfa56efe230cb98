/* What animation-play says of scenes that are wrong. Nothing is started for any of them. */
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <png.h>

#include "program.h"

namespace
{

struct BadScene {
	const char *name;
	const char *objects;
	const char *timeline;
	std::vector<std::string> expected; /* parts of the message */
};

constexpr char kBox[] = R"({ "name": "box", "type": "ANI_FLASH", "rectangle": [0, 0, 9, 9],
"textures": { "constant_color": [1, 0, 0, 1] }, "on_frame": 4 })";

/* The objects begin on line 3, the timeline stands on the line after the last of them. */
std::string scene_text(const std::string &objects, const std::string &timeline)
{
	return "{ \"frames\": 10,\n\"objects\": [\n" + objects + "\n],\n\"timeline\": [" + timeline +
	       "]\n}\n";
}

const BadScene kBadScenes[] = {
    {"syntax", "{ \"name\": \"a\" \"type\"", "", {":3:", "expected"}},
    {"no_type", R"({ "name": "a" })", "", {":3: /objects/0", "\"type\""}},
    {"unknown_type", R"({ "name": "a", "type": "ANI_TEST" })", "",
        {":3: /objects/0/type", "ANI_FLASH", "found \"ANI_TEST\""}},
    {"unknown_field", R"({ "name": "a", "type": "ANI_BACKGROUND", "rectangle": [0, 0, 9, 9],
"textures": { "constant_color": [1, 0, 0, 1] },
"on_frame": 3 })",
        "", {":5: /objects/0/on_frame", "unknown field", "in_frame"}},
    {"wrong_kind", R"({ "name": "a", "type": "ANI_FLASH", "rectangle": [0, 0, 9, 9],
"textures": { "constant_color": [1, 0, 0, 1] }, "on_frame": "soon" })",
        "", {":4: /objects/0/on_frame", "whole number", "found \"soon\""}},
    {"negative_count", R"({ "name": "a", "type": "ANI_FLASH", "rectangle": [0, 0, 9, 9],
"textures": { "constant_color": [1, 0, 0, 1] }, "on_frame": -1 })",
        "", {"/objects/0/on_frame", "whole number", "found -1"}},
    {"short_rectangle", R"({ "name": "a", "type": "ANI_FLASH", "rectangle": [0, 0, 9] })", "",
        {"/objects/0", "4 numbers"}},
    {"odd_strip", R"({ "name": "a", "type": "ANI_FLASH", "strip": [[0, 0], [1, 0], [0, 1]],
"textures": { "constant_color": [1, 0, 0, 1] } })",
        "", {"/objects/0/strip", "even number"}},
    {"no_cut", R"({ "name": "a", "type": "ANI_TEX_CUT", "rectangle": [0, 0, 9, 9],
"textures": { "constant_color": [1, 0, 0, 1] } })",
        "", {"/objects/0", "texPosition2d"}},
    {"no_textures", R"({ "name": "a", "type": "ANI_FLASH", "rectangle": [0, 0, 9, 9] })", "",
        {"/objects/0", "\"textures\""}},
    {"missing_picture", R"({ "name": "a", "type": "ANI_FLASH", "rectangle": [0, 0, 9, 9],
"textures": {
"files": ["nowhere.png"] } })",
        "", {":5: /objects/0/textures/files/0", "nowhere.png"}},
    {"opaque_picture", R"({ "name": "a", "type": "ANI_FLASH", "rectangle": [0, 0, 9, 9],
"textures": { "files": ["opaque.png"] } })",
        "", {"opaque.png", "without an alpha channel"}},
    {"no_bmp", R"({ "name": "a", "type": "ANI_FLASH", "rectangle": [0, 0, 9, 9],
"textures": { "files": ["text.bmp"] } })",
        "", {"text.bmp", "no BMP"}},
    {"index_too_high", R"({ "name": "a", "type": "ANI_BACKGROUND", "rectangle": [0, 0, 9, 9],
"textures": { "alpha_index": 1, "data": [
{ "width": 1, "height": 1, "textureType": "GL_LUMINANCE", "pixels": [7] }] } })",
        "", {":4: /objects/0/textures/alpha_index", "0 to 0"}},
    {"pixels_missing", R"({ "name": "a", "type": "ANI_BACKGROUND", "rectangle": [0, 0, 9, 9],
"textures": { "data": [
{ "width": 2, "height": 2, "textureType": "GL_RGB", "pixels": [7] }] } })",
        "", {":5: /objects/0/textures/data/0/pixels", "12 numbers", "found 1"}},
    {"unknown_handle", R"({ "name": "a", "type": "ANI_FLASH", "rectangle": [0, 0, 9, 9],
"textures": { "ids": ["ghost"] } })",
        "", {"/objects/0/textures/ids/0", "a handle", "ghost"}},
    {"unknown_object", kBox, R"({ "frame": 0, "create": "ghost" })",
        {":6: /timeline/0/create", "an object", "ghost"}},
    {"update_before_create", kBox, R"({ "frame": 0, "update": "box" })",
        {"/timeline/0/update", "created", "box"}},
    {"twice_created", kBox, R"({ "frame": 0, "create": "box" }, { "frame": 1, "create": "box" })",
        {"/timeline/1/create", "created before"}},
    {"wrong_update", kBox,
        R"({ "frame": 0, "create": "box" }, { "frame": 1, "update": "box", "set": { "in_alpha": 1 } })",
        {"/timeline/1/set/in_alpha", "unknown field", "on_alpha"}},
    {"out_of_order", kBox,
        "{ \"frame\": 5, \"create\": \"box\" },\n{ \"frame\": 4, \"remove\": \"box\" }",
        {":7: /timeline/1/frame", "out of order", "at least 5", "found 4"}},
    {"after_the_end", kBox, R"({ "frame": 10, "create": "box" })",
        {"/timeline/0/frame", "0 to 9", "found 10"}},
    {"no_action", kBox, R"({ "frame": 1 })", {"/timeline/0", "create, update, remove"}},
    {"two_actions", kBox, R"({ "frame": 1, "create": "box", "remove": "box" })",
        {"/timeline/0/remove", "one action"}},
    {"play_without_video", kBox,
        R"({ "frame": 0, "create": "box" }, { "frame": 1, "play": "127.0.0.1", "on": "box" })",
        {"/timeline/1/on", "ANI_VIDEO_GST"}},
};

void write_opaque_png(const std::string &path)
{
	png_image image = {};
	image.version = PNG_IMAGE_VERSION;
	image.width = 1;
	image.height = 1;
	image.format = PNG_FORMAT_RGB;
	const unsigned char pixel[] = {1, 2, 3};
	ASSERT_TRUE(png_image_write_to_file(&image, path.c_str(), 0, pixel, 0, nullptr));
}

TEST(Scene, FaultsAreNamedWithFileAndLine)
{
	const std::string folder = test_folder();
	write_opaque_png(folder + "opaque.png");
	write_file(folder + "text.bmp", "no picture");
	for (const BadScene &scene : kBadScenes) {
		SCOPED_TRACE(scene.name);
		const std::string path = folder + scene.name + ".json";
		write_file(path, scene_text(scene.objects, scene.timeline));
		const Outcome outcome = run_program(
		    "ANIMATION_PLAY", "--offline --snapshot 1=" + folder + "picture.png " + path);
		EXPECT_EQ(outcome.status, 2);
		EXPECT_EQ(outcome.output.find(path + ":"), 0u) << outcome.output;
		for (const std::string &part : scene.expected)
			EXPECT_NE(outcome.output.find(part), std::string::npos)
			    << part << " in " << outcome.output;
		EXPECT_EQ(read_file(folder + "picture.png"), "");
	}
}

TEST(Scene, WrongArgumentsGetTheUsage)
{
	for (const char *arguments :
	    {"", "--frames 3 x.json", "--offline --frames none x.json", "a b"}) {
		const Outcome outcome = run_program("ANIMATION_PLAY", arguments);
		EXPECT_EQ(outcome.status, 2) << arguments;
		EXPECT_NE(outcome.output.find("usage: animation-play"), std::string::npos) << arguments;
	}
}

} // namespace
