#!/usr/bin/env bash
# Builds everything and runs the tests on SQLite and on a throwaway PostgreSQL cluster.
# Exits with ctest's status.
set -euo pipefail
cd "$(dirname "$0")/.."
root=$(pwd)
build=${QX_BUILD_DIR:-$root/build}

cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=${QX_BUILD_TYPE:-RelWithDebInfo}
cmake --build "$build" -j"${QX_JOBS:-2}"

# PostgreSQL cases run on a throwaway cluster of our own.
source "$root/scripts/pg_cluster.sh"
trap pg_cluster_stop EXIT
if pg_cluster_start max_connections=200; then
    export QX_TEST_PG=$pg_cluster_url
    echo "PostgreSQL test cluster: $QX_TEST_PG"
else
    echo "PostgreSQL not found under /usr/lib/postgresql: its test cases will be skipped"
fi

status=0
# No folder of src/ includes a folder above it.
bash "$root/scripts/layers.sh" >/dev/null || { bash "$root/scripts/layers.sh" | sed -n '/^== Against/,$p'; status=1; }
(cd "$build" && ctest --output-on-failure -j2) || status=$?

# The same suite built with AddressSanitizer and UndefinedBehaviorSanitizer (leak reports off:
# the GUI libraries keep caches for the life of the process). QX_SANITIZE=0 skips this pass.
if [ "${QX_SANITIZE:-1}" != 0 ]; then
    asan=${QX_ASAN_BUILD_DIR:-$root/build-asan}
    cmake -S "$root" -B "$asan" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DQX_SANITIZE=ON -DQX_BUILD_BENCH=OFF
    ASAN_OPTIONS=detect_leaks=0 cmake --build "$asan" -j"${QX_JOBS:-2}"
    echo "== The suite again, under AddressSanitizer and UndefinedBehaviorSanitizer =="
    (cd "$asan" && ASAN_OPTIONS=detect_leaks=0:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1 \
        ctest --output-on-failure -j2) || status=$?
fi
exit $status
