/* Real sources: an RTMP server with and without a publisher, RTP packets. */
#include <algorithm>
#include <csignal>
#include <fstream>
#include <future>
#include <optional>
#include <random>
#include <thread>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <base/lock.h>

#include "playback.h"

namespace
{

constexpr char kServer[] = "127.0.7.1";
constexpr char kUri[] = "rtmp://127.0.7.1/live/x";
constexpr char kListener[] = "127.0.7.3";
constexpr int kForever = 100000;

const std::string kAtServer = std::string(" location=") + kUri;
const std::string kToListener = std::string(" host=") + kListener + " port=50008 sync=true";

sockaddr_in address_of(const char *host, uint16_t port)
{
	return {AF_INET, htons(port), {inet_addr(host)}, {}};
}

/* A connected socket, or -1. */
int connection_to(const char *host, uint16_t port)
{
	const sockaddr_in to = address_of(host, port);
	const int fd = socket(AF_INET, SOCK_STREAM, 0);
	if (connect(fd, reinterpret_cast<const sockaddr *>(&to), sizeof to) == 0)
		return fd;
	close(fd);
	return -1;
}

int listener_at(const char *host, uint16_t port)
{
	const sockaddr_in at = address_of(host, port);
	const int fd = socket(AF_INET, SOCK_STREAM, 0), yes = 1;
	setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
	EXPECT_EQ(bind(fd, reinterpret_cast<const sockaddr *>(&at), sizeof at), 0);
	EXPECT_EQ(listen(fd, 1), 0);
	return fd;
}

/* nginx as the helper script starts it. */
class RtmpServer
{
public:
	RtmpServer() : pid(fork())
	{
		if (pid == 0) {
			prctl(PR_SET_PDEATHSIG, SIGKILL);
			execl(STREAM_RTMP, STREAM_RTMP, "--server", folder.path.c_str(), "--address", kServer,
			    nullptr);
			_exit(127);
		}
		EXPECT_TRUE(wait_until([] { return close(connection_to(kServer, 1935)) == 0; }));
	}
	~RtmpServer()
	{
		send(SIGKILL);
		waitpid(pid, nullptr, 0);
	}
	RtmpServer(const RtmpServer &) = delete;
	RtmpServer &operator=(const RtmpServer &) = delete;

	void send(int signal) const
	{
		if (pid > 0) /* -1 would mean everybody */
			kill(pid, signal);
	}

private:
	const Folder folder;
	const pid_t pid;
};

class RtmpPlayback : public Playback
{
protected:
	void SetUp() override
	{
		if (livetest(kServer) != 1)
			GTEST_SKIP() << "no right to open raw sockets, so no URI of the probed form can play";
		out.clear();
		server.emplace();
		register_objects();
	}

	/* The publisher has its connection before the player opens one, as from another process. */
	void publish()
	{
		publisher.emplace(
		    test_pattern(true, kForever) + "flvmux streamable=true ! rtmp2sink" + kAtServer);
		std::this_thread::sleep_for(std::chrono::milliseconds(500));
	}

