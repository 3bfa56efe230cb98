#include <algorithm>
#include <cstdio>

#include <sinks/picture.h>

#include <offscreen/offscreen_window.h>
#include <play/performance.h>
#include <play/stage.h>

namespace
{

/* The sinks take B, G, R. */
void swap_red_and_blue(OffscreenPicture *picture)
{
	for (std::size_t i = 0; i < picture->rgba.size(); i += 4)
		std::swap(picture->rgba[i], picture->rgba[i + 2]);
}

bool show(Sinks &sinks, const OffscreenPicture &picture)
{
	return show_picture(sinks, {.pixels = picture.rgba.data(),
	                               .width = picture.width,
	                               .height = picture.height,
	                               .stride = static_cast<std::size_t>(picture.width) * 4});
}

bool play_turns(
    OffscreenWindow &window, Stage &stage, Sinks &sinks, std::uint64_t turns, std::string *error)
{
	OffscreenPicture picture;
	picture.width = kSurfaceWidth;
	picture.height = kSurfaceHeight;
	picture.rgba.resize(static_cast<std::size_t>(kSurfaceWidth) * kSurfaceHeight * 4);
	for (std::uint32_t frame = 0; frame < turns; ++frame) {
		if (!play_steps(stage, frame, error))
			return false;
		if (draw_turn(window)) {
			read_picture(window, &picture);
			swap_red_and_blue(&picture);
		}
		if (!show(sinks, picture))
			return true; /* finish_sinks tells why */
	}
	return true;
}

} // namespace

bool play_offline(const Scene &scene, const SinkArguments &arguments, std::string *error)
{
	const SinksPtr sinks =
	    open_sinks(arguments.sinks, kSurfaceWidth, kSurfaceHeight, scene.title, error);
	if (!sinks)
		return false;
	const OffscreenWindowPtr window = open_offscreen_window(error);
	if (!window)
		return false;

	const std::uint64_t turns =
	    arguments.frames ? std::min<std::uint64_t>(arguments.frames, scene.frames) : scene.frames;
	Stage stage;
	const bool played =
	    open_stage(&stage, scene, error) && play_turns(*window, stage, *sinks, turns, error);
	clear_stage(stage);
	while (animationItemHead)
		draw_turn(*window);
	close_stage(stage);
	if (!played || !finish_sinks(*sinks, error))
		return false;
	if (!error->empty()) /* what a closed window kept from coming */
		std::fprintf(stderr, "animation-play: %s\n", error->c_str());
	return true;
}
