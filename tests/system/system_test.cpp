#include "system_test.h"

#include "../support/wait.h"

#include <cstdlib>
#include <cstring>
#include <thread>

#include <base/lock.h>

namespace
{

/* Mesa's driver goes with the last display, and what its variables point to then looks leaked: a
 * display of the test's own keeps it. */
struct KeepDriver : testing::Environment {
	void SetUp() override
	{
		setenv("LIBGL_ALWAYS_SOFTWARE", "1", 1);
		EGLDisplay display =
		    eglGetPlatformDisplay(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr);
		EXPECT_TRUE(eglInitialize(display, nullptr, nullptr));
	}
};
[[maybe_unused]] const auto *const keep_driver = testing::AddGlobalTestEnvironment(new KeepDriver);

/* DeInit frees no object and takes the lock away, without which none can be freed. */
void free_what_is_left()
{
	create_list_mutex();
	while (animationItemHead)
		RemoveAnimationObjReal(animationItemHead->objId);
	pthread_mutex_destroy(&g_mutex);
}

} // namespace

bool eventually(const std::function<bool()> &condition)
{
	return wait_until(condition, kLimit.count());
}

void SystemTest::start_compositor(CompositorOptions options)
{
	options.on_picture = [this](const Picture &committed) {
		ASSERT_EQ(committed.width, 2304);
		ASSERT_EQ(committed.height, 576);
		ASSERT_EQ(committed.stride, 2304 * sizeof(std::uint32_t));
		const std::lock_guard hold(picture_lock);
		picture.resize(2304 * 576);
		memcpy(picture.data(), committed.pixels, 576 * committed.stride);
	};
	std::string error;
	compositor = open_compositor(std::move(options), &error);
	ASSERT_TRUE(compositor) << error;
	start_compositor_thread(*compositor);
	setenv("XDG_RUNTIME_DIR", compositor_folder(*compositor).c_str(), 1);
	setenv("WAYLAND_DISPLAY", compositor_socket(*compositor).c_str(), 1);
}

void SystemTest::init()
{
	Init();
	is_running = true;
}

void SystemTest::remove_all()
{
	EXPECT_TRUE(eventually([] {
		pthread_mutex_lock(&g_mutex);
		const bool empty = !animationItemHead;
		for (const AnimationObj *obj = animationItemHead; obj; obj = obj->next)
			RemoveAnimationObj(obj->objId, DEL_IMMEDIATELY);
		pthread_mutex_unlock(&g_mutex);
		return empty;
	}));
}

void SystemTest::finish()
{
	if (is_running)
		DeInit();
	is_running = false;
	free_what_is_left();
	compositor.reset();
}

std::uint64_t SystemTest::pictures()
{
	return compositor_record(*compositor).pictures;
}

std::uint32_t SystemTest::pixel(int x, int y)
{
	const std::lock_guard hold(picture_lock);
	return picture.empty() ? kBlack : picture[y * 2304 + x] & 0xFFFFFF;
}

Eighths SystemTest::last_eighths()
{
	Eighths eighths;
	for (int i = 0; i < 16; i++)
		eighths[i] = pixel(i * 144 + 72, 288);
	return eighths;
}

std::uint32_t SystemTest::turns()
{
	return now(p_gwindow->frames);
}

bool SystemTest::await_turns(std::uint32_t count)
{
	const std::uint32_t goal = turns() + count;
	return eventually([goal] { return turns() >= goal; });
}

unsigned int SystemTest::show(
    AnimationType type, std::uint32_t rgb, int left, int right, ViewPortID vp_id, GLuint texture)
{
	const auto x1 = static_cast<float>(left * 144);
	const auto x2 = static_cast<float>(right * 144);
	float strip[8] = {x1, 576, x2, 576, x1, 0, x2, 0};
	Flash_animationpara para = {.in_position2d = {4, nullptr, strip, vp_id}};
	para.textures.mode = TEX_IDS;
	para.textures.texids[0] = texture;
	para.textures.tex_num = texture != 0;
	para.textures.mask_index = para.textures.alpha_index = ANIMATION_NO_TEXTURE;
	for (int i = 0; i < 3; i++)
		para.textures.constant_color[i] = static_cast<float>(rgb >> (16 - 8 * i) & 0xFF) / 255.0f;
	para.textures.constant_color[3] = 1;
	if (type == ANI_BACKGROUND) {
		Backgroud_animationpara still = {para.in_position2d, para.textures};
		return CreateAnimationObj(type, &still);
	}
	para.on_frame = 1000000;
	para.on_alpha = 1;
	return CreateAnimationObj(type, &para);
}

void SystemTest::show_and_await(std::uint32_t rgb)
{
	show(ANI_FLASH, rgb, 0, 8);
	EXPECT_TRUE(eventually([&] { return last_eighths()[4] == rgb; }));
}
