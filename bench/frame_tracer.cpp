#include <bench/frame_tracer.h>

#include <atomic>
#include <utility>

#include <animation/animation.h>
#include <player/player.h>
#include <probe/next_function.h>
#include <render/render.h>

namespace
{

using Clock = std::chrono::steady_clock;

/* Grows on the streaming thread, which leaves the frames in their places. */
std::deque<TracedFrame> frames;

thread_local TracedFrame *arriving; /* the sample that this thread delivers */
TracedFrame *recorded;              /* not yet generated; guarded by g_mutex */
TracedFrame *generated;             /* by the generator that runs; the render thread's */
TracedFrame *bound;                 /* not yet swapped; the render thread's */

std::atomic<bool> host_converts;

struct {
	PFNEGLCREATEIMAGEKHRPROC create;
	PFNEGLDESTROYIMAGEKHRPROC destroy;
	PFNGLEGLIMAGETARGETTEXTURE2DOESPROC bind;
} host;

std::uint32_t descriptor_in(const EGLint *attributes)
{
	for (; attributes[0] != EGL_NONE; attributes += 2)
		if (attributes[0] == EGL_DMA_BUF_PLANE0_FD_EXT)
			return static_cast<std::uint32_t>(attributes[1]);
	return UINT32_MAX;
}

EGLImageKHR EGLAPIENTRY create_image(EGLDisplay display, EGLContext context, EGLenum target,
    EGLClientBuffer buffer, const EGLint *attributes)
{
	if (!generated)
		return host.create(display, context, target, buffer, attributes);
	const WorkCount count(generated->conversion);
	host_converts = true;
	const EGLImageKHR image = host.create(display, context, target, buffer, attributes);
	host_converts = false;
	if (descriptor_in(attributes) == generated->fd) {
		generated->image = image;
		generated->fate = image ? generated->fate : Fate::kRefused;
	}
	return image;
}

/* Frees what the conversion of the frame before has made. */
EGLBoolean EGLAPIENTRY destroy_image(EGLDisplay display, EGLImageKHR image)
{
	if (!generated)
		return host.destroy(display, image);
	const WorkCount count(generated->conversion);
	return host.destroy(display, image);
}

void EGLAPIENTRY bind_image(GLenum target, GLeglImageOES image)
{
	host.bind(target, image);
	if (generated && image && image == generated->image)
		generated->fate = Fate::kBound;
}

} // namespace

void trace_images()
{
	host.create = std::exchange(f_eglCreateImageKHR, create_image);
	host.destroy = std::exchange(f_eglDestroyImageKHR, destroy_image);
	host.bind = std::exchange(f_glEGLImageTargetTexture2DOES, bind_image);
}

std::deque<TracedFrame> take_trace()
{
	recorded = nullptr;
	return std::exchange(frames, {});
}

/* ---- In front of the library, in the order of a frame's way --------------------------------- */

GstFlowReturn pad_new_sample(GstElement *sink, CustomData *dataplayer)
{
	static const auto next = next_function(&pad_new_sample, "pad_new_sample");
	arriving = &frames.emplace_back();
	arriving->arrival = Clock::now();
	const WorkCount count(arriving->delivery);
	const GstFlowReturn result = next(sink, dataplayer);
	arriving = nullptr;
	return result;
}

int pthread_mutex_trylock(pthread_mutex_t *mutex) noexcept
{
	static const auto next = next_function(&pthread_mutex_trylock, "pthread_mutex_trylock");
	const int result = next(mutex);
	if (arriving && mutex == &g_mutex && result != 0) {
		arriving->fate = Fate::kDropped;
		arriving->met_conversion = host_converts;
	}
	return result;
}

void UpdateVideoGSTAnimation(unsigned int id, VideoGST_animationpara *para)
{
	static const auto next = next_function(&UpdateVideoGSTAnimation, "UpdateVideoGSTAnimation");
	next(id, para);
	if (!arriving)
		return;
	arriving->record = Clock::now();
	arriving->fd = para->bufinfo->fd;
	arriving->fate = Fate::kRecorded;
	if (recorded)
		recorded->fate = Fate::kReplaced;
	recorded = arriving;
}

void GenVideoGSTAnimationFrame(unsigned int id, void *data)
{
	static const auto next = next_function(&GenVideoGSTAnimationFrame, "GenVideoGSTAnimationFrame");
	generated = std::exchange(recorded, nullptr);
	if (!generated) {
		next(id, data);
		return;
	}
	generated->turn = Clock::now();
	{
		const WorkCount count(generated->binding);
		next(id, data);
	}
	generated->bound = Clock::now();
	bound = std::exchange(generated, nullptr);
}

EGLBoolean eglSwapBuffers(EGLDisplay display, EGLSurface surface)
{
	static const auto next = next_function(&eglSwapBuffers, "eglSwapBuffers");
	const EGLBoolean result = next(display, surface);
	TracedFrame *frame = std::exchange(bound, nullptr);
	if (frame && result && frame->fate == Fate::kBound) {
		frame->swapped = Clock::now();
		frame->fate = Fate::kShown;
	}
	return result;
}
