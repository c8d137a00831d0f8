#!/usr/bin/env bash
# Time per phasing iteration against the cohort size, for both conditioning state
# selections.
#
# For each size (SIZES, default "2000 5000 10000" individuals) a region of LENGTH bp
# (default 400 kb) is simulated with example/generate.sh into BENCH_DIR/<n> (default
# /tmp/sorvane_scaling). The cohort is phased twice per selection, with 1 and with 3
# iterations (--burn 0 --prune 1 --main 1, then --burn 2): the difference of the wall times,
# halved, is the time of one iteration, free of reading, graph building and output.
# Selections: SELECTIONS (default "pbwt hamming"). Threads: THREADS (default 2).
#
# Usage: bash bench/scaling.sh [sorvane-binary]     (default: build/sorvane)
set -euo pipefail

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
bin="${1:-$root/build/sorvane}"
SIZES="${SIZES:-2000 5000 10000}"
LENGTH="${LENGTH:-400000}"
BENCH_DIR="${BENCH_DIR:-/tmp/sorvane_scaling}"
THREADS="${THREADS:-2}"
SELECTIONS="${SELECTIONS:-pbwt hamming}"
[ -x "$bin" ] || { echo "scaling.sh: no executable sorvane at $bin" >&2; exit 1; }

wall() {
    local dir="$1" sel="$2" burn="$3"
    /usr/bin/time -f "%e" -o "$dir/time.txt" "$bin" --input-vcf "$dir/cohort.vcf.gz" \
        --input-map "$dir/genetic_map.txt" --selection "$sel" --burn "$burn" --prune 1 --main 1 \
        --thread "$THREADS" --seed 1 --output-max "$dir/phased" -L "$dir/sorvane" > /dev/null
    tail -n 1 "$dir/time.txt"
}

printf "%-12s %8s %-10s %14s\n" individuals sites selection "s/iteration"
for n in $SIZES; do
    dir="$BENCH_DIR/$n"
    if [ ! -f "$dir/cohort.vcf.gz" ]; then
        mkdir -p "$dir"
        EXAMPLE_COHORT="$n" EXAMPLE_LENGTH="$LENGTH" EXAMPLE_RECOMB="0:1.2" \
            bash "$root/example/generate.sh" "$dir" > "$dir/generate.out"
    fi
    sites=$(zcat "$dir/cohort.vcf.gz" | grep -vc '^#')
    for sel in $SELECTIONS; do
        one=$(wall "$dir" "$sel" 0)
        three=$(wall "$dir" "$sel" 2)
        printf "%-12s %8s %-10s %14.2f\n" "$n" "$sites" "$sel" "$(awk -v a="$one" -v b="$three" 'BEGIN { print (b - a) / 2 }')"
    done
done
