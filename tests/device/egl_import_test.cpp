/* The import in front of EGL: entry points by name, as the library finds them, and what the texture
 * of an image holds. */
#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <tuple>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/eventfd.h>

#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <GLES2/gl2.h>
#include <GLES2/gl2ext.h>

#include "files.h"
#include "offscreen_test.h"

namespace
{

/* In front of EGL, where the layer asks whether it is needed. */
bool egl_seems_to_import;

} // namespace

extern "C" const char *eglQueryString(EGLDisplay display, EGLint name)
{
	static const auto query =
	    reinterpret_cast<decltype(&eglQueryString)>(dlsym(RTLD_NEXT, "eglQueryString"));
	return egl_seems_to_import && name == EGL_EXTENSIONS ? "EGL_EXT_image_dma_buf_import"
	                                                     : query(display, name);
}

namespace
{

const auto create_image = PFNEGLCREATEIMAGEKHRPROC(eglGetProcAddress("eglCreateImageKHR"));
const auto destroy_image = PFNEGLDESTROYIMAGEKHRPROC(eglGetProcAddress("eglDestroyImageKHR"));
const auto bind_image =
    PFNGLEGLIMAGETARGETTEXTURE2DOESPROC(eglGetProcAddress("glEGLImageTargetTexture2DOES"));

using Yuv = std::array<int, 3>;

/* A colour space by the parts of red and blue in its luma. */
struct Space {
	EGLint name;
	double red, blue;
	EGLint range;
};

Pixel rgb_of(const Yuv &c, const Space &space)
{
	const bool full = space.range == EGL_YUV_FULL_RANGE_EXT;
	const double y = full ? c[0] : 255. / 219 * (c[0] - 16), chroma = full ? 2 : 2 * 255. / 224;
	const double blue = y + chroma * (1 - space.blue) * (c[1] - 128);
	const double red = y + chroma * (1 - space.red) * (c[2] - 128);
	const double green = (y - space.red * red - space.blue * blue) / (1 - space.red - space.blue);
	const auto byte = [](double value) { return uint8_t(std::clamp(std::round(value), 0., 255.)); };
	return {byte(blue), byte(green), byte(red)};
}

/* A different colour in every 2 x 2 block, black, white and the primaries among them. */
Yuv colour_at(int x, int y)
{
	constexpr Yuv kColours[] = {{16, 128, 128}, {235, 128, 128}, {81, 90, 240}, {145, 54, 34},
	    {41, 240, 110}, {126, 128, 128}, {210, 16, 146}};
	Yuv colour = kColours[unsigned(x / 2 + y / 2 * 5) % std::size(kColours)];
	colour[0] = std::clamp(colour[0] + x % 2 * 4 + y % 2 * 8, 16, 235);
	return colour;
}

struct Layout {
	int width, height, pitch0, pitch1, offset0, offset1;
};

using Attributes = std::map<EGLint, EGLint>;

Attributes attributes(const Layout &layout, int fd0, int fd1)
{
	return {{EGL_LINUX_DRM_FOURCC_EXT, 0x3231564E /* NV12 */}, {EGL_WIDTH, layout.width},
	    {EGL_HEIGHT, layout.height}, {EGL_DMA_BUF_PLANE0_PITCH_EXT, layout.pitch0},
	    {EGL_DMA_BUF_PLANE1_PITCH_EXT, layout.pitch1},
	    {EGL_DMA_BUF_PLANE0_OFFSET_EXT, layout.offset0},
	    {EGL_DMA_BUF_PLANE1_OFFSET_EXT, layout.offset1}, {EGL_DMA_BUF_PLANE0_FD_EXT, fd0},
	    {EGL_DMA_BUF_PLANE1_FD_EXT, fd1}};
}

struct EglImport : testing::Test {
	EGLDisplay display = EGL_NO_DISPLAY;

	void SetUp() override
	{
		offscreen();
		while (glGetError() != GL_NO_ERROR)
			; /* not ours: of the window's opening */
		display = eglGetCurrentDisplay();
	}

