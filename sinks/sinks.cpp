#include <sinks/sinks.h>

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
};

SinksPtr open_sinks(
    const SinkOptions &options, int width, int height, const std::string &title, std::string *error)
{
	SinksPtr sinks(new Sinks{.width = width,
	    .height = height,
	    .before = options.first - 1,
	    .pictures = options.first - 1});
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
	return fits(sinks, picture) &&
	       take_snapshots(&sinks.snapshots, sinks.pictures, picture, &sinks.failure) &&
	       record(sinks, picture) &&
	       (!sinks.window || preview_picture(*sinks.window, picture, &sinks.failure)) &&
	       service_sinks(sinks);
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
