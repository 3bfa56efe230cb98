#pragma once

#include <host/session.h>

/* Prints each mistake of the program that the probe finds, on the standard error:
 *
 *     check [CAUSE] frame N, CALL, object ID: what is wrong; what to do
 *
 * At the end it prints how often each came that came more than once. *count counts the mistakes,
 * and outlives the listener. */
ProbeListener findings_printer(unsigned long *count);
