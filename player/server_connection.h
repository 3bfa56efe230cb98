/* The way out for rtmpsrc: its TCP connection, found by the difference. */
#pragma once

#include <bitset>
#include <cstdint>

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
	Connections before; /* what was open before it: not the source's */
};

/* The one to the server of the URI that has come since, to be called right after rtmpsrc has opened
 * its own. */
Connection find_connection(const Connections &before, const char *uri);

/* rtmpsrc takes leave of a server that may have reset the connection: SIGPIPE, which goes to the
 * thread that writes, must not end the process. For the calling thread, from now on. */
void outlive_resets();

/* Does so on the thread of the source, and counts the buffers that come out: an atomic word. */
void prepare_source(GstElement *pipeline, unsigned &count);

/* How many bytes the source has read from it; 0 once it is closed. */
uint64_t bytes_read(const Connection &connection);

/* Ends its reading half, also against a server that never stops to send. */
void hang_up(const Connection &connection);

/* Gets the source out of its reading, where its connection was found. */
void end_reading(const Connection &connection, GstElement *pipeline);
