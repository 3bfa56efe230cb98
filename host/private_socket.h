/* A listening socket that only this user can find, and that leaves nothing behind. */
#pragma once

#include <string>

struct PrivateSocket {
	std::string folder; /* fresh, readable by this user only; empty: none was made */
	std::string name;   /* of the socket inside it */
	int fd = -1;        /* whoever listens on it owns it */
};

/* False with the reason in *error; what was made by then is removed. */
bool open_private_socket(PrivateSocket *socket, std::string *error);

/* Removes the folder with all that is in it. Accepts a socket that was never opened. */
void remove_private_folder(PrivateSocket *socket);
