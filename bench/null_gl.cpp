#include <bench/null_gl.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <dlfcn.h>
#include <span>
#include <unordered_set>

#define EGL_EGLEXT_PROTOTYPES
#define GL_GLEXT_PROTOTYPES
#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <GLES2/gl2.h>
#include <GLES2/gl2ext.h>

namespace
{

constexpr GLint kMaxTextureSize = 8192;
constexpr GLuint kUnits = 8;
constexpr GLuint kArrays = 8;
constexpr GLuint kPrograms = 64;

struct VertexArray {
	bool enabled;
	GLint floats; /* a vertex; the stride is theirs, as the library's always is */
	const float *values;
};

struct State {
	std::unordered_set<GLuint> textures;
	std::unordered_set<EGLImageKHR> images;
	GLuint last_name = 0; /* of objects of any kind */
	GLint last_location = 0;
	GLuint program = 0;
	GLuint unit = 0;
	GLuint bound[kUnits] = {}; /* to GL_TEXTURE_2D */
	VertexArray arrays[kArrays] = {};
	GLuint attributes[kPrograms] = {}; /* of each program: an array beyond them is not read */
	NullGlCounts counts = {};
};
State state;
bool checking;

/* Handles need only be told apart from "none" and from each other. */
template <class Handle>
Handle handle(std::uintptr_t number)
{
	return reinterpret_cast<Handle>(number);
}
constexpr std::uintptr_t kDisplay = 1;
constexpr std::uintptr_t kConfig = 2;
constexpr std::uintptr_t kFirstHandle = 16;
std::uintptr_t last_handle = kFirstHandle;

thread_local EGLContext current_context = EGL_NO_CONTEXT;

void fault(std::uint64_t NullGlCounts::*kind, const char *what, GLuint name)
{
	if (++(state.counts.*kind) == 1)
		fprintf(stderr, "null_gl: %s (%u)\n", what, name);
}

/* What a driver would read, read here. By memcpy: a sanitizer checks a whole copy at once. */
void touch(const void *block, std::size_t size)
{
	static unsigned char copy[4096];
	const auto *bytes = static_cast<const unsigned char *>(block);
	for (std::size_t at = 0; at < size; at += sizeof(copy)) {
		memcpy(copy, bytes + at, std::min(sizeof(copy), size - at));
		asm volatile("" ::"r"(copy) : "memory"); /* or a copy that nobody reads is not made */
	}
}

std::size_t bytes_per_pixel(GLenum format)
{
	switch (format) {
	case GL_LUMINANCE:
	case GL_ALPHA:
		return 1;
	case GL_LUMINANCE_ALPHA:
		return 2;
	case GL_RGB:
		return 3;
	case GL_RGBA:
	case GL_BGRA_EXT:
		return 4;
	default:
		return 0;
	}
}

void check_upload(GLsizei width, GLsizei height, GLenum format, const void *pixels)
{
	const std::size_t pixel = bytes_per_pixel(format);
	const bool fits =
	    width >= 0 && height >= 0 && width <= kMaxTextureSize && height <= kMaxTextureSize;
	if (!pixel || !fits || state.bound[state.unit] == 0)
		fault(&NullGlCounts::bad_uploads, "an upload that a driver refuses, of format", format);
	else if (pixels)
		touch(pixels, pixel * static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
}

void check_draw(GLsizei count)
{
	bool drawable = state.program != 0;
	const std::span arrays(state.arrays);
	for (const VertexArray &array : arrays.first(state.attributes[state.program % kPrograms])) {
		if (!array.enabled || count <= 0)
			continue;
		if (array.values)
			touch(array.values, sizeof(float) * array.floats * static_cast<std::size_t>(count));
		else
			drawable = false;
	}
	if (!drawable)
		fault(&NullGlCounts::bad_draws, "vertices drawn without array or program", state.program);
}

void make_names(GLsizei n, GLuint *names)
{
	for (GLsizei i = 0; i < n; i++)
		names[i] = ++state.last_name;
}

void empty_log(GLsizei size, GLsizei *length, GLchar *log)
{
	if (length)
		*length = 0;
	if (size > 0)
		*log = 0;
}

} // namespace

NullGlCounts null_gl_counts()
{
	NullGlCounts counts = state.counts;
	counts.textures = state.textures.size();
	counts.images = state.images.size();
	return counts;
}

void null_gl_check(bool on)
{
	checking = on;
}

#pragma GCC visibility push(default)
extern "C" {

/* ---- EGL ---------------------------------------------------------------------------------- */

EGLDisplay eglGetDisplay(EGLNativeDisplayType)
{
	return handle<EGLDisplay>(kDisplay);
}

EGLDisplay eglGetPlatformDisplay(EGLenum, void *, const EGLAttrib *)
{
	return handle<EGLDisplay>(kDisplay);
}

EGLDisplay eglGetPlatformDisplayEXT(EGLenum, void *, const EGLint *)
{
	return handle<EGLDisplay>(kDisplay);
}

EGLBoolean eglQueryDevicesEXT(EGLint max, EGLDeviceEXT *devices, EGLint *count)
{
	if (devices && max > 0)
		*devices = handle<EGLDeviceEXT>(kFirstHandle);
	*count = 1;
	return EGL_TRUE;
}

EGLBoolean eglInitialize(EGLDisplay, EGLint *major, EGLint *minor)
{
	if (major)
		*major = 1;
	if (minor)
		*minor = 5;
	return EGL_TRUE;
}

EGLBoolean eglTerminate(EGLDisplay)
{
	return EGL_TRUE;
}

EGLBoolean eglReleaseThread(void)
{
	current_context = EGL_NO_CONTEXT;
	return EGL_TRUE;
}

const char *eglQueryString(EGLDisplay dpy, EGLint name)
{
	switch (name) {
	case EGL_VERSION:
		return "1.5";
	case EGL_EXTENSIONS:
		return dpy ? "EGL_KHR_image_base EGL_EXT_image_dma_buf_import EGL_KHR_surfaceless_context"
		           : "EGL_EXT_platform_base EGL_EXT_device_base EGL_EXT_platform_device "
		             "EGL_MESA_platform_surfaceless";
	default:
		return "none";
	}
}

EGLint eglGetError(void)
{
	return EGL_SUCCESS;
}

EGLBoolean eglBindAPI(EGLenum)
{
	return EGL_TRUE;
}

EGLenum eglQueryAPI(void)
{
	return EGL_OPENGL_ES_API;
}

EGLBoolean eglGetConfigs(EGLDisplay, EGLConfig *configs, EGLint size, EGLint *count)
{
	if (configs && size > 0)
		*configs = handle<EGLConfig>(kConfig);
	*count = 1;
	return EGL_TRUE;
}

EGLBoolean eglChooseConfig(
    EGLDisplay dpy, const EGLint *, EGLConfig *configs, EGLint size, EGLint *count)
{
	return eglGetConfigs(dpy, configs, size, count);
}

EGLBoolean eglGetConfigAttrib(EGLDisplay, EGLConfig, EGLint attribute, EGLint *value)
{
	switch (attribute) {
	case EGL_BUFFER_SIZE:
		*value = 32;
		break;
	case EGL_RED_SIZE:
	case EGL_GREEN_SIZE:
	case EGL_BLUE_SIZE:
	case EGL_ALPHA_SIZE:
		*value = 8;
		break;
	case EGL_SAMPLES:
		*value = 4;
		break;
	default:
		*value = 1;
		break;
	}
	return EGL_TRUE;
}

EGLContext eglCreateContext(EGLDisplay, EGLConfig, EGLContext, const EGLint *)
{
	return handle<EGLContext>(++last_handle);
}

EGLBoolean eglDestroyContext(EGLDisplay, EGLContext)
{
	return EGL_TRUE;
}

EGLSurface eglCreateWindowSurface(EGLDisplay, EGLConfig, EGLNativeWindowType, const EGLint *)
{
	return handle<EGLSurface>(++last_handle);
}

EGLSurface eglCreatePbufferSurface(EGLDisplay, EGLConfig, const EGLint *)
{
	return handle<EGLSurface>(++last_handle);
}

EGLBoolean eglDestroySurface(EGLDisplay, EGLSurface)
{
	return EGL_TRUE;
}

EGLBoolean eglMakeCurrent(EGLDisplay, EGLSurface, EGLSurface, EGLContext context)
{
	current_context = context;
	return EGL_TRUE;
}

EGLContext eglGetCurrentContext(void)
{
	return current_context;
}

EGLDisplay eglGetCurrentDisplay(void)
{
	return handle<EGLDisplay>(current_context ? kDisplay : 0);
}

EGLBoolean eglSwapInterval(EGLDisplay, EGLint)
{
	return EGL_TRUE;
}

EGLBoolean eglSwapBuffers(EGLDisplay, EGLSurface)
{
	return EGL_TRUE;
}

EGLBoolean eglWaitGL(void)
{
	return EGL_TRUE;
}

EGLBoolean eglWaitNative(EGLint)
{
	return EGL_TRUE;
}

EGLImageKHR eglCreateImageKHR(
    EGLDisplay, EGLContext, EGLenum, EGLClientBuffer, const EGLint *attributes)
{
	EGLint size = 0;
	for (; attributes && *attributes != EGL_NONE; attributes += 2)
		if (attributes[0] == EGL_WIDTH || attributes[0] == EGL_HEIGHT)
			size = attributes[1] <= 0 ? kMaxTextureSize + 1 : std::max(size, attributes[1]);
	if (size > kMaxTextureSize)
		return EGL_NO_IMAGE_KHR;
	auto *image = handle<EGLImageKHR>(++last_handle);
	state.images.insert(image);
	return image;
}

EGLBoolean eglDestroyImageKHR(EGLDisplay, EGLImageKHR image)
{
	if (state.images.erase(image))
		return EGL_TRUE;
	fault(&NullGlCounts::bad_names, "an image destroyed that is not there", 0);
	return EGL_FALSE;
}

__eglMustCastToProperFunctionPointerType eglGetProcAddress(const char *name)
{
	return reinterpret_cast<__eglMustCastToProperFunctionPointerType>(dlsym(RTLD_DEFAULT, name));
}

/* ---- Textures ----------------------------------------------------------------------------- */

void glGenTextures(GLsizei n, GLuint *textures)
{
	make_names(n, textures);
	state.textures.insert(textures, textures + n);
}

void glDeleteTextures(GLsizei n, const GLuint *textures)
{
	for (GLsizei i = 0; i < n; i++) {
		if (!textures[i])
			continue;
		if (!state.textures.erase(textures[i]))
			fault(&NullGlCounts::bad_names, "a texture deleted that is not there", textures[i]);
		std::replace(state.bound, state.bound + kUnits, textures[i], 0U);
	}
}

void glActiveTexture(GLenum texture)
{
	state.unit = (texture - GL_TEXTURE0) % kUnits;
}

void glBindTexture(GLenum target, GLuint texture)
{
	if (!checking)
		return;
	if (target == GL_TEXTURE_2D)
		state.bound[state.unit] = texture;
	if (texture && !state.textures.contains(texture))
		fault(&NullGlCounts::bad_names, "a texture bound that is not there", texture);
}

void glTexImage2D(GLenum, GLint, GLint, GLsizei width, GLsizei height, GLint, GLenum format, GLenum,
    const void *pixels)
{
	state.counts.uploads++;
	if (checking)
		check_upload(width, height, format, pixels);
}

void glEGLImageTargetTexture2DOES(GLenum, GLeglImageOES image)
{
	if (checking && image && !state.images.contains(image))
		fault(&NullGlCounts::bad_names, "an image shown that is not there", 0);
}

void glTexSubImage2D(GLenum, GLint, GLint, GLint, GLsizei, GLsizei, GLenum, GLenum, const void *)
{
}
void glTexParameteri(GLenum, GLenum, GLint)
{
}
void glTexParameterf(GLenum, GLenum, GLfloat)
{
}
void glPixelStorei(GLenum, GLint)
{
}

/* ---- Programs ----------------------------------------------------------------------------- */

GLuint glCreateShader(GLenum)
{
	return ++state.last_name;
}

GLuint glCreateProgram(void)
{
	return ++state.last_name;
}

void glGetShaderiv(GLuint, GLenum name, GLint *value)
{
	*value = name == GL_COMPILE_STATUS;
}

void glGetProgramiv(GLuint, GLenum name, GLint *value)
{
	*value = name == GL_LINK_STATUS;
}

void glGetShaderInfoLog(GLuint, GLsizei size, GLsizei *length, GLchar *log)
{
	empty_log(size, length, log);
}

void glGetProgramInfoLog(GLuint, GLsizei size, GLsizei *length, GLchar *log)
{
	empty_log(size, length, log);
}

GLint glGetUniformLocation(GLuint, const GLchar *)
{
	return ++state.last_location;
}

GLint glGetAttribLocation(GLuint, const GLchar *)
{
	return ++state.last_location;
}

void glBindAttribLocation(GLuint program, GLuint index, const GLchar *)
{
	GLuint &attributes = state.attributes[program % kPrograms];
	attributes = std::max(attributes, index % kArrays + 1);
}

void glUseProgram(GLuint program)
{
	state.program = program;
}

void glShaderSource(GLuint, GLsizei, const GLchar *const *, const GLint *)
{
}
void glShaderBinary(GLsizei, const GLuint *, GLenum, const void *, GLsizei)
{
}
void glCompileShader(GLuint)
{
}
void glAttachShader(GLuint, GLuint)
{
}
void glLinkProgram(GLuint)
{
}
void glDeleteShader(GLuint)
{
}
void glDeleteProgram(GLuint)
{
}
void glUniform1i(GLint, GLint)
{
}
void glUniform1f(GLint, GLfloat)
{
}
void glUniform4f(GLint, GLfloat, GLfloat, GLfloat, GLfloat)
{
}
void glUniform4fv(GLint, GLsizei, const GLfloat *)
{
}
void glUniformMatrix4fv(GLint, GLsizei, GLboolean, const GLfloat *)
{
}

/* ---- Drawing ------------------------------------------------------------------------------ */

void glEnableVertexAttribArray(GLuint index)
{
	if (checking)
		state.arrays[index % kArrays].enabled = true;
}

void glDisableVertexAttribArray(GLuint index)
{
	if (checking)
		state.arrays[index % kArrays].enabled = false;
}

void glVertexAttribPointer(
    GLuint index, GLint size, GLenum, GLboolean, GLsizei, const void *pointer)
{
	if (!checking)
		return;
	VertexArray &array = state.arrays[index % kArrays];
	array.floats = size;
	array.values = static_cast<const float *>(pointer);
}

void glDrawArrays(GLenum, GLint, GLsizei count)
{
	state.counts.draws++;
	if (checking)
		check_draw(count);
}

/* Black everywhere. */
void glReadPixels(GLint, GLint, GLsizei width, GLsizei height, GLenum, GLenum, void *pixels)
{
	memset(pixels, 0, std::size_t{4} * width * height);
}

void glViewport(GLint, GLint, GLsizei, GLsizei)
{
}
void glScissor(GLint, GLint, GLsizei, GLsizei)
{
}
void glClearColor(GLfloat, GLfloat, GLfloat, GLfloat)
{
}
void glClear(GLbitfield)
{
}
void glEnable(GLenum)
{
}
void glDisable(GLenum)
{
}
void glBlendFunc(GLenum, GLenum)
{
}
void glBlendFuncSeparate(GLenum, GLenum, GLenum, GLenum)
{
}
void glBlendEquation(GLenum)
{
}
void glBlendEquationSeparate(GLenum, GLenum)
{
}
void glFlush(void)
{
}
void glFinish(void)
{
}

/* ---- What others ask for beside that --------------------------------------------------------- */

const GLubyte *glGetString(GLenum name)
{
	const char *text = name == GL_VERSION ? "OpenGL ES 2.0 null" : "null";
	if (name == GL_EXTENSIONS)
		text = "GL_EXT_texture_format_BGRA8888 GL_EXT_read_format_bgra GL_OES_EGL_image_external";
	return reinterpret_cast<const GLubyte *>(text);
}

void glGetIntegerv(GLenum name, GLint *value)
{
	*value = name == GL_MAX_TEXTURE_SIZE ? kMaxTextureSize : name == GL_SHADER_COMPILER;
}

GLenum glGetError(void)
{
	return GL_NO_ERROR;
}

void glGenBuffers(GLsizei n, GLuint *buffers)
{
	make_names(n, buffers);
}

void glGenFramebuffers(GLsizei n, GLuint *framebuffers)
{
	make_names(n, framebuffers);
}

GLenum glCheckFramebufferStatus(GLenum)
{
	return GL_FRAMEBUFFER_COMPLETE;
}

void glBindBuffer(GLenum, GLuint)
{
}
void glBufferData(GLenum, GLsizeiptr, const void *, GLenum)
{
}
void glBufferSubData(GLenum, GLintptr, GLsizeiptr, const void *)
{
}
void glDeleteBuffers(GLsizei, const GLuint *)
{
}
void glBindFramebuffer(GLenum, GLuint)
{
}
void glFramebufferTexture2D(GLenum, GLenum, GLenum, GLuint, GLint)
{
}
void glDeleteFramebuffers(GLsizei, const GLuint *)
{
}
}
#pragma GCC visibility pop
