#!/usr/bin/env bash
# Switch error of children and parents with and without the pedigree refinement.
#
# example/generate.sh simulates a cohort with families (families.bed/.bim/.fam:
# unrelated samples, trios, duos, three-generation families and mothers of
# several children) into $BENCH_DIR; sorvane phases it twice with the genetic
# map on one thread with one seed: with --noped (population phasing alone: a
# pedigree with parents of several children cannot be phased otherwise) and
# with --duohmm. bench/switch_error.py scores both against the truth over the
# samples with a parent and over those that are a parent; the transmitted
# haplotype (haplotype 0 from a father, 1 from a mother) is compared with the
# truth at every site of every child.
#
# Usage: bash bench/duohmm.sh [sorvane-binary]     (default: build/sorvane)
# Environment: COHORT (default 300), LENGTH (default 2000000 bp), PEDIGREES
# (default 8), SIBSHIPS (default 8), SIBS (default 3), SEED (default 1),
# BENCH_DIR (default /tmp/sorvane_duohmm). Simulated data are reused while the
# parameters and the generator are unchanged.
set -euo pipefail

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
bin="${1:-$root/build/sorvane}"
COHORT="${COHORT:-300}"
LENGTH="${LENGTH:-2000000}"
PEDIGREES="${PEDIGREES:-8}"
SIBSHIPS="${SIBSHIPS:-8}"
SIBS="${SIBS:-3}"
SEED="${SEED:-1}"
BENCH_DIR="${BENCH_DIR:-/tmp/sorvane_duohmm}"
RECOMB="0:1.0,400000:2.5,420000:0.6,900000:1.8,1300000:0.9"

[ -x "$bin" ] || { echo "duohmm.sh: no executable sorvane at $bin" >&2; exit 1; }
mkdir -p "$BENCH_DIR"
dir="$BENCH_DIR"
stamp="n=$COHORT length=$LENGTH ped=$PEDIGREES sib=$SIBSHIPS/$SIBS generator=$(cat "$root/example/generate.sh" "$root/example/simulate.py" | md5sum | cut -d' ' -f1)"
if [ ! -f "$dir/stamp" ] || [ "$(cat "$dir/stamp")" != "$stamp" ]; then
    echo "== simulating $COHORT individuals over $LENGTH bp into $dir"
    EXAMPLE_COHORT="$COHORT" EXAMPLE_LENGTH="$LENGTH" EXAMPLE_RECOMB="$RECOMB" \
        EXAMPLE_PEDIGREES="$PEDIGREES" EXAMPLE_SIBSHIPS="$SIBSHIPS" EXAMPLE_SIBS="$SIBS" \
        bash "$root/example/generate.sh" "$dir" > "$dir/generate.out"
    sed 's/^/   /' "$dir/generate.out"
    echo "$stamp" > "$dir/stamp"
fi

truth="$dir/families_truth"
printf "%-8s %20s %20s %22s\n" run "children switch %" "parents switch %" "transmitted wrong %"
for mode in noped duohmm; do
    "$bin" --input-bed "$dir/families" --input-map "$dir/genetic_map.txt" "--$mode" \
        --thread 1 --seed "$SEED" --output-max "$dir/$mode" -L "$dir/$mode" > "$dir/$mode.out" 2>&1
    children=$(python3 "$root/bench/switch_error.py" "$truth.haps" "$truth.sample" "$dir/$mode.haps" "$dir/$mode.sample" --children --rate-only)
    parents=$(python3 "$root/bench/switch_error.py" "$truth.haps" "$truth.sample" "$dir/$mode.haps" "$dir/$mode.sample" --parents --rate-only)
    wrong=$(python3 - "$truth" "$dir/$mode" <<'PY'
import sys
def samples(p):
    rows = [l.split() for l in open(p + ".sample")][2:]
    return [r[1] for r in rows], {r[1]: (r[3], r[4]) for r in rows}
def haps(p):
    return {int(t[2]): t[5:] for t in (l.split() for l in open(p + ".haps"))}
tid, parents = samples(sys.argv[1])
oid, _ = samples(sys.argv[2])
T, O = haps(sys.argv[1]), haps(sys.argv[2])
wrong = total = 0
for c in tid:
    father, mother = parents[c]
    if father == "0" and mother == "0":
        continue
    h = 0 if father != "0" else 1
    t, o = 2 * tid.index(c) + h, 2 * oid.index(c) + h
    for pos in O:
        total += 1
        wrong += O[pos][o] != T[pos][t]
print("%.4f" % (100.0 * wrong / total))
PY
)
    printf "%-8s %20s %20s %22s\n" "$mode" "$children" "$parents" "$wrong"
done
