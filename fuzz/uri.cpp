/*
 * A URI of any content is started and refused: the player's choice of a source, its probe of a
 * server and the address that it takes a connection for. No pipeline is built and nothing is sent:
 * the functions that would do so are this program's.
 */
#include <fuzz/fuzzing.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <player/player.h>
#include <player/server_connection.h>

namespace
{

constexpr int kConnected = 900; /* the one descriptor that looks like a connection */

const char *started;

} // namespace

extern "C" {

/* The description holds the whole URI, and comes terminated. */
GstElement *gst_parse_launch(const char *description, GError **)
{
	if (!strstr(description, started))
		abort();
	return nullptr;
}

int socket(int, int, int)
{
	return kConnected;
}

ssize_t sendto(int, const void *, size_t size, int, const sockaddr *, socklen_t)
{
	return static_cast<ssize_t>(size);
}

int select(int, fd_set *, fd_set *, fd_set *, timeval *)
{
	return 1;
}

int close(int fd)
{
	return fd == kConnected ? 0 : static_cast<int>(syscall(SYS_close, fd));
}

int getsockopt(int fd, int, int, void *value, socklen_t *)
{
	if (fd != kConnected)
		return -1;
	*static_cast<int *>(value) = SOCK_STREAM;
	return 0;
}

int getpeername(int, sockaddr *address, socklen_t *)
{
	auto *peer = reinterpret_cast<sockaddr_in *>(address);
	peer->sin_family = AF_INET;
	peer->sin_port = htons(1935);
	peer->sin_addr.s_addr = htonl(INADDR_LOOPBACK);
	return 0;
}
}

/* What GLib leaves behind is told by whole stacks alone (tests/lsan.supp). */
extern "C" const char *__asan_default_options()
{
	return "fast_unwind_on_malloc=0";
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
	fuzz_window();
	const std::string uri(reinterpret_cast<const char *>(data), size);
	started = uri.c_str();
	if (StartGSTPlay(started) == 0)
		abort();
	find_connection({}, started);
	return 0;
}
