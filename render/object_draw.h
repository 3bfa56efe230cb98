/* The draw's memory of the current program, which dies with its context. */
#pragma once

/* Called when a new context's programs are built: their names may equal those of an earlier one. */
void forget_program_last();
