#include <probe/report.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <deque>
#include <map>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include <sinks/open_at_once.h>

using Json = nlohmann::ordered_json;

namespace
{

constexpr int kVersion = 1;
constexpr std::size_t kWorstFrames = 5;
constexpr std::size_t kMostFindings = 1000;

/* So much longer than the median a turn is late. */
constexpr double kLateFactor = 1.5;

double now_ms()
{
	const auto now = std::chrono::steady_clock::now().time_since_epoch();
	return std::chrono::duration<double, std::milli>(now).count();
}

/* ---- Times ---------------------------------------------------------------------------------- */

/* How often each time came, in hundredths of a millisecond: however long a program runs, it takes
 * no more memory. */
struct Times {
	std::map<std::int64_t, std::uint64_t> counts;
	std::uint64_t total = 0;
	double longest = 0;
};

constexpr double kStepsPerMs = 100;
constexpr double kLongest = 1e9;

std::int64_t steps_of(double ms)
{
	return std::llround(ms * kStepsPerMs);
}

void add(Times &times, double ms)
{
	ms = std::clamp(ms, 0.0, kLongest);
	times.counts[steps_of(ms)]++;
	times.total++;
	times.longest = std::max(times.longest, ms);
}

/* The smallest time that this share of all does not exceed. */
double percentile(const Times &times, double share)
{
	std::uint64_t seen = 0;
	for (const auto &[step, count] : times.counts) {
		seen += count;
		if (static_cast<double>(seen) >= share * static_cast<double>(times.total))
			return static_cast<double>(step) / kStepsPerMs;
	}
	return 0;
}

std::uint64_t count_above(const Times &times, double ms)
{
	std::uint64_t above = 0;
	for (auto it = times.counts.upper_bound(steps_of(ms)); it != times.counts.end(); ++it)
		above += it->second;
	return above;
}

double rounded(double ms)
{
	return static_cast<double>(steps_of(ms)) / kStepsPerMs;
}

Json distribution(const Times &times)
{
	return {{"p50", percentile(times, 0.5)}, {"p95", percentile(times, 0.95)},
	    {"p99", percentile(times, 0.99)}, {"max", rounded(times.longest)}};
}

Json with_late(const Times &times)
{
	const double limit = rounded(kLateFactor * percentile(times, 0.5));
	Json json = {{"count", times.total}};
	json.update(distribution(times));
	json["late"] = count_above(times, limit);
	json["late_above_ms"] = limit;
	return json;
}

} // namespace

struct Report {
	std::string path, unfinished; /* the file is written under the second name */
	std::string mode, program;
	int fd = -1;
	double start_ms = now_ms();
	double commit_ms = 0; /* the first */

	Times turns, draws, swaps, commits;
	std::uint64_t dropped = 0;
	bool has_committed = false; /* the frame before */
	bool has_end = false;
	std::vector<Json> worst; /* the longest turn first */

	Json marks = Json::array();
	Json totals;
	std::uint64_t texture_bytes = 0, texture_peak = 0;
	struct ObjectTextures {
		std::string type;
		std::uint64_t bytes, peak;
	};
	std::map<std::uint64_t, ObjectTextures> textures_by_object;
	Json left_objects;
	std::vector<Json> playbacks;
	bool is_playing = false;
	Json findings = Json::array();
	std::uint64_t more_findings = 0;
};

void ReportDeleter::operator()(Report *report) const
{
	if (report->fd >= 0)
		close(report->fd);
	if (!report->unfinished.empty())
		unlink(report->unfinished.c_str());
	delete report;
}

