#!/usr/bin/env bash
# Regenerate the example data set of this folder.
#
# A population sample is simulated with the scrm coalescent simulator, then
# example/simulate.py builds from it the study cohort (unrelated samples, trios
# and duos), the reference panel, the genetic map, the true haplotypes and the
# unphased genotypes in every input format, and the same cohort with larger
# families (families.*). example/simulate_reads.py then simulates paired-end
# reads of some samples, turned into BAM files by samtools and into a PIR file by
# readmine (folder reads/). The seed is fixed: two runs give byte-identical files.
#
# Usage: bash example/generate.sh [output-folder]   (default: this folder)
#
# Every simulation parameter below can be overridden for other data sets (the
# benchmarks use this) through an environment variable of the same name with
# the prefix EXAMPLE_, e.g. EXAMPLE_COHORT=500 EXAMPLE_LENGTH=2500000. Unset,
# the values below apply and the files of this folder are reproduced.
set -euo pipefail

here="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)"
out="${1:-$here}"
mkdir -p "$out"

# Tools: scrm (Debian package scrm), bgzip (Debian package tabix) and samtools.
need_install=0
command -v scrm >/dev/null 2>&1 || need_install=1
command -v bgzip >/dev/null 2>&1 || need_install=1
command -v samtools >/dev/null 2>&1 || need_install=1
if [ "$need_install" -eq 1 ]; then
    if [ "$(id -u)" -eq 0 ] && command -v apt-get >/dev/null 2>&1; then
        apt-get install -y scrm tabix samtools
    else
        echo "generate.sh: scrm, bgzip and samtools are needed (apt-get install scrm tabix samtools)" >&2
        exit 1
    fi
fi
command -v python3 >/dev/null 2>&1 || { echo "generate.sh: python3 is needed" >&2; exit 1; }

# Simulation parameters.
SEED="${EXAMPLE_SEED:-20250611}"        # seed of scrm and of simulate.py
NE="${EXAMPLE_NE:-10000}"               # effective population size (constant)
MU="${EXAMPLE_MU:-1.25e-8}"             # mutation rate per bp per generation
LENGTH="${EXAMPLE_LENGTH:-320000}"      # locus length in bp
START="${EXAMPLE_START:-1000000}"       # position of the locus start on chromosome 20
# Recombination map: segment start (bp from the locus start) and rate in cM/Mb,
# a mild variation around 1 cM/Mb (1e-8 per bp per generation) with two
# warmer intervals.
RECOMB="${EXAMPLE_RECOMB:-0:0.6,70000:2.5,85000:0.9,170000:4.0,178000:1.2,260000:0.7}"
COHORT="${EXAMPLE_COHORT:-200}"         # study samples, families included
TRIOS="${EXAMPLE_TRIOS:-5}"             # father, mother, child
DUOS="${EXAMPLE_DUOS:-5}"               # one genotyped parent and a child
REFERENCE="${EXAMPLE_REFERENCE:-100}"   # reference panel samples (two haplotypes each)
MISSING="${EXAMPLE_MISSING:-0.005}"     # fraction of study genotypes set missing
# Larger families of the families.* files, founded by unrelated cohort samples.
PEDIGREES="${EXAMPLE_PEDIGREES:-1}"     # three-generation families
SIBSHIPS="${EXAMPLE_SIBSHIPS:-1}"       # mothers of several children by an ungenotyped father
SIBS="${EXAMPLE_SIBS:-3}"               # children of each such family
FAMILY_CROSSOVERS="${EXAMPLE_FAMILY_CROSSOVERS:-1}"   # crossovers of each of their meioses
# Paired-end reads of some unrelated cohort samples (folder reads/), see simulate_reads.py.
READS_SAMPLES="${EXAMPLE_READS_SAMPLES:-30}"    # samples with reads
READS_START="${EXAMPLE_READS_START:-1000001}"   # first base of the sequenced region
READS_LENGTH="${EXAMPLE_READS_LENGTH:-$LENGTH}" # its length in bp (default: the whole locus)
READS_DEPTH="${EXAMPLE_READS_DEPTH:-6}"         # mean depth
# BAM files of all samples weigh megabytes: only the first READS_KEEP samples keep
# theirs, cut to the reads that cover a heterozygous site of the sample, which give the
# same phase informative reads. The PIR file is made from the whole files of all samples.
READS_KEEP="${EXAMPLE_READS_KEEP:-4}"
READS_WHOLE="${EXAMPLE_READS_WHOLE:-0}"         # 1: keep whole BAM files and the reference FASTA
# The extractor of phase informative reads, as built by `make build`.
READMINE="${READMINE:-$here/../build/readmine}"

