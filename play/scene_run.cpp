#include <play/scene_run.h>

#include <chrono>
#include <cstdlib>
#include <optional>
#include <utility>

namespace
{

unsigned int drawn_numbers = 0;

void begin(SceneRun &run)
{
	drawn_numbers = 0;
	run.stage = Stage();
	run.next_frame = 0;
	run.has_swapped = false;
	run.picture.width = 2 * ANIMATION_VIEWPORT_WIDTH;
	run.picture.height = ANIMATION_VIEWPORT_HEIGHT;
	run.picture.bgra.assign(std::size_t(run.picture.width) * run.picture.height * 4, 0);
}

void end(SceneRun &run)
{
	clear_stage(run.stage);
	while (animationItemHead)
		draw_turn(*run.window);
	close_stage(run.stage);
}

bool begin_again(SceneRun &run, std::string *error)
{
	end(run);
	begin(run);
	return open_stage(&run.stage, run.scene, error);
}

/* Plays up to this frame without it. *swapped is the last frame that swapped, if any did. */
bool skip_to(
    SceneRun &run, std::uint32_t frame, std::optional<std::uint32_t> *swapped, std::string *error)
{
	if (run.look)
		run.look(false);
	for (; run.next_frame < frame; ++run.next_frame) {
		if (!play_steps(run.stage, run.next_frame, error))
			return false;
		if (skip_turn(*run.window))
			*swapped = run.next_frame;
	}
	return true;
}

} // namespace

/* Stands in front of the library's own, whose series goes on from one run to the next: here every
 * run begins it again, as a new process does. */
unsigned int getrand(unsigned int range)
{
	constexpr unsigned int kSeedBefore = 1;
	srand(kSeedBefore + ++drawn_numbers);
	return static_cast<unsigned int>(rand()) % range;
}

SceneRunPtr open_scene_run(OffscreenWindow &window, Scene scene, std::string *error)
{
	SceneRunPtr run(new SceneRun{.window = &window, .scene = std::move(scene)});
	begin(*run);
	return open_stage(&run->stage, run->scene, error) ? std::move(run) : nullptr;
}

void SceneRunCloser::operator()(SceneRun *run) const
{
	end(*run);
	delete run;
}

bool play_frame(SceneRun &run, std::string *error)
{
	const auto start = std::chrono::steady_clock::now();
	if (run.look)
		run.look(true);
	if (!play_steps(run.stage, run.next_frame, error))
		return false;
	run.has_swapped = draw_turn(*run.window);
	++run.next_frame;
	if (run.has_swapped)
		read_picture(*run.window, &run.picture); /* waits for the drawing */
	run.turn_ms =
	    std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
	return true;
}

bool seek(SceneRun &run, std::uint32_t frame, std::string *error)
{
	if (run.next_frame > frame && !begin_again(run, error))
		return false;
	std::optional<std::uint32_t> swapped;
	if (!skip_to(run, frame, &swapped, error) || !play_frame(run, error))
		return false;
	if (run.has_swapped || !swapped)
		return true;
	/* The frame shows what an earlier one swapped: that one is drawn, and the way gone again. */
	return begin_again(run, error) && skip_to(run, *swapped, &swapped, error) &&
	       play_frame(run, error) && skip_to(run, frame + 1, &swapped, error);
}
