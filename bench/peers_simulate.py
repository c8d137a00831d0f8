#!/usr/bin/env python3
"""Turn one scrm replicate into a cohort of unrelated samples for the peer benchmark.

Input: the ms-style output of scrm run with "-SC abs", and the recombination segments
given to scrm. The first 2 * COHORT haplotypes make the cohort, the next 2 * REFERENCE
the reference panel. Output, in the output folder:

  truth.haps, truth.sample          true haplotypes of the cohort (kept sites)
  cohort.vcf.gz (+ .tbi)            unphased genotypes, with missing genotypes and errors
  genetic_map.txt                   genetic map, position / rate / cM with a header
  plink.map                         the same map as PLINK (chromosome, id, cM, position)
  reference.haplotypes, .legend, .samples, reference.vcf.gz (+ .tbi)
                                    the panel, on the kept sites (with --reference > 0)

Sites are kept by --filter, judged on the true haplotypes of the cohort and the panel:
  all          every site polymorphic in the cohort
  maf:F        minor allele frequency at least F
  mac:K        minor allele count at least K
  array:BP     at most one site every BP base pairs, drawn among sites of frequency >= 2 %
Each kept genotype is set missing with chance --missing, else replaced by one of the two
other genotypes with chance --error.
"peers_simulate.py --hotspot-map LENGTH" prints the recombination segments used by the
benchmarks for a region of LENGTH bp. Only the standard library, bgzip and tabix are used.
"""

import argparse
import os
import random
import subprocess
import sys

sys.dont_write_bytecode = True
sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "example"))
from simulate import GeneticMap, parse_segments, rand_below, read_ms, write_genetic_map  # noqa: E402

CHROM = "20"
BASES = "ACGT"


def hotspot_map(length):
    """Recombination segments over the region: background stretches of 30 to 150 kb at
    0.1 to 1 cM/Mb, separated by 1 to 3 kb hotspots at 10 to 50 cM/Mb (about 1.2 cM/Mb
    on average). Fixed seed: the map depends on the length only."""
    rng = random.Random(1)
    segs, x = [], 0
    while x < length:
        segs.append((x, round(0.1 + 0.9 * rng.random(), 3)))
        x += int(30000 + 120000 * rng.random())
        if x >= length - 5000:
            break
        segs.append((x, round(10 + 40 * rng.random(), 2)))
        x += int(1000 + 2000 * rng.random())
    return ",".join("%d:%g" % s for s in segs)


