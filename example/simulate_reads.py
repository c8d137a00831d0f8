#!/usr/bin/env python3
"""Simulate paired-end sequencing reads of some cohort samples from their true haplotypes.

Reads the files that simulate.py wrote to a folder (truth.haps, truth.sample,
cohort.vcf) and writes to another:

  reference.fa                the reference sequence of chromosome 20: N up to the
                              region, random bases over it, the first allele (REF)
                              at every site
  <sample>.sam                the reads of each sample, aligned by construction
  reads.bamlist               the list of read files: sample, file, minimum mapping
                              quality (-1: the default of readmine)
  reads.vcf                   the genotypes of these samples over the region

generate.sh turns the SAM files into sorted, indexed BAM files with samtools.

Samples: the first ones of the cohort that are in no family (neither parent nor
child), in file order. Reads: fragments drawn uniformly over the region, from
either haplotype with equal chance, with an insert size drawn from a normal
law clamped to [min, max]; read 1 on the forward strand at the fragment's
start or on the reverse strand at its end, read 2 on the other. Each base has
quality 30 or, with chance `low_fraction`, 10, and shows a wrong base with the
error chance of its quality (10^(-Q/10)); a fraction `low_mapq` of the pairs
gets mapping quality 5 instead of 60. Everything random comes from one
random.Random stream of its own, so the other files do not depend on it.
"""

import argparse
import math
import os
import random
import sys

CHROM = "20"
BASES = "ACGT"
COMPLEMENT = {"A": "T", "C": "G", "G": "C", "T": "A", "N": "N"}


def rand_below(rng, n):
    """Uniform integer in [0, n)."""
    return min(int(rng.random() * n), n - 1)


def normal(rng, mean, sd):
    """Box-Muller draw from random() only."""
    u1 = 1.0 - rng.random()
    u2 = rng.random()
    return mean + sd * math.sqrt(-2.0 * math.log(u1)) * math.cos(2.0 * math.pi * u2)


def read_samples(path, n):
    """The first n samples that are in no family: neither parent nor child."""
    with open(path) as f:
        rows = [line.split() for line in f][2:]
    parents = {r[3] for r in rows} | {r[4] for r in rows}
    chosen = [k for k, r in enumerate(rows) if r[3] == "0" and r[4] == "0" and r[1] not in parents]
    if len(chosen) < n:
        sys.exit("simulate_reads.py: only %d samples outside families" % len(chosen))
    return [(k, rows[k][1]) for k in chosen[:n]]


def read_truth(path, start, end):
    """Sites of the region [start, end] and their haplotype columns: (pos, a0, a1, alleles)."""
    sites = []
    with open(path) as f:
        for line in f:
            fields = line.split()
            pos = int(fields[2])
            if start <= pos <= end and len(fields[3]) == 1 and len(fields[4]) == 1:
                sites.append((pos, fields[3], fields[4], fields[5:]))
    return sites


def make_reference(rng, start, end, sites):
    """Random bases over [start, end] (1-based), the first allele at each site."""
    seq = [BASES[rand_below(rng, 4)] for _ in range(end - start + 1)]
    for pos, a0, _, _ in sites:
        seq[pos - start] = a0
    return seq


def write_fasta(path, start, seq):
    with open(path, "w") as f:
        f.write(">%s\n" % CHROM)
        full = "N" * (start - 1) + "".join(seq)
        for i in range(0, len(full), 60):
            f.write(full[i:i + 60] + "\n")


def write_vcf(vcf_in, vcf_out, samples, start, end):
    """The region's lines of the cohort VCF, with the columns of the chosen samples."""
    names = {name for _, name in samples}
    with open(vcf_in) as f, open(vcf_out, "w") as g:
        keep = None
        for line in f:
            if line.startswith("##"):
                g.write(line)
                continue
            fields = line.rstrip("\n").split("\t")
            if line.startswith("#CHROM"):
                keep = list(range(9)) + [k for k in range(9, len(fields)) if fields[k] in names]
            elif not start <= int(fields[1]) <= end:
                continue
            g.write("\t".join(fields[k] for k in keep) + "\n")


