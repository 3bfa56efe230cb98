#include "failing_memory.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <new>

#include <link.h>

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)

extern "C" {
void *__libc_malloc(size_t size);
void *__libc_calloc(size_t count, size_t size);
void __libc_free(void *block);
}

namespace
{

struct Code {
	std::uintptr_t begin, end;
} libraries[4];
std::atomic<std::size_t> known_libraries;

std::atomic<std::size_t> made;
std::atomic<std::size_t> failing;
std::atomic<void *> blocks[4096];

int note_library(dl_phdr_info *object, size_t, void *)
{
	if (!strstr(object->dlpi_name, "libanimation") && !strstr(object->dlpi_name, "libpng"))
		return 0;
	for (int i = 0; i < object->dlpi_phnum; i++) {
		const auto &segment = object->dlpi_phdr[i];
		const std::uintptr_t begin = object->dlpi_addr + segment.p_vaddr;
		if (segment.p_type == PT_LOAD && (segment.p_flags & PF_X) &&
		    known_libraries < std::size(libraries))
			libraries[known_libraries++] = {begin, begin + segment.p_memsz};
	}
	return 0;
}

bool is_ours(const void *caller)
{
	const auto address = reinterpret_cast<std::uintptr_t>(caller);
	return std::any_of(libraries, libraries + known_libraries,
	    [=](const Code &code) { return address >= code.begin && address < code.end; });
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
void *allocate_for(const void *caller, Allocate allocate)
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
	if (block && known_libraries)
		exchange(block, nullptr);
	__libc_free(block);
}

void *operator new(size_t size, const std::nothrow_t &) noexcept
{
	return allocate_for(__builtin_return_address(0), [=] { return __libc_malloc(size); });
}

std::size_t fail_allocation(std::size_t n)
{
	if (!known_libraries)
		dl_iterate_phdr(note_library, nullptr);
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
