#include <host/child.h>

#include <cerrno>
#include <csignal>
#include <cstring>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

/* Between fork and exec only what is safe in a copy of a process with threads. */
[[noreturn]] static void execute(
    char *const *argv, char *const *environment, pid_t parent, int report)
{
	prctl(PR_SET_PDEATHSIG, SIGTERM);
	if (getppid() != parent) /* gone before that could be asked for */
		_exit(EXIT_FAILURE);
	signal(SIGPIPE, SIG_DFL);
	sigset_t none;
	sigemptyset(&none);
	sigprocmask(SIG_SETMASK, &none, nullptr);
	execvpe(argv[0], argv, environment);
	const int reason = errno;
	while (write(report, &reason, sizeof(reason)) < 0 && errno == EINTR)
		;
	_exit(EXIT_FAILURE);
}

/* The reason why exec failed, or 0: on success the pipe closes with nothing in it. */
static int read_report(int fd)
{
	int reason = 0;
	ssize_t length;
	do
		length = read(fd, &reason, sizeof(reason));
	while (length < 0 && errno == EINTR);
	return length == sizeof(reason) ? reason : 0;
}

pid_t start_child(
    char *const *argv, const std::vector<std::string> &environment, std::string *error)
{
	std::vector<char *> entries;
	for (const std::string &entry : environment)
		entries.push_back(const_cast<char *>(entry.c_str()));
	entries.push_back(nullptr);

	int report[2];
	pid_t child = -1;
	int reason = pipe2(report, O_CLOEXEC) == 0 ? 0 : errno;
	if (reason == 0) {
		const pid_t parent = getpid();
		child = fork();
		if (child == 0)
			execute(argv, entries.data(), parent, report[1]);
		reason = child < 0 ? errno : 0;
		close(report[1]);
		if (child > 0 && (reason = read_report(report[0])) != 0)
			waitpid(child, nullptr, 0);
		close(report[0]);
	}
	if (reason == 0)
		return child;
	*error = std::string("cannot start ") + argv[0] + ": " + strerror(reason);
	errno = reason;
	return -1;
}

int exit_status_of(int wait_status)
{
	return WIFSIGNALED(wait_status) ? 128 + WTERMSIG(wait_status) : WEXITSTATUS(wait_status);
}
