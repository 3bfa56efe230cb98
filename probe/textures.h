/* What is known of the textures of the process, which all have names of one share group. Any
 * thread. */
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include <GLES2/gl2.h>

struct TextureFacts {
	std::int32_t width;
	std::int32_t height;
	const char *format;  /* "RGBA", "NV12" of an imported video frame, ... */
	std::uint64_t bytes; /* of the pixels as they were given; 0: they are another's memory */
};

struct TextureBytes {
	std::uint64_t alive;
	std::uint64_t peak;
};

/* Of a pixel in memory; 0 of a format that is not known. */
std::size_t bytes_of_pixel(GLenum format);

void note_texture(GLuint name, GLint width, GLint height, GLenum format);
void note_imported_texture(GLuint name, GLint width, GLint height);
void forget_textures(GLsizei count, const GLuint *names);

std::optional<TextureFacts> find_texture(GLuint name);
TextureBytes texture_bytes();

/* Another number whenever the bytes of a texture are others. */
std::uint64_t textures_version();
