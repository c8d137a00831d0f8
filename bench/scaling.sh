#!/usr/bin/env bash
# Time per phasing iteration and peak memory against the cohort size, at two densities,
# with the growth exponent in N and a projection to biobank size.
#
# Cohorts (simulated by bench/peers.sh, seed 1, into BENCH_DIR, default /tmp/sorvane_peers):
# for each N of SIZES (default "2000 5000 10000 20000"), a<N>array (1 Mb, about one site per
# 600 bp among sites of frequency >= 2 %) and s<N>seq (250 kb, the sites of minor allele
# count >= 2 of a growing population); DENSITIES (default "array seq") picks them.
# Each is phased with 1 and with 3 iterations (--burn 0 --prune 1 --main 1, then --burn 2):
# the difference of the CPU times (user + system), halved, is the work of one iteration,
# free of reading, graph building and output, and of the load of a shared machine; the
# peak memory is that of the longer run. THREADS (default 2).
#
# Then, per density, the least-squares fit of log(seconds per iteration per site) on log N
# gives the exponent b of N (1 is linear); the projection for 100,000 individuals, on 1 Mb
# and on chromosome 20 (64 Mb), with the default 35 iterations on 32 threads, scales the
# largest cohort's iteration by (N ratio)^b and by the sites at the same density, and
# divides the CPU time by 32 (no waiting: a lower bound of the wall). Memory is projected
# linearly in individuals x sites.
#
# Usage: bash bench/scaling.sh [sorvane-binary]     (default: build/sorvane)
# Table also in BENCH_DIR/scaling.txt.
set -euo pipefail
root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
bin="$(readlink -f "${1:-$root/build/sorvane}")"
SIZES="${SIZES:-2000 5000 10000 20000}"
DENSITIES="${DENSITIES:-array seq}"
THREADS="${THREADS:-2}"
BENCH_DIR="${BENCH_DIR:-/tmp/sorvane_peers}"
mkdir -p "$BENCH_DIR"
table="$BENCH_DIR/scaling.txt"
[ -x "$bin" ] || { echo "scaling.sh: no executable sorvane at $bin" >&2; exit 1; }

run() {  # dir, burn-in iterations: "CPU-seconds peak-MB"
    /usr/bin/time -f "%U %S %M" -o "$1/scaling.time" "$bin" --input-vcf "$1/cohort.vcf.gz" \
        --input-map "$1/genetic_map.txt" --burn "$2" --prune 1 --main 1 --thread "$THREADS" \
        --seed 1 --output-max "$1/scaling" -L "$1/scaling" > /dev/null
    awk '{ printf "%.2f %.0f\n", $1 + $2, $3 / 1024 }' "$1/scaling.time"
}

printf "%-8s %8s %8s %8s %12s %9s\n" density N sites "Mb" "CPU s/iter" "peak MB" | tee "$table"
for density in $DENSITIES; do
    for n in $SIZES; do
        if [ "$density" = array ]; then cohort="a${n}array"; mb=1; else cohort="s${n}seq"; mb=0.25; fi
        COHORTS="$cohort" SEEDS=1 RUN=0 bash "$root/bench/peers.sh" "$bin" > /dev/null
        dir="$BENCH_DIR/${cohort}_s1"
        sites=$(zcat "$dir/cohort.vcf.gz" | grep -vc '^#')
        read -r one _ < <(run "$dir" 0)
        read -r three peak < <(run "$dir" 2)
        printf "%-8s %8s %8s %8s %12.2f %9s\n" "$density" "$n" "$sites" "$mb" \
            "$(awk -v a="$one" -v b="$three" 'BEGIN { print (b - a) / 2 }')" "$peak" | tee -a "$table"
    done
done

# Fit and projection, per density, from the table.
awk 'NR > 1 && $5 > 0 {
        d = $1; k = ++n[d]; x = log($2); y = log($5 / $3)
        sx[d] += x; sy[d] += y; sxx[d] += x * x; sxy[d] += x * y
        if ($2 >= big[d]) { big[d] = $2; t[d] = $5; s[d] = $3; len[d] = $4; mem[d] = $6 }
    }
    END {
        print ""
        for (d in n) {
            if (n[d] < 2) continue
            b = (n[d] * sxy[d] - sx[d] * sy[d]) / (n[d] * sxx[d] - sx[d] * sx[d])
            printf "%s: CPU seconds per iteration and site grow as N^%.2f\n", d, b
            for (L = 1; L <= 64; L *= 64) {
                sites = s[d] * L / len[d]
                it = t[d] * (100000 / big[d]) ^ b * sites / s[d]
                printf "  100,000 individuals, %2d Mb (%d sites): %.2f h for 35 iterations on 32 threads, %.1f GB\n",
                    L, sites, it * 35 / 32 / 3600, mem[d] * (100000 / big[d]) * (sites / s[d]) / 1024
            }
        }
    }' "$table" | tee -a "$table"
