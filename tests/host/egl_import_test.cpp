/* The import in front of EGL, seen as the library sees it: entry points by name, an external
 * texture, a samplerExternalOES, pixels read back. */
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <GLES2/gl2.h>
#include <GLES2/gl2ext.h>

#include "offscreen_test.h"

namespace
{

bool egl_offers_import = false;

} // namespace

/* EGL's own, but for one word when a test asks for it. */
extern "C" const char *eglQueryString(EGLDisplay display, EGLint name)
{
	const auto behind =
	    reinterpret_cast<const char *(*)(EGLDisplay, EGLint)>(dlsym(RTLD_NEXT, "eglQueryString"));
	static std::string answer;
	const char *real = behind(display, name);
	if (!real || !egl_offers_import || name != EGL_EXTENSIONS)
		return real;
	answer = std::string(real) + " EGL_EXT_image_dma_buf_import";
	return answer.c_str();
}

namespace
{

constexpr EGLint kNv12 = 0x3231564E;

template <typename Function>
Function look_up(const char *name)
{
	return reinterpret_cast<Function>(eglGetProcAddress(name));
}

struct Descriptor {
	Descriptor(const std::vector<uint8_t> &bytes = {})
	    : fd(memfd_create("test-picture", MFD_CLOEXEC))
	{
		EXPECT_EQ(write(fd, bytes.data(), bytes.size()), ssize_t(bytes.size()));
	}
	~Descriptor()
	{
		close(fd);
	}
	Descriptor(const Descriptor &) = delete;
	Descriptor &operator=(const Descriptor &) = delete;
	int fd;
};

struct Yuv {
	int y, u, v;
};

/* BT.601 in the limited range. */
std::array<int, 3> rgb_of(const Yuv &c)
{
	const double y = 255.0 / 219 * (c.y - 16), u = c.u - 128, v = c.v - 128;
	const auto byte = [](double value) { return int(std::clamp(std::lround(value), 0l, 255l)); };
	return {byte(y + 1.5960 * v), byte(y - 0.3918 * u - 0.8130 * v), byte(y + 2.0172 * u)};
}

/* A different colour in every 2 x 2 block, black, white and the primaries among them. */
Yuv colour_at(int x, int y)
{
	constexpr Yuv kColours[] = {{16, 128, 128}, {235, 128, 128}, {81, 90, 240}, {145, 54, 34},
	    {41, 240, 110}, {126, 128, 128}, {210, 16, 146}};
	const unsigned block = x / 2 + y / 2 * 5;
	Yuv colour = kColours[block % std::size(kColours)];
	colour.y = std::clamp(colour.y + x % 2 * 4 + y % 2 * 8, 16, 235);
	return colour;
}

struct Layout {
	int width, height, pitch0, pitch1, offset0;
	int offset1; /* 0: as offset0, plane 1 behind plane 0 */
	bool separate = false;
};

struct Picture {
	std::vector<uint8_t> luma, chroma;
};

Picture draw_planes(const Layout &layout)
{
	Picture picture;
	picture.luma.assign(layout.offset0 + layout.pitch0 * layout.height, 99);
	picture.chroma.assign(layout.pitch1 * ((layout.height + 1) / 2), 99);
	for (int y = 0; y < layout.height; ++y)
		for (int x = 0; x < layout.width; ++x) {
			const Yuv colour = colour_at(x, y);
			picture.luma[layout.offset0 + y * layout.pitch0 + x] = uint8_t(colour.y);
			uint8_t *pair = &picture.chroma[y / 2 * layout.pitch1 + x / 2 * 2];
			pair[0] = uint8_t(colour.u);
			pair[1] = uint8_t(colour.v);
		}
	return picture;
}

std::vector<EGLint> attributes(int width, int height, int fd)
{
	return {EGL_LINUX_DRM_FOURCC_EXT, kNv12, EGL_WIDTH, width, EGL_HEIGHT, height,
	    EGL_DMA_BUF_PLANE0_PITCH_EXT, width, EGL_DMA_BUF_PLANE1_PITCH_EXT, width,
	    EGL_DMA_BUF_PLANE0_OFFSET_EXT, 0, EGL_DMA_BUF_PLANE1_OFFSET_EXT, 0,
	    EGL_DMA_BUF_PLANE0_FD_EXT, fd, EGL_DMA_BUF_PLANE1_FD_EXT, fd, EGL_NONE};
}

std::vector<EGLint> with(
    std::vector<EGLint> list, std::initializer_list<std::pair<EGLint, EGLint>> changes)
{
	for (const auto &[name, value] : changes)
		for (size_t i = 0; i + 1 < list.size(); i += 2)
			if (list[i] == name)
				list[i + 1] = value;
	return list;
}

class EglImport : public testing::Test
{
protected:
	void SetUp() override
	{
		offscreen();
		while (glGetError() != GL_NO_ERROR)
			; /* not ours: of the window's opening */
		display_ = eglGetCurrentDisplay();
		create_ = look_up<PFNEGLCREATEIMAGEKHRPROC>("eglCreateImageKHR");
		destroy_ = look_up<PFNEGLDESTROYIMAGEKHRPROC>("eglDestroyImageKHR");
		target_ = look_up<PFNGLEGLIMAGETARGETTEXTURE2DOESPROC>("glEGLImageTargetTexture2DOES");
		ASSERT_TRUE(create_ && destroy_ && target_);
	}

