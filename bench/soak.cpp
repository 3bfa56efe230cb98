/*
 * Random lives for so many minutes: the fuzz target of calls, fed with chance. After a tenth of the
 * time, in which libraries and driver fill their caches, and at the end it prints what the process
 * holds between two lives; status 1 if that has grown.
 *
 * usage: soak_null_gl|soak_llvmpipe MINUTES    (bench/soak runs both)
 */
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <malloc.h>
#include <random>
#include <unistd.h>
#include <vector>

#include <fuzz/fuzzing.h>

namespace
{

using Clock = std::chrono::steady_clock;

constexpr std::size_t kLongestLife = 600; /* bytes */

/* Of the heap in use, and of what the process has of the machine's memory, which also grows as the
 * heap falls into pieces. Lives end at random, so that no two samples are equal. */
constexpr long kHeapGrowth = 512;      /* kilobytes */
constexpr long kResidentGrowth = 8192; /* kilobytes */

struct Sample {
	unsigned long frames;
	long resident; /* kilobytes */
	long heap;     /* kilobytes */
	long textures;
	long descriptors;
};

Sample take_sample()
{
	long pages = 0;
	std::ifstream("/proc/self/statm") >> pages >> pages;
	const std::filesystem::directory_iterator open("/proc/self/fd");
	return {
	    .frames = fuzz_window().window.frames,
	    .resident = pages * (sysconf(_SC_PAGESIZE) / 1024),
	    .heap = static_cast<long>(mallinfo2().uordblks / 1024),
	    .textures = static_cast<long>(textures_alive()),
	    .descriptors = std::distance(begin(open), end(open)),
	};
}

void print(const char *when, const Sample &sample)
{
	printf("%-8s %10lu frames %8ld kB resident %8ld kB of heap %4ld textures %4ld descriptors\n",
	    when, sample.frames, sample.resident, sample.heap, sample.textures, sample.descriptors);
	fflush(stdout);
}

unsigned long live_until(Clock::time_point end, std::mt19937 &chance)
{
	unsigned long lives = 0;
	for (; Clock::now() < end; lives++) {
		std::vector<std::uint8_t> life(chance() % kLongestLife);
		for (std::uint8_t &byte : life)
			byte = static_cast<std::uint8_t>(chance());
		LLVMFuzzerTestOneInput(life.data(), life.size());
	}
	return lives;
}

} // namespace

int main(int argc, char **argv)
{
	const double minutes = argc == 2 ? atof(argv[1]) : 0;
	if (minutes <= 0) {
		fprintf(stderr, "usage: %s MINUTES\n", argv[0]);
		return 2;
	}
	const auto time = std::chrono::duration_cast<Clock::duration>(
	    std::chrono::duration<double, std::ratio<60>>(minutes));
	const auto start = Clock::now();
	std::mt19937 chance(1); /* the same lives in every run */

	live_until(start + time / 10, chance);
	const Sample before = take_sample();
	print("start", before);
	const unsigned long lives = live_until(start + time, chance);
	const Sample after = take_sample();
	print("end", after);

	const bool grown = after.textures != before.textures ||
	                   after.descriptors != before.descriptors ||
	                   after.heap > before.heap + kHeapGrowth ||
	                   after.resident > before.resident + kResidentGrowth;
	printf("%lu lives in between: %s\n", lives, grown ? "GROWN" : "no growth");
	return grown ? 1 : 0;
}
