#include <host/private_socket.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

static constexpr int kWaitingClients = 16;

static int listen_on(const std::string &path)
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

bool open_private_socket(PrivateSocket *socket, std::string *error)
{
	std::error_code failure;
	std::string folder = std::filesystem::temp_directory_path(failure) / "animation-XXXXXX";
	if (failure || !mkdtemp(folder.data())) {
		*error = "cannot make a private folder " + folder + ": " + strerror(errno);
		return false;
	}
	socket->folder = folder;
	socket->name = "wayland-0";
	socket->fd = listen_on(folder + "/" + socket->name);
	if (socket->fd < 0) {
		*error = "cannot listen in " + folder + ": " + strerror(errno);
		remove_private_folder(socket);
		return false;
	}
	return true;
}

void remove_private_folder(PrivateSocket *socket)
{
	if (socket->folder.empty())
		return;
	std::error_code ignored; /* a folder that is gone already is as good */
	std::filesystem::remove_all(socket->folder, ignored);
	socket->folder.clear();
}
