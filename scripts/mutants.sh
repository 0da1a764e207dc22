#!/usr/bin/env bash
# Measures how many small deliberate faults the test suite catches.
#
# Each fault ("mutant") in scripts/mutants.txt names a file, an exact snippet of it and the
# snippet's replacement. The script copies the tracked files once to a scratch directory,
# configures one Debug build there (area libraries shared, so that a fault relinks one library), then for each mutant: applies it to the scratch copy, builds,
# runs the SQLite tests (ctest; PostgreSQL cases skip) and restores the file from a pristine
# copy. A mutant marked "backend: postgresql" lies on a path only PostgreSQL takes: its tests run
# against a throwaway cluster started here (scripts/pg_cluster.sh); without PostgreSQL installed it
# is listed as not run, and counts neither way. A mutant's test run stops at its first failing test. A mutant whose snippet is missing or not unique is reported as stale, never skipped
# silently. The real work tree is only read.
#
#   bash scripts/mutants.sh [PATTERN]          run the mutants whose name matches PATTERN (a regex)
#   bash scripts/mutants.sh --list [PATTERN]   list the mutants
#   bash scripts/mutants.sh --check [PATTERN]  only verify that every snippet matches exactly once
#
# Environment: QX_MUTANT_LIST (another list), QX_MUTANT_DIR (scratch directory, kept for the next
# run; default a fresh mktemp -d of which only the logs stay), QX_MUTANT_TIMEOUT (seconds per
# mutant's test run, default 900), QX_JOBS (default 2), QX_MUTANT_BASELINE=0 (skip the first
# test run of the unchanged tree).
set -uo pipefail

# mutant_tool ACTION LIST TREE [NAME]: one small reader of the mutant list.
#   names            prints the names matching $pattern (one a line)
#   show NAME        prints the mutant's file
#   backend NAME     prints the backend whose tests can catch it (sqlite unless marked)
#   check NAME       exits 0 when the snippet occurs exactly once in TREE/file, else explains
#   apply NAME       replaces the snippet in TREE/file (after the same check)
mutant_tool() {
    python3 - "$@" <<'PY'
import re, sys
action, path, tree = sys.argv[1], sys.argv[2], sys.argv[3]
name = sys.argv[4] if len(sys.argv) > 4 else ""
mutants, cur, part = [], None, None
for ln in open(path, encoding="utf-8").read().split("\n"):
    if ln.startswith("@@ "):
        cur = {"name": ln[3:].strip(), "file": "", "backend": "", "orig": [], "repl": []}
        mutants.append(cur); part = None
    elif cur is None or (part is None and (ln.startswith("#") or not ln.strip())):
        continue
    elif part is None and ln.startswith("file: "):
        cur["file"] = ln[6:].strip()
    elif part is None and ln.startswith("backend: "):
        cur["backend"] = ln[9:].strip()
    elif ln == "<<<": part = "orig"
    elif ln == "===": part = "repl"
    elif ln == ">>>": part = None
    elif part: cur[part].append(ln)
seen = set()
for m in mutants:
    if m["name"] in seen or not re.fullmatch(r"[A-Za-z0-9_.-]+", m["name"]):
        sys.exit("bad or repeated mutant name: " + m["name"])
    seen.add(m["name"])
if action == "names":
    pat = re.compile(name) if name else None
    for m in mutants:
        if pat is None or pat.search(m["name"]): print(m["name"])
    sys.exit(0)
m = next((m for m in mutants if m["name"] == name), None)
if m is None: sys.exit("no mutant named " + name)
if action == "show": print(m["file"]); sys.exit(0)
if action == "backend": print(m["backend"] or "sqlite"); sys.exit(0)
orig, repl = "\n".join(m["orig"]), "\n".join(m["repl"])
if not m["file"] or not orig or orig == repl:
    sys.exit("%s: needs a file, a snippet and a different replacement" % name)
try:
    text = open(tree + "/" + m["file"], encoding="utf-8").read()
except OSError as e:
    sys.exit("%s: %s" % (name, e))
n = text.count(orig)
if n != 1:
    sys.exit("%s: snippet found %d times in %s (must be exactly once)" % (name, n, m["file"]))
if action == "apply":
    open(tree + "/" + m["file"], "w", encoding="utf-8").write(text.replace(orig, repl))
PY
}

