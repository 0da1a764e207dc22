#pragma once

// What the benchmarks share: a scratch database on a PostgreSQL server, and the median of
// repeated timings.

#include <QString>

#include <functional>

namespace qx::bench {

// Creates the database `name` on the server named by `maintenance` (dropping one of that name
// first) and returns its connection string; empty, with a line on stderr, when it cannot.
QString createScratchDatabase(const QString& maintenance, const QString& name);
void dropScratchDatabase(const QString& maintenance, const QString& name);

// The median of `reps` timings of `work`, in milliseconds.
double medianMs(int reps, const std::function<void()>& work);

}  // namespace qx::bench
