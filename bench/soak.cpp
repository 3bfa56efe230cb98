/*
 * Random lives for so many minutes: the fuzz target of calls, fed with chance. What a tenth of the
 * time is enough for is lived over and over, since a driver keeps something for each new state that
 * it meets, such as its compiled shaders. After two rounds and at the end it prints what the
 * process holds; status 1 if that has grown.
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

void live(std::mt19937 &chance)
{
	std::vector<std::uint8_t> life(chance() % kLongestLife);
	for (std::uint8_t &byte : life)
		byte = static_cast<std::uint8_t>(chance());
	LLVMFuzzerTestOneInput(life.data(), life.size());
}

/* The first lives that there is time for; every round after them has the same ones. */
unsigned long first_round(Clock::time_point end)
{
	std::mt19937 chance;
	unsigned long lives = 0;
	do {
		live(chance);
		lives++;
	} while (Clock::now() < end);
	return lives;
}

void repeat_round(unsigned long lives)
{
	std::mt19937 chance;
	while (lives--)
		live(chance);
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
	const unsigned long lives = first_round(start + time / 10);
	repeat_round(lives);
	const Sample before = take_sample();
	print("start", before);
	unsigned long rounds = 0;
	do {
		repeat_round(lives);
		rounds++;
	} while (Clock::now() < start + time);
	const Sample after = take_sample();
	print("end", after);

	const bool grown = after.textures != before.textures ||
	                   after.descriptors != before.descriptors ||
	                   after.heap > before.heap + kHeapGrowth ||
	                   after.resident > before.resident + kResidentGrowth;
	printf("%lu times %lu lives in between: %s\n", rounds, lives, grown ? "GROWN" : "no growth");
	return grown ? 1 : 0;
}