	EGLImageKHR import(const std::vector<EGLint> &list)
	{
		return create_(display_, EGL_NO_CONTEXT, EGL_LINUX_DMA_BUF_EXT, nullptr, list.data());
	}

	/* The image through an external sampler, one to one: R, G, B, A, top row first. */
	std::vector<uint8_t> sample(EGLImageKHR image, int width, int height);

	EGLDisplay display_ = EGL_NO_DISPLAY;
	PFNEGLCREATEIMAGEKHRPROC create_ = nullptr;
	PFNEGLDESTROYIMAGEKHRPROC destroy_ = nullptr;
	PFNGLEGLIMAGETARGETTEXTURE2DOESPROC target_ = nullptr;
};

GLuint sampling_program()
{
	const GLuint program = glCreateProgram();
	const std::pair<GLenum, const char *> shaders[] = {
	    {GL_VERTEX_SHADER, "attribute vec2 at; varying vec2 uv;"
	                       "void main() { uv = at; gl_Position = vec4(at * 2.0 - 1.0, 0, 1); }"},
	    {GL_FRAGMENT_SHADER, "#extension GL_OES_EGL_image_external : require\n"
	                         "precision highp float; varying vec2 uv;"
	                         "uniform samplerExternalOES picture;"
	                         "void main() { gl_FragColor = texture2D(picture, uv); }"}};
	for (const auto &[type, text] : shaders) {
		const GLuint shader = glCreateShader(type);
		glShaderSource(shader, 1, &text, nullptr);
		glCompileShader(shader);
		glAttachShader(program, shader);
	}
	glBindAttribLocation(program, 0, "at");
	glLinkProgram(program);
	return program;
}

std::vector<uint8_t> EglImport::sample(EGLImageKHR image, int width, int height)
{
	GLuint textures[2], frame;
	glGenTextures(2, textures);
	glGenFramebuffers(1, &frame);
	glActiveTexture(GL_TEXTURE0);
	glBindTexture(GL_TEXTURE_2D, textures[0]);
	glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, width, height, 0, GL_RGBA, GL_UNSIGNED_BYTE, nullptr);
	glBindFramebuffer(GL_FRAMEBUFFER, frame);
	glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, textures[0], 0);
	glBindTexture(GL_TEXTURE_EXTERNAL_OES, textures[1]);
	glTexParameteri(GL_TEXTURE_EXTERNAL_OES, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
	glTexParameteri(GL_TEXTURE_EXTERNAL_OES, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
	target_(GL_TEXTURE_EXTERNAL_OES, image);

	const GLuint program = sampling_program();
	const float corners[] = {0, 0, 1, 0, 0, 1, 1, 1};
	glUseProgram(program);
	glDisable(GL_BLEND);
	glViewport(0, 0, width, height);
	glEnableVertexAttribArray(0);
	glVertexAttribPointer(0, 2, GL_FLOAT, GL_FALSE, 0, corners);
	glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
	std::vector<uint8_t> pixels(size_t(width) * height * 4);
	glReadPixels(0, 0, width, height, GL_RGBA, GL_UNSIGNED_BYTE, pixels.data());

	EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));
	glBindFramebuffer(GL_FRAMEBUFFER, 0);
	glDeleteFramebuffers(1, &frame);
	glDeleteTextures(2, textures);
	glDeleteProgram(program);
	return pixels;
}

