/* Shows a PNG picture on the left display until Ctrl-C.  usage: minimal PICTURE.png */
#include <stdio.h>
#include <unistd.h>

#include <animation/animation.h>
#include <render/render.h>

int main(int argc, char **argv)
{
	/* One strip, in pixels: bottom left, bottom right, top left, top right. */
	static float corners[] = {0, 576, 1152, 576, 0, 0, 1152, 0};
	static Backgroud_animationpara picture;
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
	picture.textures.mask_index = ANIMATION_NO_TEXTURE;
	picture.textures.alpha_index = ANIMATION_NO_TEXTURE;
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
