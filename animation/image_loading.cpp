#include <animation/animation.h>
#include <animation/image_loading.h>
#include <base/report.h>

#include <algorithm>

int load_texture(GLuint, int width, int height, int textureType, const void *data)
{
	switch (textureType) {
	case GL_RGB:
	case GL_BGRA_EXT:
	case GL_LUMINANCE:
	case GL_LUMINANCE_ALPHA:
		break;
	default:
		REPORT("Incorrect texture type %x\n", static_cast<unsigned int>(textureType));
		return -1;
	}
	glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
	glTexImage2D(GL_TEXTURE_2D, 0, textureType, width, height, 0, static_cast<GLenum>(textureType),
	    GL_UNSIGNED_BYTE, data);
	glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
	glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
	glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
	glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
	return 0;
}

namespace
{

/* A GL that shows the surface takes pictures of its width: it is asked about larger ones alone. */
constexpr int kSurfaceWidth = 2 * ANIMATION_VIEWPORT_WIDTH;

bool fits_in_texture(int side)
{
	if (side <= kSurfaceWidth)
		return true;
	GLint max = 0;
	glGetIntegerv(GL_MAX_TEXTURE_SIZE, &max);
	return side <= max;
}

} // namespace

int upload_picture(GLuint tex, const DecodedPicture &picture, const char *filename)
{
	if (!fits_in_texture(std::max(picture.width, picture.height))) {
		REPORT("Invalid size %d x %d in %s\n", picture.width, picture.height, filename);
		return -1;
	}
	return load_texture(tex, picture.width, picture.height, picture.type, picture.pixels.get());
}

int load_texture_from_raw_file(
    GLuint tex, int width, int height, int textureType, const char *filename, int offset)
{
	DecodedPicture picture;
	int result = read_raw_block(width, height, textureType, filename, offset, &picture);
	return result == 0 ? upload_picture(tex, picture, filename) : result;
}

int load_texture_bmp(GLuint tex, const char *filename)
{
	DecodedPicture picture;
	int result = read_bmp(filename, &picture);
	return result == 0 ? upload_picture(tex, picture, filename) : result;
}

int load_texture_png(GLuint tex, const char *filename)
{
	DecodedPicture picture;
	int result = read_png(filename, &picture);
	return result == 0 ? upload_picture(tex, picture, filename) : result;
}
