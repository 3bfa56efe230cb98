#include <animation/records.h>

#include <base/heap.h>

namespace
{

template <class Para, class Each>
bool for_each_video_array(Para &para, std::size_t floats, Each each)
{
	bool texcoord = each(para.texcoord, floats);
	return each(para.bufinfo, 1) && texcoord;
}

/* Calls each(array, count) for every array that a record of the type owns, whatever becomes of the
 * others: in a fresh copy all of them are still the caller's. True if all calls are. */
template <class Each>
bool for_each_array(AnimationType type, void *record, Each each)
{
	auto &strip = *static_cast<InPosition2D *>(record); /* every record begins with its strip */
	std::size_t floats = std::size_t{2} * strip.coordnum;
	bool position = each(strip.position2d, floats);
	switch (type) {
	case ANI_TEX_CUT:
		return each(strip.texPosition2d, floats) && position;
	case ANI_VIDEO_GST:
		return for_each_video_array(*static_cast<VideoGST_animationpara *>(record), floats, each) &&
		       position;
	case ANI_VIDEO_RAW:
		return for_each_video_array(*static_cast<VideoRAW_animationpara *>(record), floats, each) &&
		       position;
	default:
		return position;
	}
}

} // namespace

bool own_arrays(AnimationType type, void *record)
{
	return for_each_array(type, record,
	    [](auto *&array, std::size_t count) { return !array || own_copy(array, count); });
}

void release_arrays(AnimationType type, void *record)
{
	for_each_array(type, record, [](auto *&array, std::size_t) {
		drop(array);
		return true;
	});
}
