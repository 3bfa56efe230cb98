#include <play/scene_watch.h>

#include <array>
#include <filesystem>

#include <sys/inotify.h>
#include <unistd.h>

SceneWatch watch_scene_file(const std::string &path)
{
	const std::filesystem::path file(path);
	SceneWatch watch = {inotify_init1(IN_CLOEXEC | IN_NONBLOCK), file.filename()};
	inotify_add_watch(watch.descriptor, file.parent_path().c_str(), IN_CLOSE_WRITE | IN_MOVED_TO);
	return watch;
}

bool was_written(const SceneWatch &watch)
{
	bool result = false;
	alignas(inotify_event) std::array<char, 4096> events;
	for (ssize_t size; (size = read(watch.descriptor, events.data(), events.size())) > 0;) {
		for (ssize_t at = 0; at < size;) {
			const auto *event = reinterpret_cast<const inotify_event *>(&events[std::size_t(at)]);
			result = result || (event->len && watch.name == event->name);
			at += static_cast<ssize_t>(sizeof *event + event->len);
		}
	}
	return result;
}
