#!/usr/bin/env bash
# Share of the run time of a phasing run by stage, from a flat perf profile.
#
# perf samples the run (one thread by default, so that waiting plays no part); every
# sampled function is put in the stage that owns it, by name:
#   reading      genotype, map and panel readers
#   build        genotype graphs made from the genotypes
#   selection    conditioning state selection (Hamming and match distances, the transform)
#   window model haplotype_segment (forward, backward, emissions)
#   sampling     drawing haplotypes from the graphs, storing and normalising probabilities
#   pruning      cutting and merging the graphs' segments
#   output       solving and writing
#   memory       malloc, free, page clearing and copies, wherever they happen
#   other        the rest (libm, threads, iteration driver)
#
# Usage: bash bench/profile.sh DATA-DIR [sorvane-binary]   (default build/sorvane)
# DATA-DIR is a folder made by bench/accuracy.sh (cohort.vcf.gz, genetic_map.txt).
# Environment: THREADS (default 1), ARGS (further options), PANEL=1 (with the panel).
# Needs perf (Debian package linux-perf).
set -euo pipefail

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
dir="${1:?usage: bash bench/profile.sh DATA-DIR [sorvane-binary]}"
bin="${2:-$root/build/sorvane}"
THREADS="${THREADS:-1}"
ARGS="${ARGS:-}"
command -v perf >/dev/null 2>&1 || { echo "profile.sh: perf is needed (apt-get install linux-perf)" >&2; exit 1; }
panel=()
if [ "${PANEL:-0}" = 1 ]; then
    panel=(--input-ref "$dir/reference.haplotypes" "$dir/reference.legend" "$dir/reference.samples")
fi
out="$(mktemp -d)"
trap 'rm -rf "$out"' EXIT

start=$(date +%s.%N)
# shellcheck disable=SC2086
perf record -q -F 199 -o "$out/perf.data" -- "$bin" --input-vcf "$dir/cohort.vcf.gz" \
    --input-map "$dir/genetic_map.txt" "${panel[@]}" $ARGS --thread "$THREADS" --seed 1 \
    --output-max "$out/phased" -L "$out/sorvane" > /dev/null 2>&1
wall=$(awk -v s="$start" -v e="$(date +%s.%N)" 'BEGIN { printf "%.1f", e - s }')
perf report -q -i "$out/perf.data" --no-children --sort symbol --stdio 2> /dev/null > "$out/flat.txt"

python3 - "$out/flat.txt" "$wall" <<'PY'
import re, sys
stages = [
    ("reading", r"genotype_reader|reference_reader|gmap_reader|vcf_lines|hts_|bgzf|inflate|zlib|ifile|crc32|boost::iostreams"),
    ("build", r"builder|genotype_graph::build|genotype_graph::(make|init)|genotype_checker"),
    ("selection", r"subsetHaplotypes|conditioningSets|chaplotype::hamming|chaplotype::perfectmatch|distanceBytes|popcount|countMatches|non_overlapping|haplotype_pbwt|selectBest|haplotype_distance"),
    ("window model", r"haplotype_segment|segment_links|hmm_parameters|updateRow|emissionRow|extractAlleles"),
    ("sampling", r"genotype_graph::(sample|store|normalise|forward|backward|transition|setHap|prob)|sampler|normaliser|initialiser|propagater|likelihood"),
    ("pruning", r"prune|pruner|merge|genotype_graph::(cut|mask|cluster)"),
    ("output", r"solver|haplotype_writer|vcf_output|graph_writer|rare_phaser|solve|ofile"),
    ("memory", r"malloc|free|memset|memcpy|memmove|clear_page|_int_|operator new|operator delete|page_fault|cfree|realloc|calloc"),
]
share = {name: 0.0 for name, _ in stages}
share["other"] = 0.0
others = []
for line in open(sys.argv[1]):
    m = re.match(r"\s*([\d.]+)%\s+\[.\]\s+(.*)", line)
    if not m:
        m = re.match(r"\s*([\d.]+)%\s+(.*)", line)
        if not m:
            continue
    pct, sym = float(m.group(1)), m.group(2)
    for name, pattern in stages:
        if re.search(pattern, sym):
            share[name] += pct
            break
    else:
        share["other"] += pct
        others.append((pct, sym.split()[0] if sym.split() else sym))
print("wall %s s" % sys.argv[2])
for name in [s for s, _ in stages] + ["other"]:
    print("%-13s %5.1f %%" % (name, share[name]))
print("largest in other: " + ", ".join("%s %.1f %%" % (s, p) for p, s in sorted(others, reverse=True)[:5]))
PY
