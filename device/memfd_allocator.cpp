#include <device/memfd_allocator.h>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <gst/allocators/gstfdmemory.h>

namespace
{

struct AnimationMemfdAllocator {
	GstFdAllocator parent;
};
struct AnimationMemfdAllocatorClass {
	GstFdAllocatorClass parent;
};

G_DEFINE_TYPE(AnimationMemfdAllocator, animation_memfd_allocator, GST_TYPE_FD_ALLOCATOR)

bool give_fixed_size(int fd, gsize size)
{
	return ftruncate(fd, static_cast<off_t>(size)) == 0 &&
	       fcntl(fd, F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_SEAL) == 0;
}

GstMemory *allocate(GstAllocator *allocator, gsize size, GstAllocationParams *params)
{
	const gsize whole = size + params->prefix + params->padding;
	const int fd = memfd_create("decoded-picture", MFD_CLOEXEC | MFD_ALLOW_SEALING);
	if (fd < 0 || !give_fixed_size(fd, whole)) {
		GST_WARNING(
		    "no memory for a picture of %" G_GSIZE_FORMAT " bytes: %s", whole, g_strerror(errno));
		if (fd >= 0)
			close(fd);
		return nullptr;
	}
	GstMemory *memory =
	    gst_fd_allocator_alloc(allocator, fd, whole, GST_FD_MEMORY_FLAG_KEEP_MAPPED);
	/* The first mapping decides what later ones may do. */
	GstMapInfo map;
	if (gst_memory_map(memory, &map, GST_MAP_READWRITE))
		gst_memory_unmap(memory, &map);
	gst_memory_resize(memory, static_cast<gssize>(params->prefix), size);
	return memory;
}

void animation_memfd_allocator_class_init(AnimationMemfdAllocatorClass *type)
{
	GST_ALLOCATOR_CLASS(type)->alloc = allocate;
}

void animation_memfd_allocator_init(AnimationMemfdAllocator *allocator)
{
	/* Unlike the parent's, memory of this type can be had by size. */
	GST_OBJECT_FLAG_UNSET(allocator, GST_ALLOCATOR_FLAG_CUSTOM_ALLOC);
}

} // namespace

GstAllocator *memfd_allocator_new()
{
	auto *allocator =
	    static_cast<GstAllocator *>(g_object_new(animation_memfd_allocator_get_type(), nullptr));
	return static_cast<GstAllocator *>(gst_object_ref_sink(allocator));
}
