/* g_mutex: its making, and a hold of it for one scope. */
#pragma once

#include <pthread.h>

/* The library's one public lock; <render/render.h> tells what it guards. */
extern "C" __attribute__((visibility("default"))) pthread_mutex_t g_mutex;

/* Recursive: list operations nest. Inline, since a window in memory makes the mutex in place of
 * Init, from outside the library. */
inline void create_list_mutex()
{
	pthread_mutexattr_t attributes;
	pthread_mutexattr_init(&attributes);
	pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
	pthread_mutex_init(&g_mutex, &attributes);
	pthread_mutexattr_destroy(&attributes);
}

class ListLock
{
public:
	ListLock()
	{
		pthread_mutex_lock(&g_mutex);
	}
	~ListLock()
	{
		pthread_mutex_unlock(&g_mutex);
	}
	ListLock(const ListLock &) = delete;
	ListLock &operator=(const ListLock &) = delete;
};
