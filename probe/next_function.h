/* For code that stands in front of a library's functions, to be on the way to them. */
#pragma once

#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>

/* The function that would have been called if this executable or preloaded library did not define
 * one of that name. */
template <class Function>
Function next_function(Function, const char *name)
{
	void *address = dlsym(RTLD_NEXT, name);
	if (!address) {
		fprintf(stderr, "no library has %s\n", name);
		abort();
	}
	return reinterpret_cast<Function>(address);
}

/* A function or variable that the program has from any of its libraries. What may be loaded without
 * the library cannot be linked with it; and a program that reads a variable has a copy of its own.
 */
template <class Symbol>
Symbol *find_symbol(const char *name)
{
	return reinterpret_cast<Symbol *>(dlsym(RTLD_DEFAULT, name));
}