	EGLImageKHR import(const Attributes &list, EGLContext context = EGL_NO_CONTEXT)
	{
		std::vector<EGLint> flat;
		for (const auto &[name, value] : list)
			flat.insert(flat.end(), {name, value});
		flat.push_back(EGL_NONE);
		return create_image(display, context, EGL_LINUX_DMA_BUF_EXT, nullptr, flat.data());
	}
};

TEST_F(EglImport, ShowsThePictureAndKeepsTheCallersState)
{
	const Layout layouts[] = {
	    {64, 48, 100, 70, 0, 4800},
	    {64, 48, 80, 80, 4096, 4096}, /* an offset for both is that of plane 0 */
	    {37, 21, 38, 38, 0, 0},
	    {1, 1, 2, 2, 0, 0},
	    {30, 20, 32, 34, 8, 0}, /* each plane behind a descriptor of its own */
	    {16, 16, 16, 16, 0, 256},
	};
	constexpr EGLint kNarrow = EGL_YUV_NARROW_RANGE_EXT, kFull = EGL_YUV_FULL_RANGE_EXT;
	const Space spaces[] = {{EGL_ITU_REC601_EXT, .299, .114, kNarrow},
	    {EGL_ITU_REC709_EXT, .2126, .0722, kFull}, {EGL_ITU_REC2020_EXT, .2627, .0593, kNarrow},
	    {EGL_ITU_REC601_EXT, .299, .114, kFull}, {EGL_ITU_REC709_EXT, .2126, .0722, kNarrow},
	    {EGL_ITU_REC2020_EXT, .2627, .0593, kFull}};
	int number = 0;
	const std::pair<GLenum, GLint> unpacking[] = {{GL_UNPACK_ALIGNMENT, 8},
	    {GL_UNPACK_ROW_LENGTH_EXT, 5}, {GL_UNPACK_SKIP_ROWS_EXT, 3},
	    {GL_UNPACK_SKIP_PIXELS_EXT, 2}};
	GLuint bound, buffer;
	glGenTextures(1, &bound);
	glGenBuffers(1, &buffer);
	for (const Layout &layout : layouts) {
		SCOPED_TRACE(testing::Message() << layout.width << ", pitch " << layout.pitch0);
		std::vector<uint8_t> luma(layout.offset0 + layout.pitch0 * layout.height, 99);
		std::vector<uint8_t> chroma(layout.pitch1 * ((layout.height + 1) / 2), 99);
		for (int y = 0; y < layout.height; ++y)
			for (int x = 0; x < layout.width; ++x) {
				const Yuv colour = colour_at(x, y);
				luma[layout.offset0 + y * layout.pitch0 + x] = uint8_t(colour[0]);
				uint8_t *pair = &chroma[y / 2 * layout.pitch1 + x / 2 * 2];
				std::copy(colour.begin() + 1, colour.end(), pair);
			}
		const bool separate = layout.offset1 < layout.offset0;
		if (!separate)
			luma.insert(luma.end(), chroma.begin(), chroma.end());
		const Descriptor first(luma), second(chroma);
		const int fd1 = separate ? second.fd : first.fd;

		glActiveTexture(GL_TEXTURE2);
		glBindTexture(GL_TEXTURE_2D, bound);
		for (const auto &[name, value] : unpacking)
			glPixelStorei(name, value);
		glBindBuffer(GL_PIXEL_UNPACK_BUFFER_NV, buffer);
		const Space &space = spaces[number];
		Attributes list = attributes(layout, first.fd, fd1);
		if (number++ > 0) /* the first stands for those without hints */
			list.insert({{EGL_YUV_COLOR_SPACE_HINT_EXT, space.name},
			    {EGL_SAMPLE_RANGE_HINT_EXT, space.range},
			    {EGL_YUV_CHROMA_HORIZONTAL_SITING_HINT_EXT, EGL_YUV_CHROMA_SITING_0_EXT},
			    {EGL_YUV_CHROMA_VERTICAL_SITING_HINT_EXT, EGL_YUV_CHROMA_SITING_0_5_EXT},
			    {EGL_IMAGE_PRESERVED_KHR, EGL_TRUE}});
		const EGLImageKHR image = import(list);
		ASSERT_NE(image, EGL_NO_IMAGE_KHR) << std::hex << eglGetError();
		GLint value = -1;
		glGetIntegerv(GL_PIXEL_UNPACK_BUFFER_BINDING_NV, &value);
		EXPECT_EQ(value, GLint(buffer));
		glBindBuffer(GL_PIXEL_UNPACK_BUFFER_NV, 0);
		for (const auto &[name, wanted] : unpacking) {
			glGetIntegerv(name, &value);
			EXPECT_EQ(value, wanted) << std::hex << name;
			glPixelStorei(name, name == GL_UNPACK_ALIGNMENT ? 4 : 0);
		}
		glGetIntegerv(GL_ACTIVE_TEXTURE, &value);
		EXPECT_EQ(value, GL_TEXTURE2);
		EXPECT_EQ(bound_texture(2), bound);

		bind_image(GL_TEXTURE_2D, image);
		EXPECT_TRUE(destroy_image(display, image));
		/* libyuv knows no factor over 2, and blue's is greater here. */
		const bool capped = space.name != EGL_ITU_REC601_EXT && space.range == kNarrow;
		const auto pixels = read_texture(bound, layout.width, layout.height);
		for (int i = 0; i < layout.width * layout.height; ++i) {
			const Yuv colour = colour_at(i % layout.width, i / layout.width);
			Pixel wanted = rgb_of(colour, space);
			if (capped && std::abs(wanted.b - pixels[i].b) <= 16)
				wanted.b = pixels[i].b;
			ASSERT_TRUE(looks_like(pixels[i], wanted, 2)) << i;
			ASSERT_EQ(pixels[i].a, 255);
		}
	}
	glDeleteBuffers(1, &buffer);
	glDeleteTextures(1, &bound);
}

TEST_F(EglImport, RefusesWhatItCannotRead)
{
	const Descriptor good(std::vector<uint8_t>(64 * 48 * 3 / 2, 128));
	const int no_file = eventfd(0, EFD_CLOEXEC);
	const int write_only =
	    open(("/proc/self/fd/" + std::to_string(good.fd)).c_str(), O_WRONLY | O_CLOEXEC);

	const Attributes list = attributes({64, 48, 64, 64, 0, 0}, good.fd, good.fd);
	const std::tuple<const char *, Attributes, EGLint> cases[] = {
	    {"negative descriptor", {{EGL_DMA_BUF_PLANE0_FD_EXT, -1}}, EGL_BAD_ACCESS},
	    {"no file", {{EGL_DMA_BUF_PLANE0_FD_EXT, no_file}}, EGL_BAD_ACCESS},
	    {"write only", {{EGL_DMA_BUF_PLANE0_FD_EXT, write_only}}, EGL_BAD_ACCESS},
	    {"other format", {{EGL_LINUX_DRM_FOURCC_EXT, 0x34325241}}, EGL_BAD_MATCH},
	    {"third plane", {{EGL_DMA_BUF_PLANE2_FD_EXT, good.fd}}, EGL_BAD_ATTRIBUTE},
	    {"no colour space", {{EGL_YUV_COLOR_SPACE_HINT_EXT, EGL_YUV_FULL_RANGE_EXT}},
	        EGL_BAD_ATTRIBUTE},
	    {"no range", {{EGL_SAMPLE_RANGE_HINT_EXT, EGL_TRUE}}, EGL_BAD_ATTRIBUTE},
	    {"no siting", {{EGL_YUV_CHROMA_VERTICAL_SITING_HINT_EXT, 0}}, EGL_BAD_ATTRIBUTE},
	    {"negative height", {{EGL_HEIGHT, -48}}, EGL_BAD_PARAMETER},
	    {"narrow luma", {{EGL_DMA_BUF_PLANE0_PITCH_EXT, 63}}, EGL_BAD_ACCESS},
	    {"narrow chroma", {{EGL_DMA_BUF_PLANE1_PITCH_EXT, 0}}, EGL_BAD_ACCESS},
	    {"negative offset", {{EGL_DMA_BUF_PLANE1_OFFSET_EXT, -1}}, EGL_BAD_ACCESS},
	    {"one byte short", {{EGL_DMA_BUF_PLANE1_OFFSET_EXT, 3073}}, EGL_BAD_ACCESS},
	    {"over 32 bits", {{EGL_HEIGHT, 10}, {EGL_DMA_BUF_PLANE1_PITCH_EXT, 1 << 30}},
	        EGL_BAD_ACCESS},
	    {"more than a texture", {{EGL_WIDTH, 1 << 20}}, EGL_BAD_ALLOC},
	};
	for (const auto &[what, changes, error] : cases) {
		Attributes changed = changes;
		changed.insert(list.begin(), list.end());
		EXPECT_EQ(import(changed), EGL_NO_IMAGE_KHR) << what;
		EXPECT_EQ(eglGetError(), error) << what;
		EXPECT_EQ(eglGetError(), EGL_SUCCESS) << what;
	}
	for (const int fd : {no_file, write_only})
		close(fd);

	/* The last call's error counts, be it a refusal or not. */
	EXPECT_EQ(import({}), EGL_NO_IMAGE_KHR);
	const EGLSurface surface = eglGetCurrentSurface(EGL_DRAW);
	const EGLContext context = eglGetCurrentContext();
	EXPECT_EQ(eglGetError(), EGL_SUCCESS);
	EXPECT_FALSE(eglDestroyContext(display, EGL_NO_CONTEXT));
	EXPECT_EQ(import({}), EGL_NO_IMAGE_KHR);
	EXPECT_EQ(eglGetError(), EGL_BAD_PARAMETER);
	EXPECT_EQ(import(list, context), EGL_NO_IMAGE_KHR);
	EXPECT_EQ(eglGetError(), EGL_BAD_PARAMETER);
	eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
	EXPECT_EQ(import(list), EGL_NO_IMAGE_KHR);
	EXPECT_EQ(eglGetError(), EGL_BAD_CONTEXT);
	eglMakeCurrent(display, surface, surface, context);
	EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));
}

