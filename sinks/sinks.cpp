#include <sinks/sinks.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <thread>

#include <sinks/preview_window.h>
#include <sinks/recorder.h>
#include <sinks/snapshots.h>

struct Sinks {
	int width;
	int height;
	std::uint64_t before; /* surface buffers that come to nobody here */
	PreviewWindowPtr window;
	std::vector<Snapshot> snapshots; /* not yet taken */
	RecorderPtr recorder;
	std::uint64_t pictures; /* number of the last one */
	bool closed = false;    /* by the user */
	std::string failure;    /* of the first sink that failed */
	std::string folder;     /* for snapshots by key */
	bool holds = false;     /* at a pause */
	bool is_paused = false;
};

SinksPtr open_sinks(
    const SinkOptions &options, int width, int height, const std::string &title, std::string *error)
{
	SinksPtr sinks(new Sinks{.width = width,
	    .height = height,
	    .before = options.first - 1,
	    .pictures = options.first - 1});
	sinks->folder = options.folder;
	sinks->holds = options.window_holds;
	if (options.window) {
		sinks->window = open_preview_window(title, width, height, error);
		if (!sinks->window)
			return nullptr;
	}
	if (!can_write_snapshots(options.snapshots, error))
		return nullptr;
	sinks->snapshots = options.snapshots;
	if (!options.record.empty()) {
		sinks->recorder = open_recorder(options.record, width, height, error);
		if (!sinks->recorder)
			return nullptr;
	}
	return sinks;
}

void title_sinks(Sinks &sinks, const std::string &title)
{
	if (sinks.window)
		set_preview_title(*sinks.window, title);
}

namespace
{

bool is_open(const Sinks &sinks)
{
	return !sinks.closed && sinks.failure.empty();
}

bool fits(Sinks &sinks, const Picture &picture)
{
	auto size = [](int width, int height) {
		return std::to_string(width) + 'x' + std::to_string(height);
	};
	if (picture.width == sinks.width && picture.height == sinks.height)
		return true;
	sinks.failure = "frame " + std::to_string(sinks.pictures) + " is " +
	                size(picture.width, picture.height) + ", not " +
	                size(sinks.width, sinks.height);
	return false;
}

void save_view(Sinks &sinks)
{
	const std::string path =
	    std::filesystem::path(sinks.folder) / ("frame-" + std::to_string(sinks.pictures) + ".png");
	use_preview(*sinks.window, [&](const Picture &picture) {
		std::vector<Snapshot> wanted = {{sinks.pictures, path}};
		std::string error;
		const bool written = take_snapshots(&wanted, sinks.pictures, picture, &error);
		fprintf(stderr, "snapshot: %s\n", written ? path.c_str() : error.c_str());
	});
}

/* Stays until the user lets the next one come. */
void hold(Sinks &sinks)
{
	constexpr std::chrono::milliseconds kReaction(10);
	for (bool one = false; service_sinks(sinks);) {
		for (WindowOrder order; take_window_order(sinks, &order);) {
			one = order == WindowOrder::one_frame;
			sinks.is_paused = one || !sinks.is_paused;
		}
		if (!sinks.is_paused || one)
			return;
		std::this_thread::sleep_for(kReaction);
	}
}

bool record(Sinks &sinks, const Picture &picture)
{
	if (!sinks.recorder || record_picture(*sinks.recorder, picture, &sinks.failure))
		return true;
	sinks.recorder.reset(); /* what it has written stays as it is */
	return false;
}

} // namespace

bool show_picture(Sinks &sinks, const Picture &picture)
{
	if (!is_open(sinks))
		return false;
	sinks.pictures++;
	const bool shown = fits(sinks, picture) &&
	                   take_snapshots(&sinks.snapshots, sinks.pictures, picture, &sinks.failure) &&
	                   record(sinks, picture) &&
	                   (!sinks.window || preview_picture(*sinks.window, picture, &sinks.failure)) &&
	                   service_sinks(sinks);
	if (shown && sinks.holds)
		hold(sinks);
	return shown && is_open(sinks);
}

bool take_window_order(Sinks &sinks, WindowOrder *order)
{
	for (char key = 0; sinks.window && take_preview_key(*sinks.window, &key);) {
		if (key == 's') {
			save_view(sinks);
			continue;
		}
		*order = key == '.' ? WindowOrder::one_frame : WindowOrder::pause_or_go_on;
		return true;
	}
	return false;
}

bool service_sinks(Sinks &sinks)
{
	if (sinks.window && is_preview_closed(*sinks.window))
		sinks.closed = true;
	return is_open(sinks);
}

bool finish_sinks(Sinks &sinks, std::string *report)
{
	*report = sinks.failure;
	auto add = [report](const std::string &line) {
		if (!line.empty())
			*report += (report->empty() ? "" : "\n") + line;
	};
	bool complete = sinks.failure.empty();
	std::string reason;
	if (sinks.recorder && !finish_recording(*sinks.recorder, &reason))
		complete = complete && sinks.closed && sinks.pictures == sinks.before;
	sinks.recorder.reset();
	add(reason);
	if (!sinks.snapshots.empty())
		complete = complete && sinks.closed;
	add(pictures_missing(sinks.snapshots));
	sinks.snapshots.clear();
	return complete;
}

void SinksDeleter::operator()(Sinks *sinks) const
{
	std::string unreported;
	finish_sinks(*sinks, &unreported);
	delete sinks;
}
