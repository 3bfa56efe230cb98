/* What only a frame shows. On the render thread. */
#include <probe/checks.h>

#include <cerrno>
#include <chrono>

#include <probe/findings.h>
#include <probe/list_lock.h>
#include <probe/pixel_watch.h>
#include <probe/record_facts.h>

namespace
{

using namespace std::chrono;

/* Longer than a turn takes on any machine. */
constexpr milliseconds kLongHold{100};

void check_company()
{
	const ListHold hold;
	const AnimationObj *video = nullptr, *background = nullptr, *image = nullptr;
	for (const AnimationObj *obj = list_head(); obj; obj = obj->next) {
		if (is_video(obj->animationtype))
			video = obj;
		else if (obj->animationtype == ANI_BACKGROUND)
			background = obj;
		else
			image = obj;
	}
	if (video && background)
		tell({"video-under-background", "redraw", video->objId,
		    words("video %u is not drawn while background %u exists", video->objId,
		        background->objId),
		    "remove the background while the video plays"});
	else if (video && image)
		tell({"video-beside-images", "redraw", video->objId,
		    words("video %u shows only in frames that bring it a new video frame, since object %u "
		          "is there too",
		        video->objId, image->objId),
		    "show a video alone, or give it a new video frame in every turn"});
}

} // namespace

void check_hold()
{
	if (!list_mutex())
		return; /* a program that swaps without the library */
	timespec until;
	clock_gettime(CLOCK_REALTIME, &until);
	constexpr long kSecond = 1'000'000'000;
	const long later = until.tv_nsec + nanoseconds(kLongHold).count();
	until.tv_sec += later / kSecond;
	until.tv_nsec = later % kSecond;
	if (pthread_mutex_timedlock(list_mutex(), &until) == ETIMEDOUT) {
		tell({"lock-held", "redraw", ANIMATION_NO_OBJECT,
		    words("a frame has waited for g_mutex for more than %d ms", int(kLongHold.count())),
		    "hold it only to read an object or to change a video's record"});
		pthread_mutex_lock(list_mutex());
	}
	pthread_mutex_unlock(list_mutex());
}

void check_frame()
{
	check_hold();
	check_company();
	check_pixels();
}
