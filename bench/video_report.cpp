#include <bench/video_report.h>

#include <algorithm>
#include <cstdio>
#include <vector>

#include <device/padded_picture.h>

namespace
{

double milliseconds(std::chrono::duration<double> duration)
{
	return 1e3 * duration.count();
}

double microseconds(std::chrono::duration<double> duration)
{
	return 1e6 * duration.count();
}

double quantile(std::vector<double> values, double part)
{
	if (values.empty())
		return 0;
	const auto at = values.begin() + static_cast<std::ptrdiff_t>(part * (values.size() - 1));
	std::nth_element(values.begin(), at, values.end());
	return *at;
}

/* Of the frames that were shown: no other has come by all stations. */
template <class Value>
std::vector<double> values_of(const VideoRun &run, Value value)
{
	std::vector<double> values;
	for (const TracedFrame &frame : run.frames)
		if (frame.fate == Fate::kShown)
			values.push_back(static_cast<double>(value(frame)));
	return values;
}

template <class Value>
void print_times(const char *name, const VideoRun &run, Value value)
{
	const std::vector<double> values =
	    values_of(run, [&](const TracedFrame &frame) { return milliseconds(value(frame)); });
	printf("%-44s %9.3f %9.3f %9.3f\n", name, quantile(values, 0.5), quantile(values, 0.95),
	    quantile(values, 1));
}

void print_ratio(const char *name, double low, double high)
{
	printf("%-44s %9.0f %9.0f ", name, low, high);
	if (low > 0)
		printf("%9.2f", high / low);
	else
		printf("%9s", high > 0 ? "grows" : "-");
}

template <class Value>
void print_sizes(const char *name, const VideoRun &small, const VideoRun &large, Value value)
{
	const std::vector<double> values = values_of(large, value);
	print_ratio(name, quantile(values_of(small, value), 0.5), quantile(values, 0.5));
	printf(" %12.0f\n", quantile(values, 1));
}

/* A kind of work, with that of GStreamer and GL when the library calls them. */
void print_library(
    const char *name, const VideoRun &small, const VideoRun &large, std::uint64_t Work::*kind)
{
	print_sizes(name, small, large,
	    [kind](const TracedFrame &frame) { return frame.delivery.*kind + frame.binding.*kind; });
}

/* CPU time of one copy of a picture as the decoder gives it. */
double copy_time(const VideoRun &run)
{
	const std::vector<char> picture(size_of(padded_picture(run.width, run.height)), 1);
	std::vector<char> copy(picture.size());
	std::vector<double> times;
	for (int i = 0; i < 51; i++) {
		Work work;
		{
			const WorkCount count(work);
			std::copy(picture.begin(), picture.end(), copy.begin());
		}
		times.push_back(microseconds(work.cpu_time));
	}
	return quantile(times, 0.5);
}

} // namespace

void print_way(const VideoRun &run)
{
	using Frame = const TracedFrame &;
	printf("\n%-44s %9s %9s %9s\n", "Milliseconds of a shown frame", "median", "95 %", "most");
	print_times("from pad_new_sample to the object's record", run,
	    [](Frame frame) { return frame.record - frame.arrival; });
	print_times("from the record to the bound image", run,
	    [](Frame frame) { return frame.bound - frame.record - frame.conversion.time; });
	print_times("    wait for the render thread's turn", run,
	    [](Frame frame) { return frame.turn - frame.record; });
	print_times("    the generator's work", run, [](Frame frame) { return frame.binding.time; });
	print_times("apart from it: the host's conversion", run,
	    [](Frame frame) { return frame.conversion.time; });
	print_times("after it: draw and swap, in software", run,
	    [](Frame frame) { return frame.swapped - frame.bound; });
}

bool print_fates(const VideoRun &run)
{
	const auto count = [&run](auto test) {
		return std::count_if(run.frames.begin(), run.frames.end(), test);
	};
	const auto ended = [&](Fate fate) {
		return count([fate](const TracedFrame &frame) { return frame.fate == fate; });
	};
	const auto delivered = std::ssize(run.frames);
	const auto dropped = ended(Fate::kDropped), replaced = ended(Fate::kReplaced),
	           shown = ended(Fate::kShown);
	/* The end takes the descriptors with it, perhaps before the last frame's turn. */
	const auto late = delivered && run.frames.back().fate == Fate::kRefused ? 1 : 0;
	const auto in_conversion = count([](const TracedFrame &frame) { return frame.met_conversion; });

	printf("\nFrames delivered, %4ux%-4u         %5td\n", run.width, run.height, delivered);
	printf(
	    "dropped by a busy mutex            %5td    (%td of them during the host's conversion)\n",
	    dropped, in_conversion);
	printf("replaced before being shown        %5td\n", replaced);
	printf("last one, too late for an import   %5d\n", late);
	printf("shown                              %5td\n", shown);
	const auto lost = delivered - dropped - replaced - late - shown;
	if (lost)
		printf("DOES NOT ADD UP: none of these     %5td\n", lost);
	return delivered && !lost;
}

void print_copies(const VideoRun &small, const VideoRun &large)
{
	using Frame = const TracedFrame &;
	printf("\nAll that runs in pad_new_sample and the generator, apart from the conversion:\n");
	printf("%-44s %4ux%-4u %4ux%-4u %9s %12s\n", "For a shown frame, at the median", small.width,
	    small.height, large.width, large.height, "ratio", "most, large");
	print_library("bytes by memcpy and memmove", small, large, &Work::copied);
	print_library("bytes allocated", small, large, &Work::allocated);
	print_library("pixels uploaded", small, large, &Work::uploaded);
	print_sizes("microseconds of CPU time", small, large,
	    [](Frame frame) { return microseconds(frame.delivery.cpu_time + frame.binding.cpu_time); });
	print_ratio("in comparison: to copy the picture once", copy_time(small), copy_time(large));
	printf("\n");
	print_sizes("in comparison: pixels the host uploads", small, large,
	    [](Frame frame) { return frame.conversion.uploaded; });
	print_sizes("in comparison: bytes that copies, by memcpy", small, large,
	    [](Frame frame) { return frame.conversion.copied; });
}
