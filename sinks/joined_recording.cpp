#include <sinks/joined_recording.h>

#include <sinks/pipeline_end.h>
#include <sinks/recorder.h>
#include <sinks/unfinished_file.h>

namespace
{

/* The parser takes its place in the row at once, the demuxer only when its file is read. */
std::string pipeline_of(std::size_t parts)
{
	std::string pipeline = "concat name=row ! video/x-h264,stream-format=avc,alignment=au ! " +
	                       std::string(kRecordingFile);
	for (std::size_t i = 0; i < parts; i++)
		pipeline += " filesrc name=part" + std::to_string(i) + " ! qtdemux ! h264parse ! row.";
	return pipeline;
}

void set_location(GstElement *pipeline, const std::string &name, const std::string &path)
{
	const std::unique_ptr<GstElement, Unref> file(
	    gst_bin_get_by_name(GST_BIN(pipeline), name.c_str()));
	g_object_set(file.get(), "location", path.c_str(), nullptr);
}

/* Empty, or the reason why it failed. */
std::string join(const std::vector<std::string> &parts, const std::string &path)
{
	gst_init(nullptr, nullptr);
	GError *failure = nullptr;
	const std::unique_ptr<GstElement, Unref> pipeline(gst_parse_launch_full(
	    pipeline_of(parts.size()).c_str(), nullptr, GST_PARSE_FLAG_FATAL_ERRORS, &failure));
	if (!pipeline) {
		const std::string reason = failure->message;
		g_error_free(failure);
		return reason;
	}
	set_location(pipeline.get(), "file", path);
	for (std::size_t i = 0; i < parts.size(); i++)
		set_location(pipeline.get(), "part" + std::to_string(i), parts[i]);
	const std::unique_ptr<GstBus, Unref> bus(gst_element_get_bus(pipeline.get()));
	gst_element_set_state(pipeline.get(), GST_STATE_PLAYING);
	const MessagePtr end = wait_for_end(bus.get());
	gst_element_set_state(pipeline.get(), GST_STATE_NULL);
	return reason_of_end(end);
}

} // namespace

bool join_recordings(
    const std::vector<std::string> &parts, const std::string &path, std::string *error)
{
	const std::string reason = join(parts, path);
	if (reason.empty())
		return true;
	remove_unfinished_file(path);
	*error = "cannot record to " + path + ": " + reason;
	return false;
}
