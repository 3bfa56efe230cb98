/* render-clip: draws a drive through the night at build time, as the scenes' video.
 *
 *     render-clip OUT.mp4|OUT.nv12 WIDTH HEIGHT FRAMES
 *
 * 25 frames a second: H.264, or the bare NV12 frames one behind the other.
 */
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>

#include <cairo.h>
#include <gst/app/gstappsrc.h>
#include <gst/gst.h>

namespace
{

constexpr int kRate = 25;
constexpr double kHorizon = 0.52;

struct Canvas {
	cairo_t *cr;
	double width;
	double height;
};

void fill(const Canvas &canvas, double red, double green, double blue)
{
	cairo_set_source_rgb(canvas.cr, red, green, blue);
	cairo_fill(canvas.cr);
}

void draw_sky(const Canvas &canvas)
{
	cairo_pattern_t *sky = cairo_pattern_create_linear(0, 0, 0, canvas.height * kHorizon);
	cairo_pattern_add_color_stop_rgb(sky, 0, 0.05, 0.07, 0.2);
	cairo_pattern_add_color_stop_rgb(sky, 1, 0.55, 0.3, 0.42);
	cairo_set_source(canvas.cr, sky);
	cairo_paint(canvas.cr);
	cairo_pattern_destroy(sky);
}

/* Hills that pass slowly while the road bends. */
void draw_hills(const Canvas &canvas, double time)
{
	cairo_move_to(canvas.cr, 0, canvas.height * kHorizon);
	for (int x = 0; x <= canvas.width; x += 4) {
		const double place = x / canvas.width * 9 + time * 0.35;
		const double top = 0.1 + 0.05 * std::sin(place) + 0.03 * std::sin(place * 2.7 + 1);
		cairo_line_to(canvas.cr, x, canvas.height * (kHorizon - top));
	}
	cairo_line_to(canvas.cr, canvas.width, canvas.height * kHorizon);
	fill(canvas, 0.16, 0.13, 0.25);
	cairo_rectangle(
	    canvas.cr, 0, canvas.height * kHorizon, canvas.width, canvas.height * (1 - kHorizon));
	fill(canvas, 0.07, 0.1, 0.1);
}

/* A band along the road between two distances, left and right in road widths from its middle. */
void draw_band(
    const Canvas &canvas, double bend, double near, double far, double left, double right)
{
	const auto x = [&](double distance, double side) {
		const double middle = 0.5 + bend * 0.12 * distance * distance / 100;
		return canvas.width * (middle + side * 0.42 / distance);
	};
	const auto y = [&](double distance) {
		return canvas.height * (kHorizon + (1 - kHorizon) / distance);
	};
	cairo_move_to(canvas.cr, x(near, left), y(near));
	cairo_line_to(canvas.cr, x(near, right), y(near));
	cairo_line_to(canvas.cr, x(far, right), y(far));
	cairo_line_to(canvas.cr, x(far, left), y(far));
	cairo_close_path(canvas.cr);
}

void draw_road(const Canvas &canvas, double time)
{
	constexpr int kFarthest = 16;
	constexpr double kStep = 0.5;
	constexpr int kSteps = static_cast<int>((kFarthest - 1) / kStep);
	constexpr double kSpeed = 4;
	const double bend = std::sin(time * 0.8);
	for (int step = 0; step <= kSteps; ++step) {
		const double near = kFarthest - step * kStep;
		draw_band(canvas, bend, near, near + kStep, -1, 1);
	}
	fill(canvas, 0.17, 0.18, 0.22);
	for (int step = 0; step <= kSteps; ++step) {
		const double near = kFarthest - step * kStep;
		draw_band(canvas, bend, near, near + kStep, -0.97, -0.92);
		draw_band(canvas, bend, near, near + kStep, 0.92, 0.97);
	}
	fill(canvas, 0.9, 0.85, 0.7);
	const double offset = 2 - std::fmod(time * kSpeed, 2);
	for (int dash = kFarthest; dash > -1; dash -= 2) {
		const double near = std::max(dash + offset, 0.9);
		const double far = dash + offset + 0.9;
		if (far > near)
			draw_band(canvas, bend, near, far, -0.025, 0.025);
	}
	fill(canvas, 0.95, 0.95, 0.9);
}

void draw_clock(const Canvas &canvas, int frame)
{
	char text[32];
	std::snprintf(text, sizeof text, "%d.%02d s", frame / kRate, frame % kRate * 100 / kRate);
	cairo_select_font_face(
	    canvas.cr, "DejaVu Sans", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_BOLD);
	cairo_set_font_size(canvas.cr, canvas.height * 0.09);
	cairo_move_to(canvas.cr, canvas.width * 0.04, canvas.height * 0.14);
	cairo_set_source_rgb(canvas.cr, 1, 1, 1);
	cairo_show_text(canvas.cr, text);
}

/* A frame in a border of one tone, which shows whether it is cropped where it should be. */
void draw_frame(const Canvas &canvas, int frame)
{
	const double time = static_cast<double>(frame) / kRate;
	draw_sky(canvas);
	draw_hills(canvas, time);
	draw_road(canvas, time);
	draw_clock(canvas, frame);
	cairo_rectangle(canvas.cr, 2, 2, canvas.width - 4, canvas.height - 4);
	cairo_set_line_width(canvas.cr, 4);
	cairo_set_source_rgb(canvas.cr, 0.96, 0.72, 0.2);
	cairo_stroke(canvas.cr);
}

GstBuffer *new_frame(int frame, int width, int height)
{
	cairo_surface_t *surface = cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height);
	cairo_t *cr = cairo_create(surface);
	draw_frame({cr, static_cast<double>(width), static_cast<double>(height)}, frame);
	cairo_destroy(cr);
	cairo_surface_flush(surface);
	const auto size = static_cast<gsize>(cairo_image_surface_get_stride(surface)) * height;
	GstBuffer *buffer = gst_buffer_new_allocate(nullptr, size, nullptr);
	gst_buffer_fill(buffer, 0, cairo_image_surface_get_data(surface), size);
	cairo_surface_destroy(surface);
	GST_BUFFER_PTS(buffer) = gst_util_uint64_scale(frame, GST_SECOND, kRate);
	GST_BUFFER_DURATION(buffer) = GST_SECOND / kRate;
	return buffer;
}