	std::optional<RtmpServer> server;
	std::optional<Pipeline> publisher;
};

TEST_F(RtmpPlayback, WaitsForAPublisherAndStops)
{
	ASSERT_EQ(StartGSTPlay(kUri), 0);
	EXPECT_TRUE(in_order(out.text(), {"host is live\n", "start up", "build link"}));
	std::this_thread::sleep_for(std::chrono::seconds(1));
	EXPECT_TRUE(IsGSTStatePlaying());
	EXPECT_FALSE(IsFirstFrameStart());
	EXPECT_TRUE(stops());
}

TEST_F(RtmpPlayback, GoesOnWhileTheApplicationHoldsTheMutex)
{
	const auto expect_a_second_of_play = [&] {
		const auto lost = [&] { return count(out.text(), "pthread_mutex_trylock lock failed\n"); };
		const int lost_before = lost(), position_before = GetGSTimeStramp();
		std::this_thread::sleep_for(std::chrono::seconds(1));
		EXPECT_GT(lost(), lost_before + 5);
		EXPECT_GT(GetGSTimeStramp(), position_before + 300);
	};
	publish();
	{
		const ListLock held; // from before the start
		ASSERT_EQ(StartGSTPlay(kUri), 0);
		EXPECT_TRUE(out.waits_for("Pipeline state changed from PAUSED to PLAYING:\n"));
		EXPECT_TRUE(in_order(out.text(),
		    {"Buffering (100%)\n", "Done buffering, setting pipeline to PLAYING ...\n"}));
		expect_a_second_of_play();
	}
	EXPECT_TRUE(frames_come());
	{
		const ListLock held; // in mid-play
		GSTplayControl(GST_PAUSE);
		EXPECT_TRUE(out.waits_for("Pipeline state changed from PLAYING to PAUSED:\n"));
		EXPECT_TRUE(wait_until([&] {
			return count(out.text(), "Pipeline state changed from PAUSED to PLAYING:\n") == 2;
		}));
		expect_a_second_of_play();
		StopGSTPlay();
	}
	EXPECT_TRUE(ends(3));
}

TEST_F(RtmpPlayback, EndsWithItsServer)
{
	Caught err(2);
	publish();
	ASSERT_EQ(StartGSTPlay(kUri), 0);
	EXPECT_TRUE(frames_come(20));
	server.reset();
	EXPECT_TRUE(ends());
	EXPECT_TRUE(in_order(err.text(), {"ERROR from element ", "Debugging info: "}));
	EXPECT_FALSE(out.has("streamer eos"));
	EXPECT_FALSE(IsGSTStatePlaying());
}

TEST_F(RtmpPlayback, OutlivesAReset)
{
	ASSERT_EQ(StartGSTPlay(kUri), 0);
	std::this_thread::sleep_for(std::chrono::seconds(1));
	server->send(SIGSTOP);
	for (int fd = 0; fd < 1024; ++fd) {
		sockaddr_in peer = {};
		socklen_t length = sizeof peer;
		if (getpeername(fd, reinterpret_cast<sockaddr *>(&peer), &length) == 0 &&
		    peer.sin_port == htons(1935))
			send(fd, "", 1, 0); // what the server has not read makes its end a reset
	}
	server.reset();
	EXPECT_TRUE(ends());
}

TEST_F(RtmpPlayback, StopsWhileTheServerIsSilent)
{
	publish();
	ASSERT_EQ(StartGSTPlay(kUri), 0);
	EXPECT_TRUE(frames_come(20));
	server->send(SIGSTOP);
	std::this_thread::sleep_for(std::chrono::milliseconds(500));
	EXPECT_TRUE(stops());
	EXPECT_FALSE(IsGSTStatePlaying());
	server->send(SIGCONT); // lets go of a source that had to be left behind
}

TEST_F(RtmpPlayback, GivesUpOnAServerThatSaysNothing)
{
	Caught err(2);
	const auto threads = [] { return count_entries("/proc/self/task"); };
	const auto descriptors = [] { return count_entries("/proc/self/fd"); };
	const int threads_before = threads(), descriptors_before = descriptors();
	server->send(SIGSTOP);
	// A connection of the application's own is not taken for the source's.
	int own[2] = {-1, -1};
	std::thread application([&] {
		std::this_thread::sleep_for(std::chrono::seconds(1));
		const int listener = listener_at(kServer, 50009);
		own[0] = connection_to(kServer, 50009);
		own[1] = accept(listener, nullptr, nullptr);
		close(listener);
	});
	EXPECT_EQ(StartGSTPlay(kUri), -1);
	application.join();
	char byte;
	EXPECT_EQ(recv(own[0], &byte, 1, MSG_DONTWAIT), -1);
	close(own[0]);
	close(own[1]);
	EXPECT_FALSE(IsGSTStatePlaying());
	EXPECT_FALSE(err.has("left to stop by itself"));
	// Given back before the server speaks again.
	EXPECT_TRUE(wait_until([&] { return threads() <= threads_before; }));
	EXPECT_TRUE(wait_until([&] { return descriptors() <= descriptors_before; }));
	server->send(SIGCONT);
}

/* A server that sends what is no RTMP for as long as it can; tells how much that was. */
size_t send_garbage(int listener)
{
	const int fd = accept(listener, nullptr, nullptr);
	const std::string garbage(100'000, 'B');
	size_t sent = 0;
	while (sent < 1'000'000'000) {
		const ssize_t now = send(fd, garbage.data(), garbage.size(), MSG_NOSIGNAL);
		if (now < 0)
			break;
		sent += now;
	}
	close(fd);
	return sent;
}

TEST_F(Playback, HangsUpOnGarbage)
{
	Caught err(2);
	const int listener = listener_at("127.0.7.4", 1935);
	auto sent = std::async(std::launch::async, send_garbage, listener);
	ASSERT_EQ(StartGSTPlay("rtmp://127.0.7.4/x/y"), 0);
	EXPECT_TRUE(ends());
	EXPECT_TRUE(err.has("ERROR from element rtmpsrc"));
	EXPECT_LT(sent.get(), 300'000'000u); /* little of which has been read */
	close(listener);
}

class RtpPlayback : public Playback
{
protected:
	static std::string sender(const std::string &on_the_way = "")
	{
		return test_pattern(true, kForever) + "rtph264pay ! " + on_the_way + "udpsink" +
		       kToListener;
	}
};

TEST_F(RtpPlayback, PlaysWhatIsSentBeforeAndAfterItsStart)
{
	register_objects();
	ASSERT_EQ(StartGSTPlay(kListener), 0);
	{
		const Pipeline sent(sender());
		EXPECT_TRUE(frames_come());
		EXPECT_TRUE(wait_until([] { return GetGSTimeStramp() > 0; }));
		EXPECT_EQ(StartGSTPlay(kListener), 1);

		GSTplayControl(GST_PAUSE);
		EXPECT_TRUE(out.waits_for("Pipeline state changed from PLAYING to PAUSED:\n"));
		const int paused_at = GetGSTimeStramp();
		EXPECT_TRUE(IsGSTStatePlaying());
		GSTplayControl(GST_PLAY); // a frame on the way may have ended the pause before
		EXPECT_TRUE(frames_come());
		EXPECT_TRUE(wait_until([&] { return GetGSTimeStramp() > paused_at; }));

		EXPECT_TRUE(stops());
		register_objects();
		ASSERT_EQ(StartGSTPlay(kListener), 0);
		EXPECT_TRUE(frames_come());
	}
	EXPECT_TRUE(stops());
}

/* Random bytes, and packets of RTP whose second half claims to hold 65535 bytes more. */
void send_garbage_packets(int count)
{
	const sockaddr_in to = address_of(kListener, 50008);
	const int fd = socket(AF_INET, SOCK_DGRAM, 0);
	std::minstd_rand random(1);
	for (int i = 0; i < count; ++i) {
		unsigned char packet[300] = {0x80, 96, static_cast<unsigned char>(i / 256),
		    static_cast<unsigned char>(i), 0, 0, 0, 0, 1, 2, 3, 4, 0x78, 0, 2, 0x65, 0, 0xff, 0xff};
		const size_t kept = i % 2 ? 19 : 0;
		std::generate(packet + kept, std::end(packet), std::ref(random));
		sendto(fd, packet, random() % 300, 0, reinterpret_cast<const sockaddr *>(&to), sizeof to);
	}
	close(fd);
}

TEST_F(RtpPlayback, GoesOnAfterGarbage)
{
	register_objects();
	ASSERT_EQ(StartGSTPlay(kListener), 0);
	send_garbage_packets(20000);
	const Pipeline sent(sender());
	EXPECT_TRUE(frames_come());
	send_garbage_packets(20000);
	EXPECT_TRUE(frames_come());
	EXPECT_TRUE(IsGSTStatePlaying());
	EXPECT_TRUE(stops());
}

TEST_F(RtpPlayback, GoesOnOverLostPackets)
{
	register_objects();
	const Pipeline sent(sender("identity drop-probability=0.2 ! "));
	ASSERT_EQ(StartGSTPlay(kListener), 0);
	for (int i = 0; i < 10; ++i)
		EXPECT_TRUE(frames_come());
	EXPECT_TRUE(IsGSTStatePlaying());
	EXPECT_TRUE(stops());
}

} // namespace
