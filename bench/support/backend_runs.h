#pragma once

// The frame of a benchmark that runs on both backends: its options (--pg URL, --reps N), a
// fresh SQLite file, then a scratch database on the PostgreSQL server when one is named.

#include <QString>

#include <functional>

namespace qx::bench {

// One run on one backend: the connection string, the backend's name for the output, the number
// of repetitions. False when the run found a mismatch worth a failing exit.
using BackendRun = std::function<bool(const QString& connection, const char* backendName, int reps)>;

// Parses the options, runs `run` on SQLite and, with --pg, on PostgreSQL. Returns the process's
// exit code: 0, 1 when a run returned false, 2 for bad options or a failure to set up.
// QX_BENCH_DB keeps the generated SQLite company in a file of that name, to look at afterwards.
int runOnBackends(int argc, char** argv, const char* name, const BackendRun& run);

}  // namespace qx::bench
