#!/usr/bin/env python3
"""Self-test of switch_error.py on the truth of example/ (run by hand):
python3 bench/test_switch_error.py [folder with truth.haps and truth.sample]"""

import gzip
import os
import sys
import tempfile

here = os.path.dirname(os.path.abspath(__file__))
sys.dont_write_bytecode = True
sys.path.insert(0, here)
from switch_error import switch_errors  # noqa: E402


def load(folder):
    with open(os.path.join(folder, "truth.haps")) as f:
        rows = [line.split() for line in f]
    with open(os.path.join(folder, "truth.sample")) as f:
        sample = f.read()
    return rows, sample


def write(folder, name, rows, sample, compress=False):
    haps = os.path.join(folder, name + ".haps" + (".gz" if compress else ""))
    opener = gzip.open if compress else open
    with opener(haps, "wt") as f:
        for r in rows:
            f.write(" ".join(r) + "\n")
    path = os.path.join(folder, name + ".sample")
    with open(path, "w") as f:
        f.write(sample)
    return haps, path


def main():
    src = sys.argv[1] if len(sys.argv) > 1 else os.path.join(here, "..", "example")
    rows, sample = load(src)
    ids = [line.split()[1] for line in sample.splitlines()[2:]]
    k = ids.index("IND0001")        # an unrelated sample of the example
    c0, c1 = 5 + 2 * k, 6 + 2 * k
    hets = [i for i, r in enumerate(rows) if r[c0] != r[c1]]
    with tempfile.TemporaryDirectory() as tmp:
        truth = write(tmp, "truth", rows, sample)

        def check(label, est, expected, flips=0, **kw):
            r = switch_errors(truth[0], truth[1], est[0], est[1], **kw)
            got_flips = sum(r["classes"]["flips"].values())
            got_long = sum(r["classes"]["long"].values())
            ok = r["switches"] == expected and got_flips == flips and got_long + 2 * flips == expected
            print("%-48s switches %d (flips %d, long %d), rate %.6f%%  %s"
                  % (label, r["switches"], got_flips, got_long, 100 * r["rate"], "ok" if ok else "FAILED"))
            return ok

        ok = check("truth against itself", truth, 0)
        ok &= check("truth against itself, all samples", truth, 0, all_samples=True)

        swapped = [r[:c0] + [r[c1], r[c0]] + r[c1 + 1:] for r in rows]
        ok &= check("IND0001 haplotypes swapped everywhere", write(tmp, "swap", swapped, sample), 0)

        mid = hets[len(hets) // 2]
        flipped = [r[:c0] + [r[c1], r[c0]] + r[c1 + 1:] if i >= mid else r for i, r in enumerate(rows)]
        ok &= check("IND0001 phase flipped from its middle het site",
                    write(tmp, "flip", flipped, sample, compress=True), 1)

        single = [r[:c0] + [r[c1], r[c0]] + r[c1 + 1:] if i == mid else r for i, r in enumerate(rows)]
        ok &= check("IND0001 phase flipped at one middle het site", write(tmp, "one", single, sample), 2, flips=1)

        # The single flip again, the estimate given as a phased VCF.
        vcf = os.path.join(tmp, "one.vcf.gz")
        with gzip.open(vcf, "wt") as f:
            f.write("##fileformat=VCFv4.2\n#CHROM\tPOS\tID\tREF\tALT\tQUAL\tFILTER\tINFO\tFORMAT\t"
                    + "\t".join(ids) + "\n")
            for r in single:
                gts = [r[5 + 2 * j] + "|" + r[6 + 2 * j] for j in range(len(ids))]
                f.write("\t".join([r[0], r[2], r[1], r[3], r[4], ".", ".", ".", "GT"] + gts) + "\n")
        ok &= check("the same as a phased VCF", (vcf, "-"), 2, flips=1)

        # The half flip again, with the estimate's alleles and bits reversed
        # at every site and its samples listed in reverse order.
        lines = sample.splitlines(True)
        rev_sample = "".join(lines[:2] + lines[2:][::-1])
        n = len(ids)
        rev = []
        for r in flipped:
            bits = [str(1 - int(b)) for b in r[5:]]
            pairs = [bits[2 * j:2 * j + 2] for j in range(n)][::-1]
            rev.append(r[:3] + [r[4], r[3]] + [b for p in pairs for b in p])
        ok &= check("half flip, alleles reversed, samples reordered", write(tmp, "rev", rev, rev_sample), 1)
    print("all checks passed" if ok else "SOME CHECKS FAILED")
    sys.exit(0 if ok else 1)


if __name__ == "__main__":
    main()