TEST_F(EglImport, StandsAside)
{
	/* Images of another kind are EGL's own. */
	const GLuint red = solid_texture(kRed);
	const EGLImageKHR image = create_image(display, eglGetCurrentContext(), EGL_GL_TEXTURE_2D_KHR,
	    reinterpret_cast<EGLClientBuffer>(uintptr_t{red}), nullptr);
	const GLuint copy = solid_texture(kBlack);
	glBindTexture(GL_TEXTURE_2D, copy);
	bind_image(GL_TEXTURE_2D, image);
	EXPECT_EQ(read_texture(copy, 1, 1)[0], kRed);
	EXPECT_TRUE(destroy_image(display, image));
	DeleteTexture(copy);
	DeleteTexture(red);

	/* And so are imports where EGL offers them: this one, which does not, refuses them. */
	const Descriptor picture(std::vector<uint8_t>(64 * 48 * 3 / 2, 128));
	const auto list = attributes({64, 48, 64, 64, 0, 0}, picture.fd, picture.fd);
	egl_seems_to_import = true;
	EXPECT_EQ(import(list), EGL_NO_IMAGE_KHR);
	EXPECT_NE(eglGetError(), EGL_SUCCESS);
	egl_seems_to_import = false;
	EXPECT_TRUE(destroy_image(display, import(list)));
}

