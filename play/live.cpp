#include <chrono>
#include <thread>

#include <protocol/xdg-shell-client-protocol.h>
#include <render/render.h>

#include <play/performance.h>
#include <play/stage.h>
#include <play/watch.h>

namespace
{

/* Well below the 20 ms that the render thread sleeps in each turn. */
constexpr std::chrono::milliseconds kPollInterval(2);

/* The render thread counts on; its window stays readable until DeInit has joined it. */
std::uint32_t turns_so_far()
{
	return __atomic_load_n(&p_gwindow->frames, __ATOMIC_ACQUIRE);
}

bool play_frames(Stage &stage, Watch &watch, std::string *error)
{
	const std::uint32_t first_turn = turns_so_far();
	std::uint32_t frame = 0;
	while (!is_over(watch) && frame < stage.scene->frames) {
		if (!play_steps(stage, frame, error))
			return false;
		std::this_thread::sleep_for(kPollInterval);
		frame = turns_so_far() - first_turn;
	}
	return true;
}

void wait_until_gone(const Stage &stage, Watch &watch)
{
	for (const unsigned int id : stage.ids) {
		while (fault_of(watch).empty() && GetAnimationObjStatus(id) != ST_INVALID)
			std::this_thread::sleep_for(kPollInterval);
	}
}

/* Between Init and DeInit. */
bool play_on_window(const Scene &scene, Watch &watch, std::string *error)
{
	/* On any thread: libwayland keeps requests apart, and a turn of the render thread sends it. */
	xdg_surface_set_title(p_gwindow->xdg_surface, scene.title.c_str());
	watch_compositor(watch);
	Stage stage;
	const bool played = open_stage(&stage, scene, error) && play_frames(stage, watch, error);
	clear_stage(stage);
	wait_until_gone(stage, watch);
	close_stage(stage);
	leave_compositor(watch);
	const std::string fault = fault_of(watch);
	if (!fault.empty())
		*error = fault;
	return played && fault.empty();
}

} // namespace

bool play_live(const Scene &scene, std::string *error)
{
	const WatchPtr watch = start_watch();
	Init();
	bool played = false;
	if (running != 0)
		played = play_on_window(scene, *watch, error);
	else
		*error = "the render thread did not start";
	DeInit();
	return played;
}
