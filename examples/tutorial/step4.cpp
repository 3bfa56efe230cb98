/* Step 4: a map that changes between day and night, a clean end on a signal, and a line when the
 * compositor is lost.  usage: step4 PICTURES */
#include <chrono>
#include <csignal>
#include <cstdio>
#include <string>
#include <utility>

#include <unistd.h>
#include <wayland-client.h>

#include <animation/animation.h>
#include <render/render.h>

namespace
{

using namespace std::chrono_literals;

volatile sig_atomic_t asked_to_end = 0;
float whole[] = {0, 576, 1152, 576, 0, 0, 1152, 0};

/* Why the compositor counts as lost; empty while it does not. */
std::string compositor_fault()
{
	static uint32_t last_turns = 0;
	static auto last_turn = std::chrono::steady_clock::now();
	const auto now = std::chrono::steady_clock::now();
	const uint32_t turns = __atomic_load_n(&p_gwindow->frames, __ATOMIC_ACQUIRE);
	if (turns != std::exchange(last_turns, turns))
		last_turn = now;
	if (wl_display_get_error(p_gwindow->display->display) != 0)
		return "the compositor has closed the connection";
	return now - last_turn > 3s ? "the compositor shows nothing for 3 seconds" : "";
}

/* Two pictures: the first fades into the second, which stays. */
void fade(unsigned int id, Backgroud_animationpara &map, GLuint from, GLuint to)
{
	map.textures.texids[0] = from;
	map.textures.texids[1] = to;
	map.textures.tex_num = 2;
	map.update = UPD_TEXS;
	UpdateAnimationObj(id, &map);
}

void remove_and_wait(unsigned int id)
{
	RemoveAnimationObj(id, DEL_IMMEDIATELY);
	while (running && GetAnimationObjStatus(id) != ST_INVALID && compositor_fault().empty())
		usleep(5000);
}

} // namespace

int main(int argc, char **argv)
{
	if (argc != 2)
		return fprintf(stderr, "usage: step4 PICTURES\n"), 2;
	const std::string folder = argv[1];
	Init();
	for (int number : {SIGINT, SIGTERM}) /* not before: Init may have to wait */
		std::signal(number, [](int) { asked_to_end = 1; });
	const GLuint day = CreateTextureByPng((folder + "/map_day.png").c_str());
	const GLuint dark = CreateTextureByPng((folder + "/map_night.png").c_str());

	Backgroud_animationpara map = ANIMATION_BACKGROUND_INIT;
	map.in_position2d = {4, nullptr, whole, VP_LCD1};
	map.textures.mode = TEX_IDS;
	map.textures.texids[0] = day;
	map.textures.tex_num = 1;
	const unsigned int id = CreateAnimationObj(ANI_BACKGROUND, &map);

	std::string fault;
	for (int tenth = 1; running && !asked_to_end && (fault = compositor_fault()).empty(); tenth++) {
		if (tenth % 100 == 50)
			fade(id, map, day, dark);
		if (tenth % 100 == 0)
			fade(id, map, dark, day);
		usleep(100000);
	}
	if (!fault.empty()) { /* nothing can be removed any more */
		fprintf(stderr, "step4: %s\n", fault.c_str());
	} else {
		remove_and_wait(id);
		DeleteTexture(day);
		DeleteTexture(dark);
	}
	DeInit();
	return fault.empty() ? 0 : 1;
}
