#include <base/lock.h>

#include "playback.h"

std::string test_pattern(bool live, int frames)
{
	return "videotestsrc is-live=" + std::to_string(live) +
	       " num-buffers=" + std::to_string(frames) +
	       " ! video/x-raw,format=I420,width=320,height=240,framerate=25/1"
	       " ! x264enc tune=zerolatency speed-preset=ultrafast key-int-max=5"
	       " ! h264parse config-interval=-1 ! ";
}

Playback::Playback()
{
	set_up_player();
}

Playback::~Playback()
{
	StopGSTPlay();
	wait_until(
	    [&] { return count(out.text(), "thread exit\n") == count(out.text(), "build link"); });
	remove_objects();
}

void Playback::register_objects()
{
	for (VideoGST_animationpara *para : {&left, &right}) {
		unsigned &id = ids[para == &right];
		if (id != ANIMATION_NO_OBJECT)
			continue;
		*para = {.in_position2d = {.coordnum = 4, .position2d = corners}, .texcoord = corners};
		id = CreateAnimationObj(ANI_VIDEO_GST, para);
	}
	EXPECT_EQ(SetGSTPlayAnimationId(ids[0], &left, ids[1], &right), 0);
}

void Playback::remove_objects()
{
	// A start that failed has left the records registered.
	SetGSTPlayAnimationId(ANIMATION_NO_OBJECT, nullptr, ANIMATION_NO_OBJECT, nullptr);
	for (unsigned &id : ids)
		RemoveAnimationObjReal(std::exchange(id, ANIMATION_NO_OBJECT));
	// Left behind where the registration was given up during the playback.
	for (VideoGST_animationpara *para : {&left, &right})
		free(std::exchange(para->bufinfo, nullptr));
}

bool Playback::ends(double seconds)
{
	++ended;
	return wait_until([&] { return count(out.text(), "thread exit\n") == ended; }, seconds);
}

bool Playback::stops()
{
	StopGSTPlay();
	return ends(3);
}

bool Playback::frames_come(double seconds)
{
	auto take = [](VideoGST_animationpara &para) {
		ListLock lock;
		return std::exchange(para.update, UPD_MISC) == UPD_ALL && para.bufinfo;
	};
	take(left);
	take(right);
	return wait_until([&] { return take(left); }, seconds) &&
	       wait_until([&] { return take(right); }, seconds);
}

std::string Playback::film(int frames)
{
	static const Folder folder;
	const std::string path = folder / (std::to_string(frames) + ".mp4");
	if (!std::filesystem::exists(path)) {
		Pipeline camera(test_pattern(false, frames) + "mp4mux ! filesink location=" + path);
		EXPECT_TRUE(camera.ends(20));
	}
	return path;
}
