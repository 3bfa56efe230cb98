/*
 * A bar on the right display that follows a value. The program makes its textures ahead of time,
 * from pixels in memory. Updates move the bar. A second object flashes while the value is high.
 *
 * usage: gauge [SECONDS]    (default 5)
 */
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <thread>
#include <vector>

#include <animation/animation.h>
#include <render/render.h>

using namespace std::chrono_literals;

namespace
{

/* A rectangle on the right display. Its strip begins with the bottom edge: pictures are upright. */
struct Rectangle {
	float corners[8];

	Rectangle(float left, float top, float right, float bottom)
	    : corners{left, bottom, right, bottom, left, top, right, top}
	{
	}

	InPosition2D strip()
	{
		InPosition2D strip = ANIMATION_STRIP_INIT;
		strip.coordnum = 4;
		strip.position2d = corners;
		strip.vp_id = VP_LCD1;
		return strip;
	}
};

/* A texture of one colour that fades to the left. The pixels are read during the call. */
GLuint make_ramp(std::uint8_t red, std::uint8_t green, std::uint8_t blue)
{
	constexpr int kWidth = 256;
	std::vector<std::uint8_t> pixels;
	for (int x = 0; x < kWidth; x++)
		pixels.insert(pixels.end(), {blue, green, red, static_cast<std::uint8_t>(128 + x / 2)});
	return CreateTexture(kWidth, 1, GL_BGRA_EXT, pixels.data());
}

/* TEX_IDS: the texture stays ours. It must live until the last object that shows it has gone. */
TextureArray texture_set(GLuint texture)
{
	TextureArray textures = ANIMATION_TEXTURES_INIT;
	textures.mode = TEX_IDS;
	textures.texids[0] = texture;
	textures.tex_num = 1;
	return textures;
}

bool is_there(unsigned int id)
{
	return GetAnimationObjStatus(id) != ST_INVALID;
}

void remove_and_wait(unsigned int id)
{
	if (is_there(id))
		RemoveAnimationObj(id, DEL_IMMEDIATELY);
	while (running && is_there(id))
		std::this_thread::sleep_for(10ms);
}

} // namespace

int main(int argc, char **argv)
{
	const double seconds = argc > 1 ? std::atof(argv[1]) : 5;

	Init();
	const GLuint green = make_ramp(40, 200, 80);
	const GLuint red = make_ramp(230, 40, 30);

	Rectangle whole(176, 258, 976, 318);
	Backgroud_animationpara bar = ANIMATION_BACKGROUND_INIT;
	bar.in_position2d = whole.strip();
	bar.textures = texture_set(green);
	const unsigned int bar_id = CreateAnimationObj(ANI_BACKGROUND, &bar);

	Rectangle below(556, 368, 596, 408);
	Flash_animationpara lamp = ANIMATION_FLASH_INIT;
	lamp.in_position2d = below.strip();
	lamp.textures = texture_set(red);
	lamp.on_frame = lamp.off_frame = 5;
	unsigned int lamp_id = ANIMATION_NO_OBJECT;

	const auto start = std::chrono::steady_clock::now();
	double t = 0;
	while (running && t < seconds) {
		t = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
		const double value = 0.5 - 0.5 * std::cos(t * 2);

		Rectangle filled(176, 258, static_cast<float>(176 + 800 * value), 318);
		bar.in_position2d = filled.strip();
		bar.update = UPD_COORDS; /* the textures stay as they are */
		UpdateAnimationObj(bar_id, &bar);

		if (value > 0.75 && !is_there(lamp_id))
			lamp_id = CreateAnimationObj(ANI_FLASH, &lamp);
		else if (value < 0.75 && is_there(lamp_id))
			RemoveAnimationObj(lamp_id, DEL_ON_HIDE); /* after the present flash */
		std::this_thread::sleep_for(20ms);
	}

	remove_and_wait(bar_id);
	remove_and_wait(lamp_id);
	DeleteTexture(green);
	DeleteTexture(red);
	DeInit();
	return 0;
}
