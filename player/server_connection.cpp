/*
 * The way out for rtmpsrc, which cannot be stopped safely while it reads: it then closes its
 * connection under the reading thread, which may crash both, or may not notice for two minutes.
 * So its reading is ended first, as if the server had hung up, also on the connection that it then
 * tries to make anew. The element keeps its sockets to itself, but they can be seen to appear.
 */
#include <player/server_connection.h>

#include <atomic>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include <arpa/inet.h>
#include <linux/tcp.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>

namespace
{

constexpr guint64 kReadingEndLimit = G_USEC_PER_SEC / 2;
constexpr guint64 kPollInterval = G_USEC_PER_SEC / 100;

/* Where rtmpsrc connects to. A host that has a name may have many addresses: then the port alone
 * tells. */
struct Server {
	in_addr_t address = INADDR_NONE;
	uint16_t port = 0;
};

/* RTMP may be tunnelled through HTTP (t) or TLS (s). */
uint16_t default_port(std::string_view scheme)
{
	if (scheme.ends_with('s'))
		return 443;
	return scheme.starts_with("rtmpt") ? 80 : 1935;
}

Server server_of(const char *uri)
{
	Server server;
	const char *scheme_end = strstr(uri, "://");
	if (!scheme_end)
		return server;
	const char *host = scheme_end + strlen("://");
	const size_t length = strcspn(host, ":/");
	char name[INET_ADDRSTRLEN] = "";
	in_addr numeric;
	if (length < sizeof name && inet_pton(AF_INET, strncpy(name, host, length), &numeric) == 1)
		server.address = numeric.s_addr;
	const int port = host[length] == ':' ? atoi(host + length + 1) : 0;
	server.port = port > 0 && port <= UINT16_MAX ? static_cast<uint16_t>(port)
	                                             : default_port({uri, scheme_end});
	return server;
}

bool is_at(const Server &server, const sockaddr_storage &peer)
{
	const auto &v4 = reinterpret_cast<const sockaddr_in &>(peer);
	const bool is_its_host = server.address == INADDR_NONE ||
	                         (peer.ss_family == AF_INET && v4.sin_addr.s_addr == server.address);
	/* The port has the same place in an IPv6 address. */
	return is_its_host && ntohs(v4.sin_port) == server.port;
}

ino_t inode_of(int fd)
{
	struct stat status = {};
	fstat(fd, &status);
	return status.st_ino;
}

bool is_connected(int fd, sockaddr_storage &peer)
{
	int type = 0;
	socklen_t length = sizeof type;
	if (getsockopt(fd, SOL_SOCKET, SO_TYPE, &type, &length) != 0 || type != SOCK_STREAM)
		return false;
	peer = {};
	length = sizeof peer;
	return getpeername(fd, reinterpret_cast<sockaddr *>(&peer), &length) == 0 &&
	       (peer.ss_family == AF_INET || peer.ss_family == AF_INET6);
}

/* The caller's own reference; NULL if there is no source, or one without the pad. */
GstPad *pad_of_source(GstElement *pipeline)
{
	GstPad *pad = nullptr;
	GstIterator *sources = gst_bin_iterate_sources(GST_BIN(pipeline));
	GValue item = G_VALUE_INIT;
	if (gst_iterator_next(sources, &item) == GST_ITERATOR_OK)
		pad = gst_element_get_static_pad(GST_ELEMENT(g_value_get_object(&item)), "src");
	g_value_unset(&item);
	gst_iterator_free(sources);
	return pad;
}

bool has_running_source(GstElement *pipeline)
{
	GstPad *pad = pad_of_source(pipeline);
	if (!pad)
		return false;
	const bool running = gst_pad_get_task_state(pad) == GST_TASK_STARTED;
	gst_object_unref(pad);
	return running;
}

/* The start of the stream comes before the first reading, and again after each way down. */
GstPadProbeReturn watch_source(GstPad *, GstPadProbeInfo *info, gpointer count)
{
	if (info->type & GST_PAD_PROBE_TYPE_BUFFER)
		std::atomic_ref(*static_cast<unsigned *>(count)).fetch_add(1, std::memory_order_relaxed);
	else if (GST_EVENT_TYPE(GST_PAD_PROBE_INFO_EVENT(info)) == GST_EVENT_STREAM_START)
		outlive_resets();
	return GST_PAD_PROBE_OK;
}

/* Only the reading half: rtmpsrc takes its leave of the server in writing. What goes on to come is
 * still read; so little room is left for it that the reader soon finds nothing. */
void end_input(int fd)
{
	const int smallest = 1;
	setsockopt(fd, SOL_SOCKET, SO_RCVBUF, &smallest, sizeof smallest);
	shutdown(fd, SHUT_RD);
}

bool is_open(const Connection &connection)
{
	return connection.fd != -1 && inode_of(connection.fd) == connection.inode;
}

void hang_up_all(const Connections &fresh, const sockaddr_storage &server)
{
	for (int fd = 0; fd < int(fresh.size()); ++fd) {
		sockaddr_storage peer;
		if (fresh[fd] && is_connected(fd, peer) && memcmp(&peer, &server, sizeof peer) == 0)
			end_input(fd);
	}
}

} // namespace

