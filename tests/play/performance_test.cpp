/* Scenes with and without a compositor: which frame shows what. */
#include <algorithm>
#include <string>

#include <gtest/gtest.h>

#include <picture_files.h>
#include <program.h>

namespace
{

using Colour = std::array<int, 3>;

constexpr Colour kBlack = {0, 0, 0};
constexpr Colour kRed = {255, 0, 0};
constexpr Colour kGreen = {0, 255, 0};
constexpr Colour kBlue = {0, 0, 255};

struct Phase {
	Colour before;  /* where the box is first */
	Colour after;   /* where it moves to */
	Colour picture; /* bottom left of the picture */
};
constexpr Phase kPhases[] = {
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

struct Performance : testing::Test {
	const Folder folder;
	std::string snapshots;

	/* "@N" is the frame in which phase N begins. */
	std::string scene(int frames_a_phase) const
	{
		std::string text = read_file(SCENES "/phases.json");
		for (std::size_t at; (at = text.find('@')) != text.npos;)
			text.replace(at, 2, std::to_string((text[at + 1] - '0') * frames_a_phase));
		return folder.file("scene.json", text);
	}

	std::string picture(int phase) const
	{
		return folder / (std::to_string(phase) + ".png");
	}

	void snapshot(int phase, int number)
	{
		snapshots += "--snapshot " + std::to_string(number) + "=" + picture(phase) + " ";
	}

	void expect_phase(int phase) const
	{
		SCOPED_TRACE(phase);
		const Image image = read_png(picture(phase));
		ASSERT_EQ(image.rgb.size(), 2304U * 576 * 3);
		EXPECT_EQ(image.pixel(1152 + 125, 125), kPhases[phase].before);
		EXPECT_EQ(image.pixel(1152 + 325, 125), kPhases[phase].after);
		EXPECT_EQ(image.pixel(50, 350), kPhases[phase].picture);
	}
};

TEST_F(Performance, StepsTakeEffectBetweenFramesOffline)
{
	for (int phase = 0; phase < 9; ++phase)
		snapshot(phase, phase + 1);
	const Outcome outcome = run_program("$ANIMATION_PLAY --offline " + snapshots + scene(1));
	ASSERT_EQ(outcome.status, 0) << outcome.output;
	for (int phase = 0; phase < 9; ++phase)
		expect_phase(phase);
	const Image image = read_png(picture(3)); /* upright */
	EXPECT_EQ(image.pixel(350, 350), kGreen);
	EXPECT_EQ(image.pixel(50, 50), kBlue);
	EXPECT_EQ(image.pixel(350, 50), kBlack);
}

/* A frame may pass between the count that the timeline sees and its calls, no more than a few. */
TEST_F(Performance, StepsFollowTheFramesLive)
{
	constexpr int kFrames = 8;
	for (int phase : {2, 4, 5, 6}) /* the first picture is that of phase 2 */
		snapshot(phase, (phase - 2) * kFrames + kFrames / 2);
	const Outcome outcome =
	    run_program("$ANIMATION_HOST " + snapshots + "-- $ANIMATION_PLAY " + scene(kFrames));
	ASSERT_EQ(outcome.status, 0) << outcome.output;
	for (int phase : {2, 4, 5, 6})
		expect_phase(phase);
}

/* The host gives an application that knows nothing of it a decoder and the import of its frames. */
TEST_F(Performance, TwoObjectsShowOneFilm)
{
	std::filesystem::create_symlink(std::getenv("FILM"), folder / "film.mp4");
	snapshot(0, 8);
	const Outcome outcome = run_program("$ANIMATION_HOST " + snapshots + "-- $ANIMATION_PLAY " +
	                                    folder.file("video.json", read_file(SCENES "/film.json")));
	ASSERT_EQ(outcome.status, 0) << outcome.output;
	for (const char *part : {"first frame: ", "StopGSTPlay-------------2\n", "thread exit\n"})
		EXPECT_NE(outcome.output.find(part), std::string::npos) << outcome.output;
	const Image image = read_png(picture(0));
	EXPECT_GT(image.pixel(576, 500), Colour());
	for (int x = 0; x < 1152; x += 50)
		EXPECT_EQ(image.pixel(x, 300), image.pixel(1152 + x, 300));
}

/* By turns, so that neither the clock nor the number of cores has a part in it. */
TEST_F(Performance, AFilmIsTheSameOfflineWhereverTheRunBegins)
{
	std::filesystem::create_symlink(std::getenv("FILM"), folder / "film.mp4");
	const std::string scene = folder.file("video.json", read_file(SCENES "/film.json"));
	const char *const runs[] = {"--to 9 ", "--from 9 --to 9 ", "--to 6 "};
	for (int run : {0, 1, 2}) {
		snapshots.clear();
		snapshot(run, run == 2 ? 6 : 9);
		const Outcome outcome =
		    run_program(std::string(run == 1 ? "taskset 1 " : "") + "$ANIMATION_PLAY --offline " +
		                runs[run] + snapshots + scene);
		ASSERT_EQ(outcome.status, 0) << outcome.output;
	}
	EXPECT_GT(read_png(picture(0)).pixel(576, 500), Colour());
	EXPECT_TRUE(read_file(picture(0)) == read_file(picture(1)));
	EXPECT_FALSE(read_file(picture(0)) == read_file(picture(2)));
}

/* Random blocks, since they have a state that outlives a frame; a video with frames of its own; and
 * a frame that draws nothing, so that an earlier one stands. */
TEST_F(Performance, AFrameIsTheSameWhereverTheRunBegins)
{
	const std::pair<std::string, int> frames[] = {{"$GALLERY_SCENES/gradual_blocks.json", 12},
	    {"$GALLERY_SCENES/raw_video.json", 12}, {scene(1), 9}};
	for (const auto &[path, number] : frames) {
		const std::string from = " --from " + std::to_string(number);
		for (const std::string &run : {std::string(), from}) {
			snapshots.clear();
			snapshot(run.empty(), number);
			const Outcome outcome =
			    run_program("$ANIMATION_PLAY --offline --to " + std::to_string(number) + run + " " +
			                snapshots + path);
			ASSERT_EQ(outcome.status, 0) << outcome.output;
		}
		EXPECT_FALSE(read_file(picture(0)).empty());
		EXPECT_EQ(read_file(picture(0)), read_file(picture(1))) << path;
	}
}

/* The times and checksums of what a recording shows. */
std::string frames_of(const std::string &recording)
{
	return run_program("gst-launch-1.0 -q filesrc location=" + recording +
	                   " ! qtdemux ! h264parse ! avdec_h264 ! checksumsink")
	    .output;
}

TEST_F(Performance, SlicesJoinToTheRecordingOfOneRun)
{
	const std::string joined = folder / "joined.mp4", single = folder / "single.mp4";
	snapshot(5, 60);
	for (const std::string &run :
	    {"--jobs 3 --record " + joined + " " + snapshots, "--record " + single}) {
		const Outcome outcome =
		    run_program("$ANIMATION_PLAY --offline --from 2 --to 98 " + run + " " + scene(11));
		ASSERT_EQ(outcome.status, 0) << outcome.output;
	}
	expect_phase(5);
	const std::string frames = frames_of(joined);
	EXPECT_EQ(std::ranges::count(frames, '\n'), 97) << frames;
	EXPECT_EQ(frames, frames_of(single));
	EXPECT_EQ(count_entries(folder.path.c_str()), 4u); /* no parts are left */
}

} // namespace