# The whole run is one function, read before it starts: editing this file meanwhile is safe.
main() {
    cd "$(dirname "$0")/.." || exit 1
    root=$(pwd)
    list=${QX_MUTANT_LIST:-$root/scripts/mutants.txt}
    jobs=${QX_JOBS:-2}
    limit=${QX_MUTANT_TIMEOUT:-900}

    mode=run
    case "${1:-}" in
        --list) mode=list; shift ;;
        --check) mode=check; shift ;;
        -h|--help) sed -n '2,/^set /{/^#/p}' "$0"; exit 0 ;;
    esac
    pattern=${1:-}

    mapfile -t names < <(mutant_tool names "$list" "$root" "$pattern") || exit 1
    [ ${#names[@]} -gt 0 ] || { echo "no mutant matches '$pattern'" >&2; exit 1; }

    if [ "$mode" = list ]; then
        for n in "${names[@]}"; do printf '%-40s %s\n' "$n" "$(mutant_tool show "$list" "$root" "$n")"; done
        exit 0
    fi

    if [ "$mode" = check ]; then
        bad=0
        for n in "${names[@]}"; do
            mutant_tool check "$list" "$root" "$n" || bad=$((bad + 1))
        done
        echo "${#names[@]} mutants, $bad stale"
        [ "$bad" = 0 ]
        exit
    fi

    # The scratch copy: tracked files as they are in the work tree now (edits included).
    if [ -n "${QX_MUTANT_DIR:-}" ]; then
        scratch=$QX_MUTANT_DIR
        mkdir -p "$scratch"
    else
        scratch=$(mktemp -d /tmp/qxmutants.XXXXXX)
        # Keep only the logs of a throwaway scratch directory.
        trap 'rm -rf "$scratch/src-tree" "$scratch/pristine" "$scratch/build"' EXIT
    fi
    src=$scratch/src-tree
    pristine=$scratch/pristine
    build=$scratch/build
    rm -rf "$src" "$pristine"
    mkdir -p "$src" "$pristine"
    git -C "$root" ls-files -z | (cd "$root" && xargs -0 cp --parents -t "$src" 2>/dev/null)
    git -C "$root" ls-files -z | (cd "$root" && xargs -0 cp --parents -t "$pristine" 2>/dev/null)
    # The list as it is now: edits to it meanwhile do not reach this run.
    cp "$list" "$scratch/mutants.txt"
    list=$scratch/mutants.txt

    CCACHE_BASEDIR=$(dirname "$scratch")
    export CCACHE_BASEDIR CCACHE_DIR=${CCACHE_DIR:-/work/.ccache} QT_QPA_PLATFORM=offscreen
    unset QX_TEST_PG
    # A throwaway PostgreSQL cluster, only when a mutant chosen needs one.
    pg=
    for n in "${names[@]}"; do
        if [ "$(mutant_tool backend "$list" "$root" "$n")" = postgresql ]; then
            source "$root/scripts/pg_cluster.sh"
            trap 'pg_cluster_stop; [ -n "${QX_MUTANT_DIR:-}" ] || rm -rf "$scratch/src-tree" "$scratch/pristine" "$scratch/build"' EXIT
            if pg_cluster_start; then pg=$pg_cluster_url; fi
            break
        fi
    done
    log=$scratch/logs
    mkdir -p "$log"

    echo "scratch: $scratch"
    cmake -S "$src" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Debug \
        -DCMAKE_CXX_COMPILER_LAUNCHER=ccache -DQX_BUILD_BENCH=OFF -DQX_SHARED_LIBS=ON \
        >"$log/configure.log" 2>&1 ||
        { cat "$log/configure.log"; exit 1; }
    echo "building the unchanged tree ..."
    nice cmake --build "$build" -j"$jobs" >"$log/build-baseline.log" 2>&1 ||
        { tail -n 40 "$log/build-baseline.log"; echo "the unchanged tree does not build" >&2; exit 1; }
    # Every test must pass without a fault, or a failure would say nothing about the mutant.
    if [ "${QX_MUTANT_BASELINE:-1}" != 0 ]; then
        echo "testing the unchanged tree ..."
        (cd "$build" && timeout -k 30 "$limit" nice env ${pg:+QX_TEST_PG="$pg"} ctest -j"$jobs" --output-on-failure) \
            >"$log/test-baseline.log" 2>&1 ||
            { tail -n 40 "$log/test-baseline.log"; echo "the unchanged tree fails its tests" >&2; exit 1; }
    fi

    caught=() survived=() nobuild=() stale=() slow=() notrun=()
    for n in "${names[@]}"; do
        file=$(mutant_tool show "$list" "$src" "$n")
        backend=$(mutant_tool backend "$list" "$src" "$n")
        testenv=()
        if [ "$backend" = postgresql ]; then
            if [ -z "$pg" ]; then notrun+=("$n"); echo "NOT RUN   $n (needs PostgreSQL)"; continue; fi
            testenv=(env QX_TEST_PG="$pg")
        fi
        if ! mutant_tool apply "$list" "$src" "$n" 2>"$log/$n.stale"; then
            stale+=("$n"); echo "STALE     $n: $(cat "$log/$n.stale")"; continue
        fi
        start=$(date +%s)
        if ! nice cmake --build "$build" -j"$jobs" >"$log/$n.build" 2>&1; then
            nobuild+=("$n"); verdict="NOBUILD  "
        else
            # A mutant is caught by its first failing test: the rest of the run would tell nothing more.
            (cd "$build" && timeout -k 30 "$limit" nice "${testenv[@]}" ctest -j"$jobs" --stop-on-failure --output-on-failure) >"$log/$n.test" 2>&1
            rc=$?
            if [ "$rc" = 124 ] || [ "$rc" = 137 ]; then slow+=("$n"); caught+=("$n"); verdict="TIMEOUT  "
            elif [ "$rc" != 0 ]; then caught+=("$n"); verdict="CAUGHT   "
            else survived+=("$n"); verdict="SURVIVED "
            fi
        fi
        cp "$pristine/$file" "$src/$file"
        echo "$verdict $n ($file, $(( $(date +%s) - start ))s)"
    done
    # Leave the build matching the pristine tree for the next run in the same directory.
    nice cmake --build "$build" -j"$jobs" >/dev/null 2>&1 || true

    ran=$(( ${#caught[@]} + ${#survived[@]} ))
    echo
    echo "caught / total: ${#caught[@]} / $ran   (did not compile: ${#nobuild[@]}, stale: ${#stale[@]})"
    [ ${#slow[@]} = 0 ] || echo "caught by the time limit: ${slow[*]}"
    [ ${#nobuild[@]} = 0 ] || echo "did not compile: ${nobuild[*]}"
    [ ${#stale[@]} = 0 ] || echo "stale (snippet missing or not unique): ${stale[*]}"
    [ ${#notrun[@]} = 0 ] || echo "not run (PostgreSQL not installed): ${notrun[*]}"
    [ ${#survived[@]} = 0 ] || echo "survivors: ${survived[*]}"
    echo "logs: $log"
    [ ${#stale[@]} = 0 ]
}

main "$@"; exit $?
