/* SPDX-License-Identifier: GPL-2.0-or-later */
#pragma once

#include <functional>

// One case at one size: what the dock takes beside its floor, the least that the same work takes.
class Comparison {
public:
	using Work = std::function<void()>;

	explicit Comparison(int rows_) : rows(rows_) {}

	// Runs floor and dock in turn, so that a slow moment of the machine meets both, and keeps the medians. Each run of
	// both is preceded by before, which is not measured. Without it short work is repeated until a clock can tell it.
	void run(const Work &floor, const Work &dock, const Work &before = {});
	// For what is weighed rather than timed, in bytes.
	void weigh(double floor, double dock);

	void print(const char *name, double goal) const;

	const int rows;

private:
	double floorTook = 0; // seconds, or bytes
	double dockTook = 0;
	double times = 0; // how many times the floor
	bool weighed = false;
};

// The seconds that work takes.
double secondsOf(const Comparison::Work &work);
