#pragma once

// Timings the benchmarks take by hand, round after round, when a baseline and the measured
// work alternate.

#include <chrono>
#include <vector>

namespace qx::bench {

using Clock = std::chrono::steady_clock;

// Milliseconds since t0.
double msSince(Clock::time_point t0);
// The middle one of the timings (the upper middle of an even number).
double median(std::vector<double> timings);

}  // namespace qx::bench
