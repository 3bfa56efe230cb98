/* The context that the application's thread works with, in the render context's share group. */
#pragma once

#include <EGL/egl.h>

/* Of both contexts. */
inline constexpr EGLint kContextAttributes[] = {EGL_CONTEXT_CLIENT_VERSION, 2, EGL_NONE};

/* Takes back what share_context made. False if it is not current on the calling thread: only the
 * thread that has it can let go of it. */
bool release_shared_context();
