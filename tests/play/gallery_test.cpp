/* Holds the gallery's kept strips against fresh ones. */
#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include "program.h"

namespace
{

/* Rounding moves a channel by a few steps. An object that is drawn one pixel beside its place moves
 * its edges by a third of a pixel of the strip: many more steps, in many more pixels. */
constexpr int kVisibleStep = 16;
constexpr double kVisibleShare = 0.0005;

double share_of_visible_differences(const Image &a, const Image &b)
{
	if (a.width != b.width || a.height != b.height || a.rgb.empty())
		return 1.0;
	std::size_t different = 0;
	for (std::size_t i = 0; i < a.rgb.size(); i += 3) {
		const bool visible = std::abs(a.rgb[i] - b.rgb[i]) > kVisibleStep ||
		                     std::abs(a.rgb[i + 1] - b.rgb[i + 1]) > kVisibleStep ||
		                     std::abs(a.rgb[i + 2] - b.rgb[i + 2]) > kVisibleStep;
		different += visible;
	}
	return static_cast<double>(different) / (static_cast<double>(a.rgb.size()) / 3);
}

/* Draws strips of the scenes in a folder. */
void render_strips(const std::string &scenes, const std::string &out, const std::string &names)
{
	const Outcome outcome = run_program(
	    "RENDER_STRIPS", std::string(std::getenv("ANIMATION_PLAY")) + " " +
	                         std::getenv("CONTACT_SHEET") + " " + scenes + " " + out + " " + names);
	ASSERT_EQ(outcome.status, 0) << outcome.output;
}

TEST(Gallery, KeptStripsAreWhatIsDrawn)
{
	const std::string fresh = test_folder();
	render_strips(std::getenv("GALLERY_SCENES"), fresh, "");
	std::size_t count = 0;
	for (const auto &entry : std::filesystem::directory_iterator(fresh)) {
		const std::string name = entry.path().filename();
		const Image kept = read_png(std::string(std::getenv("GALLERY_KEPT")) + "/" + name);
		EXPECT_LT(share_of_visible_differences(read_png(entry.path()), kept), kVisibleShare)
		    << name;
		++count;
	}
	EXPECT_EQ(count, 24u);
}

TEST(Gallery, AShiftByOnePixelIsSeen)
{
	const std::string folder = test_folder();
	std::string scene = read_file(std::string(std::getenv("GALLERY_SCENES")) + "/flash.json");
	for (const auto &[was, is] : {std::pair<std::string, std::string>("[326, ", "[327, "),
	         {"../", std::getenv("GALLERY_SCENES") + std::string("/../")}})
		scene.replace(scene.find(was), was.size(), is);
	write_file(folder + "flash.json", scene);
	render_strips(folder, folder, "flash");
	const Image kept = read_png(std::string(std::getenv("GALLERY_KEPT")) + "/flash.png");
	EXPECT_GT(share_of_visible_differences(read_png(folder + "flash.png"), kept), kVisibleShare);
}

} // namespace
