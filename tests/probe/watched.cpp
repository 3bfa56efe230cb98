/* An application that is looked into: shows what the test knows of until SIGINT. Built with the
 * probe inside for the sanitizers, and without it to have it preloaded. */
#include <array>
#include <cstdint>
#include <cstdio>

#include <unistd.h>

#include <animation/animation.h>
#include <render/render.h>

namespace
{

std::array<std::uint8_t, 64> pixels;

void show_background()
{
	static float corners[] = {100, 150, 300, 150, 100, 50, 300, 50};
	Backgroud_animationpara para = ANIMATION_BACKGROUND_INIT;
	para.in_position2d = {4, nullptr, corners, VP_LCD1};
	para.textures.mode = TEX_DATA;
	para.textures.tex_num = 2;
	para.textures.texdata[0] = {pixels.data(), 4, 4, GL_BGRA_EXT};
	para.textures.texdata[1] = {pixels.data(), 5, 4, GL_RGB};
	para.in_frame = 0;
	CreateAnimationObj(ANI_BACKGROUND, &para);
}

void show_flash()
{
	static float corners[] = {-10, 576, 20, 576, -10, 500, 20, 500};
	Flash_animationpara para = ANIMATION_FLASH_INIT;
	para.in_position2d = {4, nullptr, corners, VP_LCD0};
	para.textures.constant_color[1] = 0.25f;
	para.on_frame = 1000000;
	para.on_alpha = 0.5f;
	const unsigned int id = CreateAnimationObj(ANI_FLASH, &para);
	para.update = UPD_COORDS;
	UpdateAnimationObj(id, &para);
}

} // namespace

int main()
{
	Init();
	const GLuint handle = CreateTexture(2, 8, GL_LUMINANCE_ALPHA, pixels.data());
	show_background();
	show_flash();
	std::puts("shown");
	std::fflush(stdout);
	while (running)
		usleep(10000);
	DeleteTexture(handle);
	DeInit();
}
