/* For an executable that defines functions of the libraries it calls, to be on the way to them. */
#pragma once

#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>

/* The function that would have been called if the executable did not define one of that name. */
template <class Function>
Function next_function(Function, const char *name)
{
	void *address = dlsym(RTLD_NEXT, name);
	if (!address) {
		fprintf(stderr, "bench: no library has %s\n", name);
		abort();
	}
	return reinterpret_cast<Function>(address);
}
