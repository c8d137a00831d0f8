#!/usr/bin/env bash
# sorvane side by side with Beagle 5.4 on simulated cohorts: wall time, peak memory and
# switch error of both, on the same machine, data and thread count.
#
# Cohorts (COHORTS, default "c1000common c1000all c5000array c100panel"), each simulated by
# scrm with the hotspot map of accuracy.sh, then cut by bench/peers_simulate.py; every
# cohort has 0.5 % missing genotypes and 0.05 % genotype errors:
#   c1000common   1,000 individuals, 2 Mb, sites with minor allele frequency >= 1 %
#   c1000all      1,000 individuals, 2 Mb, all sites, growing population
#   c1000mac2     the same simulation, sites with minor allele count >= 2
#   c5000array    5,000 individuals, 0.5 Mb, about one site per 600 bp (array density)
#   c100panel     100 individuals and a reference panel of 500, 2 Mb, frequency >= 0.5 %
#   c150common    150 individuals, 2 Mb, frequency >= 1 %
#   c100all       100 individuals, 2 Mb, all sites
#   n<N>common, n<N>all   N individuals alone, 2 Mb, frequency >= 1 % or all sites
#   a<N>array     N individuals, 1 Mb at array density (scaling.sh)
#   s<N>seq       N individuals, 250 kb, sequence density: the sites of minor allele count
#                 >= 2 of a growing population (scaling.sh)
# Seeds: SEEDS (default "1"): each seed is a new simulation and a new run of both programs.
# Threads: THREADS (default 2). Further sorvane options: ARGS. Data: BENCH_DIR (default
# /tmp/sorvane_peers), reused while the parameters are unchanged. PEERS=0 runs sorvane
# only, SORVANE=0 the peer only; RUN=0 only simulates; INSTALL_BEAGLE=1 installs Debian's beagle first (as root).
# TAG names the runs: sorvane's files are DIR/sorvane$TAG.* and the table peers$TAG.txt, so
# that runs with other options keep their results side by side (see grid.sh).
#
# Usage: bash bench/peers.sh [sorvane-binary]     (default: build/sorvane)
# The table (also BENCH_DIR/peers$TAG.txt): cohort, seed, sites, then wall seconds, peak MB
# and switch error % of sorvane and of Beagle, and the ratio of the walls. With several
# seeds, a line "mean" and "spread" (max - min) per cohort follows.
set -euo pipefail

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
bin="${1:-$root/build/sorvane}"
COHORTS="${COHORTS:-c1000common c1000all c5000array c100panel}"
SEEDS="${SEEDS:-1}"
THREADS="${THREADS:-2}"
ARGS="${ARGS:-}"
BENCH_DIR="${BENCH_DIR:-/tmp/sorvane_peers}"
PEERS="${PEERS:-1}"

if [ "${INSTALL_BEAGLE:-0}" = 1 ] && ! command -v beagle >/dev/null 2>&1; then
    apt-get install -y -qq beagle
fi
for tool in scrm bgzip tabix /usr/bin/time; do
    command -v "$tool" >/dev/null 2>&1 || { echo "peers.sh: $tool is needed (apt-get install scrm tabix time)" >&2; exit 1; }
done
[ -x "$bin" ] || { echo "peers.sh: no executable sorvane at $bin" >&2; exit 1; }
bin="$(cd "$(dirname "$bin")" && pwd)/$(basename "$bin")"
beagle_jar=/usr/share/beagle/beagle.jar
run_beagle=0
if [ "$PEERS" = 1 ] && [ -f "$beagle_jar" ]; then run_beagle=1; fi