def keep_sites(filt, rng, rel_pos, counts, n_cohort_haps, n_haps, cohort_ones):
    """Indices of the kept sites, in order."""
    poly = [k for k in range(len(rel_pos)) if 0 < cohort_ones[k] < n_cohort_haps]
    kind, _, value = filt.partition(":")
    if kind == "all":
        return poly
    minor = {k: min(counts[k], n_haps - counts[k]) for k in poly}
    if kind == "maf":
        return [k for k in poly if minor[k] >= float(value) * n_haps]
    if kind == "mac":
        return [k for k in poly if minor[k] >= int(value)]
    if kind == "array":
        step = int(value)
        bins = {}
        for k in poly:
            if minor[k] >= 0.02 * n_haps:
                bins.setdefault(rel_pos[k] // step, []).append(k)
        return sorted(v[rand_below(rng, len(v))] for v in bins.values())
    sys.exit("peers_simulate.py: unknown filter " + filt)


def observed(rng, g, missing, error):
    """Unphased genotype as written: -1 missing, else 0, 1, 2 copies of ALT."""
    if rng.random() < missing:
        return -1
    if rng.random() < error:
        return (g + 1 + rand_below(rng, 2)) % 3
    return g


def bgzip_and_index(path):
    subprocess.run(["bgzip", "-f", path], check=True)
    subprocess.run(["tabix", "-f", "-p", "vcf", path + ".gz"], check=True)


def vcf_header(f, samples):
    f.write("##fileformat=VCFv4.2\n##contig=<ID=%s>\n" % CHROM)
    f.write('##FORMAT=<ID=GT,Number=1,Type=String,Description="Genotype">\n')
    f.write("#CHROM\tPOS\tID\tREF\tALT\tQUAL\tFILTER\tINFO\tFORMAT\t" + "\t".join(samples) + "\n")


def main():
    if len(sys.argv) == 3 and sys.argv[1] == "--hotspot-map":
        print(hotspot_map(int(sys.argv[2])))
        return
    ap = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    ap.add_argument("--ms", required=True)
    ap.add_argument("--out", required=True)
    ap.add_argument("--seed", type=int, required=True)
    ap.add_argument("--length", type=int, required=True)
    ap.add_argument("--start", type=int, default=1000000)
    ap.add_argument("--recomb", required=True)
    ap.add_argument("--cohort", type=int, required=True)
    ap.add_argument("--reference", type=int, default=0)
    ap.add_argument("--filter", default="all")
    ap.add_argument("--missing", type=float, default=0.005)
    ap.add_argument("--error", type=float, default=0.0005)
    ap.add_argument("--map-step", type=int, default=5000)
    args = ap.parse_args()

    rng = random.Random(args.seed)
    gmap = GeneticMap(parse_segments(args.recomb), args.length)
    positions, haps = read_ms(args.ms)
    nc, nr = 2 * args.cohort, 2 * args.reference
    if len(haps) < nc + nr:
        sys.exit("peers_simulate.py: scrm gave %d haplotypes, %d are needed" % (len(haps), nc + nr))
    haps = haps[:nc + nr]
    rel_pos, prev = [], -1
    for x in positions:
        prev = max(int(x), prev + 1)
        rel_pos.append(prev)
    counts = [0] * len(rel_pos)
    cohort_ones = [0] * len(rel_pos)
    for h, row in enumerate(haps):
        for k, ch in enumerate(row):
            if ch == "1":
                counts[k] += 1
                if h < nc:
                    cohort_ones[k] += 1
    kept = keep_sites(args.filter, rng, rel_pos, counts, nc, nc + nr, cohort_ones)
    letters = []
    for _ in kept:
        a = BASES[rand_below(rng, 4)]
        letters.append((a, [x for x in BASES if x != a][rand_below(rng, 3)]))
    bp = [args.start + rel_pos[k] for k in kept]
    ids = ["%s:%d" % (CHROM, p) for p in bp]
    cols = [[row[k] for k in kept] for row in haps]
    samples = ["IND%05d" % (i + 1) for i in range(args.cohort)]
    out = args.out.rstrip("/") + "/"

    write_genetic_map(out + "genetic_map.txt", gmap, args.start, args.map_step)
    with open(out + "genetic_map.txt") as f, open(out + "plink.map", "w") as g:
        for line in f.readlines()[1:]:
            pos, _, cm = line.split()
            g.write("%s . %s %s\n" % (CHROM, cm, pos))

    with open(out + "truth.sample", "w") as f:
        f.write("ID_1 ID_2 missing\n0 0 0\n")
        for s in samples:
            f.write("%s %s 0\n" % (s, s))
    with open(out + "truth.haps", "w") as f:
        for j in range(len(kept)):
            f.write(" ".join([CHROM, ids[j], str(bp[j]), letters[j][0], letters[j][1]]
                             + [cols[h][j] for h in range(nc)]) + "\n")

    gt = {-1: "./.", 0: "0/0", 1: "0/1", 2: "1/1"}
    with open(out + "cohort.vcf", "w") as f:
        vcf_header(f, samples)
        for j in range(len(kept)):
            row = [CHROM, str(bp[j]), ids[j], letters[j][0], letters[j][1], ".", "PASS", ".", "GT"]
            for i in range(args.cohort):
                g = (cols[2 * i][j] == "1") + (cols[2 * i + 1][j] == "1")
                row.append(gt[observed(rng, g, args.missing, args.error)])
            f.write("\t".join(row) + "\n")
    bgzip_and_index(out + "cohort.vcf")

    if nr == 0:
        return
    panel = ["REF%05d" % (i + 1) for i in range(args.reference)]
    with open(out + "reference.samples", "w") as f:
        f.write("sample population group sex\n")
        for s in panel:
            f.write("%s POP GRP 2\n" % s)
    with open(out + "reference.legend", "w") as f:
        f.write("id position a0 a1\n")
        for j in range(len(kept)):
            f.write("%s %d %s %s\n" % (ids[j], bp[j], letters[j][0], letters[j][1]))
    with open(out + "reference.haplotypes", "w") as f, open(out + "reference.vcf", "w") as v:
        vcf_header(v, panel)
        for j in range(len(kept)):
            alleles = [cols[h][j] for h in range(nc, nc + nr)]
            f.write(" ".join(alleles) + "\n")
            v.write("\t".join([CHROM, str(bp[j]), ids[j], letters[j][0], letters[j][1], ".", "PASS", ".", "GT"]
                              + [alleles[2 * i] + "|" + alleles[2 * i + 1] for i in range(args.reference)]) + "\n")
    bgzip_and_index(out + "reference.vcf")


if __name__ == "__main__":
    main()
