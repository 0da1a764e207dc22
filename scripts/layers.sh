#!/usr/bin/env bash
# Which folder of src/ includes which other folder's headers, and every include that goes
# against the layering host -> list -> bulk -> card/explorer -> print/shared/data -> platform
# -> texts: a folder may include its own tier and the tiers below it, never one above, and two folders of
# one tier never include each other.
#   bash scripts/layers.sh        the edges with their include counts, then the offending lines
# Exits 1 when an include goes against the layering.
set -euo pipefail
cd "$(dirname "$0")/../src"

declare -A tier=([host]=6 [list]=5 [bulk]=4 [card]=3 [explorer]=3 [print]=2 [shared]=2 [data]=2
                 [platform]=1 [texts]=0)

# "folder file:line target" for every include of another folder's header.
includes=$(grep -rHn --include='*.h' --include='*.cpp' '^#include "[a-z_]*/' -- * |
    sed -E 's|^(([a-z_]+)/[^:]+:[0-9]+):#include "([a-z_]+)/.*|\2 \1 \3|' | awk '$1 != $3' | sort)

echo "== Includes between folders"
awk '{print $1 " -> " $3}' <<<"$includes" | sort | uniq -c | awk '{print "  " $2 " " $3 " " $4 " (" $1 ")"}'

echo "== Against the layering"
status=0
while read -r from where to; do
    [ -n "$from" ] || continue
    if [ -z "${tier[$from]:-}" ] || [ -z "${tier[$to]:-}" ]; then
        echo "  $where: $from -> $to (a folder without a tier)"
        status=1
    elif [ "${tier[$to]}" -gt "${tier[$from]}" ] || { [ "${tier[$to]}" = "${tier[$from]}" ] &&
        grep -q "^$to [^ ]* $from\$" <<<"$includes"; }; then
        echo "  $where: $from -> $to: $(sed -n "${where##*:}p" "${where%:*}")"
        status=1
    fi
done <<<"$includes"
[ "$status" = 0 ] && echo "  none"
exit $status
