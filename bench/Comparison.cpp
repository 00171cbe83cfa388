/* SPDX-License-Identifier: GPL-2.0-or-later */
#include "Comparison.hpp"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <string>
#include <vector>

namespace {

// A round is repeated until this much has been measured, and at least so often.
constexpr double enoughSeconds = 0.5;
constexpr size_t fewestRounds = 5;
constexpr size_t mostRounds = 500;
// Work is repeated within one measurement until it takes this long.
constexpr double tellable = 20e-6;

double median(std::vector<double> values)
{
	const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
	std::ranges::nth_element(values, middle);
	return *middle;
}

int repeatsOf(const Comparison::Work &work)
{
	int repeats = 1;
	const auto all = [&] {
		for (int i = 0; i < repeats; i++)
			work();
	};
	while (secondsOf(all) < tellable)
		repeats *= 2;
	return repeats;
}

double secondsEach(const Comparison::Work &work, int repeats)
{
	const auto all = [&] {
		for (int i = 0; i < repeats; i++)
			work();
	};
	return secondsOf(all) / repeats;
}

std::string inWords(double value, bool bytes)
{
	char text[32];
	if (bytes)
		snprintf(text, sizeof text, "%.0f B", value);
	else if (value >= 1e-3)
		snprintf(text, sizeof text, "%.2f ms", value * 1e3);
	else
		snprintf(text, sizeof text, "%.2f us", value * 1e6);
	return text;
}

} // namespace

double secondsOf(const Comparison::Work &work)
{
	const auto start = std::chrono::steady_clock::now();
	work();
	return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

void Comparison::run(const Work &floor, const Work &dock, const Work &before)
{
	const int floorRepeats = before ? 1 : repeatsOf(floor);
	const int dockRepeats = before ? 1 : repeatsOf(dock);
	std::vector<double> floors, docks, ratios;
	for (double sum = 0; floors.size() < mostRounds && (sum < enoughSeconds || floors.size() < fewestRounds);) {
		// Each goes first once: the second may find in the cache what both of them read.
		if (before)
			before();
		double floorSeconds = secondsEach(floor, floorRepeats);
		double dockSeconds = secondsEach(dock, dockRepeats);
		if (before)
			before();
		dockSeconds += secondsEach(dock, dockRepeats);
		floorSeconds += secondsEach(floor, floorRepeats);

		floors.push_back(floorSeconds / 2);
		docks.push_back(dockSeconds / 2);
		ratios.push_back(dockSeconds / floorSeconds);
		sum += floorSeconds * floorRepeats + dockSeconds * dockRepeats;
	}
	floorTook = median(floors);
	dockTook = median(docks);
	times = median(ratios);
}

void Comparison::weigh(double floor, double dock)
{
	floorTook = floor;
	dockTook = dock;
	times = dock / floor;
	weighed = true;
}

void Comparison::print(const char *name, double goal) const
{
	printf("%-34s %7d %12s %12s %9.2f %6.2f%s\n", name, rows, inWords(floorTook, weighed).c_str(),
	       inWords(dockTook, weighed).c_str(), times, goal, times > goal ? "  above" : "");
	fflush(stdout);
}
