/* What animation-play says of scenes that are wrong. Nothing is started for any of them. */
#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <picture_files.h>

#include "program.h"

namespace
{

struct BadScene {
	const char *name;
	std::string objects; /* on line 3 */
	std::string timeline;
	std::vector<std::string> expected; /* parts of the message */
};

/* A box of a type, with these fields on lines 4 and later. */
std::string box(const std::string &type, const std::string &fields)
{
	return R"({ "name": "box", "type": "ANI_)" + type + R"(", "rectangle": [0, 0, 9, 9],)" + "\n" +
	       fields + " }";
}

std::string textured(const std::string &fields)
{
	return box("FLASH", R"("textures": { )" + fields + " }");
}

const std::string kColour = R"("textures": { "constant_color": [1, 0, 0, 1] })";
const std::string kBox = box("FLASH", kColour);
const std::string kCreated = R"({ "frame": 0, "create": "box" },)"
                             "\n";

const BadScene kBadScenes[] = {
    {"syntax", R"({ "name": "a" "type")", "", {":3:", "expected"}},
    {"unknown_type", box("TEST", kColour), "",
        {":3: /objects/0/type", "ANI_FLASH", "found \"ANI_TEST"}},
    {"unknown_field", box("BACKGROUND", kColour + ",\n\"on_frame\": 3"), "",
        {":5: /objects/0/on_frame", "unknown field", "in_frame"}},
    {"no_number", box("FLASH", kColour + ",\n\"on_frame\": \"soon\""), "",
        {":5: /objects/0/on_frame", "whole number", "found \"soon\""}},
    {"short_rectangle", R"({ "name": "a", "type": "ANI_FLASH", "rectangle": [0, 0, 9] })", "",
        {"/objects/0", "4 numbers"}},
    {"odd_strip", R"({ "name": "a", "type": "ANI_FLASH", "strip": [[0, 0], [1, 0], [0, 1]] })", "",
        {"/objects/0/strip", "even number"}},
    {"no_cut", box("TEX_CUT", kColour), "", {"/objects/0", "texPosition2d"}},
    {"no_textures", box("FLASH", R"("on_frame": 3)"), "", {"/objects/0", "\"textures\""}},
    {"missing_picture", textured("\n\"files\": [\"nowhere.png\"]"), "",
        {":5: /objects/0/textures/files/0", "nowhere.png"}},
    {"opaque_picture", textured(R"("files": ["opaque.png"])"), "",
        {"opaque.png", "without an alpha channel"}},
    {"no_bmp", textured(R"("files": ["text.bmp"])"), "", {"text.bmp", "no BMP"}},
    {"index_too_high", textured(R"("alpha_index": 1,
"data": [{ "width": 1, "height": 1, "textureType": "GL_LUMINANCE", "pixels": [7] }])"),
        "", {":4: /objects/0/textures/alpha_index", "0 to 0"}},
    {"pixels_missing", textured(R"("data": [
{ "width": 2, "height": 2, "textureType": "GL_RGB", "pixels": [7] }])"),
        "", {":5: /objects/0/textures/data/0/pixels", "12 numbers", "found 1"}},
    {"unknown_object", kBox, R"({ "frame": 0, "create": "ghost" })",
        {":6: /timeline/0/create", "an object", "ghost"}},
    {"update_before_create", kBox, R"({ "frame": 0, "update": "box" })",
        {"/timeline/0/update", "created", "box"}},
    {"twice_created", kBox, kCreated + R"({ "frame": 1, "create": "box" })",
        {"/timeline/1/create", "created before"}},
    {"wrong_update", kBox,
        kCreated + R"({ "frame": 1, "update": "box", "set": { "in_alpha": 1 } })",
        {"/timeline/1/set/in_alpha", "unknown field", "on_alpha"}},
    {"out_of_order", kBox, R"({ "frame": 5, "create": "box" },
{ "frame": 4, "remove": "box" })",
        {":7: /timeline/1/frame", "out of order", "at least 5", "found 4"}},
    {"no_action", kBox, R"({ "frame": 1 })", {"/timeline/0", "create, update, remove"}},
    {"two_actions", kBox, R"({ "frame": 1, "create": "box", "remove": "box" })",
        {"/timeline/0/remove", "one action"}},
    {"backwards", R"({ "name": "a", "type": "ANI_FLASH", "rectangle": [0, 0, -9, 9] })", "",
        {"/objects/0/rectangle", "above 0"}},
    {"out_of_reach", R"({ "name": "a", "type": "ANI_FLASH", "rectangle": [5000, 0, 9, 9] })", "",
        {"/objects/0/rectangle", "near the viewport"}},
    {"too_bright", box("FLASH", kColour + ",\n\"on_alpha\": 1.5"), "",
        {":5: /objects/0/on_alpha", "from 0 to 1", "1.5"}},
    {"mistyped", box("FLASH", kColour + ",\n\"on_frmae\": 3"), "", {"did you mean \"on_frame\"?"}},
    {"play_without_video", kBox, kCreated + R"({ "frame": 1, "play": "127.0.0.1", "on": "box" })",
        {"/timeline/1/on", "ANI_VIDEO_GST"}},
};

