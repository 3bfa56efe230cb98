/*
 * Frames of single objects, without a compositor and without waiting.
 *
 * The test program has one offscreen window, open from its first use to its end, with the GL
 * context current on the test's thread: a test is the render thread and the application in one.
 */
#ifndef TESTS_SUPPORT_OFFSCREEN_TEST_H
#define TESTS_SUPPORT_OFFSCREEN_TEST_H

#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <offscreen/offscreen_window.h>

#include "records.h"

OffscreenWindow &offscreen();

/* As the bytes of GL_BGRA_EXT. */
struct Pixel {
	std::uint8_t b = 0;
	std::uint8_t g = 0;
	std::uint8_t r = 0;
	std::uint8_t a = 255;

	bool operator==(const Pixel &) const = default;
};
std::ostream &operator<<(std::ostream &out, const Pixel &pixel);

constexpr Pixel kBlack = {0, 0, 0};
constexpr Pixel kRed = {0, 0, 255};
constexpr Pixel kGreen = {0, 255, 0};
constexpr Pixel kBlue = {255, 0, 0};
constexpr Pixel kWhite = {255, 255, 255};

/* Drawing in reduced precision is off by up to a step a channel. Alpha is not compared: on the
 * surface it means nothing. */
testing::AssertionResult looks_like(Pixel seen, Pixel expected, int steps = 1);

/* Appends a picture of one pixel, which must live on. */
void add_picture(TextureArray &textures, const Pixel &pixel);

/* A handle of one pixel. */
GLuint solid_texture(Pixel pixel);

/* The pixels of a texture, the row of v = 0 first. */
std::vector<Pixel> read_texture(GLuint texture, int width, int height);

/* A background of plain zeroed blocks, which the library may free. */
AnimationObj *make_by_hand(unsigned int id);

/* The texture that is bound to a unit. */
GLuint bound_texture(unsigned int unit);

/* The pixel of the surface at (x, y) in eighths of a viewport from its top left corner. */
Pixel pixel_at(ViewPortID vp_id, int x = 4, int y = 4);

class OffscreenTest : public testing::Test
{
protected:
	struct window *const window = &offscreen().window;

	void TearDown() override;

	AnimationObj &object(unsigned int id)
	{
		return *FindAnimationObj(id);
	}

	/* A frame of one object as the render loop makes it, but for drawing and swap. False if the
	 * object is gone. */
	bool step(unsigned int id);
};

#endif