# Haplotypes to simulate: two per cohort founder, two per ungenotyped duo
# parent, two per reference sample.
nsam=$(( 2 * (COHORT - TRIOS - DUOS) + 2 * DUOS + 2 * REFERENCE ))

# scrm scales: theta = 4 Ne mu L; rho = 4 Ne r L for a rate r per bp, given
# for the whole locus even when it applies from a position onwards (-sr).
theta=$(awk -v ne="$NE" -v mu="$MU" -v l="$LENGTH" 'BEGIN { printf "%.6f", 4 * ne * mu * l }')
rho_args=$(awk -v ne="$NE" -v l="$LENGTH" -v segs="$RECOMB" 'BEGIN {
    n = split(segs, s, ",");
    for (k = 1; k <= n; k++) {
        split(s[k], f, ":");
        rho = 4 * ne * f[2] * 1e-8 * l;
        if (k == 1) printf "-r %.6f %d", rho, l;
        else printf " -sr %d %.6f", f[1], rho;
    }
}')

tmp="$(mktemp -d)"
trap 'rm -rf "$tmp"' EXIT

# Exact coalescent with recombination (-l -1), positions in bp (-SC abs).
# shellcheck disable=SC2086
scrm "$nsam" 1 -t "$theta" $rho_args -l -1 -SC abs -p 12 -seed "$SEED" > "$tmp/scrm.out"

python3 "$here/simulate.py" --ms "$tmp/scrm.out" --out "$out" --seed "$SEED" \
    --length "$LENGTH" --start "$START" --recomb "$RECOMB" \
    --cohort "$COHORT" --trios "$TRIOS" --duos "$DUOS" --reference "$REFERENCE" \
    --missing "$MISSING" --pedigrees "$PEDIGREES" --sibships "$SIBSHIPS" --sibs "$SIBS" \
    --family-crossovers "$FAMILY_CROSSOVERS"

bgzip -c "$out/cohort.vcf" > "$out/cohort.vcf.gz"

# Windows of four consecutive sites, one every 200 sites, for the pair tables of -convert.
awk '!/^#/ { n++; if (n % 200 >= 100 && n % 200 < 104) { w = int(n / 200) + 1; line[w] = line[w] " " $2 } }
     END { for (w = 1; w in line; w++) print "window" w line[w] }' "$out/cohort.vcf" > "$out/sets.txt"

# Reads: SAM files aligned by construction, sorted and indexed as BAM.
reads="$out/reads"
mkdir -p "$reads"
python3 "$here/simulate_reads.py" --data "$out" --out "$tmp/reads" --seed "$SEED" \
    --samples "$READS_SAMPLES" --start "$READS_START" --length "$READS_LENGTH" --depth "$READS_DEPTH"
rm -f "$reads"/*.bam "$reads"/*.bam.bai
n=0
while read -r sample bam _; do
    samtools sort --no-PG -o "$tmp/reads/$bam" "$tmp/reads/$sample.sam"
    samtools index "$tmp/reads/$bam"
    n=$(( n + 1 ))
    if [ "$n" -le "$READS_KEEP" ] && [ "$READS_WHOLE" -eq 1 ]; then
        cp "$tmp/reads/$bam" "$tmp/reads/$bam.bai" "$reads/"
    elif [ "$n" -le "$READS_KEEP" ]; then
        # The sample's heterozygous sites as BED intervals (0-based starts).
        awk -v s="$sample" -F '\t' '/^#CHROM/ { for (k = 10; k <= NF; k++) if ($k == s) c = k; next }
            !/^#/ && ($c == "0/1" || $c == "1/0") { print $1 "\t" $2 - 1 "\t" $2 }' \
            "$tmp/reads/reads.vcf" > "$tmp/reads/$sample.bed"
        samtools view --no-PG -b -L "$tmp/reads/$sample.bed" -o "$reads/$bam" "$tmp/reads/$bam"
        samtools index "$reads/$bam"
    fi
done < "$tmp/reads/reads.bamlist"
head -n "$READS_KEEP" "$tmp/reads/reads.bamlist" > "$reads/reads.bamlist"
if [ "$READS_WHOLE" -eq 1 ]; then cp "$tmp/reads/reference.fa" "$reads/"; fi
bgzip -c "$tmp/reads/reads.vcf" > "$reads/reads.vcf.gz"
if [ -x "$READMINE" ]; then
    "$READMINE" --bam-list "$tmp/reads/reads.bamlist" --vcf "$reads/reads.vcf.gz" --output "$reads/reads.pir.gz" >/dev/null
else
    echo "generate.sh: $READMINE not built (make build): reads/reads.pir.gz not made" >&2
fi

echo "Example data written to $out"
