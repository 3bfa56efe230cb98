/* The library as an application has it: Init to DeInit, on a compositor in a thread of the test. */
#ifndef TESTS_SYSTEM_SYSTEM_TEST_H
#define TESTS_SYSTEM_SYSTEM_TEST_H

#include <array>
#include <chrono>
#include <functional>
#include <mutex>
#include <vector>

#include <gtest/gtest.h>

#include <animation/animation.h>
#include <host/compositor.h>
#include <render/render.h>

/* Only a fault takes that long. */
constexpr std::chrono::seconds kLimit{20};

/* Waits; false if it does not come true within the limit. */
bool eventually(const std::function<bool()> &condition);

/* The render thread writes the library's globals while a test reads them. */
template <class T>
T now(const volatile T &global)
{
	return __atomic_load_n(&global, __ATOMIC_ACQUIRE);
}

/* Colours are 0xRRGGBB. */
constexpr std::uint32_t kBlack = 0x000000;
constexpr std::uint32_t kRed = 0xFF0000;
constexpr std::uint32_t kGreen = 0x00FF00;
constexpr std::uint32_t kBlue = 0x0000FF;

/* At the middle of each eighth of both viewports, from the left. */
using Eighths = std::array<std::uint32_t, 16>;

class SystemTest : public testing::Test
{
protected:
	CompositorPtr compositor;

	void start_compositor(CompositorOptions options = {});
	void init();
	void remove_all(); /* and waits until they are gone */
	void finish();     /* DeInit, and the end of the compositor */

	void TearDown() override
	{
		finish();
	}

	std::uint64_t pictures();
	std::uint32_t pixel(int x, int y); /* of the last picture, from its top left corner */
	Eighths last_eighths();

	/* Turns of the render loop so far. */
	static std::uint32_t turns();
	static bool await_turns(std::uint32_t count);

	/* An image of one colour on a part of a viewport, in eighths of it. */
	static unsigned int show(AnimationType type, std::uint32_t rgb, int left, int right,
	    ViewPortID vp_id = VP_LCD0, GLuint texture = 0);
	/* On a whole viewport. */
	void show_and_await(std::uint32_t rgb);

	std::mutex picture_lock; /* the compositor waits for it with each picture */

private:
	std::vector<std::uint32_t> picture;
	bool is_running = false;
};

#endif
