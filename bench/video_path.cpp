/*
 * What a video frame costs on its way from the decoder to the screen, and what becomes of the
 * frames.
 *
 * An application plays a film of 25 video frames a second to one object while the render thread
 * runs. A small and short film comes first: what the library copies must not depend on the size of
 * a video frame. The host converts every video frame, where a unit would import it. That time is
 * counted separately.
 */
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include <unistd.h>

#include <animation/animation.h>
#include <bench/video_report.h>
#include <host/compositor.h>
#include <player/player.h>
#include <render/render.h>

/* The decoder's code is part of this program. */
extern "C" void gst_plugin_animationdecoder_register();

namespace
{

constexpr int kRate = 25;

struct Film {
	unsigned width, height;
	int seconds;
	std::string path;
};

class Folder
{
public:
	~Folder()
	{
		std::error_code ignored;
		std::filesystem::remove_all(path, ignored);
	}

	/* Empty if it cannot be made. */
	const std::string path = [] {
		std::string pattern = std::filesystem::temp_directory_path() / "video_path-XXXXXX";
		return std::string(mkdtemp(pattern.data()) ? pattern : "");
	}();
};

/* Runs a pipeline to its end. */
bool run(const std::string &description)
{
	GError *error = nullptr;
	GstElement *pipeline = gst_parse_launch(description.c_str(), &error);
	if (error) {
		fprintf(stderr, "video_path: %s\n", error->message);
		return false;
	}
	gst_element_set_state(pipeline, GST_STATE_PLAYING);
	GstBus *bus = gst_element_get_bus(pipeline);
	GstMessage *end = gst_bus_timed_pop_filtered(
	    bus, GST_CLOCK_TIME_NONE, static_cast<GstMessageType>(GST_MESSAGE_EOS | GST_MESSAGE_ERROR));
	const bool complete = GST_MESSAGE_TYPE(end) == GST_MESSAGE_EOS;
	gst_message_unref(end);
	gst_object_unref(bus);
	gst_element_set_state(pipeline, GST_STATE_NULL);
	gst_object_unref(pipeline);
	return complete;
}

bool make(const Film &film)
{
	return run("videotestsrc num-buffers=" + std::to_string(film.seconds * kRate) +
	           " ! video/x-raw,format=I420,width=" + std::to_string(film.width) +
	           ",height=" + std::to_string(film.height) + ",framerate=" + std::to_string(kRate) +
	           "/1 ! x264enc speed-preset=ultrafast key-int-max=25 ! h264parse ! mp4mux" +
	           " ! filesink location=" + film.path);
}

/* A compositor in this process, and Mesa's software renderer, which is the same on every PC. */
CompositorPtr open_display()
{
	std::string error;
	CompositorPtr compositor = open_compositor({}, &error);
	if (!compositor) {
		fprintf(stderr, "video_path: %s\n", error.c_str());
		return compositor;
	}
	setenv("LIBGL_ALWAYS_SOFTWARE", "1", 1);
	setenv("XDG_RUNTIME_DIR", compositor_folder(*compositor).c_str(), 1);
	setenv("WAYLAND_DISPLAY", compositor_socket(*compositor).c_str(), 1);
	start_compositor_thread(*compositor);
	return compositor;
}

void await_turns(std::uint32_t count)
{
	const auto turns = [] { return __atomic_load_n(&p_gwindow->frames, __ATOMIC_ACQUIRE); };
	for (const std::uint32_t begin = turns(); turns() - begin < count;)
		usleep(1000);
}

/* To the end, on an object that fills a viewport. */
VideoRun play(const Film &film)
{
	float corners[] = {0, 576, 1152, 576, 0, 0, 1152, 0};
	float whole[] = {0, 1, 1, 1, 0, 0, 1, 0};
	VideoGST_animationpara para = {
	    .in_position2d = {.coordnum = 4, .position2d = corners, .vp_id = VP_LCD0},
	    .texcoord = whole,
	};
	const unsigned int id = CreateAnimationObj(ANI_VIDEO_GST, &para);
	SetGSTPlayAnimationId(id, &para, ANIMATION_NO_OBJECT, nullptr);
	if (StartGSTPlay(film.path.c_str()) == 0)
		while (StartGSTPlay(nullptr) == 1)
			usleep(100000); /* asked seldom, for it takes the mutex */

	await_turns(2); /* the last frame may be waiting */
	RemoveAnimationObj(id, DEL_IMMEDIATELY);
	while (GetAnimationObjStatus(id) != ST_INVALID)
		usleep(1000);
	return {film.width, film.height, take_trace()};
}

} // namespace

int main()
{
	double load = 0;
	getloadavg(&load, 1);

	gst_init(nullptr, nullptr);
	gst_plugin_animationdecoder_register();
	const Folder folder;
	const Film small_film = {320, 180, 4, folder.path + "/small.mp4"};
	const Film large_film = {1280, 720, 10, folder.path + "/large.mp4"};
	if (folder.path.empty() || !make(small_film) || !make(large_film)) {
		fprintf(stderr, "video_path: the films cannot be made\n");
		return 1;
	}
	const CompositorPtr compositor = open_display();
	if (!compositor)
		return 1;

	Init();
	trace_images();
	const VideoRun small = play(small_film);
	const VideoRun large = play(large_film);
	DeInit();

	printf("\nOne object, %d frames a second; the load of the machine before: %.2f\n", kRate, load);
	print_way(large);
	const bool small_adds_up = print_fates(small);
	const bool large_adds_up = print_fates(large);
	print_copies(small, large);
	return small_adds_up && large_adds_up ? 0 : 1;
}
