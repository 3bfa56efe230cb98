/* An application for animation-host: shows one colour, then ends as it is told.
 *
 * usage: painter PICTURES END
 *   END  a number      exit with it
 *        stubborn      paint on, whatever SIGTERM says
 *        interrupt     paint on until SIGINT; exit with the number of them within half a second
 *        abort-late    paint on until SIGTERM, then abort
 */
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>

#include <unistd.h>

#include <animation/animation.h>
#include <render/render.h>

namespace
{

volatile sig_atomic_t interrupts = 0;

void show(ViewPortID vp_id)
{
	float corners[8] = {0, 576, 1152, 576, 0, 0, 1152, 0};
	Backgroud_animationpara para = {.in_position2d = {4, nullptr, corners, vp_id}};
	para.textures.mask_index = para.textures.alpha_index = ANIMATION_NO_TEXTURE;
	para.textures.constant_color[0] = para.textures.constant_color[3] = 1;
	CreateAnimationObj(ANI_BACKGROUND, &para);
}

} // namespace

int main(int, char **argv)
{
	const std::string end = argv[2];
	Init();
	if (end == "interrupt")
		signal(SIGINT, [](int) { interrupts = interrupts + 1; });
	if (end == "stubborn")
		signal(SIGTERM, SIG_IGN);
	if (end == "abort-late")
		signal(SIGTERM, [](int) { abort(); });
	show(VP_LCD0);
	show(VP_LCD1);
	while (__atomic_load_n(&gpuRender_framecnt, __ATOMIC_RELAXED) < atoi(argv[1]))
		usleep(1000);
	printf("painted, process %d\n", getpid());
	fflush(stdout);

	const bool stays = end == "stubborn" || end == "interrupt" || end == "abort-late";
	while (stays && interrupts == 0)
		usleep(10000);
	for (int tenths = 0; interrupts > 0 && tenths < 5; tenths++)
		usleep(100000);
	_exit(stays ? interrupts : atoi(end.c_str()));
}