# Cohort -> "individuals panel length filter growth".
cohort_spec() {
    case "$1" in
        c1000common) echo "1000 0 2000000 maf:0.01 0" ;;
        c1000all) echo "1000 0 2000000 all 1" ;;
        c1000mac2) echo "1000 0 2000000 mac:2 1" ;;
        c5000array) echo "5000 0 500000 array:600 0" ;;
        c100panel) echo "100 500 2000000 maf:0.005 0" ;;
        c150common) echo "150 0 2000000 maf:0.01 0" ;;
        c100all) echo "100 0 2000000 all 0" ;;
        n*common) echo "${1//[!0-9]/} 0 2000000 maf:0.01 0" ;;
        a*array) echo "${1//[!0-9]/} 0 1000000 array:600 0" ;;
        s*seq) echo "${1//[!0-9]/} 0 250000 mac:2 1" ;;
        n*all) echo "${1//[!0-9]/} 0 2000000 all 0" ;;
        *) echo "peers.sh: unknown cohort $1" >&2; exit 1 ;;
    esac
}

# scrm run of nhaps haplotypes over length bp: Ne 10000 and mutation rate 1.25e-8 per bp;
# with growth, a population grown 50-fold over the last 700 generations to 500,000.
simulate() {
    local out="$1" nhaps="$2" length="$3" growth="$4" seed="$5" recomb="$6" n0=10000 extra=""
    if [ "$growth" = 1 ]; then
        n0=500000
        extra="-G 11177 -eG 0.00035 0.0"
    fi
    local theta rho_args
    theta=$(awk -v n="$n0" -v l="$length" 'BEGIN { printf "%.4f", 4 * n * 1.25e-8 * l }')
    rho_args=$(awk -v n="$n0" -v l="$length" -v segs="$recomb" 'BEGIN {
        k = split(segs, s, ",");
        for (i = 1; i <= k; i++) {
            split(s[i], f, ":");
            rho = 4 * n * f[2] * 1e-8 * l;
            if (i == 1) printf "-r %.4f %d", rho, l; else printf " -sr %d %.4f", f[1], rho;
        }
    }')
    # shellcheck disable=SC2086
    scrm "$nhaps" 1 -t "$theta" $rho_args $extra -l 100000 -SC abs -p 12 -seed "$seed" > "$out"
}

# Wall seconds and peak MB of a command, from /usr/bin/time, into the variables wall and mb.
timed() {
    local log="$1"; shift
    local status=0
    /usr/bin/time -f "%e %M" -o "$log.time" "$@" > "$log.out" 2>&1 || status=$?
    read -r wall kb < <(tail -n 1 "$log.time")
    mb=$(awk -v k="$kb" 'BEGIN { printf "%.0f", k / 1024 }')
    return "$status"
}

rate() {
    python3 "$root/bench/switch_error.py" "$1/truth.haps" "$1/truth.sample" "$2" "$3" > "$4"
    awk '/^switch error rate:/ { print $4 }' "$4"
}

