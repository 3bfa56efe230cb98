#include <play/film.h>

#include <utility>

#include <gst/allocators/gstfdmemory.h>
#include <gst/app/gstappsink.h>
#include <gst/gst.h>
#include <gst/video/gstvideometa.h>

/* The stand-in for the unit's decoder is linked into this program. */
extern "C" void gst_plugin_animationdecoder_register(void);

namespace
{

/* Frames come one by one as they are asked for, and never by a clock. */
constexpr char kPipeline[] = "filesrc name=file ! decodebin ! "
                             "appsink name=frames caps=video/x-raw sync=false max-buffers=2";

constexpr GstClockTime kTurn = 20 * GST_MSECOND;
constexpr GstClockTime kLongestDecoding = 20 * GST_SECOND;

struct Unref {
	void operator()(void *object) const
	{
		gst_object_unref(object);
	}
};
struct UnrefSample {
	void operator()(GstSample *sample) const
	{
		gst_sample_unref(sample);
	}
};
using Sample = std::unique_ptr<GstSample, UnrefSample>;

} // namespace

struct Film {
	std::unique_ptr<GstElement, Unref> pipeline;
	std::unique_ptr<GstAppSink, Unref> frames;
	Sample current; /* keeps its descriptor */
	Sample next;
	GstClockTime position = GST_CLOCK_TIME_NONE;
};

namespace
{

void decode_next(Film &film)
{
	film.next.reset(gst_app_sink_try_pull_sample(film.frames.get(), kLongestDecoding));
}

bool is_due(const Film &film)
{
	if (!film.next)
		return false;
	const GstClockTime time = gst_segment_to_running_time(gst_sample_get_segment(film.next.get()),
	    GST_FORMAT_TIME, GST_BUFFER_PTS(gst_sample_get_buffer(film.next.get())));
	return time == GST_CLOCK_TIME_NONE || time <= film.position;
}

/* False for a sample that a playback would not deliver either. */
bool describe(GstSample *sample, BufferInfoGST *frame)
{
	GstBuffer *buffer = gst_sample_get_buffer(sample);
	GstMemory *memory = gst_buffer_peek_memory(buffer, 0);
	const auto *crop = reinterpret_cast<const GstVideoCropMeta *>(
	    gst_buffer_get_meta(buffer, gst_video_crop_meta_api_get_type()));
	const GstStructure *format = gst_caps_get_structure(gst_sample_get_caps(sample), 0);
	int width = 0;
	int height = 0;
	if (!gst_is_fd_memory(memory) || !crop || !gst_structure_get_int(format, "width", &width) ||
	    !gst_structure_get_int(format, "height", &height))
		return false;
	*frame = {.width = static_cast<std::uint32_t>(width),
	    .height = static_cast<std::uint32_t>(height),
	    .crop = {crop->x, crop->y, crop->width, crop->height},
	    .fd = static_cast<std::uint32_t>(gst_fd_memory_get_fd(memory))};
	return true;
}

} // namespace

FilmPtr open_film(const std::string &path, std::string *error)
{
	gst_init(nullptr, nullptr);
	gst_plugin_animationdecoder_register();
	FilmPtr film(new Film);
	film->pipeline.reset(gst_parse_launch(kPipeline, nullptr));
	GstBin *bin = GST_BIN(film->pipeline.get());
	const std::unique_ptr<GstElement, Unref> file(gst_bin_get_by_name(bin, "file"));
	g_object_set(file.get(), "location", path.c_str(), nullptr);
	film->frames.reset(GST_APP_SINK(gst_bin_get_by_name(bin, "frames")));
	gst_element_set_state(film->pipeline.get(), GST_STATE_PLAYING);
	decode_next(*film);
	BufferInfoGST first;
	if (film->next && describe(film->next.get(), &first))
		return film;
	*error = "film \"" + path + "\": it has no H.264 video that can be decoded";
	return nullptr;
}

bool advance(Film &film, BufferInfoGST *frame)
{
	film.position = film.position == GST_CLOCK_TIME_NONE ? 0 : film.position + kTurn;
	bool moved = false;
	while (is_due(film)) {
		film.current = std::move(film.next);
		moved = true;
		decode_next(film);
	}
	return moved && describe(film.current.get(), frame);
}

void FilmCloser::operator()(Film *film) const
{
	film->current.reset();
	film->next.reset();
	gst_element_set_state(film->pipeline.get(), GST_STATE_NULL);
	delete film;
}
