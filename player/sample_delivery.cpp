/* One decoded sample on its way to the objects: a descriptor and a few numbers, never pixels. */
#include <cstdlib>
#include <memory>

#include <gst/allocators/gstfdmemory.h>
#include <gst/app/gstappsink.h>
#include <gst/video/gstvideometa.h>

#include <animation/animation.h>
#include <base/lock.h>
#include <player/player_state.h>

int first_frame = 1;

namespace
{

struct UnrefSample {
	void operator()(GstSample *sample) const
	{
		gst_sample_unref(sample);
	}
};

using Sample = std::unique_ptr<GstSample, UnrefSample>;

/* The first structure of the caps; NULL where there is none, without a word for empty caps. */
const GstStructure *format_of(GstSample *sample)
{
	GstCaps *caps = gst_sample_get_caps(sample);
	if (!caps) {
		g_print("could not get snapshot format\n");
		return nullptr;
	}
	return gst_caps_get_size(caps) > 0 ? gst_caps_get_structure(caps, 0) : nullptr;
}

bool read_size(GstSample *sample, BufferInfoGST &binfo)
{
	const GstStructure *format = format_of(sample);
	if (!format)
		return false;

	int width;
	int height;
	if (!gst_structure_get_int(format, "width", &width) ||
	    !gst_structure_get_int(format, "height", &height)) {
		g_print("could not get snapshot dimension\n");
		return false;
	}
	binfo.width = width;
	binfo.height = height;
	return true;
}

bool read_descriptor(GstBuffer *buffer, BufferInfoGST &binfo)
{
	if (!buffer || gst_buffer_n_memory(buffer) == 0)
		return false;
	GstMemory *memory = gst_buffer_peek_memory(buffer, 0);
	if (!memory || !gst_is_fd_memory(memory))
		return false;
	const int fd = gst_fd_memory_get_fd(memory);
	binfo.fd = fd;
	return fd != -1;
}

bool read_crop(GstBuffer *buffer, BufferInfoGST &binfo)
{
	auto *crop = reinterpret_cast<GstVideoCropMeta *>(
	    gst_buffer_get_meta(buffer, gst_video_crop_meta_api_get_type()));
	if (!crop)
		return false;
	binfo.crop = {crop->x, crop->y, crop->width, crop->height};
	return true;
}

void note_first_frame(CustomData &player)
{
	if (load(first_frame) == 1) {
		print_time("first frame");
		store(first_frame, 0);
	}
	store(player.is_first_frame, TRUE);
}

void feed(unsigned int id, void *registered, const BufferInfoGST &binfo)
{
	auto *para = static_cast<VideoGST_animationpara *>(registered);
	if (id == ANIMATION_NO_OBJECT || !para)
		return;
	if (!para->bufinfo)
		para->bufinfo = static_cast<BufferInfoGST *>(malloc(sizeof binfo));
	if (!para->bufinfo)
		return;
	*para->bufinfo = binfo;
	para->update = UPD_ALL;

	/* The object may have gone, and its id may by now name one of another type. */
	if (IsAnimationObjType(id, ANI_VIDEO_GST))
		UpdateAnimationObj(id, para);
}

/* The render thread keeps the mutex for whole frames. Waiting for it here would stall the decoder,
 * so a frame that comes at such a time is lost. */
void deliver(CustomData &player, const BufferInfoGST &binfo)
{
	if (pthread_mutex_trylock(&g_mutex) != 0) {
		g_print("pthread_mutex_trylock lock failed\n");
		return;
	}
	feed(player.id1, player.para1, binfo);
	feed(player.id2, player.para2, binfo);
	pthread_mutex_unlock(&g_mutex);
}

} // namespace

GstFlowReturn pad_new_sample(GstElement *sink, CustomData *dataplayer)
{
	const Sample sample(gst_app_sink_pull_sample(GST_APP_SINK(sink)));
	if (!sample) {
		g_print("could not make snapshot\n");
		return GST_FLOW_OK;
	}

	BufferInfoGST binfo;
	GstBuffer *buffer = gst_sample_get_buffer(sample.get());
	if (!read_size(sample.get(), binfo) || !read_descriptor(buffer, binfo))
		return GST_FLOW_OK;
	note_first_frame(*dataplayer);
	if (read_crop(buffer, binfo))
		deliver(*dataplayer, binfo);
	return GST_FLOW_OK;
}

gboolean IsFirstFrameStart(void)
{
	return load(data.is_first_frame);
}
