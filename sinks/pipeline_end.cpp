#include <sinks/pipeline_end.h>

#include <cstring>

namespace
{

constexpr GstClockTime kLongestEnd = 60 * GST_SECOND;

} // namespace

std::string reason_of(GstMessage *error)
{
	GError *failure = nullptr;
	gchar *debug = nullptr;
	gst_message_parse_error(error, &failure, &debug);
	std::string reason = failure->message;
	if (const char *last_line = debug ? strrchr(debug, '\n') : nullptr)
		reason += std::string(" (") + (last_line + 1) + ')';
	g_error_free(failure);
	g_free(debug);
	return reason;
}

MessagePtr wait_for_end(GstBus *bus)
{
	return MessagePtr(gst_bus_timed_pop_filtered(
	    bus, kLongestEnd, static_cast<GstMessageType>(GST_MESSAGE_EOS | GST_MESSAGE_ERROR)));
}

std::string reason_of_end(const MessagePtr &end)
{
	if (!end)
		return "the encoder does not end";
	return GST_MESSAGE_TYPE(end.get()) == GST_MESSAGE_EOS ? "" : reason_of(end.get());
}
