#include "failing_memory.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <iterator>
#include <new>

#include <dlfcn.h>
#include <link.h>

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)

extern "C" {
void *__libc_malloc(size_t size);
void *__libc_calloc(size_t count, size_t size);
void __libc_free(void *block);
}

namespace
{

std::atomic<bool> is_watching;

std::atomic<std::size_t> made;
std::atomic<std::size_t> failing;
std::atomic<void *> blocks[4096];

bool is_ours(void *caller)
{
	dl_find_object found;
	if (!is_watching || _dl_find_object(caller, &found) != 0)
		return false;
	const char *library = found.dlfo_link_map->l_name;
	return strstr(library, "libanimation") || strstr(library, "libpng");
}

bool exchange(void *from, void *to)
{
	return std::any_of(std::begin(blocks), std::end(blocks), [=](std::atomic<void *> &slot) {
		void *expected = from;
		return slot.compare_exchange_strong(expected, to);
	});
}

/* Allocates for a caller. */
template <class Allocate>
void *allocate_for(void *caller, Allocate allocate)
{
	if (!is_ours(caller))
		return allocate();
	if (++made == failing)
		return nullptr;
	void *block = allocate();
	if (block)
		exchange(nullptr, block);
	return block;
}

} // namespace

extern "C" void *malloc(size_t size)
{
	return allocate_for(__builtin_return_address(0), [=] { return __libc_malloc(size); });
}

extern "C" void *calloc(size_t count, size_t size)
{
	return allocate_for(__builtin_return_address(0), [=] { return __libc_calloc(count, size); });
}

extern "C" void free(void *block)
{
	if (block && is_watching)
		exchange(block, nullptr);
	__libc_free(block);
}

void *operator new(size_t size, const std::nothrow_t &) noexcept
{
	return allocate_for(__builtin_return_address(0), [=] { return __libc_malloc(size); });
}

std::size_t fail_allocation(std::size_t n)
{
	is_watching = true;
	failing = n;
	return made.exchange(0);
}

std::size_t live_blocks()
{
	return std::count_if(
	    std::begin(blocks), std::end(blocks), [](const auto &slot) { return slot != nullptr; });
}

#else

std::size_t fail_allocation(std::size_t)
{
	return 0;
}

std::size_t live_blocks()
{
	return 0;
}

#endif
