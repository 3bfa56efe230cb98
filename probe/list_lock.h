/* The library's variables, found when they are needed: the probe is not linked with the library. */
#pragma once

#include <pthread.h>

#include <animation/animation.h>
#include <probe/next_function.h>

inline pthread_mutex_t *list_mutex()
{
	static auto *const mutex = find_symbol<pthread_mutex_t>("g_mutex");
	return mutex;
}

/* g_mutex is held. */
inline const AnimationObj *list_head()
{
	static auto *const head = find_symbol<AnimationObj *>("animationItemHead");
	return *head;
}

/* Holds g_mutex for a scope. */
class ListHold
{
public:
	ListHold()
	{
		pthread_mutex_lock(list_mutex());
	}
	~ListHold()
	{
		pthread_mutex_unlock(list_mutex());
	}
	ListHold(const ListHold &) = delete;
	ListHold &operator=(const ListHold &) = delete;
};
