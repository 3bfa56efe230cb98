#include <bench/gl_tape.h>

#include <cstring>
#include <tuple>

#include <GLES2/gl2.h>

#include <probe/next_function.h>

namespace
{

GlTape *recording;

using Play = const std::byte *(*)(const std::byte *entry);

template <class... Arguments>
struct Entry {
	Play play;
	void (*function)(Arguments...);
	std::tuple<Arguments...> arguments;
};

template <class... Arguments>
const std::byte *play_entry(const std::byte *at)
{
	const auto *entry = reinterpret_cast<const Entry<Arguments...> *>(at);
	std::apply(entry->function, entry->arguments);
	return at + sizeof *entry;
}

template <class... Arguments>
void note(void (*function)(Arguments...), Arguments... arguments)
{
	const Entry<Arguments...> entry = {play_entry<Arguments...>, function, {arguments...}};
	static_assert(sizeof entry % alignof(void *) == 0); /* the next one is aligned too */
	const auto *begin = reinterpret_cast<const std::byte *>(&entry);
	recording->bytes.insert(recording->bytes.end(), begin, begin + sizeof entry);
	recording->calls++;
}

} // namespace

void record_gl_calls(GlTape *tape)
{
	recording = tape;
	if (tape)
		*tape = {};
}

void play_gl_calls(const GlTape &tape)
{
	const std::byte *entry = tape.bytes.data();
	for (std::size_t call = 0; call < tape.calls; call++) {
		Play play;
		std::memcpy(&play, entry, sizeof play);
		entry = play(entry);
	}
}

#define WRAP(name, parameters, ...)                                                                \
	extern "C" GL_APICALL void GL_APIENTRY name parameters                                         \
	{                                                                                              \
		static const auto next = next_function(&name, #name);                                      \
		if (recording)                                                                             \
			note(&name, __VA_ARGS__);                                                              \
		next(__VA_ARGS__);                                                                         \
	}

/* Every function that a frame of the library calls. One that is missing here would be missing in
 * the played frame too, which the benchmark finds by comparing the pictures. */
WRAP(glActiveTexture, (GLenum texture), texture)
WRAP(glBindTexture, (GLenum target, GLuint texture), target, texture)
WRAP(glClear, (GLbitfield mask), mask)
WRAP(glClearColor, (GLfloat red, GLfloat green, GLfloat blue, GLfloat alpha), red, green, blue,
    alpha)
WRAP(glViewport, (GLint x, GLint y, GLsizei width, GLsizei height), x, y, width, height)
WRAP(glUseProgram, (GLuint program), program)
WRAP(glUniform1i, (GLint location, GLint v0), location, v0)
WRAP(glUniform1f, (GLint location, GLfloat v0), location, v0)
WRAP(glUniform4fv, (GLint location, GLsizei count, const GLfloat *value), location, count, value)
WRAP(glUniformMatrix4fv, (GLint location, GLsizei count, GLboolean transpose, const GLfloat *value),
    location, count, transpose, value)
WRAP(glEnableVertexAttribArray, (GLuint index), index)
WRAP(glDisableVertexAttribArray, (GLuint index), index)
WRAP(glVertexAttribPointer,
    (GLuint index, GLint size, GLenum type, GLboolean normalized, GLsizei stride,
        const void *pointer),
    index, size, type, normalized, stride, pointer)
WRAP(glDrawArrays, (GLenum mode, GLint first, GLsizei count), mode, first, count)
