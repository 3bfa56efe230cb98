/* The draw caches the bound program. The cache ends with the program's context. */
#pragma once

/* Empties the cache. Call it when a new context's programs are built, because they may have the
 * names of earlier ones. */
void forget_program_last();