TEST(Scene, FaultsAreNamedWithFileAndLine)
{
	const Folder folder;
	folder.file("opaque.png", png({1, 1, 2 /* RGB */}, {1, 2, 3}));
	folder.file("text.bmp", std::string("no picture"));
	for (const BadScene &scene : kBadScenes) {
		SCOPED_TRACE(scene.name);
		const std::string path =
		    folder.file("scene.json", "{ \"frames\": 10,\n\"objects\": [\n" + scene.objects +
		                                  "\n], \"timeline\": [\n" + scene.timeline + "]\n}\n");
		const Outcome outcome = run_program(
		    "ANIMATION_PLAY", "--offline --snapshot 1=" + folder / "a.png" + " " + path);
		EXPECT_EQ(outcome.status, 2);
		EXPECT_EQ(outcome.output.find(path + ":"), 0u) << outcome.output;
		for (const std::string &part : scene.expected)
			EXPECT_NE(outcome.output.find(part), std::string::npos)
			    << part << " in " << outcome.output;
		EXPECT_EQ(read_file(folder / "a.png"), "");
	}
}

std::string repeated(const char *text, int count)
{
	std::string result;
	for (int i = 0; i < count; ++i)
		result += text;
	return result;
}

struct HostileScene {
	const char *name;
	std::string text;
	const char *expected;
};

/* What no scene needs is refused before it takes memory. */
TEST(Scene, HostileFilesTakeLittleMemory)
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
	constexpr long kMost = 500'000; /* kB */
#else
	constexpr long kMost = 100'000;
#endif
	const std::string start = "{ \"frames\": 9, \"objects\": [";
	const std::string timeline = "], \"timeline\": [\n";
	const std::string create = "{ \"frame\": 0, \"create\": [";
	const std::string object =
	    R"({ "name": "box", "type": "ANI_FLASH", "rectangle": [0, 0, 9, 9],)" + kColour +
	    R"(, "loopcnt": 1, "delonloopcnt": true })";
	const HostileScene scenes[] = {
	    {"brackets", repeated("[", 60'000), ":1: "},
	    {"text", "{\n\"title\": \"" + repeated("abc", 1'000'000) + "\" }", ":1: "},
	    {"shorter text", "{\n\"title\": \"" + repeated("abc", 500'000) + "\" }", ":2: /title"},
	    {"objects", start + repeated("{},\n", 200'000) + "{}] }", "values"},
	    {"numbers", start + repeated("0,", 900'000) + "0] }", "values"},
	    {"actions",
	        start + object + timeline + create + repeated("\"box\",", 150'000) + "\"box\"] }] }",
	        ":2: /timeline/0"},
	    {"picture", start + textured(R"("files": ["claim.png"])") + timeline + "] }",
	        "without an alpha"},
	    {"lines", "{ \"a\\nb\": 1 }", ":1: /a?b: unknown"},
	    {"raw file",
	        start + R"({ "name": "box", "type": "ANI_VIDEO_RAW", "rectangle": [0, 0, 9, 9] })" +
	            timeline + create + "\"box\"] },\n" +
	            R"({ "frame": 1, "raw": "box", "file": "/dev/zero", "width": 4096,
	                     "height": 4096, "count": 1000 }] })",
	        ":3: /timeline/1/file"},
	};
	const Folder folder;
	Bytes claim = png({1, 1, 2 /* RGB */}, {1, 2, 3});
	claim.resize(33); /* the first chunk, then one without its content */
	claim.insert(claim.end(), {0x7f, 0xff, 0xff, 0xf0, 't', 'E', 'X', 't'});
	folder.file("claim.png", claim);
	for (const HostileScene &scene : scenes) {
		SCOPED_TRACE(scene.name);
		const std::string path = folder.file("scene.json", scene.text);
		const Outcome outcome = run_program("ANIMATION_PLAY", path);
		EXPECT_EQ(outcome.status, 2);
		EXPECT_NE(outcome.output.find(path + ":"), outcome.output.npos) << outcome.output;
		EXPECT_NE(outcome.output.find(scene.expected), outcome.output.npos) << outcome.output;
		EXPECT_EQ(std::ranges::count(outcome.output, '\n'), 1) << outcome.output;
		EXPECT_LT(outcome.output.size(), 1000u);
		EXPECT_LT(outcome.peak, kMost);
	}
}

TEST(Scene, WrongArgumentsGetTheUsage)
{
	for (const char *arguments : {"", "--frames 3 x.json", "--offline --frames none x.json", "a b",
	         "--offline --record a.mp4 --record b.mp4 x.json"}) {
		const Outcome outcome = run_program("ANIMATION_PLAY", arguments);
		EXPECT_EQ(outcome.status, 2) << arguments;
		EXPECT_NE(outcome.output.find("usage: animation-play"), std::string::npos) << arguments;
	}
	const Outcome outcome = run_program("ANIMATION_PLAY", "--offline $SHOWCASE");
	EXPECT_EQ(outcome.status, 2);
	EXPECT_NE(outcome.output.find("streams"), std::string::npos) << outcome.output;
}

} // namespace
