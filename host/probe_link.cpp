#include <host/probe_link.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <map>
#include <utility>

#include <sys/socket.h>
#include <unistd.h>

#include <wayland-server-core.h>

namespace
{

constexpr std::size_t kBlock = std::size_t{1} << 16;
constexpr std::size_t kLongestLine = std::size_t{1} << 24; /* more is no message of the probe */
constexpr int kSocketBuffer = 1 << 20;                     /* a few frames of hundreds of objects */

} // namespace

struct ProbeLink {
	std::function<void(ProbeLink &, const std::string &line)> on_line;
	int ours = -1;
	int theirs = -1;
	wl_event_source *source = nullptr;
	std::string received; /* of a line that is not whole */
	std::map<const void *, WatchLevel> levels;
};

void ProbeLinkCloser::operator()(ProbeLink *link) const
{
	if (link->source)
		wl_event_source_remove(link->source);
	if (link->ours >= 0)
		close(link->ours);
	close_program_end(*link);
	delete link;
}

namespace
{

void take_lines(ProbeLink &link)
{
	std::size_t start = 0;
	for (std::size_t end; (end = link.received.find('\n', start)) != std::string::npos;) {
		link.on_line(link, link.received.substr(start, end - start));
		start = end + 1;
	}
	link.received.erase(0, start);
	if (link.received.size() > kLongestLine)
		link.received.clear();
}

/* False at the end, and when nothing more is there now. */
bool receive(ProbeLink &link)
{
	char block[kBlock];
	const ssize_t length = recv(link.ours, block, sizeof(block), MSG_DONTWAIT);
	if (length <= 0)
		return false;
	link.received.append(block, static_cast<std::size_t>(length));
	take_lines(link);
	return true;
}

/* One block each time, since pictures wait, too. */
int handle_messages(int, std::uint32_t events, void *data)
{
	auto &link = *static_cast<ProbeLink *>(data);
	if (receive(link) || !(events & WL_EVENT_HANGUP))
		return 0;
	wl_event_source_remove(std::exchange(link.source, nullptr));
	return 0;
}

} // namespace

ProbeLinkPtr open_probe_link(wl_event_loop *loop,
    std::function<void(ProbeLink &, const std::string &line)> on_line, std::string *error)
{
	ProbeLinkPtr link(new ProbeLink{.on_line = std::move(on_line)});
	int ends[2];
	if (socketpair(AF_UNIX, SOCK_STREAM, 0, ends) != 0) {
		*error = std::string("cannot open a link to the probe: ") + strerror(errno);
		return nullptr;
	}
	link->ours = ends[0];
	link->theirs = ends[1];
	setsockopt(link->theirs, SOL_SOCKET, SO_SNDBUF, &kSocketBuffer, sizeof(kSocketBuffer));
	link->source =
	    wl_event_loop_add_fd(loop, link->ours, WL_EVENT_READABLE, handle_messages, link.get());
	if (!link->source) {
		*error = "cannot watch the link to the probe";
		return nullptr;
	}
	return link;
}

int program_end(const ProbeLink &link)
{
	return link.theirs;
}

void close_program_end(ProbeLink &link)
{
	if (link.theirs >= 0)
		close(std::exchange(link.theirs, -1));
}

void watch(ProbeLink &link, const void *who, WatchLevel level)
{
	constexpr const char *kNames[] = {"off", "times", "objects"};
	link.levels[who] = level;
	for (const auto &[other, others_level] : link.levels)
		level = std::max(level, others_level);
	send_command(link,
	    std::string(R"({"command":"watch","level":")") + kNames[static_cast<int>(level)] + "\"}");
}

/* A command is short, so that a part of it is never left: the socket takes all or nothing. */
bool send_command(ProbeLink &link, const std::string &line)
{
	const std::string whole = line + '\n';
	return send(link.ours, whole.data(), whole.size(), MSG_DONTWAIT | MSG_NOSIGNAL) ==
	       static_cast<ssize_t>(whole.size());
}

void drain_probe_link(ProbeLink &link)
{
	while (receive(link))
		;
}