namespace
{

/* ---- Messages ------------------------------------------------------------------------------- */

void take_worst(Report &report, const Json &frame)
{
	const auto turn = [](const Json &one) { return one.at("turn_ms").get<double>(); };
	std::vector<Json> &worst = report.worst;
	if (worst.size() == kWorstFrames && turn(frame) <= turn(worst.back()))
		return;
	Json kept;
	for (const char *key : {"frame", "turn_ms", "draw_ms", "swap_ms", "decoded"})
		kept[key] = frame.at(key);
	kept["calls"] = Json::array();
	for (const Json &call : frame.at("calls"))
		kept["calls"].push_back(call.at("text"));
	kept["more_calls"] = frame.at("more_calls");
	worst.insert(std::upper_bound(worst.begin(), worst.end(), kept,
	                 [&](const Json &a, const Json &b) { return turn(a) > turn(b); }),
	    std::move(kept));
	if (worst.size() > kWorstFrames)
		worst.pop_back();
}

void take_textures(Report &report, const Json &frame)
{
	report.texture_bytes = frame.at("texture_bytes");
	report.texture_peak = frame.at("texture_peak");
	if (!frame.contains("bytes_by_object"))
		return;
	for (auto &[id, textures] : report.textures_by_object)
		textures.bytes = 0;
	for (const Json &object : frame.at("bytes_by_object")) {
		auto &textures = report.textures_by_object[object.at("id")];
		textures.type = object.at("type");
		textures.bytes = object.at("bytes");
		textures.peak = std::max(textures.peak, textures.bytes);
	}
}

void take_playback(Report &report, const Json &player)
{
	if (player.is_null()) {
		report.is_playing = false;
		return;
	}
	if (!report.is_playing)
		report.playbacks.emplace_back();
	report.is_playing = true;
	Json &playback = report.playbacks.back();
	for (const char *key : {"uri", "position_ms", "delivered", "dropped", "shown"})
		playback[key] = player.at(key);
}

void take_frame(Report &report, const Json &frame)
{
	const bool committed = frame.at("committed");
	const double turn = frame.at("turn_ms");
	add(report.turns, turn);
	add(report.draws, frame.at("draw_ms"));
	if (committed)
		add(report.swaps, frame.at("swap_ms"));
	if (committed && report.has_committed)
		add(report.commits, turn);
	report.has_committed = committed;
	report.dropped += frame.at("dropped").get<std::uint64_t>();
	report.totals = frame.at("totals");
	take_worst(report, frame);
	take_textures(report, frame);
	take_playback(report, frame.at("player"));
}

void take_finding(Report &report, Json finding)
{
	if (report.findings.size() >= kMostFindings) {
		report.more_findings++;
		return;
	}
	finding.erase("type");
	report.findings.push_back(std::move(finding));
}

void take_end(Report &report, const Json &end)
{
	report.has_end = true;
	report.left_objects = end.at("left_objects");
	report.texture_bytes = end.at("texture_bytes");
	report.totals = end.at("totals");
	report.is_playing = false;
}

void take(Report &report, Json message)
{
	const std::string type = message.at("type");
	if (type == "frame")
		take_frame(report, message);
	else if (type == "first-picture")
		report.marks = message.at("marks");
	else if (type == "finding")
		take_finding(report, std::move(message));
	else if (type == "end")
		take_end(report, message);
}

/* ---- The file ------------------------------------------------------------------------------- */

Json first_picture(const Report &report)
{
	if (report.marks.empty())
		return nullptr;
	const double end =
	    report.commit_ms > 0 ? report.commit_ms : report.marks.back().at("at_ms").get<double>();
	Json parts = Json::array();
	double before = report.start_ms;
	for (const Json &mark : report.marks) {
		const bool is_last = &mark == &report.marks.back();
		const double at = is_last ? end : mark.at("at_ms").get<double>();
		parts.push_back({{"part", mark.at("part")}, {"ms", rounded(std::max(at - before, 0.0))}});
		before = at;
	}
	return {{"total_ms", rounded(end - report.start_ms)}, {"parts", parts}};
}

Json textures(const Report &report)
{
	Json objects = Json::array();
	for (const auto &[id, textures] : report.textures_by_object)
		if (textures.peak > 0)
			objects.push_back({{"id", id}, {"type", textures.type}, {"peak_bytes", textures.peak},
			    {"end_bytes", textures.bytes}});
	return {{"peak_bytes", report.texture_peak}, {"end_bytes", report.texture_bytes},
	    {"by_object", objects}};
}

Json objects(const Report &report)
{
	Json json = report.totals.is_object() ? report.totals : Json::object();
	json["left"] = report.left_objects;
	return json;
}

Json whole(const Report &report, int status)
{
	Json json;
	json["report"] = "animation";
	json["version"] = kVersion;
	json["mode"] = report.mode;
	json["program"] = report.program;
	json["exit_status"] = status;
	json["ended_in_order"] = report.has_end;
	json["first_picture"] = first_picture(report);
	json["turns"] = with_late(report.turns);
	json["commits"] = with_late(report.commits);
	json["commits"]["count"] = report.swaps.total;
	json["draw_ms"] = distribution(report.draws);
	json["swap_ms"] = distribution(report.swaps);
	json["untold_frames"] = report.dropped;
	json["worst_frames"] = report.worst;
	json["textures"] = textures(report);
	json["objects"] = objects(report);
	json["playbacks"] = report.playbacks;
	json["findings"] = report.findings;
	json["more_findings"] = report.more_findings;
	return json;
}

bool write_all(int fd, const std::string &text)
{
	for (std::size_t done = 0; done < text.size();) {
		const ssize_t written = write(fd, text.data() + done, text.size() - done);
		if (written < 0 && errno != EINTR)
			return false;
		if (written > 0)
			done += static_cast<std::size_t>(written);
	}
	return true;
}

std::string complaint(const Report &report)
{
	return "cannot write the report " + report.path + ": " + strerror(errno);
}

/* A device or a pipe that the user named is written as it is. */
bool takes_a_rename(const std::string &path)
{
	struct stat status;
	return stat(path.c_str(), &status) != 0 || S_ISREG(status.st_mode);
}

} // namespace

ReportPtr open_report(const std::string &path, const std::string &mode, const std::string &program,
    std::string *error)
{
	ReportPtr report(new Report);
	report->path = path;
	report->mode = mode;
	report->program = program;
	if (takes_a_rename(path)) {
		report->unfinished = path + ".unfinished";
		report->fd =
		    open(report->unfinished.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
	} else {
		report->fd = open_at_once(path.c_str(), 0);
	}
	if (report->fd >= 0)
		return report;
	*error = complaint(*report);
	report->unfinished.clear();
	return nullptr;
}

void report_message(Report &report, const std::string &line)
{
	try {
		take(report, Json::parse(line));
	} catch (const Json::exception &) { /* the program may write anything */
	}
}

void report_start(Report &report)
{
	report.start_ms = now_ms();
}

void report_commit(Report &report)
{
	if (report.commit_ms == 0)
		report.commit_ms = now_ms();
}

std::string report_text(const Report &report, int status)
{
	return whole(report, status).dump(1, '\t', false, Json::error_handler_t::replace) + '\n';
}

bool write_report(Report &report, int status, std::string *error)
{
	bool done = write_all(report.fd, report_text(report, status));
	done = close(std::exchange(report.fd, -1)) == 0 && done;
	if (done && !report.unfinished.empty())
		done = rename(report.unfinished.c_str(), report.path.c_str()) == 0;
	if (!done)
		*error = complaint(report);
	else
		report.unfinished.clear();
	return done;
}
