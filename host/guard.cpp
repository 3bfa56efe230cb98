/* A process cannot see its own SIGKILL coming, and what a program starts may leave its group and
 * its session. So a child of the host's own, which the kernel tells of the host's death, starts the
 * program and is made the heir of every orphan below it.
 *
 * It is a copy of a process with threads, of which only one is left: only calls that need no lock
 * and no heap are made here. */
#include <host/guard.h>

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <dirent.h>
#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

namespace
{

constexpr std::int64_t kPatience = 3000; /* milliseconds from SIGTERM to SIGKILL */
constexpr std::int64_t kKillInterval = 20;

std::int64_t milliseconds_now()
{
	timespec now = {};
	clock_gettime(CLOCK_MONOTONIC, &now);
	return now.tv_sec * 1000LL + now.tv_nsec / 1000000;
}

/* ---- Numbers through pipes ---- */

void write_number(int fd, int number)
{
	while (write(fd, &number, sizeof(number)) < 0 && errno == EINTR)
		;
}

} // namespace

bool read_number(int fd, int *number)
{
	ssize_t length;
	do
		length = read(fd, number, sizeof(*number));
	while (length < 0 && errno == EINTR);
	return length == sizeof(*number);
}

namespace
{

/* ---- The start ---- */

void close_others_on_exec(std::span<const int> inherited)
{
	unsigned int first = 0;
	for (const int fd : inherited) {
		if (first < static_cast<unsigned int>(fd))
			close_range(first, fd - 1, CLOSE_RANGE_CLOEXEC);
		first = fd + 1;
	}
	close_range(first, ~0U, CLOSE_RANGE_CLOEXEC);
}

[[noreturn]] void execute(char *const *argv, char *const *environment, pid_t guard, int report)
{
	prctl(PR_SET_PDEATHSIG, SIGKILL); /* nobody would be left to send it after a SIGTERM */
	if (getppid() != guard)           /* gone before that could be asked for */
		_exit(EXIT_FAILURE);
	signal(SIGPIPE, SIG_DFL);
	sigset_t none;
	sigemptyset(&none);
	sigprocmask(SIG_SETMASK, &none, nullptr);
	execvpe(argv[0], argv, environment);
	write_number(report, errno);
	_exit(EXIT_FAILURE);
}

/* -1 with the reason in errno. The program stays in the host's process group, so that it has the
 * terminal, Ctrl-C and Ctrl-Z as it would have them alone. */
pid_t start_program(char *const *argv, char *const *environment)
{
	int report[2];
	if (pipe2(report, O_CLOEXEC) != 0)
		return -1;
	const pid_t guard = getpid();
	const pid_t program = fork();
	if (program == 0)
		execute(argv, environment, guard, report[1]);
	int reason = errno;
	close(report[1]);
	const bool started = program > 0 && !read_number(report[0], &reason);
	close(report[0]);
	errno = reason;
	return started ? program : -1;
}

/* ---- Below this process ---- */

/* 0 if there is no such process. */
pid_t parent_of(pid_t process)
{
	char text[512];
	snprintf(text, sizeof(text), "/proc/%d/stat", process);
	const int fd = open(text, O_RDONLY | O_CLOEXEC);
	const ssize_t length = fd < 0 ? 0 : read(fd, text, sizeof(text) - 1);
	if (fd >= 0)
		close(fd);
	text[length > 0 ? length : 0] = '\0';
	/* "7 (name) S 6 ...": the name may hold anything, brackets too. */
	const char *name_end = strrchr(text, ')');
	return name_end && strlen(name_end) > 4 ? atoi(name_end + 4) : 0;
}

bool descends_from(pid_t process, pid_t ancestor)
{
	do
		process = parent_of(process);
	while (process > 1 && process != ancestor);
	return process == ancestor;
}

/* One that is stopped must go on to end. */
void signal_descendants(int number)
{
	const pid_t guard = getpid();
	const int folder = open("/proc", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
	alignas(dirent64) char entries[4096];
	ssize_t length;
	while (folder >= 0 && (length = getdents64(folder, entries, sizeof(entries))) > 0) {
		for (ssize_t at = 0; at < length;) {
			const auto *entry = reinterpret_cast<const dirent64 *>(entries + at);
			at += entry->d_reclen;
			const pid_t process = atoi(entry->d_name); /* 0: no process's folder */
			if (process > 1 && process != guard && descends_from(process, guard)) {
				kill(process, number);
				kill(process, SIGCONT);
			}
		}
	}
	if (folder >= 0)
		close(folder);
}

/* ---- The watch ---- */

struct Watch {
	pid_t program; /* -1: has ended */
	int report;
	bool ending;
	std::int64_t kill_time; /* when ending */
};

void begin_end(Watch &watch)
{
	if (watch.ending)
		return;
	watch.ending = true;
	watch.kill_time = milliseconds_now() + kPatience;
	signal_descendants(SIGTERM);
}

/* False once nobody is left. */
bool reap(Watch &watch)
{
	int status;
	pid_t process;
	while ((process = waitpid(-1, &status, WNOHANG)) > 0) {
		if (process != watch.program)
			continue;
		watch.program = -1;
		write_number(watch.report, status);
	}
	return process == 0;
}

int next_signal(const sigset_t &signals, const Watch &watch)
{
	if (!watch.ending)
		return sigwaitinfo(&signals, nullptr);
	std::int64_t rest = watch.kill_time - milliseconds_now();
	rest = rest > 0 ? rest : kKillInterval;
	const timespec limit = {.tv_sec = rest / 1000, .tv_nsec = rest % 1000 * 1000000};
	return sigtimedwait(&signals, nullptr, &limit);
}

void watch_over(Watch watch, const sigset_t &signals)
{
	while (reap(watch)) {
		if (watch.program < 0)
			begin_end(watch);
		const int number = next_signal(signals, watch);
		if (number == SIGTERM)
			begin_end(watch);
		if (number == SIGINT && watch.program > 0)
			kill(watch.program, SIGINT);
		if (!watch.ending || milliseconds_now() < watch.kill_time)
			continue;
		if (milliseconds_now() > watch.kill_time + kPatience) /* it is out of our reach */
			return;
		signal_descendants(SIGKILL);
	}
}

} // namespace

void guard_program(char *const *argv, char *const *environment, std::span<const int> inherited,
    pid_t host, int report)
{
	sigset_t signals;
	sigfillset(&signals);
	sigprocmask(SIG_SETMASK, &signals, nullptr);
	prctl(PR_SET_NAME, "animation-guard");
	prctl(PR_SET_CHILD_SUBREAPER, 1);
	prctl(PR_SET_PDEATHSIG, SIGTERM);
	if (getppid() != host)
		_exit(EXIT_FAILURE);

	close_others_on_exec(inherited);
	const pid_t program = start_program(argv, environment);
	write_number(report, program > 0 ? 0 : errno);
	if (program < 0)
		_exit(EXIT_FAILURE);
	/* A signal to the host's group, and a reader of the host's output, are not to wait for us. */
	setpgid(0, 0);
	if (report > 0)
		close_range(0, report - 1, 0);
	close_range(report + 1, ~0U, 0);

	sigemptyset(&signals);
	sigaddset(&signals, SIGCHLD);
	sigaddset(&signals, SIGINT);
	sigaddset(&signals, SIGTERM);
	watch_over({.program = program, .report = report}, signals);
	_exit(EXIT_SUCCESS);
}
