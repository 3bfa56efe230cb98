/*
 * Put in front of EGL, by preloading or by linking it first: imports NV12 pictures behind file
 * descriptors (EGL_LINUX_DMA_BUF_EXT) where EGL does not offer EGL_EXT_image_dma_buf_import. Any
 * other call reaches EGL as it is.
 *
 * It reads the picture at the time of the call, converts it and makes the image from a texture of
 * the current context, so that one must be current. A picture that changes afterwards does not
 * change the image. The descriptor's size is checked first; a file that shrinks during the call is
 * still fatal to the process, unless it is sealed against that.
 *
 * The hints for colour space and range are followed (BT.601 and narrow range without them), as far
 * as libyuv goes: on x86 strong blue of BT.709 and BT.2020 in narrow range is up to 16 steps off.
 * The hints for the siting change nothing: a sample of chroma stands for all its four pixels.
 *
 * A refusal is EGL_NO_IMAGE_KHR, and eglGetError has the reason as the extension tells it.
 */
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <iterator>
#include <memory>
#include <new>
#include <optional>
#include <string_view>
#include <utility>

#include <dlfcn.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <GLES2/gl2.h>
#include <GLES2/gl2ext.h>
#include <libyuv/convert_argb.h>

#define EXPORTED extern "C" __attribute__((visibility("default")))

