#!/usr/bin/env python3
"""Switch error rate of estimated haplotypes against the true ones.

Both haplotype sets are HAPS/SAMPLE pairs (plain or gzip-compressed), or a
phased VCF (plain or gzip-compressed) given in place of the HAPS file with "-"
in place of the SAMPLE file. Samples are matched by their identifier (second
column of the SAMPLE file, or the VCF header), sites by position. For each sample, the sites used are those heterozygous in the truth,
present in both files with the same two alleles, and heterozygous in the
estimate too (a site where the estimate is homozygous, e.g. a missing
genotype filled in with the other allele, has no phase and is skipped and
counted). Along these sites a switch is a change of the relative phase of the
estimate with respect to the truth between two consecutive sites.

  switch error rate = sum of switches / sum of (heterozygous sites - 1)

summed over the samples evaluated. Switches are split into single-site flips
(the phase of one heterozygous site differs from both its neighbours, which
agree: two switches, one error) and long switches (the others), each by the
minor allele count class of the truth: the class of the flipped site, or of the
rarer site of the pair a long switch falls between. Evaluated: by default the unrelated founders (no
parent given in the truth SAMPLE file and parent of no one in it), all
samples with --all, the samples with a parent with --children, those that
are a parent with --parents. The mean of the per-sample rates is reported
too.

Usage: switch_error.py TRUTH.haps TRUTH.sample ESTIMATE.haps ESTIMATE.sample
                       [--all | --children | --parents]
       switch_error.py TRUTH.haps TRUTH.sample ESTIMATE.vcf.gz -
Only the Python standard library is used.
"""

import argparse
import gzip
import sys


def open_text(path):
    with open(path, "rb") as f:
        magic = f.read(2)
    if magic == b"\x1f\x8b":
        return gzip.open(path, "rt")
    return open(path)


def read_samples(path):
    """Return the list of (id, father, mother) of a SAMPLE file, in order."""
    out = []
    with open_text(path) as f:
        lines = [line.split() for line in f if line.strip()]
    if len(lines) < 2:
        sys.exit("switch_error.py: %s has no header lines" % path)
    header = lines[0]
    col_father = header.index("ID_father") if "ID_father" in header else None
    col_mother = header.index("ID_mother") if "ID_mother" in header else None
    for tok in lines[2:]:
        father = tok[col_father] if col_father is not None and col_father < len(tok) else "0"
        mother = tok[col_mother] if col_mother is not None and col_mother < len(tok) else "0"
        out.append((tok[1], father, mother))
    return out


def read_haps(path, n_samples):
    """Return {position: (a0, a1, digits)} where digits is a string of
    2 * n_samples characters '0'/'1'. The number of leading columns (5, or 6
    with a second identifier) is the number of columns less 2 * n_samples.
    Positions met more than once are dropped; their count is returned too."""
    sites = {}
    duplicated = set()
    with open_text(path) as f:
        for n, line in enumerate(f, 1):
            tok = line.split()
            if not tok:
                continue
            lead = len(tok) - 2 * n_samples
            if lead not in (5, 6):
                sys.exit("switch_error.py: %s line %d has %d columns for %d samples"
                         % (path, n, len(tok), n_samples))
            pos = int(tok[lead - 3])
            if pos in sites:
                duplicated.add(pos)
                continue
            digits = "".join(tok[lead:])
            if len(digits) != 2 * n_samples or digits.strip("01"):
                sys.exit("switch_error.py: %s line %d: haplotype values must be 0 or 1" % (path, n))
            sites[pos] = (tok[lead - 2], tok[lead - 1], digits)
    for pos in duplicated:
        del sites[pos]
    return sites, len(duplicated)


def vcf_records(path, program):
    """The sample names of a VCF and its records, each split into its columns; exits
    naming the program when there is no #CHROM line."""
    samples, records = None, []
    with open_text(path) as f:
        for line in f:
            if line.startswith("##"):
                continue
            tok = line.rstrip("\n").split("\t")
            if line.startswith("#"):
                samples = tok[9:]
            elif samples is not None:
                records.append(tok)
    if samples is None:
        sys.exit("%s: %s has no #CHROM line" % (program, path))
    return samples, records


