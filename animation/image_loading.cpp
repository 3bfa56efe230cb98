#include <animation/animation.h>
#include <base/heap.h>
#include <base/report.h>

#include <algorithm>
#include <cstdint>
#include <fcntl.h>
#include <png.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

constexpr std::size_t kBmpHeaderSize = 54;
constexpr std::size_t kPngSignatureSize = 4;
constexpr png_uint_32 kMaxPngSize = 2304;

/* No chunk of a picture that we can draw needs more beside its pixels; a corrupt one may claim
 * megabytes, which libpng would allocate and clear. */
constexpr png_alloc_size_t kMaxPngChunk = 1 << 20;

struct CloseFile {
	void operator()(FILE *file) const
	{
		fclose(file);
	}
};
using File = std::unique_ptr<FILE, CloseFile>;

/* A pipe or a device under the name of a picture would hold the frame for ever. */
File open_picture(const char *filename)
{
	int fd = open(filename, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
	if (fd < 0)
		return nullptr;
	struct stat status;
	FILE *file = nullptr;
	if (fstat(fd, &status) == 0 && S_ISREG(status.st_mode))
		file = fdopen(fd, "rb");
	if (!file)
		close(fd);
	return File(file);
}

/* How much of a block the file can hold: no header makes us allocate a gigabyte that is not there.
 */
std::size_t present(FILE *file, std::size_t offset, std::size_t size)
{
	struct stat status = {};
	fstat(fileno(file), &status);
	auto end = static_cast<std::size_t>(status.st_size);
	return end > offset ? std::min(size, end - offset) : 0;
}

/* The pixels are used once: the page cache need not keep them. */
void advise_dont_need(FILE *file, std::size_t size)
{
	posix_fadvise(fileno(file), 0, static_cast<off_t>(size), POSIX_FADV_DONTNEED);
}

uint32_t little_endian(const unsigned char *bytes, int count)
{
	uint32_t value = 0;
	for (int i = count - 1; i >= 0; i--)
		value = value << 8 | bytes[i];
	return value;
}

GLint max_texture_size()
{
	GLint size = 0;
	glGetIntegerv(GL_MAX_TEXTURE_SIZE, &size);
	return size;
}

/* A size that GL can hold, so that no header makes us allocate what nobody could draw. */
bool is_drawable_size(int width, int height)
{
	GLint max = max_texture_size();
	return width > 0 && height > 0 && width <= max && height <= max;
}

} // namespace

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

int load_texture_from_raw_file(
    GLuint tex, int width, int height, int textureType, const char *filename, int offset)
{
	if (textureType != GL_BGRA_EXT && textureType != GL_RGB) {
		REPORT("Invalid texture type %d\n", textureType);
		return -1;
	}
	File file = open_picture(filename);
	if (!file) {
		REPORT("Error opening file %s\n", filename);
		return -1;
	}
	if (!is_drawable_size(width, height) || offset < 0) {
		REPORT("Invalid size %d x %d or offset %d in %s\n", width, height, offset, filename);
		return -1;
	}
	std::size_t bytes_per_pixel = textureType == GL_BGRA_EXT ? 4 : 3;
	std::size_t size =
	    bytes_per_pixel * static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
	std::size_t available = present(file.get(), static_cast<std::size_t>(offset), size);
	HeapBlock<unsigned char> pixels(static_cast<unsigned char *>(malloc(available + 1)));
	if (!pixels) {
		REPORT("No memory for the %zu bytes of %s\n", size, filename);
		return -1;
	}
	fseek(file.get(), offset, SEEK_SET);
	std::size_t got = fread(pixels.get(), 1, available, file.get());
	advise_dont_need(file.get(), got);
	file.reset();
	if (got < size) {
		REPORT("Error in file size != width*height\n");
		return -1;
	}
	return load_texture(tex, width, height, textureType, pixels.get());
}

int load_texture_bmp(GLuint tex, const char *filename)
{
	unsigned char header[kBmpHeaderSize];
	std::size_t got;
	{
		File file = open_picture(filename);
		if (!file) {
			fprintf(stderr, "cannot open bmp file: %s\n", filename);
			return -1;
		}
		got = fread(header, 1, sizeof(header), file.get());
	}
	if (got < sizeof(header)) {
		REPORT("Error in bmp header of %s\n", filename);
		return -1;
	}
	int offset = static_cast<int>(little_endian(header + 10, 4));
	int width = static_cast<int>(little_endian(header + 18, 4));
	int height = static_cast<int>(little_endian(header + 22, 4));
	int bits_per_pixel = static_cast<int>(little_endian(header + 28, 2));
	int type;
	switch (bits_per_pixel) {
	case 24:
		type = GL_RGB;
		break;
	case 32:
		type = GL_BGRA_EXT;
		break;
	default:
		REPORT("1,Invalid number of bits per pixel: %d in %s\n", bits_per_pixel, filename);
		return -1;
	}
	return load_texture_from_raw_file(tex, width, height, type, filename, offset);
}

