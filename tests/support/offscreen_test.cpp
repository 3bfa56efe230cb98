#include "offscreen_test.h"

#include <cstdlib>

#include <dlfcn.h>
#include <link.h>

namespace
{

OffscreenWindowPtr the_window;

/* EGL unloads its driver when the window closes, and what the driver keeps for the rest of the
 * process would look like a leak from nowhere. */
int keep_loaded(dl_phdr_info *object, size_t, void *)
{
	if (object->dlpi_name && *object->dlpi_name)
		dlopen(object->dlpi_name, RTLD_LAZY | RTLD_NOLOAD | RTLD_NODELETE);
	return 0;
}

struct CloseWindow : testing::Environment {
	void TearDown() override
	{
		dl_iterate_phdr(keep_loaded, nullptr);
		the_window.reset();
	}
};
[[maybe_unused]] const auto *const close_window =
    testing::AddGlobalTestEnvironment(new CloseWindow);

std::vector<Pixel> read_framebuffer(int x, int y, int width, int height)
{
	std::vector<Pixel> pixels(static_cast<std::size_t>(width) * height);
	glReadPixels(x, y, width, height, GL_RGBA, GL_UNSIGNED_BYTE, pixels.data());
	for (Pixel &pixel : pixels)
		std::swap(pixel.r, pixel.b);
	return pixels;
}

} // namespace

OffscreenWindow &offscreen()
{
	if (!the_window) {
		std::string error;
		the_window = open_offscreen_window(&error);
		if (!the_window) {
			fprintf(stderr, "%s\n", error.c_str());
			abort();
		}
	}
	return *the_window;
}

std::ostream &operator<<(std::ostream &out, const Pixel &pixel)
{
	return out << "(r " << +pixel.r << ", g " << +pixel.g << ", b " << +pixel.b << ", a "
	           << +pixel.a << ")";
}

testing::AssertionResult looks_like(Pixel seen, Pixel expected, int steps)
{
	if (std::abs(seen.r - expected.r) <= steps && std::abs(seen.g - expected.g) <= steps &&
	    std::abs(seen.b - expected.b) <= steps)
		return testing::AssertionSuccess();
	return testing::AssertionFailure() << seen << " seen in place of " << expected;
}

void add_picture(TextureArray &textures, const Pixel &pixel)
{
	textures.texdata[textures.tex_num++] = {const_cast<Pixel *>(&pixel), 1, 1, GL_BGRA_EXT};
}

GLuint solid_texture(Pixel pixel)
{
	return CreateTexture(1, 1, GL_BGRA_EXT, &pixel);
}

std::vector<Pixel> read_texture(GLuint texture, int width, int height)
{
	GLuint framebuffer = 0;
	glGenFramebuffers(1, &framebuffer);
	glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
	glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, texture, 0);
	EXPECT_EQ(glCheckFramebufferStatus(GL_FRAMEBUFFER), GLenum{GL_FRAMEBUFFER_COMPLETE});
	auto pixels = read_framebuffer(0, 0, width, height);
	glDeleteFramebuffers(1, &framebuffer); /* the surface takes its place again */
	return pixels;
}

Pixel pixel_at(ViewPortID vp_id, int x, int y)
{
	const int left = vp_id == VP_LCD1 ? 1152 : 0;
	return read_framebuffer(left + x * 144 + 72, 576 - (y * 72 + 36), 1, 1)[0];
}

AnimationObj *make_by_hand(unsigned int id)
{
	auto *obj = static_cast<AnimationObj *>(calloc(1, sizeof(AnimationObj)));
	obj->objId = id;
	obj->animationtype = ANI_BACKGROUND;
	obj->animationpara = calloc(1, sizeof(Backgroud_animationpara));
	obj->renderobj = static_cast<RenderObj *>(calloc(1, sizeof(RenderObj)));
	return obj;
}

GLuint bound_texture(unsigned int unit)
{
	GLint texture = 0;
	glActiveTexture(GL_TEXTURE0 + unit);
	glGetIntegerv(GL_TEXTURE_BINDING_2D, &texture);
	return static_cast<GLuint>(texture);
}

void OffscreenTest::TearDown()
{
	while (animationItemHead)
		RemoveAnimationObjReal(animationItemHead->objId);
	gpuRender_framecnt = 0;
}

bool OffscreenTest::step(unsigned int id)
{
	GenAnimationFrame(id, window);
	if (object(id).status & ST_ONDESTROY)
		RemoveAnimationObjReal(id);
	return FindAnimationObj(id);
}
