#include <host/child.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <host/guard.h>

namespace fs = std::filesystem;

std::vector<int> open_descriptors()
{
	std::vector<int> descriptors;
	std::error_code failure;
	for (fs::directory_iterator it("/proc/self/fd", failure), end; !failure && it != end;
	     it.increment(failure))
		descriptors.push_back(atoi(it->path().filename().c_str()));
	/* Among them is the folder's own, which is closed by now. */
	std::erase_if(descriptors, [](int fd) { return fcntl(fd, F_GETFD) < 0; });
	std::sort(descriptors.begin(), descriptors.end());
	return descriptors;
}

int start_child(char *const *argv, const std::vector<std::string> &environment,
    const std::vector<int> &inherited, Child *child)
{
	std::vector<char *> entries;
	for (const std::string &entry : environment)
		entries.push_back(const_cast<char *>(entry.c_str()));
	entries.push_back(nullptr);

	int report[2];
	if (pipe2(report, O_CLOEXEC) != 0)
		return errno;
	const pid_t host = getpid();
	const pid_t guard = fork();
	if (guard == 0)
		guard_program(argv, entries.data(), inherited, host, report[1]);
	int reason = errno;
	close(report[1]);
	*child = {.guard = guard, .report = report[0]};
	if (guard > 0 && !read_number(report[0], &reason))
		reason = ECHILD; /* somebody killed it */
	if (guard < 0 || reason != 0)
		release_child(child);
	return reason;
}

bool hear_of_child(const Child &child, int *wait_status)
{
	return read_number(child.report, wait_status);
}

void release_child(Child *child)
{
	if (child->guard > 0)
		waitpid(child->guard, nullptr, 0);
	if (child->report >= 0)
		close(child->report);
	*child = {};
}

int exit_status_of(int wait_status)
{
	return WIFSIGNALED(wait_status) ? 128 + WTERMSIG(wait_status) : WEXITSTATUS(wait_status);
}
