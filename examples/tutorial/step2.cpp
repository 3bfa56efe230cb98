/* Step 2: textures made ahead, and a needle that follows a value.  usage: step2 PICTURES */
#include <cmath>
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

/* A square about the dial's centre. */
void turn_needle(Strip &blade, float speed)
{
	constexpr float kReach = 204, kDegree = 0.01745329f, kCorners[] = {135, 45, 225, 315};
	const float angle = speed * 260 / 240 - 130 - 38; /* by the scale; 38 as it is drawn */
	for (int i = 0; i < 4; i++) {
		blade.corners[2 * i] = 576 + kReach * std::cos((kCorners[i] + angle) * kDegree);
		blade.corners[2 * i + 1] = 276 + kReach * std::sin((kCorners[i] + angle) * kDegree);
	}
}

Backgroud_animationpara still(Strip &strip, GLuint texture)
{
	Backgroud_animationpara record = ANIMATION_BACKGROUND_INIT;
	record.in_position2d = strip.on(VP_LCD0);
	record.textures.mode = TEX_IDS; /* the texture stays ours */
	record.textures.texids[0] = texture;
	record.textures.tex_num = 1;
	return record;
}

} // namespace

int main(int argc, char **argv)
{
	if (argc != 2)
		return fprintf(stderr, "usage: step2 PICTURES\n"), 2;
	const std::string folder = argv[1];
	Init();
	const GLuint face = CreateTextureByPng((folder + "/dial.png").c_str());
	const GLuint needle = CreateTextureByPng((folder + "/needle.png").c_str());

	Strip dial_strip(376, 76, 400, 400), blade(0, 0, 0, 0);
	turn_needle(blade, 0);
	Backgroud_animationpara dial_record = still(dial_strip, face);
	Backgroud_animationpara needle_record = still(blade, needle);
	CreateAnimationObj(ANI_BACKGROUND, &dial_record);
	const unsigned int id = CreateAnimationObj(ANI_BACKGROUND, &needle_record);

	for (float t = 0; running; t += 0.02f) {
		turn_needle(blade, 120 - 120 * std::cos(t));
		needle_record.update = UPD_COORDS; /* the texture stays as it is */
		UpdateAnimationObj(id, &needle_record);
		usleep(20000);
	}
	DeInit();
	return 0;
}
