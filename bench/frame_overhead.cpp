/*
 * What the library costs above the GL calls that its frame comes to.
 *
 * The same frame is drawn in turns by the library's redraw, and by a bare replay of the GL calls
 * that it made. Both times end when the last call has returned: what GL still has to do then is
 * waited for outside them, and what follows the drawing is left out.
 */
#include <algorithm>
#include <array>
#include <chrono>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include <animation/animation.h>
#include <bench/gl_tape.h>
#include <offscreen/offscreen_window.h>

namespace
{

constexpr int kQuad = 8;     /* pixels: small, so that pixels cost little */
constexpr int kColumns = 16; /* of quads on each viewport */
constexpr int kSpacing = 32; /* pixels from quad to quad */
constexpr int kIterations = 300;

using Clock = std::chrono::steady_clock;

template <class Para>
void create_quad(
    AnimationType type, int number, const std::array<unsigned char, 16> &pixels, Para para = {})
{
	const int place = number / 2;
	const int row = place / kColumns;
	const auto left = static_cast<float>(place % kColumns * kSpacing);
	const auto top = static_cast<float>(row * kSpacing);
	float corners[] = {left, top + kQuad, left + kQuad, top + kQuad, left, top, left + kQuad, top};
	para.in_position2d.coordnum = 4;
	para.in_position2d.position2d = corners;
	para.in_position2d.vp_id = number % 2 ? VP_LCD1 : VP_LCD0;
	para.textures.mode = TEX_DATA;
	para.textures.texdata[0] = {const_cast<unsigned char *>(pixels.data()), 2, 2, GL_BGRA_EXT};
	para.textures.tex_num = 1;
	para.textures.mask_index = ANIMATION_NO_TEXTURE;
	para.textures.alpha_index = ANIMATION_NO_TEXTURE;
	CreateAnimationObj(type, &para);
}

/* Half backgrounds, half flashes in their shown phase. */
void fill_list(int objects)
{
	static const std::array<unsigned char, 16> pixels = {
	    255, 0, 0, 255, 0, 255, 0, 255, 0, 0, 255, 255, 255, 255, 255, 128};
	for (int number = 0; number < objects; number++) {
		if (number % 4 < 2) {
			create_quad<Backgroud_animationpara>(ANI_BACKGROUND, number, pixels);
		} else {
			Flash_animationpara flash = {};
			flash.on_frame = 1000000;
			flash.on_alpha = 0.5f;
			create_quad(ANI_FLASH, number, pixels, flash);
		}
	}
}

template <class Draw>
std::vector<std::uint8_t> picture_of(const OffscreenWindow &offscreen, Draw draw)
{
	glClearColor(0, 0, 0, 1);
	glClear(GL_COLOR_BUFFER_BIT);
	draw();
	OffscreenPicture picture;
	read_picture(offscreen, &picture);
	return picture.bgra;
}

template <class Draw>
double seconds_of(Draw draw)
{
	const auto start = Clock::now();
	draw();
	const std::chrono::duration<double> taken = Clock::now() - start;
	glFinish();
	return taken.count();
}

double median(std::vector<double> values)
{
	std::nth_element(values.begin(), values.begin() + values.size() / 2, values.end());
	return values[values.size() / 2];
}

void frame_overhead(benchmark::State &state)
{
	std::string error;
	const OffscreenWindowPtr offscreen = open_offscreen_window(&error);
	if (!offscreen) {
		state.SkipWithError(error.c_str());
		return;
	}
	fill_list(static_cast<int>(state.range(0)));
	draw_turn(*offscreen);

	GlTape tape;
	const auto library = [&] { redraw(&offscreen->window, nullptr, 0); };
	const auto bare = [&] { play_gl_calls(tape); };
	const auto library_picture = picture_of(*offscreen, [&] {
		record_gl_calls(&tape);
		library();
		record_gl_calls(nullptr);
	});
	if (library_picture != picture_of(*offscreen, bare)) {
		state.SkipWithError("the replayed calls draw another picture than the library");
		return;
	}

	std::vector<double> library_times;
	std::vector<double> bare_times;
	for ([[maybe_unused]] auto iteration : state) {
		library_times.push_back(seconds_of(library));
		bare_times.push_back(seconds_of(bare));
		state.SetIterationTime(library_times.back());
	}
	state.counters["library_us"] = median(library_times) * 1e6;
	state.counters["bare_us"] = median(bare_times) * 1e6;
	state.counters["GL_calls"] = static_cast<double>(tape.calls);
	state.counters["library/bare"] = median(library_times) / median(bare_times);
}

BENCHMARK(frame_overhead)
    ->Arg(1)
    ->Arg(16)
    ->Arg(64)
    ->Arg(256)
    ->Iterations(kIterations)
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond);

} // namespace

/* In front of EGL's and libc's: a swap would wait for GL, and the look for the marker file of the
 * capture is a system call. */
extern "C" EGLAPI EGLBoolean EGLAPIENTRY eglSwapBuffers(EGLDisplay, EGLSurface)
{
	return EGL_TRUE;
}

extern "C" int access(const char *, int)
{
	return -1;
}

BENCHMARK_MAIN();
