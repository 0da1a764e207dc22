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
if [ -n "$pgbin" ] && [ -x "$pgbin/initdb" ] && [ -z "${QX_TEST_PG:-}" ]; then
    pgdir=$(mktemp -d /tmp/qxpg.XXXXXX)
    if [ "$(id -u)" = 0 ]; then chown postgres: "$pgdir"; fi
    as_pg "$pgbin/initdb" -D "$pgdir/data" -U postgres -A trust -E UTF8 --locale=C >"$pgdir/initdb.log" 2>&1 ||
        { cat "$pgdir/initdb.log"; exit 1; }
    as_pg "$pgbin/pg_ctl" -D "$pgdir/data" -l "$pgdir/server.log" -w \
        -o "-c listen_addresses='' -c unix_socket_directories='$pgdir' -c fsync=off -c max_connections=200" \
        start >/dev/null || { cat "$pgdir/server.log"; exit 1; }
    export QX_TEST_PG="postgresql://postgres@/postgres?host=$pgdir"
fi

# The workstations report through stdout; the figures are the lines in brackets.
QT_QPA_PLATFORM=offscreen "$build/tests/test_workstations" --gtest_filter='Backends/Workstations.*'
