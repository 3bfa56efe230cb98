/* A GStreamer pipeline of a test's own; it plays while it lives. */
#ifndef TESTS_SUPPORT_PIPELINE_H
#define TESTS_SUPPORT_PIPELINE_H

#include <memory>
#include <string>

#include <gst/app/gstappsink.h>
#include <gst/gst.h>
#include <gtest/gtest.h>

using SamplePtr = std::unique_ptr<GstSample, decltype(&gst_sample_unref)>;

class Pipeline
{
public:
	explicit Pipeline(const std::string &description)
	    : element(gst_parse_launch(description.c_str(), nullptr))
	{
		EXPECT_TRUE(element) << description;
		set_state(GST_STATE_PLAYING);
	}
	~Pipeline()
	{
		set_state(GST_STATE_NULL);
		gst_object_unref(element);
	}
	Pipeline(const Pipeline &) = delete;
	Pipeline &operator=(const Pipeline &) = delete;

	void set_state(GstState state) const
	{
		gst_element_set_state(element, state);
	}

	/* Null at the end of the stream. */
	SamplePtr next_sample(const char *sink_name = "grabber") const
	{
		GstElement *sink = gst_bin_get_by_name(GST_BIN(element), sink_name);
		SamplePtr sample(
		    gst_app_sink_try_pull_sample(GST_APP_SINK(sink), 20 * GST_SECOND), gst_sample_unref);
		gst_object_unref(sink);
		return sample;
	}

	/* True when the end of the stream has come. */
	bool ends(double seconds) const
	{
		GstBus *bus = gst_element_get_bus(element);
		GstMessage *message = gst_bus_timed_pop_filtered(bus, GstClockTime(seconds * GST_SECOND),
		    GstMessageType(GST_MESSAGE_EOS | GST_MESSAGE_ERROR));
		const bool ended = message && GST_MESSAGE_TYPE(message) == GST_MESSAGE_EOS;
		if (message)
			gst_message_unref(message);
		gst_object_unref(bus);
		return ended;
	}

	GstElement *const element;
};

#endif
