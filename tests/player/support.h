/* What the player's tests share: texts that the process writes, waiting, the lock. */
#pragma once

#include <string>

#include "../support/caught.h"

/* Initialises GStreamer and g_mutex, once: these tests run without a render thread. */
void set_up_player();

/* How often a text contains a part. */
int count(const std::string &text, const std::string &part);

/* True if the text has the parts in this order, with anything between. */
bool in_order(const std::string &text, std::initializer_list<const char *> parts);
