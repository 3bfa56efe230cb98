#include <animation/animation.h>
#include <animation/image_loading.h>
#include <base/report.h>

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

int upload_picture(GLuint tex, const DecodedPicture &picture)
{
	return load_texture(tex, picture.width, picture.height, picture.type, picture.pixels.get());
}

int load_texture_from_raw_file(
    GLuint tex, int width, int height, int textureType, const char *filename, int offset)
{
	DecodedPicture picture;
	int result = read_raw_block(width, height, textureType, filename, offset, &picture);
	return result == 0 ? upload_picture(tex, picture) : result;
}

int load_texture_bmp(GLuint tex, const char *filename)
{
	DecodedPicture picture;
	int result = read_bmp(filename, &picture);
	return result == 0 ? upload_picture(tex, picture) : result;
}

int load_texture_png(GLuint tex, const char *filename)
{
	DecodedPicture picture;
	int result = read_png(filename, &picture);
	return result == 0 ? upload_picture(tex, picture) : result;
}
