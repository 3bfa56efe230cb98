/* What ends a GStreamer pipeline. */
#pragma once

#include <memory>
#include <string>

#include <gst/gst.h>

struct Unref {
	void operator()(void *object) const
	{
		gst_object_unref(object);
	}
};
struct MessageUnref {
	void operator()(GstMessage *message) const
	{
		gst_message_unref(message);
	}
};
using MessagePtr = std::unique_ptr<GstMessage, MessageUnref>;

/* GStreamer says what failed in its message and why in the last line of its debug text. */
std::string reason_of(GstMessage *error);

/* Waits for the end of the stream or a failure. Null if neither comes. */
MessagePtr wait_for_end(GstBus *bus);

/* Empty if that was the end of the stream. */
std::string reason_of_end(const MessagePtr &end);
