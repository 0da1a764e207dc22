#include "support/timing.h"

#include <algorithm>

namespace qx::bench {

double msSince(Clock::time_point t0)
{
    return std::chrono::duration<double, std::milli>(Clock::now() - t0).count();
}

double median(std::vector<double> timings)
{
    std::sort(timings.begin(), timings.end());
    return timings[timings.size() / 2];
}

}  // namespace qx::bench
