#include <cstring>
#include <memory>

#include <gst/allocators/gstfdmemory.h>
#include <gst/app/gstappsink.h>
#include <gst/app/gstappsrc.h>
#include <gst/video/gstvideometa.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <animation/animation.h>
#include <player/pipeline.h>
#include <render/render.h>

#include "support.h"

namespace
{

constexpr char kSize[] = "video/x-raw,width=384,height=256";

enum class Memory { kNone, kSystem, kDescriptor };

struct Frame {
	const char *caps = kSize;
	Memory memory = Memory::kDescriptor;
	bool crop = true;
};

/* An appsink at the end of nothing but frames that the test makes. */
class SampleDelivery : public testing::Test
{
protected:
	SampleDelivery()
	{
		set_up_player();
		pipeline.reset(
		    gst_parse_launch("appsrc name=source ! appsink name=grabber sync=false", nullptr));
		source.reset(gst_bin_get_by_name(GST_BIN(pipeline.get()), "source"));
		grabber.reset(gst_bin_get_by_name(GST_BIN(pipeline.get()), "grabber"));
		first_frame = 1;
		player.id1 = player.id2 = ANIMATION_NO_OBJECT;
	}

	~SampleDelivery() override
	{
		gst_element_set_state(pipeline.get(), GST_STATE_NULL);
		free(left.bufinfo);
		free(right.bufinfo);
	}

	/* The descriptor of the frame, or -1; it is good for as long as the sink keeps the sample. */
	int push(const Frame &frame)
	{
		gst_element_set_state(pipeline.get(), GST_STATE_PLAYING);
		int fd = -1;
		GstBuffer *buffer = gst_buffer_new();
		if (frame.memory == Memory::kSystem)
			gst_buffer_append_memory(buffer, gst_allocator_alloc(nullptr, 64, nullptr));
		if (frame.memory == Memory::kDescriptor) {
			fd = memfd_create("frame", MFD_CLOEXEC);
			GstAllocator *allocator = gst_fd_allocator_new();
			gst_buffer_append_memory(
			    buffer, gst_fd_allocator_alloc(allocator, fd, 64, GST_FD_MEMORY_FLAG_NONE));
			gst_object_unref(allocator);
		}
		if (frame.crop) {
			GstVideoCropMeta *crop = gst_buffer_add_video_crop_meta(buffer);
			crop->x = 32;
			crop->y = 16;
			crop->width = 320;
			crop->height = 240;
		}
		if (frame.caps) {
			GstCaps *caps = gst_caps_from_string(frame.caps);
			gst_app_src_set_caps(GST_APP_SRC(source.get()), caps);
			gst_caps_unref(caps);
		}
		gst_app_src_push_buffer(GST_APP_SRC(source.get()), buffer);
		return fd;
	}

	/* What the callback says to the next sample. */
	std::string deliver()
	{
		Caught out(STDOUT_FILENO);
		EXPECT_EQ(pad_new_sample(grabber.get(), &player), GST_FLOW_OK);
		std::string text = out.text();
		if (size_t time = text.find(": "); time != std::string::npos)
			text.resize(time);
		return text;
	}

	ElementRef pipeline, source, grabber;
	CustomData player = {};
	VideoGST_animationpara left = {}, right = {};
};

TEST_F(SampleDelivery, DropsWhatItCannotUse)
{
	struct {
		const char *name;
		Frame frame;
		bool usable;
		std::string said;
	} const cases[] = {
	    {"no caps", {.caps = nullptr}, false, "could not get snapshot format\n"},
	    {"no height", {.caps = "video/x-raw,width=16"}, false,
	        "could not get snapshot dimension\n"},
	    {"no memory", {.memory = Memory::kNone}, false, ""},
	    {"system memory", {.memory = Memory::kSystem}, false, ""},
	    {"no crop", {.crop = false}, true, "first frame"},
	};
	EXPECT_EQ(deliver(), "could not make snapshot\n");
	for (const auto &[name, frame, usable, said] : cases) {
		SCOPED_TRACE(name);
		player.id1 = 0;
		player.para1 = &left;
		push(frame);
		EXPECT_EQ(deliver(), said);
		EXPECT_EQ(player.is_first_frame, usable);
		EXPECT_EQ(first_frame, !usable);
		EXPECT_EQ(left.bufinfo, nullptr);
		gst_element_set_state(pipeline.get(), GST_STATE_READY);
	}
}

TEST_F(SampleDelivery, SkipsEmptySlots)
{
	player.id1 = 0;
	player.para2 = &right;
	push({});
	EXPECT_EQ(deliver(), "first frame");
	push({});
	EXPECT_EQ(deliver(), "");
	EXPECT_EQ(right.bufinfo, nullptr);
	EXPECT_TRUE(player.is_first_frame);
}

TEST_F(SampleDelivery, FeedsBothObjectsWithTheSameFrame)
{
	float corners[8] = {};
	for (VideoGST_animationpara *para : {&left, &right})
		*para = {.in_position2d = {.coordnum = 4, .position2d = corners}, .texcoord = corners};
	player.id1 = CreateAnimationObj(ANI_VIDEO_GST, player.para1 = &left);
	player.id2 = CreateAnimationObj(ANI_VIDEO_GST, player.para2 = &right);
	ASSERT_NE(player.id2, ANIMATION_NO_OBJECT);

	push({});
	deliver();
	const BufferInfoGST *block = left.bufinfo;
	const int fd = push({});
	deliver();
	EXPECT_EQ(left.bufinfo, block) << "a block is allocated once";

	for (auto [id, para] : {std::pair(player.id1, &left), std::pair(player.id2, &right)}) {
		auto *own = static_cast<VideoGST_animationpara *>(FindAnimationObj(id)->animationpara);
		EXPECT_EQ(own->update, UPD_ALL);
		EXPECT_NE(own->bufinfo, para->bufinfo);
		for (const BufferInfoGST *info : {para->bufinfo, own->bufinfo}) {
			const BufferInfoGST expected = {384, 256, {32, 16, 320, 240}, unsigned(fd)};
			EXPECT_EQ(memcmp(info, &expected, sizeof expected), 0);
		}
		RemoveAnimationObjReal(id);
	}

	// The record of an object that has gone is still written, the id may name anything by now.
	push({});
	deliver();
	EXPECT_EQ(left.bufinfo, block);
}

} // namespace
