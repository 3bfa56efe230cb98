#include <algorithm>
#include <cstdio>

#include <sinks/picture.h>

#include <offscreen/offscreen_window.h>
#include <play/performance.h>
#include <play/stage.h>

namespace
{

/* The surface as a viewer sees it. */
struct View {
	OffscreenPicture picture;
	std::uint64_t swapped = 0; /* by which frame; 0: by none so far */
	bool is_read = true;       /* the picture is that of the last swap */
};

View blank_view()
{
	View view;
	view.picture.width = kSurfaceWidth;
	view.picture.height = kSurfaceHeight;
	view.picture.bgra.resize(static_cast<std::size_t>(kSurfaceWidth) * kSurfaceHeight * 4);
	return view;
}

bool show(Sinks &sinks, const OffscreenPicture &picture)
{
	return show_picture(sinks, {.pixels = picture.bgra.data(),
	                               .width = picture.width,
	                               .height = picture.height,
	                               .stride = static_cast<std::size_t>(picture.width) * 4});
}

void take_turn(OffscreenWindow &window, std::uint64_t number, bool is_drawn, View *view)
{
	if (!(is_drawn ? draw_turn(window) : skip_turn(window)))
		return;
	view->swapped = number;
	view->is_read = is_drawn;
	if (is_drawn)
		read_picture(window, &view->picture);
}

bool is_seen(const SinkOptions &options, const Stretch &stretch, std::uint64_t number)
{
	return number >= stretch.from &&
	       (is_every_frame_seen(options) ||
	           std::ranges::count(options.snapshots, number, &Snapshot::number) > 0);
}

/* Once a picture is missing nothing more is drawn: the rest tells which others will be. */
Played play_turns(OffscreenWindow &window, Stage &stage, Sinks &sinks, const SinkOptions &options,
    Stretch *stretch, std::string *error)
{
	View view = blank_view();
	std::set<std::uint64_t> missing;
	for (std::uint64_t number = 1; number <= stretch->to; ++number) {
		if (!play_steps(stage, static_cast<std::uint32_t>(number - 1), error))
			return Played::failed;
		const bool seen = stretch->is_measured || is_seen(options, *stretch, number);
		take_turn(
		    window, number, missing.empty() && (seen || stretch->standing.contains(number)), &view);
		if (seen && !view.is_read && view.swapped < number)
			missing.insert(view.swapped);
		if (number >= stretch->from && missing.empty() && !show(sinks, view.picture))
			break; /* finish_sinks tells why */
	}
	stretch->standing.insert(missing.begin(), missing.end());
	return missing.empty() ? Played::whole : Played::again;
}

} // namespace

bool is_every_frame_seen(const SinkOptions &options)
{
	return options.window || !options.record.empty();
}

Played play_offline(
    const Scene &scene, const SinkArguments &arguments, Stretch *stretch, std::string *error)
{
	SinkOptions options = arguments.sinks;
	options.first = stretch->from;
	options.window_holds = true;
	const SinksPtr sinks = open_sinks(options, kSurfaceWidth, kSurfaceHeight, scene.title, error);
	if (!sinks)
		return Played::failed;
	const OffscreenWindowPtr window = open_offscreen_window(error);
	if (!window)
		return Played::failed;

	Stage stage;
	stage.is_offline = true;
	const Played played = open_stage(&stage, scene, error)
	                          ? play_turns(*window, stage, *sinks, options, stretch, error)
	                          : Played::failed;
	clear_stage(stage);
	while (animationItemHead)
		draw_turn(*window);
	close_stage(stage);
	if (played != Played::whole)
		return played;
	if (!finish_sinks(*sinks, error))
		return Played::failed;
	if (!error->empty()) /* what a closed window kept from coming */
		std::fprintf(stderr, "animation-play: %s\n", error->c_str());
	return Played::whole;
}