TEST_F(EglImport, ShowsThePictureThatTheAttributesDescribe)
{
	const Layout layouts[] = {
	    {.width = 64, .height = 48, .pitch0 = 64, .pitch1 = 64},
	    {.width = 64, .height = 48, .pitch0 = 100, .pitch1 = 70, .offset0 = 0, .offset1 = 4800},
	    {.width = 64, .height = 48, .pitch0 = 80, .pitch1 = 80, .offset0 = 4096},
	    {.width = 37, .height = 21, .pitch0 = 38, .pitch1 = 38},
	    {.width = 1, .height = 1, .pitch0 = 2, .pitch1 = 2},
	    {.width = 30, .height = 20, .pitch0 = 32, .pitch1 = 34, .offset0 = 8, .separate = true},
	};
	for (const Layout &layout : layouts) {
		SCOPED_TRACE(testing::Message()
		             << layout.width << " x " << layout.height << ", pitch " << layout.pitch0);
		Picture picture = draw_planes(layout);
		if (!layout.separate)
			picture.luma.insert(picture.luma.end(), picture.chroma.begin(), picture.chroma.end());
		const Descriptor first(picture.luma), second(picture.chroma);
		const EGLImageKHR image = import(with(attributes(layout.width, layout.height, first.fd),
		    {{EGL_DMA_BUF_PLANE0_PITCH_EXT, layout.pitch0},
		        {EGL_DMA_BUF_PLANE1_PITCH_EXT, layout.pitch1},
		        {EGL_DMA_BUF_PLANE0_OFFSET_EXT, layout.offset0},
		        {EGL_DMA_BUF_PLANE1_OFFSET_EXT,
		            layout.separate || layout.offset1 ? layout.offset1 : layout.offset0},
		        {EGL_DMA_BUF_PLANE1_FD_EXT, layout.separate ? second.fd : first.fd}}));
		ASSERT_NE(image, EGL_NO_IMAGE_KHR) << std::hex << eglGetError();
		const auto pixels = sample(image, layout.width, layout.height);
		EXPECT_TRUE(destroy_(display_, image));

		int worst = 0;
		for (int y = 0; y < layout.height; ++y)
			for (int x = 0; x < layout.width; ++x) {
				const auto wanted = rgb_of(colour_at(x, y));
				const uint8_t *got = &pixels[(size_t(y) * layout.width + x) * 4];
				for (int channel = 0; channel < 3; ++channel)
					worst = std::max(worst, std::abs(got[channel] - wanted[channel]));
				EXPECT_EQ(got[3], 255);
			}
		EXPECT_LE(worst, 2);
	}
}

