/*
 * What a mask of the gradual display costs: the time to build one of each kind, against a plain
 * copy of as many bytes and against the upload that follows. Most of the time of the blocks is
 * their chance: each draw seeds the C library's generator anew.
 */
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <functional>

#include <animation/block_mask.h>
#include <animation/gradual_masks.h>
#include <bench/measured_times.h>
#include <offscreen/offscreen_window.h>

namespace
{

constexpr uint32_t kSteps = 70; /* one pixel of progress a step */

constexpr int kUploads = 60; /* each with a frame of its own */

struct Kind {
	const char *name;
	GraduallyDispMode mode;
};
constexpr Kind kKinds[] = {
    {"radial", GRAD_CENTER2EDGE},
    {"bars", GRAD_2SIDES2MIDDLE},
    {"square", GRAD_CENTER2SURROUND},
    {"blocks", GRAD_BLOCKS},
};

void build(benchmark::State &state, GraduallyDispMode mode)
{
	Mask mask;
	uint32_t n = 0;
	for ([[maybe_unused]] auto iteration : state) {
		n = n % kSteps + 1;
		if (mode == GRAD_BLOCKS)
			build_block_mask(MaskHalf::kEntry, n, kSteps, &mask);
		else
			build_mask(mode, MaskHalf::kEntry, n, kSteps, &mask);
		benchmark::DoNotOptimize(mask);
	}
}

void copy(benchmark::State &state)
{
	Mask mask = {};
	Mask target;
	for ([[maybe_unused]] auto iteration : state) {
		benchmark::DoNotOptimize(mask);
		memcpy(&target, &mask, sizeof(mask));
		benchmark::DoNotOptimize(target);
	}
}

/* A small object that samples the texture in every turn. */
unsigned int show_texture(GLuint texture)
{
	static float quad[] = {0, 100, 100, 100, 0, 0, 100, 0};
	static Backgroud_animationpara para;
	para.in_position2d = {.coordnum = 4, .position2d = quad, .vp_id = VP_LCD0};
	para.textures.mode = TEX_IDS;
	para.textures.texids[0] = texture;
	para.textures.tex_num = 1;
	para.textures.mask_index = para.textures.alpha_index = ANIMATION_NO_TEXTURE;
	return CreateAnimationObj(ANI_BACKGROUND, &para);
}

/* Into a texture that nothing samples: hardly more than a copy here. */
void upload(benchmark::State &state)
{
	Mask mask = {};
	GLuint texture = CreateTexture(kMaskSize, kMaskSize, GL_BGRA_EXT, &mask);
	for ([[maybe_unused]] auto iteration : state)
		load_texture(texture, kMaskSize, kMaskSize, GL_BGRA_EXT, &mask);
	DeleteTexture(texture);
}

/* As in a frame: the draw before has sampled what is replaced now, and may still be at it. */
void upload_in_frame(benchmark::State &state, OffscreenWindow &offscreen)
{
	Mask mask = {};
	GLuint texture = CreateTexture(kMaskSize, kMaskSize, GL_BGRA_EXT, &mask);
	unsigned int id = show_texture(texture);
	for ([[maybe_unused]] auto iteration : state) {
		draw_turn(offscreen);
		glBindTexture(GL_TEXTURE_2D, texture);
		auto start = std::chrono::steady_clock::now();
		load_texture(texture, kMaskSize, kMaskSize, GL_BGRA_EXT, &mask);
		std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
		state.SetIterationTime(elapsed.count());
	}
	RemoveAnimationObj(id, DEL_IMMEDIATELY);
	draw_turn(offscreen);
	DeleteTexture(texture);
}

void print_ratios(const MeasuredTimes &times)
{
	printf("\n%-8s %14s %14s %23s\n", "mask", "build / copy", "build / upload",
	    "build / upload in frame");
	for (const Kind &kind : kKinds) {
		double built = times.of(kind.name);
		printf("%-8s %14.2f %14.2f %23.4f\n", kind.name, built / times.of("copy"),
		    built / times.of("upload"), built / times.of("upload_in_frame"));
	}
}

} // namespace

int main(int argc, char **argv)
{
	std::string error;
	OffscreenWindowPtr offscreen = open_offscreen_window(&error);
	if (!offscreen) {
		fprintf(stderr, "masks: %s\n", error.c_str());
		return 1;
	}
	for (const Kind &kind : kKinds)
		benchmark::RegisterBenchmark(kind.name, build, kind.mode);
	benchmark::RegisterBenchmark("copy", copy);
	benchmark::RegisterBenchmark("upload", upload);
	benchmark::RegisterBenchmark("upload_in_frame", upload_in_frame, std::ref(*offscreen))
	    ->UseManualTime()
	    ->Iterations(kUploads);
	benchmark::Initialize(&argc, argv);
	MeasuredTimes times;
	benchmark::RunSpecifiedBenchmarks(&times);
	print_ratios(times);
	return 0;
}
