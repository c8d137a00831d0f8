#!/usr/bin/env bash
# Accuracy and speed of phasing on simulated cohorts of several sizes.
#
# For each cohort size, example/generate.sh simulates a 2.5 Mb region (human-
# like mutation rate 1.25e-8 per bp, Ne 10000, a recombination map of about
# 1.2 cM/Mb on average with hotspots) into $BENCH_DIR/<n>; sorvane phases the
# cohort's VCF with the genetic map and default settings; the wall time and
# peak memory of the run come from /usr/bin/time, and bench/switch_error.py
# compares the estimated haplotypes with the truth over the unrelated founders.
#
# Usage: bash bench/accuracy.sh [sorvane-binary]     (default: build/sorvane)
# Environment: SIZES (default "100 500 2000"), LENGTH (default 2500000 bp),
#              BENCH_DIR (default /tmp/sorvane_bench), THREADS (default 2),
#              ARGS (further sorvane options, e.g. "--model-version1"),
#              PANEL=1 (phase with the simulated reference panel, --input-ref),
#              REFERENCE (panel samples simulated with the cohort, default 100).
# Simulated data are kept and reused when the parameters are unchanged.
# Exit status: 0 when all sizes were phased and scored, 2 when the phasing mode
# of this build is not available, 1 on any other failure.
set -euo pipefail

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
bin="${1:-$root/build/sorvane}"
SIZES="${SIZES:-100 500 2000}"
LENGTH="${LENGTH:-2500000}"
BENCH_DIR="${BENCH_DIR:-/tmp/sorvane_bench}"
THREADS="${THREADS:-2}"
ARGS="${ARGS:-}"
PANEL="${PANEL:-0}"
REFERENCE="${REFERENCE:-100}"

[ -x "$bin" ] || { echo "accuracy.sh: no executable sorvane at $bin" >&2; exit 1; }
[ -x /usr/bin/time ] || { echo "accuracy.sh: /usr/bin/time is needed (Debian package time)" >&2; exit 1; }
bin="$(cd "$(dirname "$bin")" && pwd)/$(basename "$bin")"
mkdir -p "$BENCH_DIR"

# Recombination map over the region, with hotspots; it depends on LENGTH only.
recomb=$(python3 "$root/bench/peers_simulate.py" --hotspot-map "$LENGTH")

results="$BENCH_DIR/results.txt"
printf "%-12s %8s %16s %10s %10s  %s\n" individuals sites "switch error %" "wall s" "peak MB" status > "$results"
unavailable=0
failed=0

for n in $SIZES; do
    dir="$BENCH_DIR/$n"
    if [ "$REFERENCE" != 100 ]; then dir="${dir}r$REFERENCE"; fi
    stamp="n=$n reference=$REFERENCE length=$LENGTH recomb=$recomb generator=$(cat "$root/example/generate.sh" "$root/example/simulate.py" | md5sum | cut -d' ' -f1)"
    if [ ! -f "$dir/stamp" ] || [ "$(cat "$dir/stamp")" != "$stamp" ]; then
        echo "== simulating $n individuals over $LENGTH bp into $dir"
        rm -rf "$dir"
        mkdir -p "$dir"
        EXAMPLE_COHORT="$n" EXAMPLE_REFERENCE="$REFERENCE" EXAMPLE_LENGTH="$LENGTH" EXAMPLE_RECOMB="$recomb" \
            bash "$root/example/generate.sh" "$dir" > "$dir/generate.out"
        sed 's/^/   /' "$dir/generate.out"
        echo "$stamp" > "$dir/stamp"
    else
        echo "== reusing the simulated data of $dir"
    fi
    sites=$(grep -vc '^#' "$dir/cohort.vcf")

    echo "== phasing $n individuals, $sites sites"
    rm -f "$dir/phased.haps" "$dir/phased.sample" "$dir/sorvane.log" "$dir/time.txt"
    status=0
    panel=()
    if [ "$PANEL" = 1 ]; then
        panel=(--input-ref "$dir/reference.haplotypes" "$dir/reference.legend" "$dir/reference.samples")
    fi
    # shellcheck disable=SC2086
    /usr/bin/time -f "%e %M" -o "$dir/time.txt" \
        "$bin" --input-vcf "$dir/cohort.vcf.gz" --input-map "$dir/genetic_map.txt" "${panel[@]}" $ARGS \
        --thread "$THREADS" --seed 1 --output-max "$dir/phased" -L "$dir/sorvane.log" \
        > "$dir/sorvane.out" 2>&1 || status=$?
    # /usr/bin/time writes "Command exited with non-zero status" first on failure.
    read -r wall kb < <(tail -n 1 "$dir/time.txt")
    mb=$(awk -v k="$kb" 'BEGIN { printf "%.1f", k / 1024 }')

    if [ "$status" -ne 0 ]; then
        msg=$(cat "$dir/sorvane.out" "$dir/sorvane.log" 2>/dev/null | grep -m 1 "not available" || true)
        if [ -n "$msg" ]; then
            echo "   sorvane stopped (status $status): $msg"
            printf "%-12s %8s %16s %10s %10s  %s\n" "$n" "$sites" "n/a" "$wall" "$mb" \
                "phasing not available (time and memory up to the stop)" >> "$results"
            unavailable=1
        else
            echo "   sorvane failed (status $status), see $dir/sorvane.out:" >&2
            tail -n 5 "$dir/sorvane.out" | sed 's/^/   /' >&2
            printf "%-12s %8s %16s %10s %10s  %s\n" "$n" "$sites" "n/a" "$wall" "$mb" "FAILED (status $status)" >> "$results"
            failed=1
        fi
        continue
    fi

    python3 "$root/bench/switch_error.py" "$dir/truth.haps" "$dir/truth.sample" \
        "$dir/phased.haps" "$dir/phased.sample" > "$dir/switch_error.txt"
    sed 's/^/   /' "$dir/switch_error.txt"
    ser=$(awk '/^switch error rate:/ { print $4 }' "$dir/switch_error.txt")
    printf "%-12s %8s %16s %10s %10s  %s\n" "$n" "$sites" "$ser" "$wall" "$mb" ok >> "$results"
done

echo
echo "sorvane: $bin ${ARGS}$([ "$PANEL" = 1 ] && echo " (with the reference panel)")"
cat "$results"
if [ "$failed" -ne 0 ]; then
    echo "accuracy.sh: sorvane failed on some cohorts" >&2
    exit 1
fi
if [ "$unavailable" -ne 0 ]; then
    echo "accuracy.sh: the phasing mode of this sorvane build is not available yet; no switch error could be measured" >&2
    exit 2
fi
