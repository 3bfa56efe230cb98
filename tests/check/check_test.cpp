/* The checking layer as a user meets it: a program's mistakes, told by the host. */
#include <algorithm>
#include <sstream>

#include <gtest/gtest.h>

#include <picture_files.h>
#include <program.h>

namespace fs = std::filesystem;

namespace
{

constexpr int kFound = 3;

struct CheckTest : testing::Test {
	Folder temp;

	Outcome check(const std::string &program)
	{
		return end_of(start_program("env GALLIUM_DRIVER=softpipe TMPDIR=" + temp.path.string() +
		                            " " HOST_PROGRAM " --check=strict -- " + program));
	}
};

/* The causes in the order in which they were told; those that were counted at the end are not told
 * again. */
std::vector<std::string> causes_in(const std::string &output)
{
	std::vector<std::string> causes;
	std::istringstream lines(output);
	for (std::string line; std::getline(lines, line);) {
		const std::size_t end = line.find("]");
		if (line.starts_with("check [") && end != line.npos)
			causes.push_back(line.substr(7, end - 7));
	}
	return causes;
}

TEST_F(CheckTest, TellsEachMistakeOnce)
{
	temp.file("opaque.png", png({.colour_type = 2}, {1, 2, 3}));
	temp.file("map.png", png({.colour_type = 6}, {1, 2, 3, 4}));
	temp.file("bits24.bmp", bmp({.bits_per_pixel = 24}, {1, 2, 3}));
	fs::copy_file(SCENES "/drive.mp4", temp / "film.mp4");
	const Outcome outcome = check(WRONG_PROGRAM " " + temp.path.string());
	EXPECT_EQ(outcome.status, kFound) << outcome.output;
	const std::vector<std::string> expected = {"call-before-init", "picture-unreadable",
	    "png-without-alpha", "picture-not-png", "bmp-24-bit", "picture-not-bmp", "viewport-unknown",
	    "strip-vertices", "strip-outside", "strip-without-area", "array-missing",
	    "strip-upside-down", "record-cleared", "texture-index", "textures-too-many", "alpha-zero",
	    "colour-transparent", "record-missing", "id-gone", "id-unknown", "id-none",
	    "id-given-again", "type-wrong", "update-before-set-up", "lock-held", "texture-unknown",
	    "texture-deleted", "handle-thread", "removal-lost", "pixels-changed", "video-beside-images",
	    "video-under-background", "file-paused", "playback-left", "objects-left",
	    "call-after-deinit"};
	EXPECT_EQ(causes_in(outcome.output), expected) << outcome.output;
}

TEST_F(CheckTest, HasNothingToSayOfWhatIsRight)
{
	for (const std::string program :
	    {GAUGE " 2", COCKPIT " " SCENES " " SIGNALS, MINIMAL " " SCENES "/map_day.png",
	        PLAY " " SCENES "/gallery/fade.json", TUTORIAL "/step1 " SCENES,
	        TUTORIAL "/step2 " SCENES, TUTORIAL "/step3 " SCENES, TUTORIAL "/step4 " SCENES}) {
		const Outcome outcome = check("timeout -s INT 3 " + program);
		EXPECT_EQ(causes_in(outcome.output), std::vector<std::string>()) << program;
		EXPECT_NE(outcome.status, kFound) << program;
	}
}

} // namespace
