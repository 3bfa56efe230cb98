/* Blocks from malloc, since records and arrays are freed with free() wherever they end. */
#pragma once

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <memory>

struct FreeBlock {
	void operator()(void *block) const
	{
		free(block);
	}
};

template <class T>
using HeapBlock = std::unique_ptr<T, FreeBlock>;

/* count zeroed elements; NULL only when memory runs out, also for a count of 0. */
template <class T>
T *allocate(std::size_t count = 1)
{
	return static_cast<T *>(calloc(count ? count : 1, sizeof(T)));
}

/* Room for an element that a copy fills at once; NULL without memory. */
template <class T>
T *allocate_unfilled()
{
	return static_cast<T *>(malloc(sizeof(T)));
}

/* Replaces a pointer to somebody else's array by a private copy; NULL and false without memory. */
template <class T>
bool own_copy(T *&array, std::size_t count)
{
	const T *source = array;
	array = allocate<T>(count);
	if (array && count)
		std::memcpy(array, source, count * sizeof(T));
	return array;
}

/* Frees a block and forgets it. */
template <class T>
void drop(T *&block)
{
	free(block);
	block = nullptr;
}
