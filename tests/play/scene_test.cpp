/* What animation-play says of scenes that are wrong. Nothing is started for any of them. */
#include <algorithm>
#include <fstream>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include <picture_files.h>
#include <program.h>

namespace
{

/* Each begins with # and the parts of its message, on its first line. */
TEST(Scene, FaultsAreNamedWithFileAndLine)
{
	const Folder folder;
	folder.file("opaque.png", png({1, 1, 2 /* RGB */}, {1, 2, 3}));
	folder.file("text.bmp", std::string("no picture"));
	std::ifstream file(SCENES "/bad_scenes.txt");
	int tried = 0;
	file.ignore();
	for (std::string scene; std::getline(file, scene, '#'); ++tried) {
		SCOPED_TRACE(scene);
		const std::size_t end = scene.find('\n');
		const std::string path = folder.file("scene.json", scene.substr(end + 1));
		const Outcome outcome =
		    run_program("$ANIMATION_PLAY --offline --snapshot 1=" + folder / "a.png" + " " + path);
		EXPECT_EQ(outcome.status, 2);
		EXPECT_EQ(outcome.output.find(path + ":"), 0u) << outcome.output;
		std::istringstream parts(scene.substr(0, end));
		for (std::string part; std::getline(parts, part, '|');)
			EXPECT_NE(outcome.output.find(part), std::string::npos) << outcome.output;
		EXPECT_EQ(read_file(folder / "a.png"), "");
	}
	EXPECT_GT(tried, 20);
}

std::string repeated(const char *text, int count)
{
	std::string result;
	while (count--)
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
	const std::string box = R"({ "name": "box", "type": "ANI_FLASH", "rectangle": [0, 0, 9, 9],)";
	const std::string object =
	    box + R"("textures": { "constant_color": [1, 0, 0, 1] }, "loopcnt": 1 })";
	const HostileScene scenes[] = {
	    {"brackets", repeated("[", 60'000), ":1: "},
	    {"text", "{\n\"title\": \"" + repeated("abc", 1'000'000) + "\" }", ":1: "},
	    {"shorter text", "{\n\"title\": \"" + repeated("abc", 500'000) + "\" }", ":2: /title"},
	    {"objects", start + repeated("{},\n", 200'000) + "{}] }", "values"},
	    {"numbers", start + repeated("0,", 900'000) + "0] }", "values"},
	    {"actions",
	        start + object + timeline + create + repeated("\"box\",", 150'000) + "\"box\"] }] }",
	        ":2: /timeline/0"},
	    {"picture", start + box + R"("textures": { "files": ["claim.png"] } })" + timeline + "] }",
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
		const Outcome outcome = run_program("$ANIMATION_PLAY " + path);
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
		const Outcome outcome = run_program(std::string("$ANIMATION_PLAY ") + arguments);
		EXPECT_EQ(outcome.status, 2) << arguments;
		EXPECT_NE(outcome.output.find("usage: animation-play"), std::string::npos) << arguments;
	}
	EXPECT_NE(run_program("$ANIMATION_PLAY --ofline x.json").output.find("nearest is --offline"),
	    std::string::npos);
	const Outcome outcome = run_program("$ANIMATION_PLAY --offline $STREAM");
	EXPECT_EQ(outcome.status, 2);
	EXPECT_NE(outcome.output.find("clock"), std::string::npos) << outcome.output;
}

} // namespace
