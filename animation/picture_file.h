/* Picture files, read into memory. A texture handle does so before it takes g_mutex: of GL no more
 * is asked than its largest texture. */
#pragma once

#include <cstdio>
#include <memory>

#include <base/heap.h>

/* A picture as GL takes it: packed rows, the bottom one first for BMP and PNG. */
struct DecodedPicture {
	HeapBlock<unsigned char> pixels;
	int width = 0;
	int height = 0;
	int type = 0; /* GL_RGB or GL_BGRA_EXT */
};

/* They fill *picture, or report and return what the loaders of <animation/animation.h> do. */
int read_raw_block(
    int width, int height, int type, const char *filename, int offset, DecodedPicture *picture);
int read_bmp(const char *filename, DecodedPicture *picture);
int read_png(const char *filename, DecodedPicture *picture);

/* ---- For those who read them ---------------------------------------------------------------- */

struct CloseFile {
	void operator()(FILE *file) const
	{
		fclose(file);
	}
};
using File = std::unique_ptr<FILE, CloseFile>;

/* A regular file: a pipe or a device under the name of a picture would hold its reader for ever. */
File open_picture(const char *filename);

/* The file is used once: the page cache need not keep its first bytes. */
void advise_dont_need(FILE *file, std::size_t size);
