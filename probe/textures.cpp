#include <probe/textures.h>

#include <algorithm>
#include <mutex>
#include <unordered_map>

#include <GLES2/gl2ext.h>

namespace
{

struct {
	std::mutex lock; /* guards the rest */
	std::unordered_map<GLuint, TextureFacts> facts;
	TextureBytes bytes = {};
	std::uint64_t version = 0;
} textures;

struct Format {
	GLenum number;
	const char *name;
	std::size_t bytes; /* of a pixel, each channel having one */
};

constexpr Format kFormats[] = {
    {GL_RGB, "RGB", 3},
    {GL_RGBA, "RGBA", 4},
    {GL_BGRA_EXT, "BGRA", 4},
    {GL_ALPHA, "ALPHA", 1},
    {GL_LUMINANCE, "LUMINANCE", 1},
    {GL_LUMINANCE_ALPHA, "LUMINANCE_ALPHA", 2},
};

/* NULL if it is not known. */
const Format *find_format(GLenum number)
{
	const Format *known = std::find_if(std::begin(kFormats), std::end(kFormats),
	    [number](const Format &row) { return row.number == number; });
	return known == std::end(kFormats) ? nullptr : known;
}

void forget(GLuint name)
{
	const auto found = textures.facts.find(name);
	if (found == textures.facts.end())
		return;
	textures.bytes.alive -= found->second.bytes;
	textures.version += found->second.bytes > 0;
	textures.facts.erase(found);
}

void note(GLuint name, const TextureFacts &facts)
{
	const std::lock_guard hold(textures.lock);
	forget(name);
	textures.facts.emplace(name, facts);
	textures.bytes.alive += facts.bytes;
	textures.version += facts.bytes > 0;
	textures.bytes.peak = std::max(textures.bytes.peak, textures.bytes.alive);
}

} // namespace

std::size_t bytes_of_pixel(GLenum format)
{
	const Format *known = find_format(format);
	return known ? known->bytes : 0;
}

void note_texture(GLuint name, GLint width, GLint height, GLenum format)
{
	const Format *known = find_format(format);
	if (!known)
		return;
	const std::uint64_t pixels = static_cast<std::uint64_t>(width) * height;
	note(name, {width, height, known->name, pixels * known->bytes});
}

void note_imported_texture(GLuint name, GLint width, GLint height)
{
	note(name, {width, height, "NV12", 0});
}

void forget_textures(GLsizei count, const GLuint *names)
{
	const std::lock_guard hold(textures.lock);
	std::for_each_n(names, count, forget);
}

std::optional<TextureFacts> find_texture(GLuint name)
{
	const std::lock_guard hold(textures.lock);
	const auto found = textures.facts.find(name);
	if (found == textures.facts.end())
		return std::nullopt;
	return found->second;
}

TextureBytes texture_bytes()
{
	const std::lock_guard hold(textures.lock);
	return textures.bytes;
}

std::uint64_t textures_version()
{
	const std::lock_guard hold(textures.lock);
	return textures.version;
}