def read_vcf(path):
    """Samples and sites of a phased VCF, as read_samples and read_haps give them:
    haplotype digits from GT "a|b" (a haploid "a" counts twice); other records and
    genotypes that are missing or not 0/1 make the site unusable and drop it."""
    names, records = vcf_records(path, "switch_error.py")
    samples, sites, dropped = [(t, "0", "0") for t in names], {}, 0
    for tok in records:
        pos = int(tok[1])
        digits = []
        for field in tok[9:]:
            alleles = field.split(":")[0].replace("|", "/").split("/")
            digits.extend(alleles * (2 // len(alleles)))
        if "," in tok[4] or len(digits) != 2 * len(samples) or "".join(digits).strip("01") or pos in sites:
            dropped += 1
            continue
        sites[pos] = (tok[3], tok[4], "".join(digits))
    return samples, sites, dropped


MAC_CLASSES = ["1", "2", "3-10", ">10"]


def mac_class(digits):
    """Class of a site by the count of its minor allele over all truth haplotypes."""
    ones = digits.count("1")
    mac = min(ones, len(digits) - ones)
    if mac <= 2:
        return MAC_CLASSES[max(mac, 1) - 1]
    return "3-10" if mac <= 10 else ">10"


def rarer(a, b):
    return min(a, b, key=MAC_CLASSES.index)


def classify(chain, counts):
    """Adds the errors of one sample's heterozygous sites, in order, as (relative phase,
    class), to counts: single-site flips by the class of the site, long switches by the
    rarer class of their pair, and the pairs and sites seen by class."""
    for i, (rel, mac, _) in enumerate(chain):
        counts["sites"][mac] += 1
        if i:
            counts["pairs"][rarer(mac, chain[i - 1][1])] += 1
    i = 1
    while i < len(chain):
        if chain[i][0] == chain[i - 1][0]:
            i += 1
        elif i + 1 < len(chain) and chain[i + 1][0] != chain[i][0]:
            counts["flips"][chain[i][1]] += 1
            i += 2
        else:
            counts["long"][rarer(chain[i][1], chain[i - 1][1])] += 1
            i += 1


def switch_errors(truth_haps, truth_sample, est_haps, est_sample, all_samples=False, group=None, pairs=None):
    """Compute the statistics; returns a dict (see the keys at the end).
    group "children" or "parents" evaluates the samples with a parent or
    those that are a parent. est_sample "-" reads the estimate as a VCF.
    pairs, a set of (sample, position, position), also counts the switches
    between those consecutive heterozygotes alone ("pair_switches" of "pairs_seen")."""
    t_samples = read_samples(truth_sample)
    if est_sample == "-":
        e_samples, e_sites, e_dup = read_vcf(est_haps)
    else:
        e_samples = read_samples(est_sample)
    t_index = {s[0]: k for k, s in enumerate(t_samples)}
    e_index = {s[0]: k for k, s in enumerate(e_samples)}
    if len(t_index) != len(t_samples) or len(e_index) != len(e_samples):
        sys.exit("switch_error.py: duplicated sample identifiers")

    parents = {p for s in t_samples for p in s[1:] if p != "0"}
    if all_samples:
        chosen = [s[0] for s in t_samples]
    elif group == "children":
        chosen = [s[0] for s in t_samples if s[1] != "0" or s[2] != "0"]
    elif group == "parents":
        chosen = [s[0] for s in t_samples if s[0] in parents]
    else:
        chosen = [s[0] for s in t_samples
                  if s[1] == "0" and s[2] == "0" and s[0] not in parents]
    chosen = [i for i in chosen if i in e_index]
    if not chosen:
        sys.exit("switch_error.py: no sample in common to evaluate")

    t_sites, t_dup = read_haps(truth_haps, len(t_samples))
    if est_sample != "-":
        e_sites, e_dup = read_haps(est_haps, len(e_samples))

    # Common sites in position order, with the estimate's bit flip when its
    # alleles are given in the other order; sites whose alleles differ are
    # left out.
    common = []
    allele_mismatch = 0
    for pos in sorted(t_sites):
        if pos not in e_sites:
            continue
        ta0, ta1, tdig = t_sites[pos]
        ea0, ea1, edig = e_sites[pos]
        if (ta0, ta1) == (ea0, ea1):
            common.append((pos, tdig, edig, False))
        elif (ta0, ta1) == (ea1, ea0):
            common.append((pos, tdig, edig, True))
        else:
            allele_mismatch += 1

    n = len(chosen)
    tcol = [2 * t_index[i] for i in chosen]
    ecol = [2 * e_index[i] for i in chosen]
    est_hom = 0            # truth heterozygous, estimate homozygous
    # Per sample, the heterozygous sites used: (relative phase, minor allele count class,
    # position).
    chain = [[] for _ in range(n)]
    for pos, tdig, edig, flip in common:
        mac = mac_class(tdig)
        for k in range(n):
            tc = tcol[k]
            t0 = tdig[tc]
            if t0 == tdig[tc + 1]:
                continue
            ec = ecol[k]
            e0 = edig[ec]
            if e0 == edig[ec + 1]:
                est_hom += 1
                continue
            # Relative phase: 1 when the estimate's first haplotype carries
            # the truth's first haplotype allele.
            chain[k].append((1 if (e0 == t0) != flip else 0, mac, pos))

    counts = {key: {c: 0 for c in MAC_CLASSES} for key in ("sites", "pairs", "flips", "long")}
    switches, rates, pairs_seen, pair_switches = 0, [], 0, 0
    for name, sites in zip(chosen, chain):
        sw = sum(sites[i][0] != sites[i - 1][0] for i in range(1, len(sites)))
        for i in range(1, len(sites)):
            if pairs and (name, sites[i - 1][2], sites[i][2]) in pairs:
                pairs_seen += 1
                pair_switches += sites[i][0] != sites[i - 1][0]
        switches += sw
        if len(sites) >= 2:
            rates.append(sw / (len(sites) - 1))
        classify(sites, counts)
    pairs = sum(counts["pairs"].values())
    return {
        "samples": n,
        "samples_rated": len(rates),
        "common_sites": len(common),
        "truth_sites": len(t_sites),
        "estimate_sites": len(e_sites),
        "allele_mismatch": allele_mismatch,
        "duplicated_positions": t_dup + e_dup,
        "estimate_homozygous": est_hom,
        "het_sites": sum(counts["sites"].values()),
        "switches": switches,
        "rate": switches / pairs if pairs else float("nan"),
        "mean_rate": sum(rates) / len(rates) if rates else float("nan"),
        "classes": counts,
        "pairs_seen": pairs_seen,
        "pair_switches": pair_switches,
    }


def main():
    ap = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    ap.add_argument("truth_haps")
    ap.add_argument("truth_sample")
    ap.add_argument("est_haps")
    ap.add_argument("est_sample")
    which = ap.add_mutually_exclusive_group()
    which.add_argument("--all", action="store_true", help="evaluate all samples, not only unrelated founders")
    which.add_argument("--children", action="store_const", const="children", dest="group",
                       help="evaluate the samples with a parent")
    which.add_argument("--parents", action="store_const", const="parents", dest="group",
                       help="evaluate the samples that are a parent")
    ap.add_argument("--rate-only", action="store_true", help="print the switch error rate in %% only")
    ap.add_argument("--pairs", help="file of 'sample position position' lines (e.g. the pairs that reads join): "
                    "also the switch error between those consecutive heterozygotes")
    args = ap.parse_args()
    pairs = None
    if args.pairs:
        with open_text(args.pairs) as f:
            pairs = {(w[0], int(w[1]), int(w[2])) for w in (line.split() for line in f) if len(w) == 3}
    r = switch_errors(args.truth_haps, args.truth_sample, args.est_haps, args.est_sample, args.all, args.group, pairs)
    if args.rate_only:
        print("%.4f" % (100.0 * r["rate"]))
        return
    print("samples evaluated:          %d (%d with two or more heterozygous sites)"
          % (r["samples"], r["samples_rated"]))
    print("sites: truth %d, estimate %d, common %d (allele mismatch %d, duplicated positions %d)"
          % (r["truth_sites"], r["estimate_sites"], r["common_sites"], r["allele_mismatch"],
             r["duplicated_positions"]))
    print("heterozygous sites used:    %d (skipped, homozygous in the estimate: %d)"
          % (r["het_sites"], r["estimate_homozygous"]))
    print("switches:                   %d" % r["switches"])
    print("switch error rate:          %.4f %%" % (100.0 * r["rate"]))
    print("per-sample mean rate:       %.4f %%" % (100.0 * r["mean_rate"]))
    c = r["classes"]
    print("by minor allele count:      sites   flips (% of sites)   long switches (% of pairs)")
    for k in MAC_CLASSES:
        print("  %-5s %20d %7d (%7.4f %%) %9d (%7.4f %%)"
              % (k, c["sites"][k], c["flips"][k], percent(c["flips"][k], c["sites"][k]),
                 c["long"][k], percent(c["long"][k], c["pairs"][k])))
    flips, longs = sum(c["flips"].values()), sum(c["long"].values())
    print("single-site flips:          %d (%.4f %% of heterozygous sites)" % (flips, percent(flips, r["het_sites"])))
    print("long switches:              %d (%.4f %% of pairs)" % (longs, percent(longs, sum(c["pairs"].values()))))
    if pairs is not None:
        print("listed pairs:               %d seen, %d switches (%.4f %%)"
              % (r["pairs_seen"], r["pair_switches"], percent(r["pair_switches"], r["pairs_seen"])))


def percent(a, b):
    return 100.0 * a / b if b else float("nan")


if __name__ == "__main__":
    main()
