#include <animation/animation.h>
#include <animation/picture_file.h>
#include <base/report.h>

#include <png.h>

namespace
{

constexpr std::size_t kSignatureSize = 4;
constexpr png_uint_32 kMaxSide = 2304;

/* What a load holds. Plain, since libpng leaves its callers by longjmp. */
struct PngLoad {
	png_structp png;
	png_infop info;
	unsigned char *pixels;
	png_uint_32 width;
	png_uint_32 height;
	png_bytep rows[kMaxSide];
};

/* Up to the first pixel. A picture that is too large is refused before it is decoded, which would
 * take seconds. */
void read_header(PngLoad &load, FILE *file)
{
	png_init_io(load.png, file);
	png_set_sig_bytes(load.png, kSignatureSize);
	/* A text or a profile of a few bytes may claim gigabytes, which libpng would allocate and
	 * clear. -1: all chunks but those that the pixels need. */
	png_set_keep_unknown_chunks(load.png, PNG_HANDLE_CHUNK_NEVER, nullptr, -1);
	png_read_info(load.png, load.info);
	load.width = png_get_image_width(load.png, load.info);
	load.height = png_get_image_height(load.png, load.info);
	if (load.height > kMaxSide)
		png_error(load.png, "Image is too tall to process in memory");
	if (load.width > kMaxSide)
		png_error(load.png, "Image is too wide to process in memory");
}

/* Whatever the file holds comes as 8-bit B, G, R and, if it has one, A. */
void set_transforms(PngLoad &load)
{
	png_set_scale_16(load.png);
	png_set_packing(load.png);
	png_set_expand(load.png);
	png_set_bgr(load.png);
	png_set_gray_to_rgb(load.png);
	png_set_interlace_handling(load.png);
	png_read_update_info(load.png, load.info);
}

/* The last row comes first: texture memory begins with the picture's bottom row. */
bool allocate_rows(PngLoad &load)
{
	const std::size_t row_size = png_get_rowbytes(load.png, load.info);
	load.pixels = static_cast<unsigned char *>(malloc(row_size * load.height));
	if (!load.pixels) {
		REPORT("%s, %d, malloc() error, bgra == NULL\n", "load_texture_png", 687);
		return false;
	}
	for (png_uint_32 i = 0; i < load.height; i++)
		load.rows[i] = load.pixels + (load.height - 1 - i) * row_size;
	return true;
}

/* The longjmp out of libpng ends here: no object with a destructor lives in between. An opaque
 * picture is refused in silence, but only when it is known to be whole. */
int decode(PngLoad &load, FILE *file)
{
	if (setjmp(png_jmpbuf(load.png)))
		return -1;
	read_header(load, file);
	set_transforms(load);
	if (!allocate_rows(load))
		return -4;
	png_read_image(load.png, load.rows);
	png_read_end(load.png, load.info);
	return png_get_channels(load.png, load.info) == 4 ? 0 : -1;
}

int decode_file(FILE *file, DecodedPicture *picture)
{
	PngLoad load = {};
	load.png = png_create_read_struct("1.6.37", nullptr, nullptr, nullptr);
	if (!load.png)
		return -1;
	load.info = png_create_info_struct(load.png);
	int result = load.info ? decode(load, file) : -1;
	png_destroy_read_struct(&load.png, &load.info, nullptr);
	HeapBlock<unsigned char> pixels(load.pixels);
	if (result == 0) {
		*picture = {std::move(pixels), static_cast<int>(load.width), static_cast<int>(load.height),
		    GL_BGRA_EXT};
		advise_dont_need(file, kSignatureSize);
	}
	return result;
}

} // namespace

int read_png(const char *filename, DecodedPicture *picture)
{
	static const char kWho[] = "load_texture_png";
	File file = open_picture(filename);
	if (!file) {
		REPORT_TO(stderr, "%s,cannot open png file: %s\n", kWho, filename);
		return -1;
	}
	unsigned char signature[kSignatureSize];
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
	return decode_file(file.get(), picture);
}
