/* The complete application, as the vehicle and its camera lead it. */
#include <csignal>
#include <fstream>

#include <sys/stat.h>

#include <files.h>
#include <program.h>

#include "../system/system_test.h"

namespace
{

/* Places on the surface, and what they show. */
struct Spot {
	int x, y;
	std::uint32_t rgb;
};
constexpr Spot kMapByDay = {1172, 300, 0xF2EDE3}, kMapByNight = {1172, 300, 0x10151E};
constexpr Spot kFuel = {246, 476, 0x2E7D32}, kNoFuel = {246, 476, 0x081020};
constexpr Spot kNeedle = {576, 190, 0xFF553F}, kSign = {490, 350, 0xFFB300};
constexpr Spot kCameraLeft = {246, 476, 0xFF0000}, kCameraRight = {1172, 300, 0xFF0000};

struct CockpitTest : SystemTest {
	const Folder folder;
	const std::string fifo = folder / "signals";
	std::ofstream signals;
	Program program = {-1, nullptr};

	void start()
	{
		start_compositor();
		mkfifo(fifo.c_str(), 0600);
		program = start_program("env LD_PRELOAD=$EGL_IMPORT $COCKPIT $PICTURES " + fifo);
		signals.open(fifo);
	}
	void say(const std::string &line)
	{
		signals << line << std::endl;
	}
	/* A lossy codec may be between. */
	bool comes(const Spot &spot)
	{
		return eventually([&] {
			const std::uint32_t seen = pixel(spot.x, spot.y);
			for (int shift : {0, 8, 16})
				if (std::abs(int(seen >> shift & 0xFF) - int(spot.rgb >> shift & 0xFF)) > 24)
					return false;
			return true;
		});
	}
};

TEST_F(CockpitTest, ShowsWhatItsSignalsSay)
{
	start();
	EXPECT_TRUE(comes(kMapByDay) && comes(kNoFuel));
	say("speed 120\nfuel 1\nnight 1");
	EXPECT_TRUE(comes(kNeedle)) << std::hex << pixel(kNeedle.x, kNeedle.y);
	EXPECT_TRUE(comes(kFuel)) << std::hex << pixel(kFuel.x, kFuel.y);
	EXPECT_TRUE(comes(kMapByNight)) << std::hex << pixel(kMapByNight.x, kMapByNight.y);
	const std::uint32_t below = pixel(kSign.x, kSign.y);
	say("warning 1");
	EXPECT_TRUE(comes(kSign));
	EXPECT_TRUE(comes({kSign.x, kSign.y, below})) << "the warning goes by itself";

	const Program camera = start_program(
	    "gst-launch-1.0 -q videotestsrc is-live=true pattern=red ! video/x-raw,format=I420,"
	    "width=320,height=160,framerate=25/1 ! x264enc tune=zerolatency key-int-max=5 "
	    "! h264parse config-interval=-1 ! rtph264pay ! udpsink host=127.0.0.1 port=50008");
	say("camera 1");
	EXPECT_TRUE(comes(kCameraLeft) && comes(kCameraRight));
	say("fuel 0\ncamera 0");
	EXPECT_TRUE(comes(kNoFuel) && comes(kMapByNight));
	kill(camera.pid, SIGKILL);
	end_of(camera);

	kill(program.pid, SIGTERM);
	const Outcome outcome = end_of(program);
	EXPECT_EQ(outcome.status, 0) << outcome.output;
}

} // namespace