TEST_F(EglImport, RefusesWhatItCannotRead)
{
	const Descriptor good(std::vector<uint8_t>(64 * 48 * 3 / 2, 128));
	const Descriptor small(std::vector<uint8_t>(64 * 48 * 3 / 2 - 1, 128));
	int pipe_ends[2];
	ASSERT_EQ(pipe(pipe_ends), 0);
	const int write_only =
	    open(("/proc/self/fd/" + std::to_string(good.fd)).c_str(), O_WRONLY | O_CLOEXEC);
	const int closed = dup(good.fd);
	close(closed);

	const auto list = attributes(64, 48, good.fd);
	auto unknown = list, incomplete = list;
	unknown.insert(unknown.end() - 1, {EGL_DMA_BUF_PLANE2_FD_EXT, good.fd});
	incomplete.erase(incomplete.end() - 3, incomplete.end() - 1);
	const std::tuple<const char *, std::vector<EGLint>, EGLint> cases[] = {
	    {"one byte short", attributes(64, 48, small.fd), EGL_BAD_ACCESS},
	    {"closed", attributes(64, 48, closed), EGL_BAD_ACCESS},
	    {"negative descriptor", attributes(64, 48, -1), EGL_BAD_ACCESS},
	    {"a pipe", attributes(64, 48, pipe_ends[0]), EGL_BAD_ACCESS},
	    {"write only", attributes(64, 48, write_only), EGL_BAD_ACCESS},
	    {"other format", with(list, {{EGL_LINUX_DRM_FOURCC_EXT, 0x34325241}}), EGL_BAD_MATCH},
	    {"third plane", unknown, EGL_BAD_ATTRIBUTE},
	    {"attribute missing", incomplete, EGL_BAD_PARAMETER},
	    {"no attributes", {EGL_NONE}, EGL_BAD_PARAMETER},
	    {"no width", with(list, {{EGL_WIDTH, 0}}), EGL_BAD_PARAMETER},
	    {"negative height", with(list, {{EGL_HEIGHT, -48}}), EGL_BAD_PARAMETER},
	    {"narrow luma", with(list, {{EGL_DMA_BUF_PLANE0_PITCH_EXT, 63}}), EGL_BAD_ACCESS},
	    {"narrow chroma", with(list, {{EGL_DMA_BUF_PLANE1_PITCH_EXT, 0}}), EGL_BAD_ACCESS},
	    {"negative pitch", with(list, {{EGL_DMA_BUF_PLANE0_PITCH_EXT, -64}}), EGL_BAD_ACCESS},
	    {"negative offset", with(list, {{EGL_DMA_BUF_PLANE1_OFFSET_EXT, -1}}), EGL_BAD_ACCESS},
	    {"offset past the end", with(list, {{EGL_DMA_BUF_PLANE1_OFFSET_EXT, 3073}}),
	        EGL_BAD_ACCESS},
	    {"more than 32 bits of bytes",
	        with(list, {{EGL_DMA_BUF_PLANE0_PITCH_EXT, 0x7FFFFFFF},
	                       {EGL_DMA_BUF_PLANE1_PITCH_EXT, 0x7FFFFFFF}}),
	        EGL_BAD_ACCESS},
	    {"more than a texture", attributes(1 << 20, 48, good.fd), EGL_BAD_ALLOC},
	};
	for (const auto &[what, attributes, error] : cases) {
		EXPECT_EQ(import(attributes), EGL_NO_IMAGE_KHR) << what;
		EXPECT_EQ(eglGetError(), error) << what;
		EXPECT_EQ(eglGetError(), EGL_SUCCESS) << what;
	}
	EXPECT_EQ(
	    create_(display_, eglGetCurrentContext(), EGL_LINUX_DMA_BUF_EXT, nullptr, list.data()),
	    EGL_NO_IMAGE_KHR);
	EXPECT_EQ(eglGetError(), EGL_BAD_PARAMETER);
	EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));

	const EGLImageKHR image = import(list);
	EXPECT_NE(image, EGL_NO_IMAGE_KHR) << "after all the refusals";
	destroy_(display_, image);
	for (const int fd : {pipe_ends[0], pipe_ends[1], write_only})
		close(fd);
}

TEST_F(EglImport, NeedsACurrentContext)
{
	const Descriptor picture(std::vector<uint8_t>(64 * 48 * 3 / 2, 128));
	const auto list = attributes(64, 48, picture.fd);
	const EGLSurface surface = eglGetCurrentSurface(EGL_DRAW);
	const EGLContext context = eglGetCurrentContext();
	eglMakeCurrent(display_, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
	EXPECT_EQ(import(list), EGL_NO_IMAGE_KHR);
	EXPECT_EQ(eglGetError(), EGL_BAD_CONTEXT);
	eglMakeCurrent(display_, surface, surface, context);
}

/* On its own, the memfd is nothing that EGL would import. */
TEST_F(EglImport, StandsAsideWhereEglOffersTheImport)
{
	const Descriptor picture(std::vector<uint8_t>(64 * 48 * 3 / 2, 128));
	const auto list = attributes(64, 48, picture.fd);
	egl_offers_import = true;
	const EGLImageKHR image = import(list);
	egl_offers_import = false;
	EXPECT_EQ(image, EGL_NO_IMAGE_KHR);
	EXPECT_NE(eglGetError(), EGL_SUCCESS);
}

TEST_F(EglImport, PassesOtherTargetsOn)
{
	GLuint texture;
	const uint32_t red = 0xFF0000FF;
	glGenTextures(1, &texture);
	glBindTexture(GL_TEXTURE_2D, texture);
	glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, 1, 1, 0, GL_RGBA, GL_UNSIGNED_BYTE, &red);
	const EGLImageKHR image = create_(display_, eglGetCurrentContext(), EGL_GL_TEXTURE_2D_KHR,
	    reinterpret_cast<EGLClientBuffer>(uintptr_t(texture)), nullptr);
	ASSERT_NE(image, EGL_NO_IMAGE_KHR);
	EXPECT_EQ(sample(image, 1, 1), (std::vector<uint8_t>{255, 0, 0, 255}));
	destroy_(display_, image);
	glDeleteTextures(1, &texture);
}

