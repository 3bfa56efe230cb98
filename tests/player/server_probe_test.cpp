#include <array>
#include <cstring>
#include <vector>

#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

#include <player/player.h>

#include "support.h"

namespace
{

std::vector<uint8_t> sent;
bool swallow;

} // namespace

// Stands before the C library's: loopback answers every echo request, so a silent host has to be
// made by not sending.
extern "C" ssize_t sendto(int fd, const void *bytes, size_t length, int flags,
    const sockaddr *address, socklen_t address_length)
{
	auto *first = static_cast<const uint8_t *>(bytes);
	sent.assign(first, first + length);
	return swallow ? ssize_t(length)
	               : syscall(SYS_sendto, fd, bytes, length, flags, address, address_length);
}

namespace
{

class ServerProbe : public testing::Test
{
protected:
	void SetUp() override
	{
		const int fd = socket(AF_INET, SOCK_RAW, IPPROTO_ICMP);
		if (fd < 0)
			GTEST_SKIP() << "no right to open raw sockets";
		close(fd);
		swallow = false;
		sent.clear();
	}
};

TEST_F(ServerProbe, ProbesTheHostBeforeLive)
{
	struct {
		const char *uri;
		int result;
		std::string out;
		std::string err;
	} const cases[] = {
	    {"rtmp://127.0.0.1/live/x", 0, "host is live\n", ""},
	    {"from rtmp://127.0.0.1/live/x.mp4", 0, "host is live\n", ""},
	    {"rtmp:/127.0.0.1/live/x", 0, "", ""},
	    {"rtmp://127.0.0.1/vod/x", 0, "", ""},
	    {"/live/rtmp://127.0.0.1", 0, "", ""},
	    {"rtmp://127.0.0.1:1935/live/x", -1, "timeout\n", "sendto error: Permission denied\n"},
	    {"rtmp://localhost/live/x", -1, "timeout\n", "sendto error: Permission denied\n"},
	    {"rtmp:///live/x", -1, "timeout\n", "sendto error: Permission denied\n"},
	    {"rtmp://127.000.000.0000001/live", 0, "host is live\n", ""},
	    {"rtmp://127.000.000.00000001/live", -1, "", ""},
	    {"rtmp://127.0.0.1/application/live", -1, "", ""},
	};
	for (const auto &[uri, result, out, err] : cases) {
		SCOPED_TRACE(uri);
		Caught caught_out(STDOUT_FILENO);
		Caught caught_err(STDERR_FILENO);
		EXPECT_EQ(check_server(uri), result);
		EXPECT_EQ(caught_out.text(), out);
		EXPECT_EQ(caught_err.text(), err);
	}
}

TEST_F(ServerProbe, FailsStepByStepWithoutTheRightToProbe)
{
	if (seteuid(65534) != 0)
		GTEST_SKIP() << "cannot give up the right to open raw sockets";
	{
		Caught out(STDOUT_FILENO);
		Caught err(STDERR_FILENO);
		EXPECT_EQ(check_server("rtmp://127.0.0.1/live/x"), -1);
		EXPECT_EQ(out.text(), "timeout\n");
		EXPECT_EQ(err.text(), "socket error: Operation not permitted\n"
		                      "sendto error: Bad file descriptor\n");
	}
	EXPECT_EQ(seteuid(0), 0);
}

TEST_F(ServerProbe, SendsOneEchoRequestAndWaitsASecond)
{
	Caught out(STDOUT_FILENO);
	EXPECT_EQ(livetest("127.0.0.1"), 1);

	ASSERT_EQ(sent.size(), 64u);
	std::array<uint16_t, 32> words;
	memcpy(words.data(), sent.data(), sent.size());
	EXPECT_EQ(words[0], 8); // type, code
	EXPECT_EQ(words[2], uint16_t(getpid()));
	EXPECT_EQ(words[3], 1);
	EXPECT_EQ(cal_chksum(words.data(), 64), 0);

	std::array<int32_t, 2> time;
	memcpy(time.data(), sent.data() + 8, sizeof time);
	EXPECT_NEAR(time[0], ::time(nullptr), 5);
	EXPECT_LT(uint32_t(time[1]), 1000000u);
	EXPECT_EQ(std::vector<uint8_t>(sent.begin() + 16, sent.end()), std::vector<uint8_t>(48, 0));

	swallow = true;
	EXPECT_EQ(livetest("127.0.0.1"), 0);
	EXPECT_TRUE(out.has("timeout\n"));
}

TEST(Checksum, IsThatOfTheInternet)
{
	const unsigned short words[] = {0x0100, 0x03f2, 0xf5f4, 0xf7f6};
	EXPECT_EQ(cal_chksum(words, 8), 0x0d22);
	EXPECT_EQ(cal_chksum(words, 7), 0x0423); // the last byte counts as a low one
	EXPECT_EQ(cal_chksum(words, 0), 0xffff);

	const std::vector<unsigned short> ones(32768, 0xffff);
	EXPECT_EQ(cal_chksum(ones.data(), 65536), 0);
}

} // namespace
