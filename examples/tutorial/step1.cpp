/* Step 1: a picture on the right display until Ctrl-C.  usage: step1 PICTURES */
#include <cstdio>
#include <string>

#include <unistd.h>

#include <animation/animation.h>
#include <render/render.h>

int main(int argc, char **argv)
{
	if (argc != 2)
		return fprintf(stderr, "usage: step1 PICTURES\n"), 2;
	Init();

	float corners[] = {0, 576, 1152, 576, 0, 0, 1152, 0}; /* begins with the bottom edge */
	Backgroud_animationpara map = ANIMATION_BACKGROUND_INIT;
	map.in_position2d.coordnum = 4;
	map.in_position2d.position2d = corners;
	map.in_position2d.vp_id = VP_LCD1;
	(std::string(argv[1]) + "/map_day.png").copy(map.textures.textures_name[0], 127);
	map.textures.tex_num = 1;
	CreateAnimationObj(ANI_BACKGROUND, &map);

	while (running) /* until Ctrl-C */
		usleep(100000);
	DeInit();
	return 0;
}
