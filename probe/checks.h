/* The checking layer: what the library takes in silence, told to whoever wrote the program.
 *
 * Each function stands at one place of the program's way into the library. They are called for the
 * program's own calls alone, not for those that the library makes itself, and only while checking.
 */
#pragma once

#include <animation/animation.h>
#include <player/player.h>

/* ---- Life cycle ---- */

void note_init();    /* Init has returned; on its thread */
void check_deinit(); /* before DeInit; the render thread may still run */
/* Before any call that needs the library between Init and DeInit; false: do not look further. */
bool check_time(const char *call);

/* ---- Objects: before the call, and with its result ---- */

void check_creation(const char *call, AnimationType type, const void *para);
void note_creation(unsigned int id, AnimationType type, const void *para);
/* type: that of the function, or ANI_MAX for UpdateAnimationObj. */
void check_update(const char *call, unsigned int id, AnimationType type, const void *para);
void check_removal(const char *call, unsigned int id, DeleteObjMode mode);
void check_query(const char *call, unsigned int id);

/* ---- Textures ---- */

void check_handle_thread(const char *call);
void check_picture_file(const char *call, const char *path, TextureDataMode mode,
    unsigned int object = ANIMATION_NO_OBJECT);
void note_texture_made(GLuint name);      /* by any glGenTextures */
void check_texture_deletion(GLuint name); /* by the program, before the call */
void note_texture_deleted(GLuint name);

/* ---- Frames: on the render thread, before redraw ---- */

void check_frame();

/* After the swap, when frames and the list are no longer locked. */
void check_hold();

/* ---- Player ---- */

void note_playback(const char *uri, int result);
void check_control(GSTControl order);
