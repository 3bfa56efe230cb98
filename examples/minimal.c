/* Shows a PNG file on the left display until Ctrl-C. The file needs an alpha channel: an opaque one
 * shows black.  usage: minimal PICTURE.png */
#include <stdio.h>
#include <unistd.h>

#include <animation/animation.h>
#include <render/render.h>

int main(int argc, char **argv)
{
	/* One strip, in pixels: bottom left, bottom right, top left, top right. */
	static float corners[] = {0, 576, 1152, 576, 0, 0, 1152, 0};
	Backgroud_animationpara picture = ANIMATION_BACKGROUND_INIT;
	unsigned int id;

	if (argc != 2) {
		fprintf(stderr, "usage: minimal PICTURE.png\n");
		return 2;
	}

	picture.in_position2d.coordnum = 4;
	picture.in_position2d.position2d = corners;
	picture.in_position2d.vp_id = VP_LCD0;
	picture.textures.mode = TEX_PNG;
	picture.textures.tex_num = 1;
	snprintf(
	    picture.textures.textures_name[0], sizeof picture.textures.textures_name[0], "%s", argv[1]);

	Init();
	id = CreateAnimationObj(ANI_BACKGROUND, &picture); /* copies the record */
	if (id == ANIMATION_NO_OBJECT)
		fprintf(stderr, "minimal: no object\n");

	while (running) /* the library's render thread draws; Ctrl-C ends it */
		usleep(100000);

	DeInit();
	return 0;
}
