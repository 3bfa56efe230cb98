/* The times of one run, kept beside the usual table so that a program can print their ratios. */
#pragma once

#include <benchmark/benchmark.h>

#include <map>
#include <string>

class MeasuredTimes : public benchmark::ConsoleReporter
{
public:
	MeasuredTimes() : benchmark::ConsoleReporter(OO_None)
	{
	}

	void ReportRuns(const std::vector<Run> &runs) override
	{
		for (const Run &run : runs)
			times[run.run_name.function_name] = run.GetAdjustedRealTime();
		benchmark::ConsoleReporter::ReportRuns(runs);
	}

	/* In the benchmark's own unit; 0 for one that did not run. */
	double of(const std::string &name) const
	{
		auto found = times.find(name);
		return found == times.end() ? 0.0 : found->second;
	}

private:
	std::map<std::string, double> times;
};
