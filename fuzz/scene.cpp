/* A scene file of any content is read, or refused with one line that names the file. */
#include <fuzz/fuzzing.h>

#include <cstdlib>
#include <cstring>

#include <play/scene.h>
#include <play/scene_file.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
	const char *path = input_file(data, size);
	try {
		read_scene(path);
	} catch (const SceneError &error) {
		if (strncmp(error.what(), path, strlen(path)) != 0 || strchr(error.what(), '\n'))
			abort();
	}
	return 0;
}
