/* A hold of g_mutex for one scope. */
#pragma once

#include <pthread.h>

#include <render/render.h>

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
