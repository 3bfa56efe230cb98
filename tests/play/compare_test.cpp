/* Kept pictures against what is drawn now. */
#include <string>

#include <gtest/gtest.h>

#include <picture_files.h>
#include <program.h>

namespace
{

struct Compare : testing::Test {
	const Folder folder;
	const std::string kept = folder / "kept";

	std::string scene(const std::string &name, int left, const char *colour) const
	{
		return folder.file(name + ".json",
		    R"({ "frames": 9, "objects": [{ "name": "a", "type": "ANI_FLASH", "rectangle": [)" +
		        std::to_string(left) + R"(, 100, 50, 50], "textures": { "constant_color": )" +
		        colour + R"( }, "on_frame": 99 }], "timeline": [{ "frame": 0, "create": "a" }] })");
	}

	static Outcome run(const std::string &arguments)
	{
		return run_program("$ANIMATION_COMPARE " + arguments);
	}
};

std::size_t count(const std::string &text, const std::string &part)
{
	std::size_t found = 0;
	for (std::size_t at = 0; (at = text.find(part, at)) != std::string::npos; ++at)
		++found;
	return found;
}

TEST_F(Compare, TellsWhatDiffersUntilItIsKept)
{
	const std::string scenes =
	    scene("one", 10, "[1, 0, 0, 1]") + " " + scene("two", 10, "[1, 1, 1, 1]");
	EXPECT_EQ(run("--update --frames 2,7 " + kept + " -- " + scenes).status, 0);
	EXPECT_EQ(run(kept + " -- " + scenes).status, 0);
	EXPECT_EQ(run(kept + " -- " + scene("three", 10, "[1, 0, 0, 1]")).status, 2);

	/* Moved by a pixel, of another colour. */
	scene("one", 11, "[1, 0, 0, 1]");
	scene("two", 10, "[1, 1, 0, 1]");
	const std::string page = folder / "report.html", junit = folder / "junit.xml";
	const Outcome changed =
	    run("--report " + page + " --junit " + junit + " " + kept + " -- " + scenes);
	EXPECT_EQ(changed.status, 1);
	EXPECT_NE(
	    changed.output.find("one, frame 2: 100 pixels differ by up to 255 of 255, between 10,100 "
	                        "and 60,149\n"),
	    std::string::npos)
	    << changed.output;
	EXPECT_EQ(count(read_file(page), "data:image/png;base64,"), 12u);
	EXPECT_LT(read_file(page).find("two, frame 2"), read_file(page).find("one, frame 2"));
	EXPECT_EQ(count(read_file(junit), "<failure"), 4u);

	EXPECT_EQ(run("--update " + kept + " -- " + scenes).status, 0);
	EXPECT_EQ(run(kept + " -- " + scenes).status, 0);

	/* A step of 2 is within the tolerance of the one scene. */
	std::string settings = read_file(kept + "/kept.json");
	settings.insert(settings.find("\"one\": {") + 8, "\"tolerance\": 3,");
	folder.file("kept/kept.json", settings);
	scene("one", 11, "[0.99, 0, 0, 1]");
	scene("two", 10, "[0.99, 1, 0, 1]");
	const Outcome tolerated = run(kept + " -- " + scenes);
	EXPECT_EQ(tolerated.status, 1);
	EXPECT_EQ(count(tolerated.output, "one, frame"), 0u) << tolerated.output;
	std::filesystem::remove(kept + "/two-7.png");
	EXPECT_EQ(run(kept + " -- " + scenes).status, 2);
}

TEST_F(Compare, HoldsAProgramsPicturesInTheHost)
{
	const std::string program = "$ANIMATION_PLAY " + scene("one", 10, "[1, 0, 0, 1]");
	EXPECT_EQ(run("--program --update --frames 3 " + kept + " -- " + program).status, 0);
	EXPECT_EQ(run_program("$ANIMATION_HOST --compare " + kept + " -- " + program).status, 0);
	scene("one", 10, "[0, 1, 0, 1]");
	const Outcome changed = run_program("$ANIMATION_HOST --compare " + kept + " -- " + program);
	EXPECT_EQ(changed.status, 1);
	EXPECT_NE(changed.output.find("animation-play, frame 3: 2500 pixels"), std::string::npos)
	    << changed.output;
}

} // namespace
