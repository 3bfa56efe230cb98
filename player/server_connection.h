/* The way out for rtmpsrc: its TCP connection, found by the difference. */
#pragma once

#include <bitset>

#include <gst/gst.h>
#include <sys/select.h>

using Connections = std::bitset<FD_SETSIZE>;

/* The TCP connections of this process, by descriptor. */
Connections open_connections();

/* Remembers the one to the server of the URI that has come since, to be called right after rtmpsrc
 * has opened its own. */
void remember_connection(const Connections &before, const char *uri);

/* Gets the source out of its reading, where a connection was remembered, and forgets it. */
void end_reading(GstElement *pipeline);
