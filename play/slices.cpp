/* Slices of a scene in processes of their own. */
#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <sinks/joined_recording.h>

#include <play/performance.h>

namespace
{

struct Slice {
	Stretch stretch;
	SinkArguments arguments;
	pid_t pid = -1;
	int standing = -1; /* read end of a pipe, by which the process tells it */
};

[[noreturn]] void play_in_child(
    const Scene &scene, const SinkArguments &arguments, Stretch stretch, int standing)
{
	prctl(PR_SET_PDEATHSIG, SIGTERM);
	std::string error;
	const Played played = play_offline(scene, arguments, &stretch, &error);
	if (played == Played::failed)
		std::fprintf(stderr, "animation-play: %s\n", error.c_str());
	bool told = true;
	for (const std::uint64_t number : stretch.standing)
		told = told && write(standing, &number, sizeof number) == ssize_t{sizeof number};
	std::exit(played != Played::failed && told ? EXIT_SUCCESS : EXIT_FAILURE);
}

/* While this process has one thread, and neither EGL nor GStreamer. */
void start(const Scene &scene, Slice *slice)
{
	int ends[2];
	if (pipe2(ends, O_CLOEXEC) != 0)
		return;
	std::fflush(nullptr); /* or the child would write it again */
	slice->pid = fork();
	if (slice->pid == 0)
		play_in_child(scene, slice->arguments, slice->stretch, ends[1]);
	close(ends[1]);
	slice->standing = ends[0];
}

Played wait_for(Slice *slice)
{
	const std::size_t known = slice->stretch.standing.size();
	for (std::uint64_t number = 0; read(slice->standing, &number, sizeof number) > 0;)
		slice->stretch.standing.insert(number);
	close(slice->standing);
	int status = 0;
	if (slice->pid < 0 || waitpid(slice->pid, &status, 0) != slice->pid || status != 0)
		return Played::failed;
	return slice->stretch.standing.size() > known ? Played::again : Played::whole;
}

bool play(const Scene &scene, std::vector<Slice> *slices)
{
	for (Slice &slice : *slices)
		start(scene, &slice);
	bool is_whole = true;
	for (Slice &slice : *slices) {
		Played played = wait_for(&slice);
		while (played == Played::again) {
			start(scene, &slice);
			played = wait_for(&slice);
		}
		is_whole = is_whole && played == Played::whole;
	}
	return is_whole;
}

/* Whole groups of the recording, so that the slices' recordings can be joined. */
std::vector<Stretch> cut(const Stretch &whole, std::uint64_t jobs)
{
	const std::uint64_t groups = (whole.to - whole.from) / kPicturesPerGroup + 1;
	std::vector<Stretch> stretches;
	for (std::uint64_t job = 0; job < std::min(jobs, groups); ++job) {
		const std::uint64_t count = std::min(jobs, groups);
		stretches.push_back({.from = whole.from + groups * job / count * kPicturesPerGroup,
		    .to = whole.from + groups * (job + 1) / count * kPicturesPerGroup - 1});
	}
	stretches.back().to = whole.to;
	return stretches;
}

/* A snapshot that no slice has is the first one's to complain about. */
bool is_in(const Stretch &stretch, const Stretch &whole, const Snapshot &snapshot)
{
	const bool is_nowhere = snapshot.number < whole.from || snapshot.number > whole.to;
	return is_nowhere ? stretch.from == whole.from
	                  : snapshot.number >= stretch.from && snapshot.number <= stretch.to;
}

Slice slice_of(const SinkArguments &arguments, const Stretch &stretch, const Stretch &whole)
{
	Slice slice = {.stretch = stretch, .arguments = arguments};
	SinkOptions &sinks = slice.arguments.sinks;
	std::erase_if(sinks.snapshots,
	    [&](const Snapshot &snapshot) { return !is_in(stretch, whole, snapshot); });
	if (!sinks.record.empty())
		sinks.record += ".from-" + std::to_string(stretch.from) + ".part";
	return slice;
}

bool join(const std::vector<Slice> &slices, const std::string &path, std::string *error)
{
	std::vector<std::string> parts;
	for (const Slice &slice : slices)
		parts.push_back(slice.arguments.sinks.record);
	return join_recordings(parts, path, error);
}

/* The rasteriser would start threads for all cores in each process. */
void share_cores(std::size_t processes)
{
	const std::size_t cores = std::max(1U, std::thread::hardware_concurrency());
	const std::size_t threads = std::max<std::size_t>(1, cores / processes);
	setenv("LP_NUM_THREADS", std::to_string(threads).c_str(), 0);
}

} // namespace

bool play_in_slices(const Scene &scene, const SinkArguments &arguments, const Stretch &stretch,
    std::uint64_t jobs, std::string *error)
{
	std::vector<Slice> slices;
	for (const Stretch &part : cut(stretch, jobs))
		slices.push_back(slice_of(arguments, part, stretch));
	const std::string &record = arguments.sinks.record;
	if (slices.size() == 1) {
		slices[0].arguments = arguments;
		return play(scene, &slices);
	}
	share_cores(slices.size());
	const bool is_whole = play(scene, &slices) && (record.empty() || join(slices, record, error));
	std::error_code ignored;
	for (const Slice &slice : slices) {
		if (!record.empty())
			std::filesystem::remove(slice.arguments.sinks.record, ignored);
	}
	return is_whole;
}
