/* Reports: of messages that the test makes, of a scene played offline, of a program on the host. */
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <files.h>
#include <probe/report.h>
#include <program.h>

using Json = nlohmann::json;

namespace
{

constexpr int kPictureBytes = 144000; /* four a pixel */

struct ReportTest : testing::Test {
	const Folder folder;
	const std::string path = folder / "report.json";

	Json report() const
	{
		return Json::parse(read_file(path), nullptr, false);
	}
};

std::string frame_message(int number, bool committed = true)
{
	const Json frame = {{"type", "frame"}, {"frame", number}, {"turn_ms", number},
	    {"draw_ms", 2.0 * number}, {"swap_ms", 0.5}, {"committed", committed}, {"dropped", 1},
	    {"texture_bytes", 100}, {"texture_peak", 200 + number}, {"calls", Json::array()},
	    {"more_calls", 0}, {"decoded", Json::array()}, {"player", nullptr},
	    {"totals", {{"created", number}}}};
	return frame.dump();
}

TEST_F(ReportTest, CountsWhatTheMessagesTell)
{
	std::string error;
	ReportPtr made = open_report(path, "host", "program", &error);
	ASSERT_TRUE(made) << error;
	EXPECT_FALSE(std::filesystem::exists(path)) << "before it is whole";
	for (const char *line : {"", "{", "null", "[]", "{\"type\":5}", "{\"type\":\"frame\"}", "\xff"})
		report_message(*made, line);
	for (int number = 100; number > 0; number--)
		report_message(*made, frame_message(number, number != 50));
	report_message(*made, R"({"type":"finding","frame":3,"cause":"c","wrong":"w","do":"d"})");
	ASSERT_TRUE(write_report(*made, 7, &error)) << error;
	EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path), {}), 1);

	const Json json = report();
	const Json turns = {{"count", 100}, {"p50", 50}, {"p95", 95}, {"p99", 99}, {"max", 100},
	    {"late", 25}, {"late_above_ms", 75}};
	EXPECT_EQ(json["turns"], turns);
	EXPECT_EQ(json["draw_ms"], Json({{"p50", 100}, {"p95", 190}, {"p99", 198}, {"max", 200}}));
	EXPECT_EQ(json["commits"]["count"], 99);
	EXPECT_EQ(json["untold_frames"], 100);
	EXPECT_EQ(json["worst_frames"].size(), 5U);
	EXPECT_EQ(json["worst_frames"][4]["frame"], 96);
	EXPECT_EQ(json["objects"], Json({{"created", 1}, {"left", nullptr}}));
	EXPECT_EQ(json["textures"]["peak_bytes"], 201);
	EXPECT_EQ(json["findings"],
	    Json::array({{{"frame", 3}, {"cause", "c"}, {"wrong", "w"}, {"do", "d"}}}));
	EXPECT_EQ(json["exit_status"], 7);
	EXPECT_EQ(json["ended_in_order"], false);

	open_report(path, "host", "program", &error);
	EXPECT_EQ(report(), json) << "a report that was never written leaves the one before";
	EXPECT_FALSE(open_report(folder / "no/file", "host", "program", &error));
	EXPECT_NE(error.find("no/file"), std::string::npos) << error;
}

TEST_F(ReportTest, TellsWhatASceneCameTo)
{
	const std::string scene = folder.file("scene.json", std::string(R"({
		"title": "two", "frames": 4,
		"objects": [
			{"name": "box", "type": "ANI_FLASH", "rectangle": [0, 0, 9, 9],
			 "textures": {"constant_color": [1, 0, 0, 1]}, "on_frame": 9},
			{"name": "card", "type": "ANI_FLASH", "rectangle": [9, 9, 9, 9],
			 "textures": {"files": [")" PICTURE R"("]}, "on_frame": 9}],
		"timeline": [{"frame": 0, "create": "box"}, {"frame": 1, "create": "card"},
			{"frame": 2, "update": "box", "set": {"off_frame": 2}}, {"frame": 3, "remove": "card"}]})"));
	const std::string play = ANIMATION_PLAY " --offline --report ";
	const Outcome outcome = run_program(play + path + " " + scene);
	ASSERT_EQ(outcome.status, 0) << outcome.output;
	const Json json = report();
	EXPECT_EQ(json["mode"], "offline");
	EXPECT_EQ(json["ended_in_order"], true);
	EXPECT_EQ(json["turns"]["count"], 5) << "with that of the last removal";
	const Json objects = {
	    {"created", 2}, {"refused", 0}, {"updated", 1}, {"removed", 2}, {"freed", 2}, {"left", 0}};
	EXPECT_EQ(json["objects"], objects);
	const Json textures = {{"peak_bytes", kPictureBytes}, {"end_bytes", 0},
	    {"by_object",
	        {{{"id", 1}, {"type", "ANI_FLASH"}, {"peak_bytes", kPictureBytes}, {"end_bytes", 0}}}}};
	EXPECT_EQ(json["textures"], textures);
	int decoded = 0;
	for (const Json &frame : json["worst_frames"])
		for (const Json &picture : frame["decoded"]) {
			EXPECT_EQ(frame["frame"], 1);
			EXPECT_EQ(picture["bytes"], kPictureBytes);
			decoded++;
		}
	EXPECT_EQ(decoded, 1);

	EXPECT_EQ(run_program(play + folder.path.string() + "/no/file " + scene).status, 1);
	EXPECT_EQ(run_program(play + path + " --jobs 2 " + scene).status, 2);
}

TEST_F(ReportTest, TellsTheWayToTheFirstPicture)
{
	const Outcome outcome =
	    run_program(HOST " --frames 20 --report " + path + " -- " PAINTER " 99999 0");
	ASSERT_EQ(outcome.status, 0) << outcome.output;
	const Json json = report();
	std::string parts;
	double sum = 0;
	for (const Json &part : json["first_picture"]["parts"]) {
		parts += part["part"].get<std::string>() + ", ";
		sum += part["ms"].get<double>();
	}
	EXPECT_EQ(parts, "load, start thread, connect, EGL, surface, programs, first turn, create, "
	                 "next frame, draw, swap, ");
	EXPECT_NEAR(sum, json["first_picture"]["total_ms"], 0.2);
	EXPECT_GE(json["commits"]["count"], 19);
	EXPECT_EQ(json["objects"]["created"], 2);
	EXPECT_EQ(json["program"], PAINTER);
}

} // namespace
