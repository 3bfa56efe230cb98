/* Holds the gallery's kept strips against fresh ones. */
#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

#include <picture_files.h>
#include <program.h>

namespace
{

/* Rounding moves a channel by a few steps. An object that is drawn one pixel beside its place moves
 * its edges by a third of a pixel of the strip: many more steps, in many more pixels. */
constexpr int kVisibleStep = 16;
constexpr double kVisibleShare = 0.0003;

double share_of_visible_differences(const Image &a, const Image &b)
{
	if (a.width != b.width || a.rgb.size() != b.rgb.size() || a.rgb.empty())
		return 1.0;
	std::size_t different = 0;
	for (std::size_t i = 0; i < a.rgb.size(); i++)
		different += std::abs(a.rgb[i] - b.rgb[i]) > kVisibleStep;
	return static_cast<double>(different) / static_cast<double>(a.rgb.size());
}

TEST(Gallery, KeptStripsAreWhatIsDrawn)
{
	const Folder fresh;
	const Outcome outcome = run_program(
	    "$RENDER_STRIPS $ANIMATION_PLAY $CONTACT_SHEET $GALLERY_SCENES " + fresh.path.string());
	ASSERT_EQ(outcome.status, 0) << outcome.output;
	for (const auto &entry : std::filesystem::directory_iterator(fresh.path)) {
		const std::string name = entry.path().filename();
		const Image kept = read_png(std::string(std::getenv("GALLERY_KEPT")) + "/" + name);
		EXPECT_LT(share_of_visible_differences(read_png(entry.path()), kept), kVisibleShare)
		    << name;
	}
	EXPECT_EQ(count_entries(fresh.path.c_str()), count_entries(std::getenv("GALLERY_KEPT")));
}

} // namespace
