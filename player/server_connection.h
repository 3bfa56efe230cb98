/* The way out for rtmpsrc: its TCP connection, found by the difference. */
#pragma once

#include <bitset>

#include <gst/gst.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <sys/types.h>

using Connections = std::bitset<FD_SETSIZE>;

/* The TCP connections of this process, by descriptor. */
Connections open_connections();

/* One of them. */
struct Connection {
	int fd = -1;     /* -1: none */
	ino_t inode = 0; /* tells a descriptor from one of the same number after it */
	sockaddr_storage peer = {};
};

/* The one to the server of the URI that has come since, to be called right after rtmpsrc has opened
 * its own. */
Connection find_connection(const Connections &before, const char *uri);

/* Gets the source out of its reading, where its connection was found. */
void end_reading(const Connection &connection, GstElement *pipeline);
