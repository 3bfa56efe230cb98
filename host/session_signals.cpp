#include <host/session_signals.h>

#include <csignal>

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

int open_session_signals()
{
	sigset_t signals;
	sigemptyset(&signals);
	for (int number : {SIGINT, SIGTERM, SIGHUP})
		sigaddset(&signals, number);
	sigprocmask(SIG_BLOCK, &signals, nullptr);
	return signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
}

SignalsEndUs::SignalsEndUs(int signals, std::chrono::milliseconds patience)
    : stop(eventfd(0, EFD_CLOEXEC))
{
	thread = std::thread([signals, stop = stop, patience = static_cast<int>(patience.count())] {
		pollfd fds[] = {{stop, POLLIN, 0}, {signals, POLLIN, 0}};
		signalfd_siginfo info;
		for (;;) {
			if (poll(fds, 2, -1) < 0)
				continue;
			if (fds[0].revents || poll(fds, 1, patience) > 0)
				return;
			if (read(signals, &info, sizeof(info)) == sizeof(info))
				_exit(128 + static_cast<int>(info.ssi_signo));
		}
	});
}

SignalsEndUs::~SignalsEndUs()
{
	eventfd_write(stop, 1);
	thread.join();
	close(stop);
}
