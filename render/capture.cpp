#include <render/capture.h>

#include <cstdio>
#include <unistd.h>

#include <base/heap.h>

void capture_frame(const struct window &window)
{
	if (access(CAPTURE_MARKER, F_OK) != 0)
		return;
	int width = 2 * window.geometry.width;
	int height = window.geometry.height;
	std::size_t size = std::size_t{4} * static_cast<std::size_t>(width * height);
	HeapBlock<unsigned char> pixels(static_cast<unsigned char *>(malloc(size)));
	if (!pixels)
		return;
	glReadPixels(0, 0, width, height, GL_RGBA, GL_UNSIGNED_BYTE, pixels.get());

	/* 50 characters hold the name on the unit; a development folder may lie deeper. */
	char name[sizeof(CAPTURE_DIR) + 50];
	snprintf(name, sizeof(name), "%s/%lld.raw", CAPTURE_DIR, static_cast<long long>(framecnt));
	FILE *file = fopen(name, "w");
	if (!file)
		return;
	fwrite(pixels.get(), size, 1, file);
	fflush(file);
	fclose(file);
}
