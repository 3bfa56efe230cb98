/* Step 3: a lamp that flashes, a lamp cut out of a picture, and a warning that fades in over
 * everything and goes by itself.  usage: step3 PICTURES */
#include <cstdio>
#include <string>

#include <unistd.h>

#include <animation/animation.h>
#include <render/render.h>

namespace
{

struct Strip {
	float corners[8];
	/* Begins with its bottom edge: so pictures are upright. */
	constexpr Strip(float x, float y, float width, float height)
	    : corners{x, y + height, x + width, y + height, x, y, x + width, y}
	{
	}
	InPosition2D on(ViewPortID display)
	{
		return {4, nullptr, corners, display};
	}
};

TextureArray picture(GLuint texture)
{
	TextureArray set = ANIMATION_TEXTURES_INIT;
	set.mode = TEX_IDS;
	set.texids[0] = texture;
	set.tex_num = 1;
	return set;
}

bool is_there(unsigned int id)
{
	return id != ANIMATION_NO_OBJECT && GetAnimationObjStatus(id) != ST_INVALID;
}

unsigned int show_turn_lamp(GLuint texture)
{
	Strip strip(128, 60, 160, 140);
	Flash_animationpara record = ANIMATION_FLASH_INIT;
	record.in_position2d = strip.on(VP_LCD0);
	record.textures = picture(texture);
	return CreateAnimationObj(ANI_FLASH, &record);
}

/* One of the four icons of the picture. */
unsigned int show_fuel_lamp(GLuint texture)
{
	Strip strip(216, 470, 80, 80), part(0.5f, 1, 0.5f, -0.5f);
	TexCut_animationpara record = ANIMATION_TEX_CUT_INIT;
	record.in_position2d = strip.on(VP_LCD0);
	record.in_position2d.texPosition2d = part.corners;
	record.textures = picture(texture);
	record.off_frame = 0; /* it stays on */
	return CreateAnimationObj(ANI_TEX_CUT, &record);
}

/* The newest object lies over all others. This one goes when its only cycle is over. */
unsigned int warn(GLuint texture)
{
	Strip strip(456, 150, 240, 216);
	FadeInOutLoop_animationpara record = ANIMATION_FADE_INIT;
	record.in_position2d = strip.on(VP_LCD0);
	record.textures = picture(texture);
	record.loopcnt = 1;
	record.delonloopcnt = true;
	return CreateAnimationObj(ANI_FADEINOUT, &record);
}

} // namespace

int main(int argc, char **argv)
{
	if (argc != 2)
		return fprintf(stderr, "usage: step3 PICTURES\n"), 2;
	const std::string folder = argv[1];
	Init();
	const GLuint arrow = CreateTextureByPng((folder + "/turn_left.png").c_str());
	const GLuint icons = CreateTextureByPng((folder + "/atlas.png").c_str());
	const GLuint sign = CreateTextureByPng((folder + "/warning.png").c_str());

	show_fuel_lamp(icons);
	unsigned int lamp = ANIMATION_NO_OBJECT;
	for (int second = 0; running; second++) {
		if (second % 8 == 0)
			lamp = show_turn_lamp(arrow);
		if (second % 8 == 4 && is_there(lamp))
			RemoveAnimationObj(lamp, DEL_ON_HIDE); /* after the present flash */
		if (second % 8 == 2)
			warn(sign);
		usleep(1000000);
	}
	DeInit();
	return 0;
}
