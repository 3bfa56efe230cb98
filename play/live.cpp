#include <chrono>
#include <csignal>
#include <thread>

#include <render/render.h>

#include <play/performance.h>
#include <play/stage.h>

namespace
{

/* Well below the 20 ms that the render thread sleeps in each turn. */
constexpr std::chrono::milliseconds kPollInterval(2);

volatile std::sig_atomic_t asked_to_end = 0;

void ask_to_end(int)
{
	asked_to_end = 1;
}

/* SIGINT is the library's: it ends the render thread. */
bool goes_on()
{
	return !asked_to_end && running != 0;
}

/* The render thread counts on; its window stays readable until DeInit has joined it. */
std::uint32_t turns_so_far()
{
	return __atomic_load_n(&p_gwindow->frames, __ATOMIC_ACQUIRE);
}

bool play_frames(Stage &stage, std::string *error)
{
	const std::uint32_t first_turn = turns_so_far();
	std::uint32_t frame = 0;
	while (goes_on() && frame < stage.scene->frames) {
		if (!play_steps(stage, frame, error))
			return false;
		std::this_thread::sleep_for(kPollInterval);
		frame = turns_so_far() - first_turn;
	}
	return true;
}

void wait_until_gone(const Stage &stage)
{
	for (const unsigned int id : stage.ids) {
		while (running != 0 && GetAnimationObjStatus(id) != ST_INVALID)
			std::this_thread::sleep_for(kPollInterval);
	}
}

} // namespace

bool play_live(const Scene &scene, std::string *error)
{
	struct sigaction action = {};
	action.sa_handler = ask_to_end;
	sigaction(SIGTERM, &action, nullptr);

	Init();
	Stage stage;
	const bool played = open_stage(&stage, scene, error) && play_frames(stage, error);
	clear_stage(stage);
	wait_until_gone(stage);
	close_stage(stage);
	DeInit();
	return played;
}
