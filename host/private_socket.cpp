#include <host/private_socket.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string_view>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <time.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace
{

constexpr int kWaitingClients = 16;
constexpr std::string_view kFolderName = "animation-host-";
constexpr char kSocketName[] = "wayland-0";
constexpr time_t kLongestMaking = 60; /* seconds, of a folder with its socket */

/* ---- Folders of the dead ---- */

/* A lock on the folder, or -1 if there is none to be had: the kernel takes it from an owner that
 * dies. A link is not followed. */
int lock_folder(const fs::path &folder)
{
	const int fd = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
	if (fd < 0 || flock(fd, LOCK_EX | LOCK_NB) == 0)
		return fd;
	close(fd);
	return -1;
}

/* Ours, and past the moment in which a folder is made but not locked: the socket comes after. Where
 * it never came the moment is over all the same. */
bool is_swept(int folder)
{
	struct stat status, socket;
	if (fstat(folder, &status) != 0 || status.st_uid != geteuid() ||
	    (status.st_mode & 07777) != S_IRWXU)
		return false;
	if (fstatat(folder, kSocketName, &socket, AT_SYMLINK_NOFOLLOW) == 0)
		return S_ISSOCK(socket.st_mode);
	return errno == ENOENT && status.st_mtime < time(nullptr) - kLongestMaking;
}

void sweep(const fs::path &place)
{
	std::error_code failure; /* what cannot be looked at or removed stays */
	for (fs::directory_iterator it(place, failure), end; !failure && it != end;
	     it.increment(failure)) {
		if (!it->path().filename().string().starts_with(kFolderName))
			continue;
		const int lock = lock_folder(it->path());
		std::error_code ignored;
		if (lock >= 0 && is_swept(lock))
			fs::remove_all(it->path(), ignored);
		if (lock >= 0)
			close(lock);
	}
}

/* ---- The socket ---- */

int listen_on(const std::string &path)
{
	sockaddr_un address = {.sun_family = AF_UNIX};
	if (path.size() >= sizeof(address.sun_path)) {
		errno = ENAMETOOLONG;
		return -1;
	}
	memcpy(address.sun_path, path.c_str(), path.size() + 1);

	int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
	if (fd < 0)
		return -1;
	if (bind(fd, reinterpret_cast<sockaddr *>(&address), sizeof(address)) != 0 ||
	    listen(fd, kWaitingClients) != 0) {
		const int reason = errno;
		close(fd);
		errno = reason;
		return -1;
	}
	return fd;
}

bool make_folder(const fs::path &place, PrivateSocket *socket)
{
	std::string folder = place / (std::string(kFolderName) + "XXXXXX");
	if (!mkdtemp(folder.data()))
		return false;
	socket->folder = folder;
	socket->lock = lock_folder(folder);
	return true; /* where folders cannot be locked none is ever swept */
}

} // namespace

bool open_private_socket(PrivateSocket *socket, std::string *error)
{
	std::error_code failure;
	const fs::path place = fs::temp_directory_path(failure);
	if (failure) {
		*error = "cannot make a private folder: " + failure.message();
		return false;
	}
	sweep(place);
	if (!make_folder(place, socket)) {
		const char *reason = strerror(errno);
		*error = "cannot make a private folder in " + place.string() + ": " + reason;
		return false;
	}
	socket->name = kSocketName;
	socket->fd = listen_on(socket->folder + "/" + socket->name);
	if (socket->fd < 0) {
		const char *reason = strerror(errno);
		*error = "cannot listen in " + socket->folder + ": " + reason;
		remove_private_folder(socket);
		return false;
	}
	return true;
}

void remove_private_folder(PrivateSocket *socket)
{
	if (socket->folder.empty())
		return;
	std::error_code ignored;                  /* a folder that is gone already is as good */
	if (!fs::remove(socket->folder, ignored)) /* the one way without a descriptor to spare */
		fs::remove_all(socket->folder, ignored);
	socket->folder.clear();
	if (socket->lock >= 0)
		close(socket->lock);
	socket->lock = -1;
}