namespace
{

/* What a PNG load holds. Plain, since libpng leaves its callers by longjmp. */
struct PngLoad {
	png_structp png;
	png_infop info;
	unsigned char *bgra;
	png_uint_32 width;
	png_uint_32 height;
};

/* A picture that is too large is refused before it is decoded, which would take seconds. */
void refuse_oversize(png_structp png, FILE *file)
{
	/* Behind the signature: the first chunk with its length, its name, width and height. */
	unsigned char bytes[20];
	bool complete = fread(bytes, sizeof(bytes), 1, file) == 1;
	fseek(file, kPngSignatureSize, SEEK_SET);
	if (!complete || memcmp(bytes + 8, "IHDR", 4) != 0)
		return; /* libpng tells what is wrong with it */
	if (png_get_uint_32(bytes + 16) > kMaxPngSize)
		png_error(png, "Image is too tall to process in memory");
	if (png_get_uint_32(bytes + 12) > kMaxPngSize)
		png_error(png, "Image is too wide to process in memory");
}

/* The longjmp out of libpng ends here: no object with a destructor lives in between. */
bool decode(PngLoad &load, FILE *file)
{
	if (setjmp(png_jmpbuf(load.png)))
		return false;
	refuse_oversize(load.png, file);
	png_init_io(load.png, file);
	png_set_sig_bytes(load.png, kPngSignatureSize);
	png_set_chunk_malloc_max(load.png, kMaxPngChunk);
	png_read_png(load.png, load.info,
	    PNG_TRANSFORM_SCALE_16 | PNG_TRANSFORM_GRAY_TO_RGB | PNG_TRANSFORM_BGR |
	        PNG_TRANSFORM_EXPAND | PNG_TRANSFORM_PACKING,
	    nullptr);
	load.width = png_get_image_width(load.png, load.info);
	load.height = png_get_image_height(load.png, load.info);
	return true;
}

/* The rows from the last to the first: texture memory begins with the picture's bottom row. */
int copy_rows(PngLoad &load)
{
	if (png_get_channels(load.png, load.info) != 4)
		return -1;
	std::size_t row_size = std::size_t{4} * load.width;
	load.bgra = static_cast<unsigned char *>(malloc(row_size * load.height));
	if (!load.bgra) {
		REPORT("%s, %d, malloc() error, bgra == NULL\n", "load_texture_png", 687);
		return -4;
	}
	png_bytepp rows = png_get_rows(load.png, load.info);
	for (png_uint_32 i = 0; i < load.height; i++)
		memcpy(load.bgra + i * row_size, rows[load.height - 1 - i], row_size);
	return 0;
}

int load_png(GLuint tex, FILE *file)
{
	PngLoad load = {};
	load.png = png_create_read_struct("1.6.37", nullptr, nullptr, nullptr);
	if (!load.png)
		return -1;
	load.info = png_create_info_struct(load.png);
	int result = load.info && decode(load, file) ? copy_rows(load) : -1;
	if (result == 0) {
		load_texture(tex, static_cast<int>(load.width), static_cast<int>(load.height), GL_BGRA_EXT,
		    load.bgra);
	}
	png_destroy_read_struct(&load.png, &load.info, nullptr);
	if (result == 0)
		advise_dont_need(file, kPngSignatureSize);
	free(load.bgra);
	return result;
}

} // namespace

int load_texture_png(GLuint tex, const char *filename)
{
	static const char kWho[] = "load_texture_png";
	File file = open_picture(filename);
	if (!file) {
		REPORT_TO(stderr, "%s,cannot open png file: %s\n", kWho, filename);
		return -1;
	}
	unsigned char signature[kPngSignatureSize];
	std::size_t got = fread(signature, 1, sizeof(signature), file.get());
	if (got < sizeof(signature)) {
		REPORT_TO(stderr, "%s, %s, can't read PNG_BYTES_TO_CHECK bytes\n", kWho, filename);
		advise_dont_need(file.get(), got);
		return -2;
	}
	if (png_sig_cmp(signature, 0, sizeof(signature))) {
		REPORT_TO(stderr, "%s, it's not png file: %s\n", kWho, filename);
		advise_dont_need(file.get(), got);
		return -3;
	}
	return load_png(tex, file.get());
}
