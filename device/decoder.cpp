/*
 * ducatih264decvpe: stands in for the unit's hardware decoder on a PC. A software decoder inside;
 * what comes out looks like the hardware's frames (device/padded_frames.h).
 */
#include <initializer_list>

#include <gst/gst.h>
#include <gst/video/video.h>

#include <device/padded_frames.h>

namespace
{

/* Above the software decoders, so that decodebin takes this one. */
constexpr guint kRank = GST_RANK_PRIMARY + 64;

constexpr guint kDefaultInputBuffers = 8;
constexpr guint kMaxInputBuffers = 32;

struct AnimationDecoder {
	GstBin parent;
	guint input_buffers;
	bool complete; /* the software decoder is there */
};
struct AnimationDecoderClass {
	GstBinClass parent;
};

G_DEFINE_TYPE(AnimationDecoder, animation_decoder, GST_TYPE_BIN)

enum Property : guint { kInputBuffers = 1 };

GstStaticPadTemplate sink_template = GST_STATIC_PAD_TEMPLATE("sink", GST_PAD_SINK, GST_PAD_ALWAYS,
    GST_STATIC_CAPS("video/x-h264, stream-format = (string) { avc, byte-stream }, "
                    "alignment = (string) au"));
GstStaticPadTemplate source_template = GST_STATIC_PAD_TEMPLATE(
    "src", GST_PAD_SRC, GST_PAD_ALWAYS, GST_STATIC_CAPS(GST_VIDEO_CAPS_MAKE("NV12")));

AnimationDecoder *self_of(gpointer object)
{
	return static_cast<AnimationDecoder *>(object);
}

void set_property(GObject *object, guint, const GValue *value, GParamSpec *)
{
	self_of(object)->input_buffers = g_value_get_uint(value);
}

void get_property(GObject *object, guint, GValue *value, GParamSpec *)
{
	g_value_set_uint(value, self_of(object)->input_buffers);
}

GstStateChangeReturn change_state(GstElement *element, GstStateChange change)
{
	if (change == GST_STATE_CHANGE_NULL_TO_READY && !self_of(element)->complete) {
		GST_ELEMENT_ERROR(element, CORE, MISSING_PLUGIN, ("no software H.264 decoder"),
		    ("avdec_h264 and videoconvert are needed"));
		return GST_STATE_CHANGE_FAILURE;
	}
	return GST_ELEMENT_CLASS(animation_decoder_parent_class)->change_state(element, change);
}

void animation_decoder_class_init(AnimationDecoderClass *type)
{
	auto *object = G_OBJECT_CLASS(type);
	object->set_property = set_property;
	object->get_property = get_property;
	g_object_class_install_property(object, kInputBuffers,
	    g_param_spec_uint("num-input-buffers", "Input buffers",
	        "Coded pictures the hardware may hold; the software decoder holds what it needs", 1,
	        kMaxInputBuffers, kDefaultInputBuffers,
	        static_cast<GParamFlags>(G_PARAM_READWRITE | G_PARAM_STATIC_STRINGS)));

	auto *element = GST_ELEMENT_CLASS(type);
	element->change_state = change_state;
	gst_element_class_add_static_pad_template(element, &sink_template);
	gst_element_class_add_static_pad_template(element, &source_template);
	gst_element_class_set_static_metadata(element, "H.264 decoder to descriptors",
	    "Codec/Decoder/Video",
	    "Decodes H.264 in software to padded NV12 frames behind file descriptors", "animation");
}

void add_ghost_pad(AnimationDecoder *self, GstStaticPadTemplate *pad_template, GstElement *target)
{
	GstPad *inner =
	    target ? gst_element_get_static_pad(target, pad_template->name_template) : nullptr;
	GstPadTemplate *wanted = gst_static_pad_template_get(pad_template);
	GstPad *ghost =
	    inner ? gst_ghost_pad_new_from_template(pad_template->name_template, inner, wanted)
	          : gst_ghost_pad_new_no_target_from_template(pad_template->name_template, wanted);
	gst_element_add_pad(GST_ELEMENT(self), ghost);
	gst_object_unref(wanted);
	if (inner)
		gst_object_unref(inner);
}

void animation_decoder_init(AnimationDecoder *self)
{
	self->input_buffers = kDefaultInputBuffers;

	GstElement *software = gst_element_factory_make("avdec_h264", nullptr);
	/* Passes the usual 4:2:0 through, and brings the other profiles' formats down to it. */
	GstElement *convert = gst_element_factory_make("videoconvert", nullptr);
	GstElement *frames = padded_frames_new();
	self->complete = software && convert;
	for (GstElement *element : {software, convert, frames})
		if (element)
			gst_bin_add(GST_BIN(self), element);
	if (self->complete)
		self->complete = gst_element_link_many(software, convert, frames, nullptr);
	add_ghost_pad(self, &sink_template, software);
	add_ghost_pad(self, &source_template, frames);
}

gboolean plugin_init(GstPlugin *plugin)
{
	return gst_element_register(plugin, "ducatih264decvpe", kRank, animation_decoder_get_type());
}

} // namespace

#define PACKAGE "animation"
GST_PLUGIN_DEFINE(GST_VERSION_MAJOR, GST_VERSION_MINOR, animationdecoder,
    "A software H.264 decoder in place of the unit's", plugin_init, PLUGIN_VERSION,
    GST_LICENSE_UNKNOWN, "animation", "Unknown package origin")