TEST_F(EglImport, KeepsNothingOfAThousandImports)
{
	const Descriptor picture(std::vector<uint8_t>(640 * 360 * 3 / 2, 128));
	const auto good = attributes({640, 360, 640, 640, 0, 0}, picture.fd, picture.fd);
	const auto bad = attributes({640, 362, 640, 640, 0, 0}, picture.fd, picture.fd);
	/* Open descriptors, mappings and resident pages. */
	const auto held_after = [&](int imports) {
		for (int i = 0; i < imports; ++i) {
			EXPECT_EQ(import(bad), EGL_NO_IMAGE_KHR);
			EXPECT_TRUE(destroy_image(display, import(good)));
		}
		std::ifstream maps("/proc/self/maps");
		long all, resident = 0;
		std::ifstream("/proc/self/statm") >> all >> resident;
		return std::array<long, 3>{long(open_descriptors()),
		    std::count(std::istreambuf_iterator(maps), {}, '\n'), resident};
	};
	const auto before = held_after(20), after = held_after(1000);
	EXPECT_EQ(after[0], before[0]);
	EXPECT_LE(after[1], before[1] + 100); /* a sanitizer's heap moves by a few */
	/* A thousand pictures take 900 MB; a sanitizer keeps up to 256 MB of what was freed. */
	EXPECT_LE(after[2] - before[2], 400'000'000 / getpagesize());
}

} // namespace
