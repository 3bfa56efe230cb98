#include <bench/work.h>

#include <cstdlib>
#include <cstring>
#include <ctime>

#include <GLES2/gl2.h>

#include <probe/next_function.h>

namespace
{

struct Clocks {
	std::chrono::steady_clock::time_point time;
	std::chrono::duration<double> cpu_time;
};

/* Of this thread. Plain data: malloc itself asks for them. */
thread_local Work *counting;
thread_local Clocks counted_up_to;

Clocks read_clocks()
{
	timespec cpu;
	clock_gettime(CLOCK_THREAD_CPUTIME_ID, &cpu);
	return {std::chrono::steady_clock::now(),
	    std::chrono::seconds(cpu.tv_sec) + std::chrono::nanoseconds(cpu.tv_nsec)};
}

void count_up_to_now()
{
	const Clocks now = read_clocks();
	if (counting) {
		counting->time += now.time - counted_up_to.time;
		counting->cpu_time += now.cpu_time - counted_up_to.cpu_time;
	}
	counted_up_to = now;
}

void add(std::uint64_t Work::*kind, std::uint64_t amount)
{
	if (counting)
		counting->*kind += amount;
}

} // namespace

WorkCount::WorkCount(Work &target) : outer(counting)
{
	count_up_to_now();
	counting = &target;
}

WorkCount::~WorkCount()
{
	count_up_to_now();
	counting = outer;
}

extern "C" {

void *memcpy(void *__restrict to, const void *__restrict from, std::size_t bytes) noexcept
{
	static const auto next = next_function(&memcpy, "memcpy");
	add(&Work::copied, bytes);
	return next(to, from, bytes);
}

void *memmove(void *to, const void *from, std::size_t bytes) noexcept
{
	static const auto next = next_function(&memmove, "memmove");
	add(&Work::copied, bytes);
	return next(to, from, bytes);
}

void *malloc(std::size_t bytes) noexcept
{
	static const auto next = next_function(&malloc, "malloc");
	add(&Work::allocated, bytes);
	return next(bytes);
}

void *calloc(std::size_t count, std::size_t size) noexcept
{
	static const auto next = next_function(&calloc, "calloc");
	add(&Work::allocated, count * size);
	return next(count, size);
}

void *realloc(void *block, std::size_t bytes) noexcept
{
	static const auto next = next_function(&realloc, "realloc");
	add(&Work::allocated, bytes);
	return next(block, bytes);
}

void glTexImage2D(GLenum target, GLint level, GLint internalformat, GLsizei width, GLsizei height,
    GLint border, GLenum format, GLenum type, const void *pixels)
{
	static const auto next = next_function(&glTexImage2D, "glTexImage2D");
	if (pixels)
		add(&Work::uploaded, std::uint64_t{1} * width * height);
	next(target, level, internalformat, width, height, border, format, type, pixels);
}

void glTexSubImage2D(GLenum target, GLint level, GLint xoffset, GLint yoffset, GLsizei width,
    GLsizei height, GLenum format, GLenum type, const void *pixels)
{
	static const auto next = next_function(&glTexSubImage2D, "glTexSubImage2D");
	add(&Work::uploaded, std::uint64_t{1} * width * height);
	next(target, level, xoffset, yoffset, width, height, format, type, pixels);
}

} // extern "C"
