#!/usr/bin/env bash
# The long form of the workstation soak: six workstation processes for QX_SOAK_SECONDS (default
# 300) on one SQLite file and on one PostgreSQL database of a throwaway cluster, then QX_SOAK_KILLS
# (default 100) workstations killed at random moments, then six workstations on a PostgreSQL
# server of their own restarted QX_SOAK_RESTARTS (default 12) times at random moments. Prints the
# figures of each run.
#   bash bench/soak.sh [build-dir]
set -euo pipefail
cd "$(dirname "$0")/.."
root=$(pwd)
build=${1:-${QX_BUILD_DIR:-$root/build}}
export QX_SOAK_SECONDS=${QX_SOAK_SECONDS:-300}
export QX_SOAK_KILLS=${QX_SOAK_KILLS:-100}
export QX_SOAK_RESTARTS=${QX_SOAK_RESTARTS:-12}

cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=${QX_BUILD_TYPE:-RelWithDebInfo} >/dev/null
cmake --build "$build" --target test_workstations -j"${QX_JOBS:-2}"

source "$root/scripts/pg_cluster.sh"
trap pg_cluster_stop EXIT
if [ -z "${QX_TEST_PG:-}" ] && pg_cluster_start max_connections=200; then
    export QX_TEST_PG=$pg_cluster_url
fi

# The workstations report through stdout; the figures are the lines in brackets.
QT_QPA_PLATFORM=offscreen "$build/tests/test_workstations" --gtest_filter='Backends/Workstations.*'