mkdir -p "$BENCH_DIR"
TAG="${TAG:-}"
results="$BENCH_DIR/peers$TAG.txt"
fmt="%-12s %4s %7s | %8s %7s %9s | %8s %7s %9s | %6s\n"
printf "$fmt" cohort seed sites "wall s" "peak MB" "switch %" "wall s" "peak MB" "switch %" ratio > "$results"
printf "$fmt" "" "" "" "sorvane" "" "" "Beagle" "" "" "" >> "$results"
for cohort in $COHORTS; do
    read -r n ref length filter growth < <(cohort_spec "$cohort")
    recomb=$(python3 "$root/bench/peers_simulate.py" --hotspot-map "$length")
    for seed in $SEEDS; do
        sim="$BENCH_DIR/scrm_${n}_${ref}_${length}_${growth}_$seed.out"
        [ -s "$sim" ] || { echo "== scrm: $((2 * (n + ref))) haplotypes, $length bp, seed $seed"; simulate "$sim" $((2 * (n + ref))) "$length" "$growth" "$seed" "$recomb"; }
        dir="$BENCH_DIR/${cohort}_s$seed"
        stamp="$(md5sum < "$sim" | cut -d' ' -f1) $filter $(md5sum < "$root/bench/peers_simulate.py" | cut -d' ' -f1)"
        if [ ! -f "$dir/stamp" ] || [ "$(cat "$dir/stamp")" != "$stamp" ]; then
            rm -rf "$dir" && mkdir -p "$dir"
            python3 "$root/bench/peers_simulate.py" --ms "$sim" --out "$dir" --seed "$seed" --length "$length" \
                --recomb "$recomb" --cohort "$n" --reference "$ref" --filter "$filter"
            echo "$stamp" > "$dir/stamp"
        fi
        sites=$(zcat "$dir/cohort.vcf.gz" | grep -vc '^#')
        echo "== $cohort seed $seed: $n individuals, $sites sites"
        [ "${RUN:-1}" = 1 ] || continue

        panel=()
        [ "$ref" -gt 0 ] && panel=(--input-ref "$dir/reference.haplotypes" "$dir/reference.legend" "$dir/reference.samples")
        # shellcheck disable=SC2086
        out="$dir/sorvane$TAG"
        s_row="- - -"
        if [ "${SORVANE:-1}" = 0 ]; then
            :
        elif timed "$out" "$bin" --input-vcf "$dir/cohort.vcf.gz" --input-map "$dir/genetic_map.txt" \
                "${panel[@]}" $ARGS --thread "$THREADS" --seed "$seed" --output-max "$out" -L "$out.log"; then
            s_row="$wall $mb $(rate "$dir" "$out.haps" "$out.sample" "$out.switch")"
        else
            echo "   sorvane failed, see $out.out" >&2
            s_row="$wall $mb failed"
        fi
        b_row="- - -"
        if [ "$run_beagle" = 1 ]; then
            bpanel=()
            [ "$ref" -gt 0 ] && bpanel=(ref="$dir/reference.vcf.gz")
            if timed "$dir/beagle" java -jar "$beagle_jar" gt="$dir/cohort.vcf.gz" map="$dir/plink.map" "${bpanel[@]}" \
                    nthreads="$THREADS" seed="$seed" out="$dir/beagle"; then
                b_row="$wall $mb $(rate "$dir" "$dir/beagle.vcf.gz" - "$dir/beagle.switch")"
            else
                echo "   Beagle failed, see $dir/beagle.out" >&2
                b_row="$wall $mb failed"
            fi
        fi
        read -r sw smb sse <<< "$s_row"
        read -r bw bmb bse <<< "$b_row"
        ratio=$(awk -v a="$sw" -v b="$bw" 'BEGIN { if (b + 0 > 0) printf "%.2f", a / b; else print "-" }')
        printf "$fmt" "$cohort" "$seed" "$sites" "$sw" "$smb" "$sse" "$bw" "$bmb" "$bse" "$ratio" | tee -a "$results"
    done
    # Mean and spread over the seeds of this cohort, for every numeric column.
    if [ "${RUN:-1}" = 1 ] && [ "$(wc -w <<< "$SEEDS")" -gt 1 ]; then
        awk -v c="$cohort" -v fmt="$fmt" '$1 == c && $2 ~ /^[0-9]+$/ {
            n++; for (k = 3; k <= NF; k++) if ($k ~ /^[0-9.]+$/) { s[k] += $k; if (!(k in lo) || $k < lo[k]) lo[k] = $k; if (!(k in hi) || $k > hi[k]) hi[k] = $k } }
            END { split("", m); split("", d)
                  for (k = 3; k <= 13; k++) { m[k] = (k in s) ? sprintf("%.4g", s[k] / n) : "-"; d[k] = (k in s) ? sprintf("%.4g", hi[k] - lo[k]) : "-" }
                  printf fmt, c, "mean", m[3], m[5], m[6], m[7], m[9], m[10], m[11], m[13]
                  printf fmt, c, "sprd", d[3], d[5], d[6], d[7], d[9], d[10], d[11], d[13] }' "$results" | tee -a "$results"
    fi
done
echo
echo "sorvane: $bin $ARGS; Beagle: $([ "$run_beagle" = 1 ] && echo "$beagle_jar" || echo "not run"); $THREADS threads"
cat "$results"
