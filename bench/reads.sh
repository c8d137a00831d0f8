#!/usr/bin/env bash
# Read-aware phasing against phasing alone, on simulated sparse reads: for each cohort of
# bench/peers.sh (COHORTS, default "c100all n60all"; SEEDS, default "1 2 3"), a PIR file in
# which each pair of consecutive true heterozygotes within 2 kb is covered by one read with
# chance 0.5, each base wrong with chance 0.01 (bench/sparse_reads.py); then `-phase` and
# `-assemble` with the same seed and THREADS (default 2), and the switch error of both over
# all pairs of heterozygotes and over the pairs a read joins.
#
# Usage: bash bench/reads.sh [sorvane-binary]      (default: build/sorvane)
# Data and outputs in BENCH_DIR (default /tmp/sorvane_peers), the table also in
# BENCH_DIR/reads$TAG.txt; TAG also names the outputs, to compare builds.
set -euo pipefail
root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
bin="$(readlink -f "${1:-$root/build/sorvane}")"
COHORTS="${COHORTS:-c100all n60all}"
SEEDS="${SEEDS:-1 2 3}"
THREADS="${THREADS:-2}"
BENCH_DIR="${BENCH_DIR:-/tmp/sorvane_peers}"
TAG="${TAG:-}"
table="$BENCH_DIR/reads$TAG.txt"

rates() {  # truth dir, estimate stem: "all-pairs% read-pairs%"
    python3 "$root/bench/switch_error.py" "$1/truth.haps" "$1/truth.sample" "$2.haps" "$2.sample" --pairs "$1/reads.pir.pairs" |
        awk '/^switch error rate/ { all = $4 } /^listed pairs/ { gsub(/[(]/, "", $7); joined = $7 } END { print all, joined }'
}

printf "%-12s %4s %8s   %-22s %-22s %s\n" cohort seed pairs "-phase all / joined %" "-assemble all / joined %" "ratio all" | tee "$table"
for cohort in $COHORTS; do
    for seed in $SEEDS; do
        COHORTS="$cohort" SEEDS="$seed" RUN=0 bash "$root/bench/peers.sh" "$bin" >/dev/null
        d="$BENCH_DIR/${cohort}_s$seed"
        python3 "$root/bench/sparse_reads.py" "$d/truth.haps" "$d/truth.sample" "$d/reads.pir" --seed "$seed"
        common="--input-vcf $d/cohort.vcf.gz --input-map $d/genetic_map.txt --thread $THREADS --seed $seed"
        "$bin" -phase $common --output-max "$d/reads_phase$TAG" -L "$d/reads_phase$TAG" >/dev/null
        "$bin" -assemble $common --input-pir "$d/reads.pir" --output-max "$d/reads_assemble$TAG" -L "$d/reads_assemble$TAG" >/dev/null
        read -r p_all p_joined < <(rates "$d" "$d/reads_phase$TAG")
        read -r a_all a_joined < <(rates "$d" "$d/reads_assemble$TAG")
        printf "%-12s %4s %8s   %-22s %-22s %s\n" "$cohort" "$seed" "$(wc -l < "$d/reads.pir.pairs")" \
            "$p_all / $p_joined" "$a_all / $a_joined" "$(awk -v a="$a_all" -v p="$p_all" 'BEGIN { printf "%.2f", a / p }')" | tee -a "$table"
    done
done
