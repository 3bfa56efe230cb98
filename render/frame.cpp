#include <render/render.h>

#include <animation/frame_object.h>
#include <animation/pass.h>
#include <animation/status.h>
#include <base/lock.h>
#include <render/capture.h>

volatile int64_t framecnt;

namespace
{

bool is_in(Pass pass, const AnimationObj &obj)
{
	return pass_of(obj.animationtype) == pass;
}

void clear()
{
	glClearColor(0.0f, 0.0f, 0.0f, 1.0f);
	glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
}

bool list_has_only_videos()
{
	for (const AnimationObj *obj = animationItemHead; obj; obj = obj->next)
		if (!is_in(Pass::kVideos, *obj))
			return false;
	return true;
}

/* Generates one object; true if it is to be drawn. */
bool generate(AnimationObj &obj, struct window *window)
{
	prefetch_object(obj.next);
	const FrameObject in_turn(obj);
	GenAnimationFrame(obj.objId, window);
	return obj.renderobj->repaint;
}

/* Generates and draws the whole list: backgrounds, other images, then videos unless a background
 * covers them. True if anything was drawn. */
bool draw_list(struct window *window)
{
	ListLock lock;
	glViewport(0, 0, 2 * window->geometry.width, window->geometry.height);
	bool bvideoonly = list_has_only_videos();
	if (!bvideoonly)
		clear();

	bool brepaint = false;
	bool background_seen = false;
	auto draw = [&](AnimationObj &obj) {
		Render3DFrame(window, obj.renderobj);
		brepaint = true;
	};
	for (AnimationObj *obj = animationItemHead; obj; obj = obj->next) {
		if (!is_in(Pass::kBackgrounds, *obj))
			continue;
		background_seen = true;
		if (generate(*obj, window))
			draw(*obj);
	}
	for (AnimationObj *obj = animationItemHead; obj; obj = obj->next) {
		if (is_in(Pass::kImages, *obj) && generate(*obj, window))
			draw(*obj);
	}
	if (background_seen)
		return brepaint;
	for (AnimationObj *obj = animationItemHead; obj; obj = obj->next) {
		if (!is_in(Pass::kVideos, *obj) || !generate(*obj, window))
			continue;
		if (bvideoonly) {
			clear();
			bvideoonly = false;
		}
		draw(*obj);
	}
	return brepaint;
}

/* The lock is held for the walk, which would otherwise race with an append. */
void remove_finished_objects()
{
	ListLock lock;
	for (AnimationObj *obj = animationItemHead; obj;) {
		AnimationObj *next = obj->next;
		if (has_status(*obj, ST_ONDESTROY)) {
			const FrameObject finished(*obj);
			RemoveAnimationObjReal(obj->objId);
		}
		obj = next;
	}
}

} // namespace

void redraw(void *data, wl_callback *, uint32_t)
{
	auto *window = static_cast<struct window *>(data);
	if (draw_list(window)) {
		/* Only this thread writes the counters; others read them without a lock. */
		__atomic_store_n(&gpuRender_framecnt, gpuRender_framecnt + 1, __ATOMIC_RELAXED);
		__atomic_store_n(&framecnt, gpuRender_framecnt, __ATOMIC_RELAXED);
		eglSwapBuffers(window->display->egl.dpy, window->egl_surface);
		capture_frame(*window);
	}
	remove_finished_objects();
	__atomic_store_n(&window->frames, window->frames + 1, __ATOMIC_RELEASE);
}
