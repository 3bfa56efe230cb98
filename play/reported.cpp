/* A scene played offline, with the probe in front of the library. */
#include <probe/probe.h>
#include <probe/report.h>

#include <play/performance.h>

namespace
{

/* Of the one scene that plays; used on the thread that plays it. */
Report *under_way;

void take_message(const std::string &line)
{
	report_message(*under_way, line);
}

} // namespace

bool play_reported(const Scene &scene, const SinkArguments &arguments, Stretch stretch,
    const std::string &path, std::string *error)
{
	const ReportPtr report = open_report(path, "offline", scene.title, error);
	if (!report)
		return false;
	under_way = report.get();
	probe_hear(take_message);
	probe_command(R"({"command":"watch","level":"times"})");
	stretch.is_measured = true;
	const bool played = play_offline(scene, arguments, &stretch, error) == Played::whole;
	probe_tell_end();
	probe_hear(nullptr);
	return played && write_report(*report, 0, error);
}
