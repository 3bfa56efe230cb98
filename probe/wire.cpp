#include <probe/wire.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <mutex>

#include <fcntl.h>
#include <pthread.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

constexpr std::size_t kMostKept = std::size_t{1} << 20; /* bytes */

enum State { kUnknown, kUnheard, kSocket, kFunction };

std::atomic<State> state;

struct {
	std::mutex lock; /* guards the rest */
	int fd = -1;
	std::string kept; /* not sent yet */
	void (*take)(const std::string &line) = nullptr;
} wire;

std::string received; /* and not taken yet; the render thread's */

int descriptor_of_environment()
{
	const char *text = getenv("ANIMATION_PROBE_FD");
	char *end = nullptr;
	const long number = text ? strtol(text, &end, 10) : -1;
	struct stat status;
	if (!text || end == text || *end || number < 0 || fstat(static_cast<int>(number), &status) != 0)
		return -1;
	return S_ISSOCK(status.st_mode) ? static_cast<int>(number) : -1;
}

/* A program may have started others that draw, too, with the same descriptor. A lock of this kind
 * belongs to one process, and ends with it. */
bool make_ours(int fd)
{
	struct flock whole = {};
	whole.l_type = F_WRLCK;
	return fcntl(fd, F_SETLK, &whole) == 0 && fcntl(fd, F_SETFD, FD_CLOEXEC) == 0;
}

/* A fork is not to speak on: its listener would hear two programs as one. */
void leave_wire()
{
	state = kUnheard;
}

State attach()
{
	const std::lock_guard hold(wire.lock);
	if (state != kUnknown)
		return state;
	const int fd = descriptor_of_environment();
	if (fd < 0 || !make_ours(fd))
		return state = kUnheard;
	wire.fd = fd;
	pthread_atfork(nullptr, nullptr, leave_wire);
	wire.kept = R"({"type":"hello","version":1,"pid":)" + std::to_string(getpid()) + "}\n";
	return state = kSocket;
}

/* A listener that has gone takes everything. */
void send_kept()
{
	while (!wire.kept.empty()) {
		const ssize_t sent =
		    send(wire.fd, wire.kept.data(), wire.kept.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
		if (sent < 0 && errno == EINTR)
			continue;
		if (sent < 0 && errno != EAGAIN)
			wire.kept.clear();
		if (sent < 0)
			return;
		wire.kept.erase(0, static_cast<std::size_t>(sent));
	}
}

} // namespace

bool is_heard()
{
	const State now = state.load(std::memory_order_acquire);
	return (now == kUnknown ? attach() : now) > kUnheard;
}

void hear_in_process(void (*take)(const std::string &line))
{
	const std::lock_guard hold(wire.lock);
	wire.take = take;
	state = take ? kFunction : kUnheard;
}

bool send_line(const std::string &line, Importance importance)
{
	if (!is_heard())
		return false;
	const std::lock_guard hold(wire.lock);
	if (state == kFunction) {
		wire.take(line);
		return true;
	}
	send_kept();
	const std::size_t limit = importance == Importance::kMayDrop ? 0 : kMostKept;
	if (wire.kept.size() > limit)
		return false;
	wire.kept += line;
	wire.kept += '\n';
	send_kept();
	return true;
}

void send_rest()
{
	const std::lock_guard hold(wire.lock);
	if (state == kSocket)
		send_kept();
}

bool take_line(std::string *line)
{
	if (state != kSocket)
		return false;
	char block[4096];
	const ssize_t length = recv(wire.fd, block, sizeof block, MSG_DONTWAIT);
	if (length > 0)
		received.append(block, static_cast<std::size_t>(length));
	else if (length == 0) /* it has gone: the program is to run as without it */
		state = kUnheard;
	const std::size_t end = received.find('\n');
	if (end == std::string::npos)
		return false;
	*line = received.substr(0, end);
	received.erase(0, end + 1);
	return true;
}
