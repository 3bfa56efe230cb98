/* Does all that the checking layer finds, but for what ends a program.
 * usage: wrong-program FOLDER    with opaque.png, bits24.bmp, map.png */
#include <chrono>
#include <cstdio>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include <animation/animation.h>
#include <player/player.h>
#include <render/render.h>

using namespace std::chrono_literals;

namespace
{

std::string folder;
float corners[] = {0, 576, 1152, 576, 0, 0, 1152, 0};

void wait_turns(unsigned count)
{
	const std::uint32_t end = p_gwindow->frames + count;
	while (running && __atomic_load_n(&p_gwindow->frames, __ATOMIC_ACQUIRE) < end)
		std::this_thread::sleep_for(2ms);
}

Flash_animationpara lamp()
{
	Flash_animationpara para = ANIMATION_FLASH_INIT;
	para.in_position2d.coordnum = 4;
	para.in_position2d.position2d = corners;
	return para;
}

Flash_animationpara lamp_of(TextureDataMode mode, const char *file)
{
	Flash_animationpara para = lamp();
	para.textures.mode = mode;
	para.textures.tex_num = 1;
	snprintf(para.textures.textures_name[0], sizeof para.textures.textures_name[0], "%s/%s",
	    folder.c_str(), file);
	return para;
}

void remove_and_wait(unsigned int id)
{
	RemoveAnimationObj(id, DEL_IMMEDIATELY);
	while (running && GetAnimationObjStatus(id) != ST_INVALID)
		std::this_thread::sleep_for(2ms);
}

/* Creates an object of the record, lets it have a frame, and takes it away. */
void show(Flash_animationpara para, AnimationType type = ANI_FLASH)
{
	const unsigned int id = CreateAnimationObj(type, &para);
	if (id == ANIMATION_NO_OBJECT)
		return;
	wait_turns(2);
	remove_and_wait(id);
}

void give_wrong_files()
{
	show(lamp_of(TEX_PNG, "missing.png"));
	show(lamp_of(TEX_PNG, "opaque.png"));
	show(lamp_of(TEX_PNG, "bits24.bmp"));
	show(lamp_of(TEX_BMP, "bits24.bmp"));
	show(lamp_of(TEX_BMP, "opaque.png"));
}

void give_wrong_records()
{
	float outside[] = {1200, 576, 2304, 576, 1200, 0, 2304, 0};
	float upside_down[] = {0, 0, 1152, 0, 0, 576, 1152, 576};
	float flat[] = {0, 10, 1152, 10, 0, 10, 1152, 10};

	Flash_animationpara para = lamp();
	para.in_position2d.vp_id = static_cast<ViewPortID>(2);
	show(para);
	para = lamp();
	para.in_position2d.coordnum = 3;
	show(para);
	para = lamp();
	para.in_position2d.position2d = outside;
	show(para);
	para.in_position2d.position2d = flat;
	show(para);
	para.in_position2d.position2d = nullptr;
	show(para);
	para = lamp_of(TEX_PNG, "map.png");
	para.in_position2d.position2d = upside_down;
	show(para);
	para = lamp_of(TEX_PNG, "map.png");
	para.textures.mask_index = para.textures.alpha_index = 0;
	show(para);
	para.textures.mask_index = ANIMATION_NO_TEXTURE + 1;
	show(para);
	para = lamp();
	para.textures.tex_num = ANIMATION_MAX_TEXTURES + 1;
	show(para);
	para = lamp();
	para.on_alpha = 0;
	show(para);
	para = lamp();
	para.textures.constant_color[3] = 0;
	show(para);
	CreateAnimationObj(ANI_FLASH, nullptr);
}

void use_wrong_ids()
{
	static Flash_animationpara older = lamp(), newer = lamp();
	const unsigned int id = CreateAnimationObj(ANI_FLASH, &older);
	wait_turns(2);
	remove_and_wait(id);
	UpdateAnimationObj(id, &older);
	RemoveAnimationObj(4711, DEL_IMMEDIATELY);
	RemoveAnimationObj(ANIMATION_NO_OBJECT, DEL_IMMEDIATELY);

	CreateAnimationObj(ANI_FLASH, &newer);
	UpdateAnimationObj(id, &older);
	Backgroud_animationpara other = ANIMATION_BACKGROUND_INIT;
	UpdateBackgroundAnimation(id, &other);
	remove_and_wait(id);

	pthread_mutex_lock(&g_mutex); /* no frame comes between */
	newer.update = UPD_ALL;
	const unsigned int early = CreateAnimationObj(ANI_FLASH, &newer);
	newer.update = UPD_MISC;
	UpdateAnimationObj(early, &newer);
	std::this_thread::sleep_for(300ms);
	pthread_mutex_unlock(&g_mutex);
	remove_and_wait(early);
}

void misuse_textures()
{
	std::vector<unsigned char> pixels(64 * 64 * 4, 200);
	Flash_animationpara para = lamp();
	para.textures.mode = TEX_IDS;
	para.textures.tex_num = 1;
	para.textures.texids[0] = 4711;
	show(para);

	para.textures.texids[0] = CreateTexture(64, 64, GL_BGRA_EXT, pixels.data());
	const unsigned int id = CreateAnimationObj(ANI_FLASH, &para);
	wait_turns(2);
	DeleteTexture(para.textures.texids[0]);
	remove_and_wait(id);
	std::thread([&] { CreateTexture(64, 64, GL_BGRA_EXT, pixels.data()); }).join();

	para.textures.mode = TEX_DATA;
	para.textures.texdata[0] = {pixels.data(), 64, 64, GL_BGRA_EXT};
	para.pre_frame = 4;
	const unsigned int late = CreateAnimationObj(ANI_FLASH, &para);
	pixels[0] = 0;
	RemoveAnimationObj(late, DEL_ON_HIDE);
	wait_turns(6);
	remove_and_wait(late);
}

void misuse_videos()
{
	float texcoord[] = {0, 1, 1, 1, 0, 0, 1, 0};
	VideoRAW_animationpara film = ANIMATION_VIDEO_INIT;
	film.in_position2d = lamp().in_position2d;
	film.texcoord = texcoord;
	const unsigned int video = CreateAnimationObj(ANI_VIDEO_RAW, &film);
	show(lamp());
	Backgroud_animationpara floor = ANIMATION_BACKGROUND_INIT;
	floor.in_position2d = film.in_position2d;
	const unsigned int background = CreateAnimationObj(ANI_BACKGROUND, &floor);
	wait_turns(2);
	remove_and_wait(background);
	remove_and_wait(video);

	StartGSTPlay((folder + "/film.mp4").c_str());
	GSTplayControl(GST_PAUSE);
}

} // namespace

int main(int, char **argv)
{
	folder = argv[1];
	GetAnimationObjStatus(0);
	Init();
	give_wrong_files();
	give_wrong_records();
	use_wrong_ids();
	misuse_textures();
	misuse_videos();
	Flash_animationpara left_over = lamp();
	CreateAnimationObj(ANI_FLASH, &left_over);
	DeInit();
	CreateAnimationObj(ANI_FLASH, &left_over);
}
