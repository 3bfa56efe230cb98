/* The object list in words and numbers, for whoever looks at it from outside: JSON. It reads the
 * public records alone. */
#pragma once

#include <string>

#include <animation/animation.h>
#include <probe/json_text.h>

/* Pixels of the surface, the origin at the top left. */
struct SurfaceRect {
	float x, y, width, height;
};

/* Writes the objects in drawing order as an array. g_mutex is held. */
void describe_objects(JsonText &json, const AnimationObj *head);

/* Writes how many bytes the textures of each object have, as an array of those that have any.
 * g_mutex is held. */
void describe_texture_bytes(JsonText &json, const AnimationObj *head);

/* "ANI_FLASH"; "ANI_ and the number" for what is no type. */
std::string type_name(AnimationType type);

/* "ST_SHOW", "ST_SHOW|ST_PENDINGDESTROY". */
std::string status_text(AnimationStatus status);

/* The field of that type's record. */
UpdateMode update_of(AnimationType type, const void *para);

/* The name of an UpdateMode, a DeleteObjMode; the number for what is none. */
std::string update_text(UpdateMode update);
std::string removal_text(DeleteObjMode mode);
