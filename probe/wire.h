/*
 * The way to whoever listens: lines of JSON, over the descriptor that ANIMATION_PROBE_FD names, or
 * by a function of this process. Any thread; no call waits.
 */
#pragma once

#include <string>

/* Takes the descriptor at the first call, unless another process has it. The descriptor then
 * closes at exec. True if there is a listener. */
bool is_heard();

/* The lines go to this function, on whatever thread they come; in place of a descriptor. It is to
 * be called before the library is. */
void hear_in_process(void (*take)(const std::string &line));

enum class Importance {
	kMayDrop,    /* lost if what came before it has not gone yet */
	kMustArrive, /* kept until it goes, as far as there is room */
};

/* False if the line is lost. */
bool send_line(const std::string &line, Importance importance);

/* Sends what is kept back, as far as that goes. */
void send_rest();

/* The next line from the listener. False if there is none. Render thread. */
bool take_line(std::string *line);