namespace
{

constexpr EGLint kNv12 = 0x3231564E; /* 'N', 'V', '1', '2' from the low byte on */
constexpr unsigned kBytesPerPixel = 4;

/* EGL's error cannot be set from outside. So a refusal provokes EGL_BAD_DISPLAY, and eglGetError
 * translates that for as long as EGL still has it. */
constexpr EGLint kRefusalInEgl = EGL_BAD_DISPLAY;
thread_local EGLint refusal = EGL_SUCCESS;

/* ---- The EGL behind ------------------------------------------------------------------------- */

template <typename Function>
Function behind(const char *name)
{
	return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

auto get_proc_address_behind(const char *name)
{
	static const auto function =
	    behind<__eglMustCastToProperFunctionPointerType (*)(const char *)>("eglGetProcAddress");
	return function(name);
}

EGLImageKHR create_image_behind(EGLDisplay display, EGLContext context, EGLenum target,
    EGLClientBuffer buffer, const EGLint *attributes)
{
	static const auto function =
	    reinterpret_cast<PFNEGLCREATEIMAGEKHRPROC>(get_proc_address_behind("eglCreateImageKHR"));
	return function ? function(display, context, target, buffer, attributes) : EGL_NO_IMAGE_KHR;
}

bool has_word(const char *list, std::string_view word)
{
	for (std::string_view rest = list ? list : ""; !rest.empty();) {
		const size_t end = std::min(rest.find(' '), rest.size());
		if (rest.substr(0, end) == word)
			return true;
		rest.remove_prefix(std::min(end + 1, rest.size()));
	}
	return false;
}

/* Also for a display that is none: EGL's own answer is the right one then. */
bool egl_imports(EGLDisplay display)
{
	const char *extensions = eglQueryString(display, EGL_EXTENSIONS);
	return !extensions || has_word(extensions, "EGL_EXT_image_dma_buf_import");
}

/* ---- The request ---------------------------------------------------------------------------- */

struct Plane {
	EGLint fd;
	uint64_t offset;
	EGLint pitch;
	unsigned row_bytes, rows;
};

struct Request {
	int width, height;
	Plane luma, chroma;
	const libyuv::YuvConstants *matrix;
};

enum Attribute {
	kFourcc,
	kWidth,
	kHeight,
	kPitch0,
	kPitch1,
	kOffset0,
	kOffset1,
	kFd0,
	kFd1,
	kNeeded, /* those before */
	kColourSpace = kNeeded,
	kRange,
	kSitingX,
	kSitingY,
	kPreserved, /* always: the image is a copy */
	kCount
};

constexpr std::array<EGLint, kCount> kNames = {
    EGL_LINUX_DRM_FOURCC_EXT,
    EGL_WIDTH,
    EGL_HEIGHT,
    EGL_DMA_BUF_PLANE0_PITCH_EXT,
    EGL_DMA_BUF_PLANE1_PITCH_EXT,
    EGL_DMA_BUF_PLANE0_OFFSET_EXT,
    EGL_DMA_BUF_PLANE1_OFFSET_EXT,
    EGL_DMA_BUF_PLANE0_FD_EXT,
    EGL_DMA_BUF_PLANE1_FD_EXT,
    EGL_YUV_COLOR_SPACE_HINT_EXT,
    EGL_SAMPLE_RANGE_HINT_EXT,
    EGL_YUV_CHROMA_HORIZONTAL_SITING_HINT_EXT,
    EGL_YUV_CHROMA_VERTICAL_SITING_HINT_EXT,
    EGL_IMAGE_PRESERVED_KHR,
};

using Values = std::array<std::optional<EGLint>, kCount>;

bool hints_are_known(const Values &values)
{
	const auto is_any = [](std::optional<EGLint> value, std::initializer_list<EGLint> known) {
		return !value || std::find(known.begin(), known.end(), *value) != known.end();
	};
	const auto sitings = {EGL_YUV_CHROMA_SITING_0_EXT, EGL_YUV_CHROMA_SITING_0_5_EXT};
	return is_any(values[kColourSpace],
	           {EGL_ITU_REC601_EXT, EGL_ITU_REC709_EXT, EGL_ITU_REC2020_EXT}) &&
	       is_any(values[kRange], {EGL_YUV_NARROW_RANGE_EXT, EGL_YUV_FULL_RANGE_EXT}) &&
	       is_any(values[kSitingX], sitings) && is_any(values[kSitingY], sitings);
}

EGLint read_values(const EGLint *attributes, Values &values)
{
	for (; attributes && attributes[0] != EGL_NONE; attributes += 2) {
		const auto name = std::find(kNames.begin(), kNames.end(), attributes[0]);
		if (name == kNames.end())
			return EGL_BAD_ATTRIBUTE;
		values[std::distance(kNames.begin(), name)] = attributes[1];
	}
	if (!hints_are_known(values))
		return EGL_BAD_ATTRIBUTE;
	const bool complete = std::all_of(
	    values.begin(), values.begin() + kNeeded, [](const auto &value) { return value; });
	return complete ? EGL_SUCCESS : EGL_BAD_PARAMETER;
}

/* With the two samples of chroma swapped. */
const libyuv::YuvConstants *matrix_of(const Values &values)
{
	const bool full = values[kRange] == EGL_YUV_FULL_RANGE_EXT;
	if (values[kColourSpace] == EGL_ITU_REC709_EXT)
		return full ? &libyuv::kYvuF709Constants : &libyuv::kYvuH709Constants;
	if (values[kColourSpace] == EGL_ITU_REC2020_EXT)
		return full ? &libyuv::kYvuV2020Constants : &libyuv::kYvu2020Constants;
	return full ? &libyuv::kYvuJPEGConstants : &libyuv::kYvuI601Constants;
}

EGLint read_request(const EGLint *attributes, Request &request)
{
	Values values;
	if (const EGLint error = read_values(attributes, values); error != EGL_SUCCESS)
		return error;
	if (values[kFourcc] != kNv12)
		return EGL_BAD_MATCH;
	const EGLint width = *values[kWidth], height = *values[kHeight];
	if (width <= 0 || height <= 0)
		return EGL_BAD_PARAMETER;
	if (*values[kOffset0] < 0 || *values[kOffset1] < 0)
		return EGL_BAD_ACCESS;

	const unsigned columns = width, rows = height;
	request.width = width;
	request.height = height;
	request.matrix = matrix_of(values);
	request.luma = {
	    .fd = *values[kFd0],
	    .offset = static_cast<uint64_t>(*values[kOffset0]),
	    .pitch = *values[kPitch0],
	    .row_bytes = columns,
	    .rows = rows,
	};
	request.chroma = {
	    .fd = *values[kFd1],
	    .offset = static_cast<uint64_t>(*values[kOffset1]),
	    .pitch = *values[kPitch1],
	    .row_bytes = (columns + 1) / 2 * 2,
	    .rows = (rows + 1) / 2,
	};
	/* Two planes can't share their bytes: this is how one descriptor for both is written. */
	if (request.chroma.fd == request.luma.fd && request.chroma.offset == request.luma.offset)
		request.chroma.offset += uint64_t{rows} * static_cast<uint32_t>(request.luma.pitch);
	return EGL_SUCCESS;
}

/* ---- The picture ---------------------------------------------------------------------------- */

class Mapping
{
public:
	/* Up to the plane's last byte, from the file's first: offsets need not be whole pages. */
	explicit Mapping(const Plane &plane) : offset_(plane.offset)
	{
		if (plane.pitch < 0 || static_cast<unsigned>(plane.pitch) < plane.row_bytes)
			return;
		const uint64_t end =
		    plane.offset + uint64_t{plane.rows - 1} * plane.pitch + plane.row_bytes;
		if (end > size_of(plane.fd) || end > SIZE_MAX)
			return;
		void *base = mmap(nullptr, end, PROT_READ, MAP_SHARED, plane.fd, 0);
		if (base == MAP_FAILED)
			return;
		base_ = static_cast<const uint8_t *>(base);
		length_ = end;
	}
	~Mapping()
	{
		if (base_)
			munmap(const_cast<uint8_t *>(base_), length_);
	}
	Mapping(const Mapping &) = delete;
	Mapping &operator=(const Mapping &) = delete;

	/* NULL if the descriptor does not hold the plane. */
	const uint8_t *plane() const
	{
		return base_ ? base_ + offset_ : nullptr;
	}

private:
	static uint64_t size_of(int fd)
	{
		struct stat status;
		if (fstat(fd, &status) != 0)
			return 0;
		/* A dma-buf tells its size to lseek only. */
		const off_t size = S_ISREG(status.st_mode) ? status.st_size : lseek(fd, 0, SEEK_END);
		return size > 0 ? static_cast<uint64_t>(size) : 0;
	}

	const uint8_t *base_ = nullptr;
	size_t length_ = 0;
	uint64_t offset_;
};

/* R, G, B, A bytes. */
using Pixels = std::unique_ptr<uint8_t[]>;

EGLint convert(const Request &request, Pixels &pixels)
{
	const Mapping luma(request.luma), chroma(request.chroma);
	if (!luma.plane() || !chroma.plane())
		return EGL_BAD_ACCESS;
	const size_t bytes = size_t{request.luma.row_bytes} * request.luma.rows * kBytesPerPixel;
	pixels.reset(new (std::nothrow) uint8_t[bytes]);
	if (!pixels)
		return EGL_BAD_ALLOC;
	/* libyuv's ARGB is B, G, R, A in memory; swapped chroma makes it R, G, B, A. */
	libyuv::NV21ToARGBMatrix(luma.plane(), request.luma.pitch, chroma.plane(), request.chroma.pitch,
	    pixels.get(), request.width * static_cast<int>(kBytesPerPixel), request.matrix,
	    request.width, request.height);
	return EGL_SUCCESS;
}

/* ---- The image ------------------------------------------------------------------------------ */

/* The caller's GL state that an upload depends on or changes. */
class UploadState
{
public:
	UploadState()
	{
		glGetIntegerv(GL_TEXTURE_BINDING_2D, &texture_);
		const char *version = gl_string(GL_VERSION); /* may be more than was asked for */
		const bool es3 = version && std::string_view(version).starts_with("OpenGL ES 3");
		if (es3) {
			glGetIntegerv(GL_PIXEL_UNPACK_BUFFER_BINDING_NV, &buffer_);
			glBindBuffer(GL_PIXEL_UNPACK_BUFFER_NV, 0);
		}
		const bool has_rows = es3 || has_word(gl_string(GL_EXTENSIONS), "GL_EXT_unpack_subimage");
		unpack_count_ = has_rows ? kUnpack.size() : 1;
		for (size_t i = 0; i < unpack_count_; ++i) {
			glGetIntegerv(kUnpack[i].name, &unpack_[i]);
			glPixelStorei(kUnpack[i].name, kUnpack[i].wanted);
		}
	}
	~UploadState()
	{
		for (size_t i = 0; i < unpack_count_; ++i)
			glPixelStorei(kUnpack[i].name, unpack_[i]);
		if (buffer_ != 0)
			glBindBuffer(GL_PIXEL_UNPACK_BUFFER_NV, static_cast<GLuint>(buffer_));
		glBindTexture(GL_TEXTURE_2D, static_cast<GLuint>(texture_));
	}
	UploadState(const UploadState &) = delete;
	UploadState &operator=(const UploadState &) = delete;

private:
	static const char *gl_string(GLenum name)
	{
		return reinterpret_cast<const char *>(glGetString(name));
	}

	struct Unpack {
		GLenum name;
		GLint wanted;
	};
	static constexpr std::array<Unpack, 4> kUnpack = {{
	    {GL_UNPACK_ALIGNMENT, kBytesPerPixel},
	    {GL_UNPACK_ROW_LENGTH_EXT, 0},
	    {GL_UNPACK_SKIP_ROWS_EXT, 0},
	    {GL_UNPACK_SKIP_PIXELS_EXT, 0},
	}};
	GLint texture_ = 0;
	GLint buffer_ = 0; /* the one that an upload would read from in place of memory */
	std::array<GLint, kUnpack.size()> unpack_ = {};
	size_t unpack_count_;
};

/* The texture goes at once: the image keeps its storage and frees it when it is destroyed. */
EGLImageKHR image_of(EGLDisplay display, const Request &request, const uint8_t *pixels)
{
	const UploadState state;
	GLuint texture = 0;
	glGenTextures(1, &texture);
	glBindTexture(GL_TEXTURE_2D, texture);
	glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, request.width, request.height, 0, GL_RGBA,
	    GL_UNSIGNED_BYTE, pixels);
	const EGLint no_attributes[] = {EGL_NONE};
	const EGLImageKHR image =
	    create_image_behind(display, eglGetCurrentContext(), EGL_GL_TEXTURE_2D_KHR,
	        reinterpret_cast<EGLClientBuffer>(uintptr_t{texture}), no_attributes);
	glDeleteTextures(1, &texture);
	return image;
}

bool fits_texture(const Request &request)
{
	GLint limit = 0;
	glGetIntegerv(GL_MAX_TEXTURE_SIZE, &limit);
	return request.width <= limit && request.height <= limit;
}

EGLImageKHR refuse(EGLint error)
{
	refusal = error;
	eglQueryString(EGL_NO_DISPLAY, EGL_NONE); /* fails with kRefusalInEgl */
	return EGL_NO_IMAGE_KHR;
}

EGLImageKHR import_picture(EGLDisplay display, const EGLint *attributes)
{
	Request request;
	if (const EGLint error = read_request(attributes, request); error != EGL_SUCCESS)
		return refuse(error);
	if (eglGetCurrentContext() == EGL_NO_CONTEXT || eglGetCurrentDisplay() != display)
		return refuse(EGL_BAD_CONTEXT);
	if (!fits_texture(request))
		return refuse(EGL_BAD_ALLOC);
	Pixels pixels;
	if (const EGLint error = convert(request, pixels); error != EGL_SUCCESS)
		return refuse(error);
	return image_of(display, request, pixels.get());
}

} // namespace