TEST_F(EglImport, LeavesTheCallersStateAlone)
{
	const Layout layout = {.width = 37, .height = 21, .pitch0 = 38, .pitch1 = 38};
	Picture picture = draw_planes(layout);
	picture.luma.insert(picture.luma.end(), picture.chroma.begin(), picture.chroma.end());
	const Descriptor descriptor(picture.luma);
	const auto list = with(attributes(37, 21, descriptor.fd),
	    {{EGL_DMA_BUF_PLANE0_PITCH_EXT, 38}, {EGL_DMA_BUF_PLANE1_PITCH_EXT, 38}});

	GLuint bound;
	glGenTextures(1, &bound);
	glActiveTexture(GL_TEXTURE2);
	glBindTexture(GL_TEXTURE_2D, bound);
	const std::pair<GLenum, GLint> state[] = {{GL_ACTIVE_TEXTURE, GL_TEXTURE2},
	    {GL_TEXTURE_BINDING_2D, GLint(bound)}, {GL_UNPACK_ALIGNMENT, 8},
	    {GL_UNPACK_ROW_LENGTH_EXT, 5}, {GL_UNPACK_SKIP_ROWS_EXT, 3},
	    {GL_UNPACK_SKIP_PIXELS_EXT, 2}};
	for (size_t i = 2; i < std::size(state); ++i)
		glPixelStorei(state[i].first, state[i].second);

	const EGLImageKHR image = import(list);
	for (const auto &[name, wanted] : state) {
		GLint value = -1;
		glGetIntegerv(name, &value);
		EXPECT_EQ(value, wanted) << std::hex << name;
	}
	for (const GLenum name :
	    {GL_UNPACK_ROW_LENGTH_EXT, GL_UNPACK_SKIP_ROWS_EXT, GL_UNPACK_SKIP_PIXELS_EXT})
		glPixelStorei(name, 0);
	const auto pixels = sample(image, 37, 21);
	const auto wanted = rgb_of(colour_at(36, 20));
	for (int channel = 0; channel < 3; ++channel)
		EXPECT_NEAR(pixels[(20 * 37 + 36) * 4 + channel], wanted[channel], 2);
	destroy_(display_, image);
	glDeleteTextures(1, &bound);
}

int count_entries(const char *folder)
{
	const std::filesystem::directory_iterator entries(folder);
	return int(std::distance(begin(entries), end(entries)));
}

struct Holdings {
	int descriptors, maps;
	long resident_pages;
	int textures;
};

Holdings holdings()
{
	Holdings now = {.descriptors = count_entries("/proc/self/fd")};
	std::ifstream maps("/proc/self/maps");
	for (std::string line; std::getline(maps, line);)
		++now.maps;
	long all;
	std::ifstream("/proc/self/statm") >> all >> now.resident_pages;
	for (GLuint name = 1; name < 5000; ++name)
		now.textures += glIsTexture(name);
	return now;
}

TEST_F(EglImport, KeepsNothingOfAThousandImports)
{
	constexpr int kWidth = 640, kHeight = 360;
	const Descriptor picture(std::vector<uint8_t>(kWidth * kHeight * 3 / 2, 128));
	const auto good = attributes(kWidth, kHeight, picture.fd);
	const auto bad = attributes(kWidth, kHeight + 2, picture.fd);
	const auto import_often = [&](int count) {
		for (int i = 0; i < count; ++i) {
			EXPECT_EQ(import(bad), EGL_NO_IMAGE_KHR);
			const EGLImageKHR image = import(good);
			EXPECT_TRUE(destroy_(display_, image));
		}
	};
	import_often(20);
	const Holdings before = holdings();
	import_often(1000);
	const Holdings after = holdings();
	EXPECT_EQ(after.descriptors, before.descriptors);
	EXPECT_LE(after.maps, before.maps + 4);
	EXPECT_EQ(after.textures, before.textures);
	/* A thousand pictures take 900 MB; a sanitizer keeps up to 256 MB of what was freed. */
	EXPECT_LE(after.resident_pages - before.resident_pages, 400'000'000 / getpagesize());
}

} // namespace
