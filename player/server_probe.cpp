/* Whether the host of an RTMP URI is there: one ICMP echo request before a playback. */
#include <cstdint>
#include <cstdio>
#include <cstring>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <player/player.h>

namespace
{

constexpr char kScheme[] = "rtmp://";
constexpr char kPath[] = "/live";
constexpr int kHostSize = 20; /* a dotted quad fits, with its terminator */
constexpr int kReceiveBuffer = 50 * 1024;
constexpr int kIcmpProtocol = 1;

/* On the wire in host byte order, as the unit's other programs expect it. */
struct EchoRequest {
	uint8_t icmp_type = 8;
	uint8_t icmp_code = 0;
	uint16_t icmp_cksum = 0;
	uint16_t identifier = 0;
	uint16_t sequence = 1;
	int32_t tv_sec = 0;
	int32_t tv_usec = 0;
	uint8_t filler[48] = {};
};
static_assert(sizeof(EchoRequest) == 64);

/* A raw socket, which may have failed to open: the calls on it then fail in their turn. */
class Socket
{
public:
	explicit Socket(int protocol) : fd(socket(AF_INET, SOCK_RAW, protocol))
	{
		if (fd < 0)
			perror("socket error");
	}
	~Socket()
	{
		if (fd >= 0)
			close(fd);
	}
	Socket(const Socket &) = delete;
	Socket &operator=(const Socket &) = delete;

	const int fd;
};

int icmp_protocol()
{
	protoent entry;
	protoent *found = nullptr;
	char strings[1024];
	getprotobyname_r("icmp", &entry, strings, sizeof strings, &found);
	return found ? found->p_proto : kIcmpProtocol;
}

EchoRequest echo_request()
{
	timeval now;
	gettimeofday(&now, nullptr);

	EchoRequest request;
	request.identifier = uint16_t(getpid());
	request.tv_sec = int32_t(now.tv_sec);
	request.tv_usec = int32_t(now.tv_usec);
	uint16_t words[sizeof request / sizeof(uint16_t)];
	memcpy(words, &request, sizeof words);
	request.icmp_cksum = cal_chksum(words, sizeof words);
	return request;
}

void send_echo_request(int sockfd, const char *ip)
{
	sockaddr_in dest_addr = {};
	dest_addr.sin_family = AF_INET;
	dest_addr.sin_addr.s_addr = inet_addr(ip);

	const EchoRequest request = echo_request();
	if (sendto(sockfd, &request, sizeof request, 0, reinterpret_cast<sockaddr *>(&dest_addr),
	        sizeof dest_addr) < 0)
		perror("sendto error");
}

/* Without a descriptor that a set can hold, the second passes all the same. */
bool wait_for_answer(int sockfd)
{
	const bool in_range = sockfd >= 0 && sockfd < FD_SETSIZE;
	fd_set answered;
	FD_ZERO(&answered);
	if (in_range)
		FD_SET(sockfd, &answered);

	timeval timeo = {.tv_sec = 1, .tv_usec = 0};
	const int ready = select(in_range ? sockfd + 1 : 0, &answered, nullptr, nullptr, &timeo);
	if (ready == -1)
		puts("select error");
	else if (ready == 0)
		puts("timeout");
	else if (FD_ISSET(sockfd, &answered)) {
		puts("host is live");
		return true;
	}
	return false;
}

} // namespace

int check_server(const char *uri)
{
	const char *scheme = strstr(uri, kScheme);
	if (!scheme)
		return 0;
	const char *host = scheme + strlen(kScheme);
	const char *path = strstr(host, kPath);
	if (!path)
		return 0;
	if (path - host >= kHostSize)
		return -1;

	char ip[kHostSize] = {};
	memcpy(ip, host, path - host);
	return livetest(ip) == 1 ? 0 : -1;
}

/* The answer is not read: that anything came is enough. */
int livetest(const char *ip)
{
	const Socket sock(icmp_protocol());
	setsockopt(sock.fd, SOL_SOCKET, SO_RCVBUF, &kReceiveBuffer, sizeof kReceiveBuffer);
	send_echo_request(sock.fd, ip);
	fcntl(sock.fd, F_SETFL, O_NONBLOCK);
	return wait_for_answer(sock.fd) ? 1 : 0;
}

unsigned short cal_chksum(const unsigned short *addr, int len)
{
	uint32_t sum = 0;
	for (; len > 1; len -= 2)
		sum += *addr++;
	if (len == 1)
		sum += *reinterpret_cast<const uint8_t *>(addr);

	sum = (sum >> 16) + (sum & 0xFFFF);
	sum += sum >> 16;
	return uint16_t(~sum);
}