std::string launch_description(const std::string &out, int width, int height)
{
	const std::string encoder =
	    out.ends_with(".mp4")
	        ? "video/x-raw,format=I420 ! x264enc threads=1 bitrate=2000 key-int-max=25 ! "
	          "video/x-h264,profile=main ! h264parse ! mp4mux"
	        : "video/x-raw,format=NV12";
	return "appsrc name=frames format=time block=true caps=video/x-raw,format=BGRx,width=" +
	       std::to_string(width) + ",height=" + std::to_string(height) +
	       ",framerate=" + std::to_string(kRate) + "/1 ! videoconvert ! " + encoder +
	       " ! filesink location=\"" + out + "\"";
}

/* The error message, or an empty text at the end of the stream. */
std::string wait_for_end(GstElement *pipeline)
{
	GstBus *bus = gst_element_get_bus(pipeline);
	GstMessage *message = gst_bus_timed_pop_filtered(
	    bus, GST_CLOCK_TIME_NONE, static_cast<GstMessageType>(GST_MESSAGE_EOS | GST_MESSAGE_ERROR));
	std::string text;
	if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_ERROR) {
		GError *error = nullptr;
		gst_message_parse_error(message, &error, nullptr);
		text = error->message;
		g_error_free(error);
	}
	gst_message_unref(message);
	gst_object_unref(bus);
	return text;
}

/* The time of writing stands in three headers of an MP4 file, and would make two builds differ. */
bool clear_times(const std::string &path)
{
	std::fstream file(path, std::ios::binary | std::ios::in | std::ios::out);
	std::string bytes(std::istreambuf_iterator<char>(file), {});
	const std::size_t headers = bytes.rfind("moov");
	for (const char *name : {"mvhd", "tkhd", "mdhd"}) {
		const std::size_t place = bytes.find(name, headers);
		if (headers == std::string::npos || place == std::string::npos)
			return false;
		constexpr char kTimes[8] = {}; /* behind name, version and flags: creation, modification */
		file.seekp(static_cast<std::streamoff>(place + 8));
		file.write(kTimes, sizeof kTimes);
	}
	file.close();
	return !file.fail();
}

} // namespace

int main(int argc, char **argv)
{
	if (argc != 5) {
		std::fprintf(stderr, "usage: render-clip OUT.mp4|OUT.nv12 WIDTH HEIGHT FRAMES\n");
		return 2;
	}
	gst_init(nullptr, nullptr);
	const int width = std::atoi(argv[2]);
	const int height = std::atoi(argv[3]);
	const int frames = std::atoi(argv[4]);
	GError *error = nullptr;
	GstElement *pipeline =
	    gst_parse_launch(launch_description(argv[1], width, height).c_str(), &error);
	if (error) {
		std::fprintf(stderr, "render-clip: %s\n", error->message);
		return 1;
	}
	GstElement *source = gst_bin_get_by_name(GST_BIN(pipeline), "frames");
	gst_element_set_state(pipeline, GST_STATE_PLAYING);
	for (int frame = 0; frame < frames; ++frame)
		gst_app_src_push_buffer(GST_APP_SRC(source), new_frame(frame, width, height));
	gst_app_src_end_of_stream(GST_APP_SRC(source));
	std::string failure = wait_for_end(pipeline);
	gst_element_set_state(pipeline, GST_STATE_NULL);
	gst_object_unref(source);
	gst_object_unref(pipeline);
	if (failure.empty() && std::string_view(argv[1]).ends_with(".mp4") && !clear_times(argv[1]))
		failure = std::string("cannot clear the times in ") + argv[1];
	if (!failure.empty())
		std::fprintf(stderr, "render-clip: %s\n", failure.c_str());
	return failure.empty() ? 0 : 1;
}
