/* Stretches of a scene in processes of their own. */
#include <csignal>
#include <cstdio>
#include <cstdlib>

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <play/performance.h>

namespace
{

struct Child {
	pid_t pid = -1;
	int standing = -1; /* read end of a pipe */
};

[[noreturn]] void play_in_child(
    const Scene &scene, const SinkArguments &arguments, Stretch stretch, int standing)
{
	prctl(PR_SET_PDEATHSIG, SIGTERM);
	std::string error;
	const Played played = play_offline(scene, arguments, &stretch, &error);
	if (played == Played::failed)
		std::fprintf(stderr, "animation-play: %s\n", error.c_str());
	const bool told =
	    played != Played::again || write(standing, &stretch.standing, sizeof stretch.standing) ==
	                                   static_cast<ssize_t>(sizeof stretch.standing);
	std::exit(played != Played::failed && told ? EXIT_SUCCESS : EXIT_FAILURE);
}

/* While this process has one thread, and neither EGL nor GStreamer. */
Child start_child(const Scene &scene, const SinkArguments &arguments, const Stretch &stretch)
{
	int ends[2];
	if (pipe(ends) != 0)
		return {};
	std::fflush(nullptr); /* or the child would write it again */
	const pid_t pid = fork();
	if (pid == 0) {
		close(ends[0]);
		play_in_child(scene, arguments, stretch, ends[1]);
	}
	close(ends[1]);
	return {pid, ends[0]};
}

Played wait_for(const Child &child, Stretch *stretch)
{
	std::uint64_t standing = 0;
	const bool again = read(child.standing, &standing, sizeof standing) > 0;
	close(child.standing);
	int status = 0;
	if (child.pid < 0 || waitpid(child.pid, &status, 0) != child.pid || status != 0)
		return Played::failed;
	if (again)
		stretch->standing = standing;
	return again ? Played::again : Played::whole;
}

} // namespace

bool play_stretch_offline(const Scene &scene, const SinkArguments &arguments, Stretch stretch)
{
	Played played;
	do
		played = wait_for(start_child(scene, arguments, stretch), &stretch);
	while (played == Played::again);
	return played == Played::whole;
}