Connections open_connections()
{
	Connections open;
	sockaddr_storage peer;
	for (int fd = 0; fd < int(open.size()); ++fd)
		open[fd] = is_connected(fd, peer);
	return open;
}

Connection find_connection(const Connections &before, const char *uri)
{
	Connection connection;
	const Server server = server_of(uri);
	Connections fresh = open_connections() & ~before;
	for (int fd = 0; fd < int(fresh.size()); ++fd) {
		sockaddr_storage peer;
		if (!fresh[fd])
			continue;
		if (is_connected(fd, peer) && is_at(server, peer))
			connection = {fd, inode_of(fd), peer, before};
		else
			fresh.reset(fd);
	}
	/* With a second one, of another thread of the application, none is safe to touch. */
	return fresh.count() > 1 ? Connection() : connection;
}

void outlive_resets()
{
	sigset_t signals;
	sigemptyset(&signals);
	sigaddset(&signals, SIGPIPE);
	pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

void prepare_source(GstElement *pipeline, unsigned &count)
{
	GstPad *pad = pad_of_source(pipeline);
	if (!pad)
		return;
	constexpr auto mask =
	    GstPadProbeType(GST_PAD_PROBE_TYPE_BUFFER | GST_PAD_PROBE_TYPE_EVENT_DOWNSTREAM);
	gst_pad_add_probe(pad, mask, watch_source, &count, nullptr);
	gst_object_unref(pad);
}

uint64_t bytes_read(const Connection &connection)
{
	tcp_info info = {};
	socklen_t length = sizeof info;
	int waiting = 0;
	if (!is_open(connection) ||
	    getsockopt(connection.fd, IPPROTO_TCP, TCP_INFO, &info, &length) != 0 ||
	    ioctl(connection.fd, FIONREAD, &waiting) != 0)
		return 0;
	return info.tcpi_bytes_received - uint64_t(waiting);
}

void hang_up(const Connection &connection)
{
	if (is_open(connection))
		end_input(connection.fd);
}

void end_reading(const Connection &connection, GstElement *pipeline)
{
	if (connection.fd == -1)
		return;
	/* A source that has lost its connection may have made a new one, which could be any. */
	const bool is_same = is_open(connection);
	Connections others = is_same ? open_connections() : connection.before;
	if (is_same)
		others.reset(connection.fd);
	guint64 waited = 0;
	do { /* at least once: a source that still connects has no task yet, but reads */
		hang_up_all(open_connections() & ~others, connection.peer);
		g_usleep(kPollInterval);
		waited += kPollInterval;
	} while (waited < kReadingEndLimit && has_running_source(pipeline));
}
