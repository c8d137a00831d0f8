#!/usr/bin/env bash
# sorvane alone over a grid of option sets on the cohorts of peers.sh: one table per option
# set, and a summary of mean switch error and mean wall per cohort and option set.
#
# Usage: VARIANTS="--burn 7 --prune 8 --main 20|--burn 3 --prune 3 --main 6" \
#            COHORTS="c1000common c5000array" SEEDS="1 2 3" bash bench/grid.sh [sorvane-binary]
# VARIANTS: option sets separated by "|" (an empty one: the defaults). Other variables as in
# peers.sh (BENCH_DIR, THREADS). The summary goes to BENCH_DIR/grid$GRID.txt as well.
set -euo pipefail
root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
BENCH_DIR="${BENCH_DIR:-/tmp/sorvane_peers}"
IFS='|' read -r -a variants <<< "${VARIANTS:-}"
[ "${#variants[@]}" -gt 0 ] || variants=("")
summary="$BENCH_DIR/grid${GRID:-}.txt"
: > "$summary"
for v in "${!variants[@]}"; do
    tag="_g$(md5sum <<< "${variants[$v]}" | cut -c1-8)"
    ARGS="${variants[$v]}" TAG="$tag" PEERS=0 bash "$root/bench/peers.sh" "$@" > "$BENCH_DIR/grid$tag.out"
    # Mean switch error and wall of each cohort over the seeds run.
    awk -v opts="${variants[$v]:-defaults}" '$2 ~ /^[0-9]+$/ && $7 ~ /^[0-9.]+$/ { n[$1]++; se[$1] += $7; w[$1] += $5 }
        END { for (c in n) printf "%-12s %-40s %3d seeds  switch %8.4f %%  wall %8.1f s\n", c, opts, n[c], se[c] / n[c], w[c] / n[c] }' \
        "$BENCH_DIR/peers$tag.txt" | sort | tee -a "$summary"
done
