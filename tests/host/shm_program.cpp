/* A program for animation-host: paints numbered greys, then ends as it is told.
 *
 * usage: shm-program PICTURES END
 *   END  a number     exit with it
 *        abort        abort
 *        stubborn     paint on, whatever SIGTERM says
 *        interrupt    paint on until SIGINT; exit with the number of them within half a second
 *        abort-late   paint on until SIGTERM, then abort
 */
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>

#include <unistd.h>

#include <host/picture.h>

#include "shm_client.h"

static volatile sig_atomic_t interrupts = 0;
static volatile sig_atomic_t terminations = 0;

static void count_interrupt(int)
{
	interrupts = interrupts + 1;
}

static void count_termination(int)
{
	terminations = terminations + 1;
}

static bool paint_next(ShmClient &client, unsigned number)
{
	const std::uint32_t grey = (number & 255) * 0x010101U;
	paint(client, grey, grey);
	return await_frame(client);
}

int main(int argc, char **argv)
{
	if (argc != 3)
		return EXIT_FAILURE;
	const std::string end = argv[2];
	if (end == "interrupt")
		signal(SIGINT, count_interrupt);
	if (end == "stubborn" || end == "abort-late")
		signal(SIGTERM, count_termination);

	ShmClientPtr client = connect_client();
	if (!client || !open_window(*client, kSurfaceWidth, kSurfaceHeight))
		return EXIT_FAILURE;
	unsigned number = 0;
	while (number < strtoul(argv[1], nullptr, 10))
		if (!paint_next(*client, ++number))
			return EXIT_FAILURE;
	printf("painted, process %d\n", getpid());
	fflush(stdout);

	if (end == "abort")
		abort();
	const bool stays = end == "stubborn" || end == "interrupt" || end == "abort-late";
	while (stays && interrupts == 0 && (terminations == 0 || end == "stubborn")) {
		if (!paint_next(*client, ++number))
			return EXIT_FAILURE;
		usleep(10000);
	}
	if (end == "abort-late")
		abort();
	for (int tenths = 0; interrupts > 0 && tenths < 5; tenths++)
		usleep(100000);
	return end == "interrupt" ? interrupts : atoi(end.c_str());
}
