# A throwaway PostgreSQL cluster for the tests and benchmarks, sourced by scripts/test.sh,
# bench/run.sh and bench/soak.sh. It is reachable only through a socket in its own directory, so
# that it never meets a server the machine already runs (the Debian package may have started one).
#   pg_cluster_start [NAME=VALUE...]  initialises and starts it with these server settings on top
#       of ours, and sets pg_cluster_url to its connection string. Returns 1 when PostgreSQL is not
#       installed; a cluster that will not start ends the script after printing the server's log.
#   pg_cluster_stop  stops it and removes its directory; does nothing when none was started.

pg_cluster_bin=$(ls -d /usr/lib/postgresql/*/bin 2>/dev/null | sort -V | tail -n 1 || true)
pg_cluster_dir=
pg_cluster_url=

# The server refuses to run as root: as root, its commands run as the postgres user.
pg_cluster_as_owner() {
    if [ "$(id -u)" = 0 ]; then
        runuser -u postgres -- "$@"
    else
        "$@"
    fi
}

pg_cluster_start() {
    if [ -z "$pg_cluster_bin" ] || [ ! -x "$pg_cluster_bin/initdb" ]; then return 1; fi
    # Called as an if's condition, where a failing command does not end the script by itself.
    pg_cluster_dir=$(mktemp -d /tmp/qxpg.XXXXXX) || exit 1
    if [ "$(id -u)" = 0 ]; then chown postgres: "$pg_cluster_dir" || exit 1; fi
    local settings="-c listen_addresses='' -c unix_socket_directories='$pg_cluster_dir' -c fsync=off"
    local setting
    for setting in "$@"; do settings+=" -c $setting"; done
    pg_cluster_as_owner "$pg_cluster_bin/initdb" -D "$pg_cluster_dir/data" -U postgres -A trust -E UTF8 \
        --locale=C >"$pg_cluster_dir/initdb.log" 2>&1 || { cat "$pg_cluster_dir/initdb.log"; exit 1; }
    pg_cluster_as_owner "$pg_cluster_bin/pg_ctl" -D "$pg_cluster_dir/data" -l "$pg_cluster_dir/server.log" -w \
        -o "$settings" start >/dev/null || { cat "$pg_cluster_dir/server.log"; exit 1; }
    pg_cluster_url="postgresql://postgres@/postgres?host=$pg_cluster_dir"
}

pg_cluster_stop() {
    if [ -n "$pg_cluster_dir" ] && [ -d "$pg_cluster_dir" ]; then
        pg_cluster_as_owner "$pg_cluster_bin/pg_ctl" -D "$pg_cluster_dir/data" -m immediate -w stop \
            >/dev/null 2>&1 || true
        rm -rf "$pg_cluster_dir"
    fi
}
