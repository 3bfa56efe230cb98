/* Files and folders of a test's own. */
#ifndef TESTS_SUPPORT_FILES_H
#define TESTS_SUPPORT_FILES_H

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <sys/mman.h>
#include <unistd.h>

/* A folder that goes with its files. */
class Folder
{
public:
	Folder()
	{
		std::string name = (std::filesystem::temp_directory_path() / "animation-XXXXXX").string();
		path = mkdtemp(name.data());
	}
	~Folder()
	{
		std::filesystem::remove_all(path);
	}
	Folder(const Folder &) = delete;
	Folder &operator=(const Folder &) = delete;

	/* The path of a file in it, which need not exist. */
	std::string operator/(const std::string &name) const
	{
		return path / name;
	}

	/* The path of a new file of this content. */
	template <class Bytes>
	std::string file(const std::string &name, const Bytes &content) const
	{
		std::ofstream(path / name, std::ios::binary)
		    .write(reinterpret_cast<const char *>(std::data(content)),
		        static_cast<std::streamsize>(std::size(content)));
		return *this / name;
	}

	std::filesystem::path path;
};

/* Empty if there is no such file, or if its process ends while it is read. */
inline std::string read_file(const std::string &path)
{
	std::ostringstream content;
	content << std::ifstream(path, std::ios::binary).rdbuf();
	return content.str();
}

/* A file of this content without a name. */
struct Descriptor {
	const int fd = memfd_create("test", MFD_CLOEXEC);

	explicit Descriptor(const std::vector<std::uint8_t> &bytes)
	{
		if (write(fd, bytes.data(), bytes.size()) != std::ssize(bytes))
			abort();
	}
	~Descriptor()
	{
		close(fd);
	}
};

/* In /proc/self/fd the open descriptors, in /proc/self/task the threads. */
inline long count_entries(const char *folder)
{
	using std::filesystem::directory_iterator;
	return std::distance(directory_iterator(folder), directory_iterator());
}

inline long open_descriptors()
{
	return count_entries("/proc/self/fd");
}

#endif
