/*
 * One measurement of the library's own instructions, for bench/own-cost, which counts them.
 *
 * usage: own_cost background|flash|fade|gradual|sequence|sdl OBJECTS    frames of OBJECTS quads
 *        own_cost create OBJECTS    creations beside as many objects
 *        own_cost remove OBJECTS    asking for the removal of all, and the frame that frees them
 *
 * What is to be counted happens inside measured(). GL and EGL are bench/null_gl, for the library
 * and for SDL2, the renderer to compare with. Prints how often the measured thing was done and how
 * many heap blocks it took; status 1 if the quads did not come to be drawn.
 */
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <string>
#include <vector>

#include <SDL.h>

#include <animation/animation.h>
#include <bench/null_gl.h>
#include <offscreen/offscreen_window.h>

extern "C" {
void *__libc_malloc(std::size_t size);
void *__libc_calloc(std::size_t count, std::size_t size);
void *__libc_realloc(void *block, std::size_t size);
}

namespace
{

constexpr int kMeasuredQuads = 4096; /* at least, over all frames */
constexpr int kCreations = 16;
constexpr uint32_t kLong = 1000000; /* frames: every phase outlasts the measurement */

bool counting;
unsigned long blocks;

int frames_of(int objects)
{
	return std::max(8, kMeasuredQuads / objects);
}

void report(unsigned long times)
{
	printf("times %lu blocks %lu\n", times, blocks);
}

} // namespace

extern "C" {

void *malloc(std::size_t size)
{
	blocks += counting;
	return __libc_malloc(size);
}

void *calloc(std::size_t count, std::size_t size)
{
	blocks += counting;
	return __libc_calloc(count, size);
}

void *realloc(void *block, std::size_t size)
{
	blocks += counting;
	return __libc_realloc(block, size);
}

/* The counter is switched on by entering this function, and off by leaving it. */
__attribute__((noinline)) void measured(void (*work)(void *), void *data)
{
	counting = true;
	work(data);
	counting = false;
}
}

