/* Calls at the wrong time or on the wrong thread, and what is left over at the end. */
#include <probe/checks.h>

#include <atomic>
#include <cstring>
#include <mutex>
#include <string>
#include <thread>

#include <probe/findings.h>
#include <probe/list_lock.h>
#include <probe/live_objects.h>

namespace
{

struct {
	std::atomic<bool> open = false; /* between Init's return and DeInit's begin */
	std::atomic<bool> was_open = false;
	std::thread::id thread; /* that called Init */
	std::mutex lock;        /* guards the rest */
	std::string uri;        /* of the latest playback */
} life;

std::size_t objects_left(unsigned int *first)
{
	const ListHold hold;
	std::size_t count = 0;
	for (const AnimationObj *obj = list_head(); obj; obj = obj->next)
		if (count++ == 0)
			*first = obj->objId;
	return count;
}

} // namespace

void note_init()
{
	life.thread = std::this_thread::get_id();
	life.was_open = true;
	life.open = true;
}

bool check_time(const char *call)
{
	if (life.open)
		return true;
	if (life.was_open)
		tell({"call-after-deinit", call, ANIMATION_NO_OBJECT,
		    words("%s is called after DeInit has begun", call), "end all use before DeInit"});
	else
		tell({"call-before-init", call, ANIMATION_NO_OBJECT,
		    words("%s is called before Init has returned", call), "call Init first"});
	return false;
}

void check_deinit()
{
	if (!check_time("DeInit"))
		return;
	life.open = false;
	static auto *const start = find_symbol<int(const char *)>("StartGSTPlay");
	if (start(nullptr) == 1)
		tell({"playback-left", "DeInit", ANIMATION_NO_OBJECT, "a playback has not ended at DeInit",
		    "call StopGSTPlay, and wait until StartGSTPlay(NULL) returns -1"});
	/* When SIGINT has stopped the frames, no object can go any more. */
	unsigned int first = 0;
	static auto *const running = find_symbol<volatile int>("running");
	const std::size_t left = *running ? objects_left(&first) : 0;
	if (left > 0)
		tell({"objects-left", "DeInit", first,
		    words("objects on the list at DeInit: %zu; they stay in memory", left),
		    "remove them and wait for ST_INVALID before DeInit"});
}

void check_handle_thread(const char *call)
{
	if (std::this_thread::get_id() != life.thread)
		tell({"handle-thread", call, ANIMATION_NO_OBJECT,
		    words("%s is called on another thread than Init", call),
		    "texture handles belong to the thread that called Init"});
}

void check_texture_deletion(GLuint name)
{
	const unsigned int object = find_object_showing(name);
	if (object != ANIMATION_NO_OBJECT)
		tell({"texture-deleted", "DeleteTexture", object,
		    words("texture %u is deleted while object %u shows it", name, object),
		    "delete it after the objects that show it have gone"});
}

void note_playback(const char *uri, int result)
{
	if (!uri || result != 0)
		return;
	const std::lock_guard hold(life.lock);
	life.uri = uri;
}

void check_control(GSTControl order)
{
	const std::lock_guard hold(life.lock);
	if (order == GST_PAUSE && life.uri.find(".mp4") != std::string::npos)
		tell({"file-paused", "GSTplayControl", ANIMATION_NO_OBJECT,
		    words("the pause of the file %s lasts a millisecond", life.uri.c_str()),
		    "stop the playback, or leave the file playing"});
}
