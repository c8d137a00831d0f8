#!/usr/bin/env python3
"""Calibration of the phase confidence (FORMAT field PP) of a phased VCF against the truth.

PP at a heterozygous genotype is the probability that its phase relative to the previous
heterozygous genotype of the same sample in the VCF is as written. For each evaluated
sample, each such pair whose two sites are heterozygous in the truth too (same position,
same two alleles) is right when the estimate's relative phase of the two sites is the
truth's. The pairs are binned by PP and for each bin the count, the mean PP and the share
of right pairs are printed; a bin is calibrated when the share lies within MARGIN (0.05) of
the mean PP, or holds fewer than MIN_COUNT (100) pairs. Pairs with a site that is a
singleton of the truth (minor allele count 1) are also tabulated on their own.

The truth is a HAPS/SAMPLE pair (plain or gzip). Samples evaluated: the unrelated founders
(as bench/switch_error.py), or all with --all.

Usage: calibration.py TRUTH.haps TRUTH.sample ESTIMATE.vcf[.gz] [--all] [--label NAME]
Exit status 1 when a bin of at least MIN_COUNT pairs is off by more than MARGIN.
Only the Python standard library is used.
"""

import argparse
import os
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from switch_error import mac_class, read_haps, read_samples, vcf_records  # noqa: E402

BINS = [(0.0, 0.5), (0.5, 0.6), (0.6, 0.7), (0.7, 0.8), (0.8, 0.9), (0.9, 0.99), (0.99, 1.0)]
MARGIN = 0.05
MIN_COUNT = 100


def read_vcf_pp(path):
    """Samples, and per site in file order (position, REF, ALT, [(a0, a1, pp) per sample]),
    pp None where the field is '.' or absent; haploid and unphased genotypes are skipped."""
    samples, records = vcf_records(path, "calibration.py")
    sites = []
    for tok in records:
        keys = tok[8].split(":")
        if "PP" not in keys:
            sys.exit("calibration.py: %s has no PP field at position %s" % (path, tok[1]))
        at = keys.index("PP")
        calls = []
        for field in tok[9:]:
            values = field.split(":")
            gt = values[0].split("|")
            pp = values[at] if at < len(values) else "."
            if len(gt) != 2 or not all(a in "01" for a in gt):
                calls.append(None)
                continue
            calls.append((gt[0], gt[1], None if pp == "." else float(pp)))
        sites.append((int(tok[1]), tok[3], tok[4], calls))
    return samples, sites


def calibrate(truth_haps, truth_sample, est_vcf, all_samples=False):
    """Returns (tables, skipped): tables maps "all" and "singleton" to per-bin lists of
    [count, sum of PP, right]; skipped counts the rated pairs not heterozygous in the truth."""
    t_samples = read_samples(truth_sample)
    t_sites, _ = read_haps(truth_haps, len(t_samples))
    e_samples, e_sites = read_vcf_pp(est_vcf)
    t_index = {s[0]: k for k, s in enumerate(t_samples)}
    parents = {p for s in t_samples for p in s[1:] if p != "0"}
    chosen = [(t_index[s], k) for k, s in enumerate(e_samples) if s in t_index
              and (all_samples or (t_samples[t_index[s]][1:] == ("0", "0") and s not in parents))]
    if not chosen:
        sys.exit("calibration.py: no sample in common to evaluate")
    tables = {key: [[0, 0.0, 0] for _ in BINS] for key in ("all", "singleton")}
    skipped = 0
    # Per evaluated sample: the previous heterozygous site of the estimate, as (relative phase
    # to the truth or None where the truth is not heterozygous with these alleles, singleton).
    previous = [None] * len(chosen)
    for pos, ref, alt, calls in e_sites:
        truth = t_sites.get(pos)
        flip = None
        if truth is not None and (truth[0], truth[1]) in ((ref, alt), (alt, ref)):
            flip = (truth[0], truth[1]) != (ref, alt)
            singleton = mac_class(truth[2]) == "1"
        for n, (tk, ek) in enumerate(chosen):
            call = calls[ek]
            if call is None or call[0] == call[1]:
                continue
            here = None
            if flip is not None and truth[2][2 * tk] != truth[2][2 * tk + 1]:
                here = ((call[0] == truth[2][2 * tk]) != flip, singleton)
            before, previous[n] = previous[n], here
            if call[2] is None:
                continue
            if here is None or before is None:
                skipped += 1
                continue
            right = here[0] == before[0]
            b = next(i for i, (lo, hi) in enumerate(BINS) if call[2] < hi or hi == 1.0)
            for key in ("all", "singleton") if here[1] or before[1] else ("all",):
                cell = tables[key][b]
                cell[0] += 1
                cell[1] += call[2]
                cell[2] += right
    return tables, skipped


def report(tables, skipped, label):
    """Prints the tables; returns False when a bin is off."""
    ok = True
    for key, title in (("all", "all pairs"), ("singleton", "pairs with a singleton of the truth")):
        print("%s: %s" % (label, title))
        print("  %-10s %9s %8s %8s %8s" % ("PP", "pairs", "mean PP", "right", "diff"))
        for (lo, hi), (count, total, right) in zip(BINS, tables[key]):
            if not count:
                continue
            mean, share = total / count, right / count
            off = count >= MIN_COUNT and abs(share - mean) > MARGIN
            ok = ok and (key != "all" or not off)
            name = "< 0.5" if lo == 0.0 else (">= 0.99" if hi == 1.0 else "%g-%g" % (lo, hi))
            print("  %-10s %9d %8.4f %8.4f %+8.4f%s" % (name, count, mean, share, share - mean, "  OFF" if off else ""))
    print("  rated pairs not heterozygous in the truth at both sites: %d" % skipped)
    return ok


def main():
    ap = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    ap.add_argument("truth_haps")
    ap.add_argument("truth_sample")
    ap.add_argument("est_vcf")
    ap.add_argument("--all", action="store_true", help="evaluate all samples, not only unrelated founders")
    ap.add_argument("--label", default="PP calibration")
    args = ap.parse_args()
    tables, skipped = calibrate(args.truth_haps, args.truth_sample, args.est_vcf, args.all)
    sys.exit(0 if report(tables, skipped, args.label) else 1)


if __name__ == "__main__":
    main()
