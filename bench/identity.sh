#!/usr/bin/env bash
# Runs every mode of two sorvane builds on the example data with --thread 1 and one seed,
# and compares their output files byte for byte (cmp). For changes that must not alter what
# a run on one thread computes: the files differ only if the results do.
#
# Usage: bash bench/identity.sh OLD-BINARY NEW-BINARY [work-dir]   (default /tmp/sorvane_identity)
# Prints one line per output file, "same" or "DIFFERS", and exits 1 if any differs.
set -euo pipefail

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
old="$(readlink -f "$1")"
new="$(readlink -f "$2")"
work="${3:-/tmp/sorvane_identity}"
E="$root/example"
SEED="${SEED:-7}"
quick="--burn 3 --prune 2 --main 4"

rm -rf "$work" && mkdir -p "$work"
cd "$work"

# Copying states: every sample copies, over two windows, from the next six samples.
awk 'NR > 2 { id[n++] = $2 } END {
    for (i = 0; i < n; i++) for (w = 0; w < 2; w++) {
        line = id[i] " " (w ? 1160000 : 1000000)
        for (k = 1; k <= 6; k++) line = line " " id[(i + k + 3 * w) % n]
        print line
    } }' "$E/cohort.sample" > copy_states.txt

# -mutinclude: the true genotypes of the cohort (no missing ones) as a VCF, and a scaffold of
# the true haplotypes without every third site.
awk 'NR > 2 { printf "\t%s", $2 } END { print "" }' "$E/truth.sample" > ids.txt
{
    echo "##fileformat=VCFv4.2"
    printf "#CHROM\tPOS\tID\tREF\tALT\tQUAL\tFILTER\tINFO\tFORMAT%s\n" "$(cat ids.txt)"
    awk -v OFS='\t' '{ line = $1 OFS $3 OFS $2 OFS $4 OFS $5 OFS "." OFS "PASS" OFS "." OFS "GT"
        for (k = 6; k < NF; k += 2) line = line OFS ($k + $(k + 1) == 1 ? "0/1" : ($k ? "1/1" : "0/0"))
        print line }' "$E/truth.haps"
} > truth.vcf
awk 'NR % 3 != 2' "$E/truth.haps" > scaffold.haps
cp "$E/truth.sample" scaffold.sample

failed=0
# name, then the sorvane arguments; outputs are written under the prefix OUT.
run() {
    local name="$1"; shift
    for which in old new; do
        local bin="$old"; [ "$which" = new ] && bin="$new"
        mkdir -p "$which/$name"
        (cd "$which/$name" && "$bin" "${@//OUT/$name}" --thread 1 --seed "$SEED" -L "$name" > "$name.out" 2>&1) \
            || { echo "$name: $which run failed (see $work/$which/$name/$name.out)"; failed=1; return; }
    done
    local n=0
    for f in old/"$name"/*; do
        local b; b="$(basename "$f")"
        case "$b" in *.log|*.out) continue ;; esac
        n=$((n + 1))
        if cmp -s "$f" "new/$name/$b"; then echo "$name: $b same"; else echo "$name: $b DIFFERS"; failed=1; fi
    done
    [ "$n" -gt 0 ] || { echo "$name: no output"; failed=1; }
}

common=(--input-vcf "$E/cohort.vcf.gz" --input-map "$E/genetic_map.txt" $quick)
run phase -phase "${common[@]}" --output-max OUT --output-graph OUT.graph
run pedigree -phase --input-ped "$E/cohort" $quick --output-max OUT
run pbwt -phase "${common[@]}" --selection pbwt --output-max OUT
run panel -phase --input-bed "$E/cohort" --input-ref "$E/reference.haplotypes" "$E/reference.legend" "$E/reference.samples" $quick --output-max OUT
run nomcmc -phase --input-bed "$E/cohort" --input-ref "$E/reference.haplotypes" "$E/reference.legend" "$E/reference.samples" --no-mcmc --output-max OUT
run version1 -phase "${common[@]}" --model-version1 --output-max OUT
run copystates -phase "${common[@]}" --input-copy-states "$work/copy_states.txt" --output-max OUT
run call -call --input-gen "$E/lowcov_2x.gen.gz" "$E/lowcov_2x.sample" --force $quick --output-max OUT
run assemble -assemble "${common[@]}" --input-pir "$E/reads/reads.pir.gz" --output-max OUT
# The graph of the first phasing run, read by both builds.
cp old/phase/phase.graph "$work/in.graph"
run convert -convert --input-graph "$work/in.graph" --output-max OUT.max --output-sample OUT.sampled
run pairs -convert --input-graph "$work/in.graph" --input-sets "$E/sets.txt" --replicate 20
run mutinclude -mutinclude --input-bam "$E/reads/reads.pir.gz" --input-haps "$work/scaffold" --input-vcf "$work/truth.vcf" --output-probs OUT.probs --output-haps OUT
exit "$failed"
