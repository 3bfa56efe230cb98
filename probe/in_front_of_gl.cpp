/* In front of the calls of GL and EGL that tell the memory of textures, and the swaps. */
#include <algorithm>
#include <chrono>
#include <cstring>
#include <mutex>
#include <unordered_map>

#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <GLES2/gl2.h>
#include <GLES2/gl2ext.h>

#include <probe/checks.h>
#include <probe/findings.h>
#include <probe/frames.h>
#include <probe/marks.h>
#include <probe/next_function.h>
#include <probe/textures.h>
#include <probe/wire.h>

#define EXPORTED extern "C" __attribute__((visibility("default")))

namespace
{

/* ---- Imported images ------------------------------------------------------------------------ */

struct ImageSize {
	GLint width, height;
};

std::mutex lock; /* guards the sizes */
std::unordered_map<void *, ImageSize> image_sizes;

/* Above 0 while an image is made: what stands in for the unit's import makes it of a texture. */
thread_local int importing;

/* EGL's own, or those of a layer behind this one. */
PFNEGLCREATEIMAGEKHRPROC create_image_behind;
PFNEGLDESTROYIMAGEKHRPROC destroy_image_behind;
PFNGLEGLIMAGETARGETTEXTURE2DOESPROC bind_image_behind;

ImageSize size_in(const EGLint *attributes)
{
	ImageSize size = {};
	for (; attributes && attributes[0] != EGL_NONE; attributes += 2) {
		if (attributes[0] == EGL_WIDTH)
			size.width = attributes[1];
		else if (attributes[0] == EGL_HEIGHT)
			size.height = attributes[1];
	}
	return size;
}

EGLImageKHR EGLAPIENTRY create_image(EGLDisplay display, EGLContext context, EGLenum target,
    EGLClientBuffer buffer, const EGLint *attributes)
{
	importing++;
	EGLImageKHR image = create_image_behind(display, context, target, buffer, attributes);
	importing--;
	if (image) {
		const std::lock_guard hold(lock);
		image_sizes[image] = size_in(attributes);
	}
	return image;
}

EGLBoolean EGLAPIENTRY destroy_image(EGLDisplay display, EGLImageKHR image)
{
	{
		const std::lock_guard hold(lock);
		image_sizes.erase(image);
	}
	return destroy_image_behind(display, image);
}

/* Only uploads ask GL: to look at every binding would cost more. */
GLint ask_gl(GLenum what)
{
	static const auto get = find_symbol<decltype(glGetIntegerv)>("glGetIntegerv");
	GLint answer = 0;
	get(what, &answer);
	return answer;
}

/* GL leaves a texture as it was where it refuses a size. */
bool is_refused(GLsizei width, GLsizei height)
{
	const GLint limit = ask_gl(GL_MAX_TEXTURE_SIZE);
	return width < 0 || height < 0 || width > limit || height > limit;
}

void EGLAPIENTRY bind_image(GLenum target, GLeglImageOES image)
{
	bind_image_behind(target, image);
	if (!image || target != GL_TEXTURE_EXTERNAL_OES)
		return;
	note_bound_image();
	const auto name = static_cast<GLuint>(ask_gl(GL_TEXTURE_BINDING_EXTERNAL_OES));
	const std::lock_guard hold(lock);
	const ImageSize size = image_sizes[image];
	note_imported_texture(name, size.width, size.height);
}

using Function = __eglMustCastToProperFunctionPointerType;

template <class Behind>
Function stand_before(Function found, Behind *behind, Behind ours)
{
	if (!found)
		return nullptr;
	*behind = reinterpret_cast<Behind>(found);
	return reinterpret_cast<Function>(ours);
}

} // namespace

EXPORTED Function EGLAPIENTRY eglGetProcAddress(const char *name)
{
	static const auto next = next_function(&eglGetProcAddress, "eglGetProcAddress");
	const Function found = next(name);
	if (!is_heard())
		return found;
	if (std::strcmp(name, "eglCreateImageKHR") == 0)
		return stand_before(found, &create_image_behind, create_image);
	if (std::strcmp(name, "eglDestroyImageKHR") == 0)
		return stand_before(found, &destroy_image_behind, destroy_image);
	if (std::strcmp(name, "glEGLImageTargetTexture2DOES") == 0)
		return stand_before(found, &bind_image_behind, bind_image);
	return found;
}

EXPORTED EGLBoolean EGLAPIENTRY eglSwapBuffers(EGLDisplay display, EGLSurface surface)
{
	static const auto next = next_function(&eglSwapBuffers, "eglSwapBuffers");
	if (!is_heard())
		return next(display, surface);
	using Clock = std::chrono::steady_clock;
	pass_mark(Mark::kDraw);
	const Clock::time_point start = Clock::now();
	const EGLBoolean result = next(display, surface);
	pass_mark(Mark::kSwap);
	note_swap(std::chrono::duration<double, std::milli>(Clock::now() - start).count());
	if (is_checking())
		check_hold();
	return result;
}

EXPORTED void GL_APIENTRY glTexImage2D(GLenum target, GLint level, GLint internal_format,
    GLsizei width, GLsizei height, GLint border, GLenum format, GLenum type, const void *pixels)
{
	static const auto next = next_function(&glTexImage2D, "glTexImage2D");
	next(target, level, internal_format, width, height, border, format, type, pixels);
	if (!is_heard() || target != GL_TEXTURE_2D || level != 0 || importing ||
	    is_refused(width, height))
		return;
	if (const GLint name = ask_gl(GL_TEXTURE_BINDING_2D))
		note_texture(static_cast<GLuint>(name), width, height, format);
}

EXPORTED void GL_APIENTRY glGenTextures(GLsizei count, GLuint *names)
{
	static const auto next = next_function(&glGenTextures, "glGenTextures");
	next(count, names);
	if (is_heard() && is_checking())
		std::for_each_n(names, count, note_texture_made);
}

EXPORTED void GL_APIENTRY glDeleteTextures(GLsizei count, const GLuint *names)
{
	static const auto next = next_function(&glDeleteTextures, "glDeleteTextures");
	next(count, names);
	if (!is_heard())
		return;
	forget_textures(count, names);
	if (is_checking())
		std::for_each_n(names, count, note_texture_deleted);
}
