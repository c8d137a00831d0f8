#!/usr/bin/env python3
"""Sparse phase informative reads from simulated truth, as a PIR file.

For each sample, each pair of consecutive heterozygous sites of its true haplotypes that
lie within --span bp of each other is covered by one read with chance --cover; the read
shows both sites' alleles of one of the two haplotypes (chosen at random), each base wrong
with chance --error (reported with the matching Phred quality). The map lists every site of
the truth file.

Usage: sparse_reads.py TRUTH.haps TRUTH.sample OUT.pir [--span 2000] [--cover 0.5]
                       [--error 0.01] [--seed 1]
Also writes OUT.pir.pairs: per line "sample pos1 pos2", the read-joined pairs, for the
switch error at those pairs.
"""
import argparse
import math
import random


def main():
    p = argparse.ArgumentParser()
    p.add_argument("haps")
    p.add_argument("sample")
    p.add_argument("out")
    p.add_argument("--span", type=int, default=2000)
    p.add_argument("--cover", type=float, default=0.5)
    p.add_argument("--error", type=float, default=0.01)
    p.add_argument("--seed", type=int, default=1)
    a = p.parse_args()
    rng = random.Random(a.seed)
    with open(a.sample) as f:
        ids = [line.split()[1] for line in f.readlines()[2:] if line.strip()]
    sites = []
    for line in open(a.haps):
        w = line.split()
        sites.append((int(w[2]), w[3], w[4], w[5:]))
    quality = round(-10 * math.log10(a.error))
    with open(a.out, "w") as out, open(a.out + ".pairs", "w") as pairs:
        out.write("MAP %d\n" % len(sites))
        for pos, a0, a1, _ in sites:
            out.write("%d %s %s\n" % (pos, a0, a1))
        for i, name in enumerate(ids):
            hets = [l for l, s in enumerate(sites) if s[3][2 * i] != s[3][2 * i + 1]]
            reads = []
            for x, y in zip(hets, hets[1:]):
                if sites[y][0] - sites[x][0] > a.span or rng.random() >= a.cover:
                    continue
                track = rng.randrange(2)
                triples = []
                for l in (x, y):
                    allele = int(sites[l][3][2 * i + track])
                    if rng.random() < a.error:
                        allele = 1 - allele
                    triples.append("%d %s %d" % (l, sites[l][1 + allele], quality))
                reads.append(" ".join(triples))
                pairs.write("%s %d %d\n" % (name, sites[x][0], sites[y][0]))
            out.write("%s %d\n" % (name, len(reads)))
            for r in reads:
                out.write(r + "\n")


if __name__ == "__main__":
    main()
