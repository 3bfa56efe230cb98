#include <animation/animation.h>
#include <animation/image_loading.h>
#include <base/heap.h>
#include <base/lock.h>

namespace
{

/* Makes a texture and lets load(name) fill it; the lock keeps GL to one thread at a time. */
template <class Load>
GLuint create_handle(Load load, int *result)
{
	ListLock lock;
	GLuint tex = 0;
	glGenTextures(1, &tex);
	glBindTexture(GL_TEXTURE_2D, tex);
	*result = load(tex);
	return tex;
}

/* The same from a file, which is read before the lock is taken: no frame waits for a decoder. A
 * texture without a picture is given back. */
GLuint create_handle_from_file(
    int (*read)(const char *filename, DecodedPicture *picture), const char *filename)
{
	DecodedPicture picture;
	int result = read(filename, &picture);
	GLuint tex = create_handle(
	    [&](GLuint name) { return result ? result : upload_picture(name, picture); }, &result);
	if (result == 0)
		return tex;
	DeleteTexture(tex);
	return ANIMATION_NO_HANDLE;
}

} // namespace

GLuint CreateTexture(int width, int height, int textureType, const void *data)
{
	int result = 0;
	return create_handle(
	    [&](GLuint tex) { return load_texture(tex, width, height, textureType, data); }, &result);
}

GLuint CreateTextureByName(const char *tex_fname)
{
	return create_handle_from_file(read_bmp, tex_fname);
}

GLuint CreateTextureByPng(const char *tex_fname)
{
	return create_handle_from_file(read_png, tex_fname);
}

void DeleteTexture(GLuint tex)
{
	ListLock lock;
	glDeleteTextures(1, &tex);
}

unsigned char *TextureTailor(uint32_t srcswidth, uint32_t, uint32_t srcstride, uint32_t destx,
    uint32_t desty, uint32_t destwidth, uint32_t destheight, const unsigned char *src)
{
	constexpr std::size_t kBytesPerPixel = 4;
	std::size_t row_size;
	std::size_t size;
	if (__builtin_mul_overflow(kBytesPerPixel, destwidth, &row_size) ||
	    __builtin_mul_overflow(row_size, destheight, &size))
		return nullptr;
	auto *dest = static_cast<unsigned char *>(malloc(size ? size : 1));
	if (!dest)
		return nullptr;
	std::size_t stride = srcstride ? srcstride : kBytesPerPixel * srcswidth;
	const unsigned char *corner = src + stride * desty + kBytesPerPixel * destx;
	for (uint32_t row = 0; row < destheight; row++)
		memcpy(dest + row * row_size, corner + row * stride, row_size);
	return dest;
}
