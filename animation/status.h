/* Bits of AnimationObj.status, which is volatile and read by other threads under g_mutex. */
#pragma once

#include <animation/animation.h>

inline void set_status(AnimationObj &obj, unsigned int bits)
{
	obj.status = static_cast<AnimationStatus>(obj.status | bits);
}

inline void clear_status(AnimationObj &obj, unsigned int bits)
{
	obj.status = static_cast<AnimationStatus>(obj.status & ~bits);
}

inline bool has_status(const AnimationObj &obj, unsigned int bits)
{
	return (obj.status & bits) == bits;
}
