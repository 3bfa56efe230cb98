/* What the checking layer has to say. Each cause is told once for each thing that it is about, and
 * counted from then on; the counts are told when the program ends. Any thread. */
#pragma once

#include <string>

#include <animation/animation.h>

struct Finding {
	const char *cause; /* its name: "png-without-alpha" */
	const char *call;  /* the function that the program called; "redraw" for a frame */
	unsigned int object = ANIMATION_NO_OBJECT;
	std::string wrong; /* what is wrong, naming the thing: the file, the field, the id */
	const char *remedy;
};

/* True if the listener wants the findings, as ANIMATION_PROBE_CHECK says. */
bool is_checking();

void tell(const Finding &finding);

/* As printf writes it. */
[[gnu::format(printf, 1, 2)]] std::string words(const char *format, ...);