namespace
{

template <class Work>
void measure(Work work)
{
	measured([](void *data) { (*static_cast<Work *>(data))(); }, &work);
}

/* ---- The library --------------------------------------------------------------------------- */

/* The quad and the picture of a record, at a place of its own. */
template <class Para>
void fill(Para &para, int number)
{
	static std::array<unsigned char, 16> pixels;
	static std::array<float, 8> corners;
	const auto left = static_cast<float>(number % 32 * 36);
	const auto top = static_cast<float>(number / 32 % 32 * 18);
	corners = {left, top + 16, left + 32, top + 16, left, top, left + 32, top};
	para.in_position2d = {4, nullptr, corners.data(), number % 2 ? VP_LCD1 : VP_LCD0};
	para.textures.mode = TEX_DATA;
	para.textures.texdata[0] = {pixels.data(), 2, 2, GL_BGRA_EXT};
	para.textures.tex_num = 1;
	para.textures.mask_index = ANIMATION_NO_TEXTURE;
	para.textures.alpha_index = ANIMATION_NO_TEXTURE;
}

template <class Para>
void create(AnimationType type, int number, Para para)
{
	fill(para, number);
	if (CreateAnimationObj(type, &para) == ANIMATION_NO_OBJECT)
		abort();
}

/* An object of the kind in its busiest phase: fading, revealed by a wipe, floating in. */
bool create_kind(const std::string &kind, int number)
{
	if (kind == "background") {
		create(ANI_BACKGROUND, number, Backgroud_animationpara{});
	} else if (kind == "flash") {
		create(ANI_FLASH, number, Flash_animationpara{.on_frame = kLong, .on_alpha = 0.5F});
	} else if (kind == "fade") {
		create(ANI_FADEINOUT, number,
		    FadeInOutLoop_animationpara{.in_frame = kLong, .in_alpha = 1.0F});
	} else if (kind == "gradual") {
		create(ANI_GRADUALLYDISP, number,
		    GraduallyDispLoop_animationpara{
		        .in_frame = kLong, .in_alpha = 1.0F, .gmode_show = GRAD_LEFT2RIGHT});
	} else if (kind == "sequence") {
		create(ANI_SEQUENCE, number,
		    SeqLoop_animationpara{.in_frame = kLong, .seq_show = SEQ_FLOATINOUT});
	} else {
		return false;
	}
	return true;
}

bool measure_frames(OffscreenWindow &offscreen, int objects)
{
	const int frames = frames_of(objects);
	const auto draws = null_gl_counts().draws;
	measure([&] {
		for (int frame = 0; frame < frames; frame++)
			redraw(&offscreen.window, nullptr, 0);
	});
	const auto quads = static_cast<std::uint64_t>(frames) * objects;
	report(quads);
	return null_gl_counts().draws - draws == quads;
}

bool measure_creation(int objects)
{
	FadeInOutLoop_animationpara para = {.in_frame = kLong, .in_alpha = 1.0F};
	fill(para, objects);
	unsigned int last = 0;
	measure([&] {
		for (int i = 0; i < kCreations; i++)
			last = CreateAnimationObj(ANI_FADEINOUT, &para);
	});
	report(kCreations);
	return last == static_cast<unsigned int>(objects + kCreations - 1);
}

bool measure_removal(OffscreenWindow &offscreen, int objects)
{
	measure([&] {
		for (int id = 0; id < objects; id++)
			RemoveAnimationObj(static_cast<unsigned int>(id), DEL_IMMEDIATELY);
		redraw(&offscreen.window, nullptr, 0);
	});
	report(objects);
	return !animationItemHead;
}

bool measure_library(const std::string &kind, int objects)
{
	std::string error;
	const OffscreenWindowPtr offscreen = open_offscreen_window(&error);
	if (!offscreen) {
		fprintf(stderr, "own_cost: %s\n", error.c_str());
		return false;
	}
	const bool on_list = kind == "create" || kind == "remove";
	for (int number = 0; number < objects; number++)
		if (!create_kind(on_list ? "fade" : kind, number))
			return false;
	for (int turn = 0; turn < 3; turn++)
		draw_turn(*offscreen);
	if (kind == "create")
		return measure_creation(objects);
	if (kind == "remove")
		return measure_removal(*offscreen, objects);
	return measure_frames(*offscreen, objects);
}

/* ---- SDL2 ---------------------------------------------------------------------------------- */

/* SDL loads GL by a file's name: that of the one which we are linked with. */
SDL_Renderer *open_sdl()
{
	Dl_info null_gl;
	dladdr(reinterpret_cast<void *>(&null_gl_counts), &null_gl);
	setenv("SDL_VIDEO_EGL_DRIVER", null_gl.dli_fname, 1);
	setenv("SDL_VIDEO_GL_DRIVER", null_gl.dli_fname, 1);
	setenv("SDL_VIDEODRIVER", "offscreen", 1);
	SDL_SetHint(SDL_HINT_RENDER_DRIVER, "opengles2");
	SDL_SetHint(SDL_HINT_RENDER_BATCHING, "1"); /* at its best */
	if (SDL_Init(SDL_INIT_VIDEO))
		return nullptr;
	SDL_Window *window = SDL_CreateWindow("own_cost", 0, 0, 2 * ANIMATION_VIEWPORT_WIDTH,
	    ANIMATION_VIEWPORT_HEIGHT, SDL_WINDOW_OPENGL);
	SDL_Renderer *renderer = window ? SDL_CreateRenderer(window, -1, 0) : nullptr;
	SDL_RendererInfo info = {};
	if (renderer)
		SDL_GetRendererInfo(renderer, &info);
	return info.name && !strcmp(info.name, "opengles2") ? renderer : nullptr;
}

std::vector<SDL_Texture *> sdl_textures(SDL_Renderer *renderer, int count)
{
	const std::array<unsigned char, 16> pixels = {};
	std::vector<SDL_Texture *> textures(count);
	for (SDL_Texture *&texture : textures) {
		texture =
		    SDL_CreateTexture(renderer, SDL_PIXELFORMAT_ARGB8888, SDL_TEXTUREACCESS_STATIC, 2, 2);
		SDL_UpdateTexture(texture, nullptr, pixels.data(), 8);
		SDL_SetTextureBlendMode(texture, SDL_BLENDMODE_BLEND);
	}
	return textures;
}

void draw_sdl_frame(SDL_Renderer *renderer, const std::vector<SDL_Texture *> &textures, int frame)
{
	SDL_RenderClear(renderer);
	for (std::size_t i = 0; i < textures.size(); i++) {
		const SDL_FRect place = {
		    static_cast<float>(i % 32 * 36), static_cast<float>(i / 32 % 32 * 18), 32, 16};
		SDL_SetTextureAlphaMod(textures[i], static_cast<Uint8>(frame));
		SDL_RenderCopyF(renderer, textures[i], nullptr, &place);
	}
	SDL_RenderPresent(renderer);
}

bool measure_sdl(int quads)
{
	SDL_Renderer *renderer = open_sdl();
	if (!renderer) {
		fprintf(stderr, "own_cost: no SDL renderer on the do-nothing GL: %s\n", SDL_GetError());
		return false;
	}
	const auto textures = sdl_textures(renderer, quads);
	int frame = 0;
	while (frame < 3)
		draw_sdl_frame(renderer, textures, ++frame);

	const int frames = frames_of(quads);
	const auto draws = null_gl_counts().draws;
	measure([&] {
		for (int last = frame + frames; frame < last;)
			draw_sdl_frame(renderer, textures, ++frame);
	});
	const auto drawn = static_cast<std::uint64_t>(frames) * quads;
	report(drawn);
	return null_gl_counts().draws - draws == drawn;
}

} // namespace

int main(int argc, char **argv)
{
	const int objects = argc == 3 ? atoi(argv[2]) : 0;
	if (objects < 1) {
		fprintf(stderr, "usage: own_cost KIND OBJECTS    (bench/own-cost runs all of them)\n");
		return 2;
	}
	const std::string kind = argv[1];
	return (kind == "sdl" ? measure_sdl(objects) : measure_library(kind, objects)) ? 0 : 1;
}
