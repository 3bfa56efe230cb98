#include <device/padded_frames.h>

#include <utility>

#include <gst/base/gstbasetransform.h>
#include <gst/video/gstvideometa.h>
#include <gst/video/video.h>

#include <device/memfd_allocator.h>
#include <device/padded_picture.h>

namespace
{

/* Frames that pass before one is written again: time for a receiver that uses a descriptor after
 * it has let go of the buffer. */
constexpr guint kRing = 8;

struct Pool {
	GstBufferPool *buffers;
	guint size; /* bytes of a frame */
};

struct Pools {
	Pool current;
	Pool previous; /* from before a change of size */
	guint frames;  /* since that */
};

struct AnimationPaddedFrames {
	GstBaseTransform parent;
	GstVideoInfo input;
	PaddedPicture picture;
	Pools pools;
};
struct AnimationPaddedFramesClass {
	GstBaseTransformClass parent;
};

G_DEFINE_TYPE(AnimationPaddedFrames, animation_padded_frames, GST_TYPE_BASE_TRANSFORM)

AnimationPaddedFrames *self_of(gpointer object)
{
	return static_cast<AnimationPaddedFrames *>(object);
}

/* ---- Pools ---------------------------------------------------------------------------------- */

void close_pool(Pool &pool)
{
	if (pool.buffers) {
		gst_buffer_pool_set_active(pool.buffers, FALSE);
		gst_object_unref(pool.buffers);
	}
	pool = {};
}

void close_pools(Pools &pools)
{
	close_pool(pools.current);
	close_pool(pools.previous);
}

/* A frame on its way to the screen when the playback ends is imported after it. So the descriptors
 * stay open until the next playback has ended, and the last picture can stay on the screen. */
void retire_pools(AnimationPaddedFrames *self)
{
	static GMutex lock;
	static Pools retired;
	if (!self->pools.current.buffers)
		return; /* an element that never had a frame */
	g_mutex_lock(&lock);
	std::swap(retired, self->pools);
	g_mutex_unlock(&lock);
	close_pools(self->pools);
}

/* The stock pool gives out its free buffers in the order in which they came back. */
GstBufferPool *open_pool(GstCaps *caps, guint size)
{
	GstAllocator *allocator = memfd_allocator_new();
	GstBufferPool *pool = gst_buffer_pool_new();
	GstStructure *config = gst_buffer_pool_get_config(pool);
	gst_buffer_pool_config_set_params(config, caps, size, kRing, 0);
	gst_buffer_pool_config_set_allocator(config, allocator, nullptr);
	const bool open =
	    gst_buffer_pool_set_config(pool, config) && gst_buffer_pool_set_active(pool, TRUE);
	gst_object_unref(allocator);
	if (open)
		return pool;
	gst_object_unref(pool);
	return nullptr;
}

bool select_pool(AnimationPaddedFrames *self, GstCaps *caps, guint size)
{
	Pools &pools = self->pools;
	if (pools.current.size == size)
		return true;
	std::swap(pools.current, pools.previous);
	pools.frames = 0;
	if (pools.current.size == size)
		return true;
	close_pool(pools.current);
	GstBufferPool *buffers = open_pool(caps, size);
	if (!buffers) {
		GST_ELEMENT_ERROR(self, RESOURCE, NO_SPACE_LEFT, ("no memory for decoded pictures"),
		    ("%u pictures of %u bytes", kRing, size));
		return false;
	}
	pools.current = {buffers, size};
	return true;
}

/* The receiver has had as many frames of the new size as may pass between a frame and its import.
 */
void close_previous_pool(Pools &pools)
{
	if (pools.previous.buffers && ++pools.frames > kRing)
		close_pool(pools.previous);
}

/* ---- Caps ------------------------------------------------------------------------------------ */

void give_size_of_output(GstStructure *structure)
{
	int width, height;
	if (gst_structure_get_int(structure, "width", &width) &&
	    gst_structure_get_int(structure, "height", &height)) {
		const PaddedPicture picture = padded_picture(width, height);
		gst_structure_set(structure, "width", G_TYPE_INT, static_cast<int>(picture.width), "height",
		    G_TYPE_INT, static_cast<int>(picture.height), nullptr);
	} else {
		gst_structure_set(structure, "width", GST_TYPE_INT_RANGE, 1, G_MAXINT, "height",
		    GST_TYPE_INT_RANGE, 1, G_MAXINT, nullptr);
	}
}

GstCaps *transform_caps(
    GstBaseTransform *, GstPadDirection direction, GstCaps *caps, GstCaps *filter)
{
	GstCaps *result = gst_caps_copy(caps);
	for (guint i = 0; i < gst_caps_get_size(result); ++i) {
		GstStructure *structure = gst_caps_get_structure(result, i);
		if (direction == GST_PAD_SINK) {
			gst_structure_set(structure, "format", G_TYPE_STRING, "NV12", nullptr);
			give_size_of_output(structure);
		} else {
			gst_structure_set(structure, "format", G_TYPE_STRING, "I420", "width",
			    GST_TYPE_INT_RANGE, 1, G_MAXINT, "height", GST_TYPE_INT_RANGE, 1, G_MAXINT,
			    nullptr);
		}
	}
	if (filter) {
		GstCaps *filtered = gst_caps_intersect_full(filter, result, GST_CAPS_INTERSECT_FIRST);
		gst_caps_unref(result);
		result = filtered;
	}
	return result;
}

gboolean set_caps(GstBaseTransform *transform, GstCaps *input, GstCaps *output)
{
	AnimationPaddedFrames *self = self_of(transform);
	if (!gst_video_info_from_caps(&self->input, input))
		return FALSE;
	self->picture = padded_picture(self->input.width, self->input.height);
	return select_pool(self, output, static_cast<guint>(size_of(self->picture)));
}

/* ---- Frames ---------------------------------------------------------------------------------- */

/* With it the decoder in front may keep its own row lengths. */
gboolean propose_allocation(GstBaseTransform *, GstQuery *, GstQuery *query)
{
	gst_query_add_allocation_meta(query, GST_VIDEO_META_API_TYPE, nullptr);
	return TRUE;
}

/* Whatever the next element would like: the pool here is the point of this element. */
gboolean decide_allocation(GstBaseTransform *, GstQuery *)
{
	return TRUE;
}

GstFlowReturn prepare_output_buffer(
    GstBaseTransform *transform, GstBuffer *input, GstBuffer **output)
{
	Pools &pools = self_of(transform)->pools;
	close_previous_pool(pools);
	const GstFlowReturn result =
	    gst_buffer_pool_acquire_buffer(pools.current.buffers, output, nullptr);
	if (result == GST_FLOW_OK)
		gst_buffer_copy_into(*output, input,
		    static_cast<GstBufferCopyFlags>(GST_BUFFER_COPY_FLAGS | GST_BUFFER_COPY_TIMESTAMPS), 0,
		    -1);
	return result;
}

bool write_frame(AnimationPaddedFrames *self, GstBuffer *input, GstBuffer *output)
{
	GstVideoFrame frame;
	if (!gst_video_frame_map(&frame, &self->input, input, GST_MAP_READ))
		return false;
	GstMapInfo map;
	const bool mapped = gst_buffer_map(output, &map, GST_MAP_WRITE);
	if (mapped) {
		const auto plane = [&frame](int index) {
			return static_cast<const uint8_t *>(GST_VIDEO_FRAME_PLANE_DATA(&frame, index));
		};
		write_image(self->picture,
		    {
		        .y = plane(0),
		        .u = plane(1),
		        .v = plane(2),
		        .y_stride = GST_VIDEO_FRAME_PLANE_STRIDE(&frame, 0),
		        .u_stride = GST_VIDEO_FRAME_PLANE_STRIDE(&frame, 1),
		        .v_stride = GST_VIDEO_FRAME_PLANE_STRIDE(&frame, 2),
		    },
		    map.data);
		gst_buffer_unmap(output, &map);
	}
	gst_video_frame_unmap(&frame);
	return mapped;
}

GstFlowReturn transform_frame(GstBaseTransform *transform, GstBuffer *input, GstBuffer *output)
{
	AnimationPaddedFrames *self = self_of(transform);
	if (!write_frame(self, input, output)) {
		GST_ELEMENT_ERROR(self, STREAM, DECODE, ("a decoded picture cannot be read"), (nullptr));
		return GST_FLOW_ERROR;
	}
	GstVideoCropMeta *crop = gst_buffer_add_video_crop_meta(output);
	crop->x = self->picture.x;
	crop->y = self->picture.y;
	crop->width = self->picture.image_width;
	crop->height = self->picture.image_height;
	return GST_FLOW_OK;
}

/* ---- Life ----------------------------------------------------------------------------------- */

GstStateChangeReturn change_state(GstElement *element, GstStateChange change)
{
	const GstStateChangeReturn result =
	    GST_ELEMENT_CLASS(animation_padded_frames_parent_class)->change_state(element, change);
	if (change == GST_STATE_CHANGE_READY_TO_NULL)
		retire_pools(self_of(element));
	return result;
}

void finalize(GObject *object)
{
	close_pools(self_of(object)->pools);
	G_OBJECT_CLASS(animation_padded_frames_parent_class)->finalize(object);
}

void animation_padded_frames_class_init(AnimationPaddedFramesClass *type)
{
	static GstStaticPadTemplate sink = GST_STATIC_PAD_TEMPLATE(
	    "sink", GST_PAD_SINK, GST_PAD_ALWAYS, GST_STATIC_CAPS(GST_VIDEO_CAPS_MAKE("I420")));
	static GstStaticPadTemplate source = GST_STATIC_PAD_TEMPLATE(
	    "src", GST_PAD_SRC, GST_PAD_ALWAYS, GST_STATIC_CAPS(GST_VIDEO_CAPS_MAKE("NV12")));
	auto *element = GST_ELEMENT_CLASS(type);
	gst_element_class_add_static_pad_template(element, &sink);
	gst_element_class_add_static_pad_template(element, &source);
	gst_element_class_set_static_metadata(element, "Padded frames", "Filter/Converter/Video",
	    "Puts decoded frames into padded NV12 pictures behind descriptors", "animation");
	element->change_state = change_state;

	auto *transform = GST_BASE_TRANSFORM_CLASS(type);
	transform->transform_caps = transform_caps;
	transform->set_caps = set_caps;
	transform->propose_allocation = propose_allocation;
	transform->decide_allocation = decide_allocation;
	transform->prepare_output_buffer = prepare_output_buffer;
	transform->transform = transform_frame;
	G_OBJECT_CLASS(type)->finalize = finalize;
}

void animation_padded_frames_init(AnimationPaddedFrames *)
{
}

} // namespace

GstElement *padded_frames_new()
{
	return static_cast<GstElement *>(g_object_new(animation_padded_frames_get_type(), nullptr));
}
