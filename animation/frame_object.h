/*
 * The object that the frame under way has come to, so that calls by its id need no walk from the
 * head. Only the render thread reads and sets it, for the length of one call, in which only that
 * thread could free the node: it names a node of the list or none.
 */
#pragma once

#include <cstddef>
#include <cstdint>

#include <animation/animation.h>

extern AnimationObj *frame_object;

/* Names the object until the end of a scope. */
class FrameObject
{
public:
	explicit FrameObject(AnimationObj &obj)
	{
		frame_object = &obj;
	}
	~FrameObject()
	{
		frame_object = nullptr;
	}
	FrameObject(const FrameObject &) = delete;
	FrameObject &operator=(const FrameObject &) = delete;
};

/* As FindAnimationObj, on the render thread. */
inline AnimationObj *find_in_frame(unsigned int id)
{
	AnimationObj *obj = frame_object;
	return obj && obj->objId == id ? obj : FindAnimationObj(id);
}

/* Asks for what a frame reads of an object, so that it comes from memory while the object before it
 * is drawn: each object lies in blocks of its own, and its record is long. It is a hint, for which
 * any address will do. */
inline void prefetch_object(const AnimationObj *obj)
{
	if (!obj)
		return;
	auto ask = [](const void *block, std::size_t offset) {
		__builtin_prefetch(
		    reinterpret_cast<const void *>(reinterpret_cast<std::uintptr_t>(block) + offset));
	};
	ask(obj->renderobj, 0);
	ask(obj->renderobj, offsetof(RenderObj, mvp));
	ask(obj->renderobj, offsetof(RenderObj, prealpha0));
	ask(obj->renderobj, offsetof(RenderObj, imagekhr));
	ask(obj->renderobj, offsetof(RenderObj, vp_id));
	/* The records of all images begin alike, and end with a few fields of their own. */
	ask(obj->animationpara, 0);
	ask(obj->animationpara, offsetof(Flash_animationpara, textures.tex_num));
	ask(obj->animationpara, offsetof(Flash_animationpara, update));
}
