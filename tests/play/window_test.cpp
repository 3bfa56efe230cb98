/* Preview windows on the two kinds of desktop, with the driver that SDL takes there. */
#include <gtest/gtest.h>

#include <files.h>
#include <program.h>
#include <wait.h>

namespace
{

TEST(Window, OpensOnXAndOnWayland)
{
	const Folder folder;
	const Program x =
	    start_program("Xvfb -displayfd 1 -screen 0 1280x800x24 -nolisten tcp 2>/dev/null");
	int number = -1;
	if (fscanf(x.output, "%d", &number) != 1)
		GTEST_SKIP() << "no Xvfb here";
	const std::string clean = "env -u DISPLAY -u WAYLAND_DISPLAY -u SDL_VIDEODRIVER ",
	                  on_x = clean + "DISPLAY=:" + std::to_string(number) + " ",
	                  folder_set = "XDG_RUNTIME_DIR=" + folder.path.string() + " ",
	                  on_wayland = clean + folder_set + "WAYLAND_DISPLAY=on_x WAYLAND_DEBUG=1 ",
	                  scene = SCENES "/endless.json",
	                  offline = "$ANIMATION_PLAY --offline --window --frames 30 " + scene;
	const Outcome shown_on_x = run_program(on_x + offline);
	EXPECT_EQ(shown_on_x.status, 0);
	EXPECT_EQ(shown_on_x.output, "");

	/* SDL 2.26 crashes on a compositor without input, such as the headless one. */
	const Program weston =
	    start_program(on_x + folder_set +
	                  "weston --backend=x11-backend.so --use-pixman --no-config "
	                  "--shell=kiosk-shell.so --idle-time=0 --socket=on_x >/dev/null 2>&1");
	EXPECT_TRUE(wait_until([&] { return std::filesystem::exists(folder / "on_x"); }));
	const std::pair<std::string, const char *> cases[] = {
	    {offline, ".set_title(\"endless"},
	    {"$ANIMATION_HOST --window --frames 60 -- $ANIMATION_PLAY " + scene,
	        ".set_title(\"endless - frame "},
	};
	for (const auto &[command, title] : cases) {
		const Outcome shown = run_program(on_wayland + command);
		EXPECT_EQ(shown.status, 0) << shown.output;
		EXPECT_NE(shown.output.find(title), std::string::npos) << shown.output;
	}
	kill(weston.pid, SIGTERM);
	end_of(weston);
	kill(x.pid, SIGTERM);
	end_of(x);
}

} // namespace
