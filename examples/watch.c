/*
 * Shows a colour until SIGTERM or SIGINT asks it to end, and notices when its compositor is lost.
 * Exit status: 0 asked to end, 1 compositor lost.
 */
#include <signal.h>
#include <stdbool.h>
#include <stdint.h>
#include <stdio.h>
#include <unistd.h>

#include <wayland-client.h>

#include <animation/animation.h>
#include <render/render.h>

enum { LOOK_INTERVAL_US = 100000, SILENT_LOOKS = 30 /* three seconds */ };

static volatile sig_atomic_t asked_to_end = 0;

static void ask_to_end(int signum)
{
	(void)signum;
	asked_to_end = 1;
}

static void show_colour(void)
{
	float strip[] = {0, 576, 1152, 576, 0, 0, 1152, 0};
	Backgroud_animationpara colour = ANIMATION_BACKGROUND_INIT;
	colour.in_position2d.coordnum = 4;
	colour.in_position2d.position2d = strip;
	colour.textures.constant_color[0] = 0; /* blue */
	colour.textures.constant_color[1] = 0;
	CreateAnimationObj(ANI_BACKGROUND, &colour);
}

/* Looks at the compositor once. Why it counts as lost, or NULL. */
static const char *compositor_fault(void)
{
	static uint32_t last_turns;
	static int silent_looks;

	if (wl_display_get_error(p_gwindow->display->display) != 0)
		return "the compositor has closed the connection";
	const uint32_t turns = __atomic_load_n(&p_gwindow->frames, __ATOMIC_ACQUIRE);
	silent_looks = turns == last_turns ? silent_looks + 1 : 0;
	last_turns = turns;
	return silent_looks >= SILENT_LOOKS ? "the compositor has shown nothing for 3 seconds" : NULL;
}

int main(void)
{
	Init();
	signal(SIGTERM, ask_to_end); /* not before: a silent compositor would keep us in Init */
	show_colour();

	const char *fault = NULL;
	while (running && !asked_to_end && !fault) {
		usleep(LOOK_INTERVAL_US);
		fault = compositor_fault();
	}
	if (fault)
		fprintf(stderr, "watch: %s\n", fault);
	DeInit(); /* without waiting for the object to go: the render thread may stand still */
	return fault ? 1 : 0;
}
