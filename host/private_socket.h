/* A listening socket that only this user can find. It leaves no files behind: what a killed owner
 * could not remove, the next one to open such a socket removes. */
#pragma once

#include <string>

struct PrivateSocket {
	std::string folder; /* new, for this user only; empty: not made */
	std::string name;   /* of the socket in the folder */
	int fd = -1;        /* listens */
	int lock = -1;      /* held on the folder while its owner lives */
};

/* On failure removes what it has made and returns false with the reason in *error. */
bool open_private_socket(PrivateSocket *socket, std::string *error);

/* Removes the folder and its content. Accepts a socket that was never opened. */
void remove_private_folder(PrivateSocket *socket);
