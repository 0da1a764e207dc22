#!/usr/bin/env bash
# Builds everything and runs the tests on SQLite and on a throwaway PostgreSQL cluster.
# Exits with ctest's status.
set -euo pipefail
cd "$(dirname "$0")/.."
root=$(pwd)
build=${QX_BUILD_DIR:-$root/build}

cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=${QX_BUILD_TYPE:-RelWithDebInfo}
cmake --build "$build" -j"${QX_JOBS:-2}"

# A cluster of our own, reachable only through a socket in its own directory, so that it never
# meets a server the machine already runs (the Debian package may have started one).
pgbin=$(ls -d /usr/lib/postgresql/*/bin 2>/dev/null | sort -V | tail -n 1 || true)
pgdir=
as_pg() {
    if [ "$(id -u)" = 0 ]; then
        runuser -u postgres -- "$@"
    else
        "$@"
    fi
}
stop_cluster() {
    if [ -n "$pgdir" ] && [ -d "$pgdir" ]; then
        as_pg "$pgbin/pg_ctl" -D "$pgdir/data" -m immediate -w stop >/dev/null 2>&1 || true
        rm -rf "$pgdir"
    fi
}
trap stop_cluster EXIT

if [ -n "$pgbin" ] && [ -x "$pgbin/initdb" ]; then
    pgdir=$(mktemp -d /tmp/qxpg.XXXXXX)
    if [ "$(id -u)" = 0 ]; then
        chown postgres: "$pgdir"
    fi
    as_pg "$pgbin/initdb" -D "$pgdir/data" -U postgres -A trust -E UTF8 --locale=C >"$pgdir/initdb.log" 2>&1 ||
        { cat "$pgdir/initdb.log"; exit 1; }
    as_pg "$pgbin/pg_ctl" -D "$pgdir/data" -l "$pgdir/server.log" -w \
        -o "-c listen_addresses='' -c unix_socket_directories='$pgdir' -c fsync=off -c max_connections=200" \
        start >/dev/null || { cat "$pgdir/server.log"; exit 1; }
    export QX_TEST_PG="postgresql://postgres@/postgres?host=$pgdir"
    echo "PostgreSQL test cluster: $QX_TEST_PG"
else
    echo "PostgreSQL not found under /usr/lib/postgresql: its test cases will be skipped"
fi

status=0
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
