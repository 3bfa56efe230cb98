/*
 * The object that the frame under way has come to, so that calls by its id need no walk from the
 * head. Only the render thread reads and sets it, for the length of one call, in which only that
 * thread could free the node: it names a node of the list or none.
 */
#pragma once

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
