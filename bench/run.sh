#!/usr/bin/env bash
# Every figure of the large-company benchmarks, each a ratio to its baseline measured in the same
# run, on SQLite and on PostgreSQL (a throwaway cluster started here the way the tests start
# theirs, stopped at the end):
#   - peak memory with the list window filled / size of the company's data;
#   - Init to the list window filled and painted / the same statements read through the C API;
#   - the whole process (qxprostru CONNECTION --screenshot) / a plain program reading the same
#     statements (raw_read), and its peak memory;
#   - a 500-line save, new and edited / the same rows inserted in one transaction;
#   - the cycle check of deep placements and of a 24-level lattice / one recursive query;
#   - the explorer's summary and where-used / one recursive query, a node opened, the lattice;
#   - an import of 20,000 lines / a raw insert, a replace in 20,000 structures / a raw update.
#
#   bash bench/run.sh [build-dir]        (default: build-rel, built RelWithDebInfo)
# QX_BENCH_ROUNDS (default 3) sets how often the whole process is timed; medians are printed.
set -euo pipefail
cd "$(dirname "$0")/.."
root=$(pwd)
build=${1:-$root/build-rel}
rounds=${QX_BENCH_ROUNDS:-3}

launcher=()
if command -v ccache >/dev/null; then launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache); fi
cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo "${launcher[@]}" >/dev/null
nice cmake --build "$build" --target bench_list bench_cycle bench_save bench_explorer bench_bulk raw_read qxprostru -j"${QX_JOBS:-2}" >/dev/null

bin() { find "$build" -maxdepth 2 -type f -name "$1" -perm -u+x | head -n 1; }
bench_list=$(bin bench_list)
bench_cycle=$(bin bench_cycle)
bench_save=$(bin bench_save)
bench_explorer=$(bin bench_explorer)
bench_bulk=$(bin bench_bulk)
raw_read=$(bin raw_read)
host=$(bin qxprostru)

work=$(mktemp -d /tmp/qxbench.XXXXXX)
source "$root/scripts/pg_cluster.sh"
cleanup() {
    pg_cluster_stop
    rm -rf "$work"
}
trap cleanup EXIT
export QX_SYSTEM_DIR=$work/system
mkdir -p "$QX_SYSTEM_DIR"
export QT_QPA_PLATFORM=offscreen

median() { sort -g | awk '{v[NR]=$1} END {print v[int((NR+1)/2)]}'; }
now_ms() { echo $(( $(date +%s%N) / 1000000 )); }

# The whole process against the plain reader, alternately, `rounds` times.
whole_process() {
    local connection=$1 ratios=() peaks=() hosts=() raws=() openings=() opening_ratios=()
    for _ in $(seq "$rounds"); do
        local t0 t1 t2 t3
        t0=$(now_ms)
        "$raw_read" "$connection" >/dev/null
        t1=$(now_ms)
        /usr/bin/time -f '%M' -o "$work/rss" "$host" "$connection" --screenshot "$work/shot.png" >/dev/null 2>&1
        t2=$(now_ms)
        raws+=($((t1 - t0)))
        hosts+=($((t2 - t1)))
        ratios+=("$(awk -v a=$((t2 - t1)) -v b=$((t1 - t0)) 'BEGIN {printf "%.2f", a / b}')")
        peaks+=("$(cat "$work/rss")")
        # The floor of only the rows the opening reads (the sets fetched on first use left out).
        "$raw_read" --opening "$connection" >/dev/null
        t3=$(now_ms)
        openings+=($((t3 - t2)))
        opening_ratios+=("$(awk -v a=$((t2 - t1)) -v b=$((t3 - t2)) 'BEGIN {printf "%.2f", a / b}')")
    done
    echo "  whole process (start, load, paint, exit): $(printf '%s\n' "${hosts[@]}" | median) ms;" \
         "plain reader $(printf '%s\n' "${raws[@]}" | median) ms;" \
         "ratio $(printf '%s\n' "${ratios[@]}" | median)x (median of $rounds);" \
         "peak $(( $(printf '%s\n' "${peaks[@]}" | median) / 1024 )) MiB"
    echo "  plain reader of only the rows the opening reads: $(printf '%s\n' "${openings[@]}" | median) ms;" \
         "ratio $(printf '%s\n' "${opening_ratios[@]}" | median)x (median of $rounds)"
}

echo "== SQLite ($(nproc) cores, load average $(cut -d' ' -f1-3 /proc/loadavg))"
"$bench_list" --generate "sqlite:$work/large.db" >/dev/null
echo "  company file $(( $(stat -c %s "$work/large.db") / 1048576 )) MiB"
"$bench_list" "sqlite:$work/large.db" | sed 's/^/  /'
whole_process "sqlite:$work/large.db"
"$bench_save" | sed 's/^/  /'

pg=${QX_TEST_PG:-}
if [ -z "$pg" ] && pg_cluster_start; then pg=$pg_cluster_url; fi
if [ -n "$pg" ]; then
    echo "== PostgreSQL"
    host_part=${pg#*\?}
    company="postgresql://postgres@/qx_bench_list?$host_part"
    psql "$pg" -q -c "drop database if exists qx_bench_list" -c "create database qx_bench_list" >/dev/null
    "$bench_list" --generate "$company" >/dev/null
    "$bench_list" "$company" | sed 's/^/  /'
    whole_process "$company"
    "$bench_save" --pg "$pg" | sed 's/^/  /'
    psql "$pg" -q -c "drop database if exists qx_bench_list" >/dev/null
    "$bench_cycle" --pg "$pg" | sed 's/^/  /'
    echo "== The explorer (SQLite, then PostgreSQL)"
    "$bench_explorer" --pg "$pg" | sed 's/^/  /'
    echo "== Import and replace, SQLite"
    "$bench_bulk" | sed 's/^/  /'
    echo "== Import and replace, PostgreSQL"
    psql "$pg" -q -c "drop database if exists qx_bench_bulk" -c "create database qx_bench_bulk" >/dev/null
    "$bench_bulk" "postgresql://postgres@/qx_bench_bulk?$host_part" | sed 's/^/  /'
    psql "$pg" -q -c "drop database if exists qx_bench_bulk" >/dev/null
else
    echo "== PostgreSQL: no server (set QX_TEST_PG or install postgresql)"
    "$bench_cycle" | sed 's/^/  /'
    echo "== The explorer, SQLite"
    "$bench_explorer" | sed 's/^/  /'
    echo "== Import and replace, SQLite"
    "$bench_bulk" | sed 's/^/  /'
fi