def simulate_sample(rng, args, seq, sites, column, name, out):
    """Writes <name>.sam: read pairs over the region from the sample's two haplotypes."""
    start = args.start
    length = len(seq)
    haps = []
    for h in range(2):
        hap = list(seq)
        for pos, _, a1, alleles in sites:
            if alleles[2 * column + h] == "1":
                hap[pos - start] = a1
        haps.append(hap)
    n_pairs = int(round(args.depth * length / (2.0 * args.read_length)))
    records = []
    for p in range(n_pairs):
        hap = haps[0] if rng.random() < 0.5 else haps[1]
        insert = int(round(normal(rng, args.insert_mean, args.insert_sd)))
        insert = max(args.insert_min, min(args.insert_max, insert))
        first = rand_below(rng, length - insert + 1)
        mapq = 5 if rng.random() < args.low_mapq else 60
        left = first
        right = first + insert - args.read_length
        read1_forward = rng.random() < 0.5
        qname = "%s.%d" % (name, p + 1)
        for is_left in (True, False):
            offset = left if is_left else right
            bases, quals = [], []
            for b in hap[offset:offset + args.read_length]:
                q = 10 if rng.random() < args.low_fraction else 30
                if rng.random() < 10.0 ** (-q / 10.0):
                    b = [x for x in BASES if x != b][rand_below(rng, 3)]
                bases.append(b)
                quals.append(chr(33 + q))
            # Paired, proper pair; the left read is forward, its mate reverse.
            flag = 1 | 2 | (32 if is_left else 16)
            flag |= 64 if is_left == read1_forward else 128
            tlen = insert if is_left else -insert
            mate = right if is_left else left
            records.append((start + offset, "%s\t%d\t%s\t%d\t%d\t%dM\t=\t%d\t%d\t%s\t%s\tRG:Z:%s\n"
                            % (qname, flag, CHROM, start + offset, mapq, args.read_length,
                               start + mate, tlen, "".join(bases), "".join(quals), name)))
    with open(os.path.join(out, name + ".sam"), "w") as f:
        f.write("@HD\tVN:1.6\tSO:unsorted\n")
        f.write("@SQ\tSN:%s\tLN:%d\n" % (CHROM, start + length - 1))
        f.write("@RG\tID:%s\tSM:%s\n" % (name, name))
        for _, text in records:
            f.write(text)
    return n_pairs


def main():
    ap = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    ap.add_argument("--data", required=True, help="folder of truth.haps, truth.sample and cohort.vcf")
    ap.add_argument("--out", required=True, help="output folder")
    ap.add_argument("--seed", type=int, required=True)
    ap.add_argument("--samples", type=int, default=30)
    ap.add_argument("--start", type=int, default=1000001, help="first base of the region")
    ap.add_argument("--length", type=int, default=320000, help="region length in bp")
    ap.add_argument("--depth", type=float, default=6.0)
    ap.add_argument("--read-length", type=int, default=125)
    ap.add_argument("--insert-mean", type=float, default=400.0)
    ap.add_argument("--insert-sd", type=float, default=50.0)
    ap.add_argument("--insert-min", type=int, default=300)
    ap.add_argument("--insert-max", type=int, default=500)
    ap.add_argument("--low-fraction", type=float, default=0.05, help="share of quality 10 bases")
    ap.add_argument("--low-mapq", type=float, default=0.02, help="share of pairs of mapping quality 5")
    args = ap.parse_args()

    rng = random.Random("%d reads" % args.seed)
    end = args.start + args.length - 1
    out = args.out
    os.makedirs(out, exist_ok=True)
    samples = read_samples(os.path.join(args.data, "truth.sample"), args.samples)
    sites = read_truth(os.path.join(args.data, "truth.haps"), args.start, end)
    seq = make_reference(rng, args.start, end, sites)
    write_fasta(os.path.join(out, "reference.fa"), args.start, seq)
    write_vcf(os.path.join(args.data, "cohort.vcf"), os.path.join(out, "reads.vcf"), samples, args.start, end)
    n_pairs = 0
    with open(os.path.join(out, "reads.bamlist"), "w") as f:
        for column, name in samples:
            n_pairs += simulate_sample(rng, args, seq, sites, column, name, out)
            f.write("%s\t%s.bam\t-1\n" % (name, name))
    print("read samples:         %d, %d sites in %s:%d-%d" % (len(samples), len(sites), CHROM, args.start, end))
    print("read pairs:           %d (2x%d bp, depth %gx)" % (n_pairs, args.read_length, args.depth))


if __name__ == "__main__":
    main()