/* ---- In front of EGL ------------------------------------------------------------------------ */

EXPORTED EGLImageKHR EGLAPIENTRY eglCreateImageKHR(EGLDisplay display, EGLContext context,
    EGLenum target, EGLClientBuffer buffer, const EGLint *attributes)
{
	refusal = EGL_SUCCESS;
	if (target != EGL_LINUX_DMA_BUF_EXT || egl_imports(display))
		return create_image_behind(display, context, target, buffer, attributes);
	if (context != EGL_NO_CONTEXT || buffer)
		return refuse(EGL_BAD_PARAMETER);
	return import_picture(display, attributes);
}

EXPORTED EGLint EGLAPIENTRY eglGetError()
{
	static const auto function = behind<EGLint (*)()>("eglGetError");
	const EGLint error = function();
	const EGLint ours = std::exchange(refusal, EGL_SUCCESS);
	return error == kRefusalInEgl && ours != EGL_SUCCESS ? ours : error;
}

EXPORTED __eglMustCastToProperFunctionPointerType EGLAPIENTRY eglGetProcAddress(const char *name)
{
	using Function = __eglMustCastToProperFunctionPointerType;
	if (strcmp(name, "eglCreateImageKHR") == 0)
		return reinterpret_cast<Function>(eglCreateImageKHR);
	if (strcmp(name, "eglGetError") == 0)
		return reinterpret_cast<Function>(eglGetError);
	return get_proc_address_behind(name);
}
