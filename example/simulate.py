#!/usr/bin/env python3
"""Turn one scrm replicate into the example cohort, reference panel and map.

Input: the ms-style output of scrm run with "-SC abs" (positions in base pairs
from the start of the locus) and the recombination segments given to scrm.
Output, all in the output folder:

  genetic_map.txt                  genetic map (HapMap layout)
  truth.haps, truth.sample         true haplotypes of the cohort
  cohort.vcf                       unphased genotypes, VCF
  cohort.gen, cohort.sample        unphased genotypes, GEN/SAMPLE
  cohort.ped, cohort.map           unphased genotypes, PED/MAP
  cohort.bed, cohort.bim, cohort.fam   unphased genotypes, binary PED (SNP-major)
  cohort.sex                       sex of each cohort sample (for VCF input)
  reference.haplotypes, reference.legend, reference.samples   reference panel
  families.bed, families.bim, families.fam   the cohort with larger families
  families_truth.haps, families_truth.sample   true haplotypes of their members
  lowcov_<D>x.gen.gz, lowcov_<D>x.sample   genotype likelihoods of the cohort
                                   from simulated reads at a mean depth of D

Everything random is drawn from one random.Random(seed) stream, using only
random() so that results do not depend on the Python version's integer
sampling helpers. Only the standard library is used.
"""

import argparse
import gzip
import math
import random
import sys

CHROM = "20"
BASES = "ACGT"


# ---------------------------------------------------------------------------
# Random helpers built on random() only

def rand_below(rng, n):
    """Uniform integer in [0, n)."""
    return min(int(rng.random() * n), n - 1)


def shuffle(rng, items):
    """Fisher-Yates shuffle in place."""
    for i in range(len(items) - 1, 0, -1):
        j = rand_below(rng, i + 1)
        items[i], items[j] = items[j], items[i]


def poisson(rng, lam):
    """Knuth's method; fine for the small means of a short region."""
    limit = math.exp(-lam)
    k = 0
    p = rng.random()
    while p > limit:
        k += 1
        p *= rng.random()
    return k


# ---------------------------------------------------------------------------
# scrm output

def read_ms(path):
    """Return (positions, haplotypes) of the first replicate of an ms file.

    positions are floats in base pairs from the locus start; haplotypes are
    strings of '0'/'1', one character per segregating site.
    """
    with open(path) as f:
        lines = [line.rstrip("\n") for line in f]
    try:
        start = lines.index("//")
    except ValueError:
        sys.exit("simulate.py: no replicate found in " + path)
    segsites = None
    positions = None
    i = start + 1
    while i < len(lines):
        line = lines[i]
        if line.startswith("segsites:"):
            segsites = int(line.split()[1])
        elif line.startswith("positions:"):
            positions = [float(x) for x in line.split()[1:]]
            i += 1
            break
        i += 1
    if segsites is None or positions is None or len(positions) != segsites:
        sys.exit("simulate.py: malformed replicate in " + path)
    haps = []
    while i < len(lines) and lines[i].strip() != "" and not lines[i].startswith("//"):
        h = lines[i].strip()
        if len(h) != segsites:
            sys.exit("simulate.py: haplotype of length %d, expected %d" % (len(h), segsites))
        haps.append(h)
        i += 1
    return positions, haps


# ---------------------------------------------------------------------------
# Genetic map: piecewise constant rates, in cM/Mb, over the locus

class GeneticMap:
    def __init__(self, segments, length):
        """segments: list of (start_bp, rate_cM_per_Mb), start_bp relative to
        the locus start, the first at 0, in increasing order."""
        self.starts = [s for s, _ in segments]
        self.rates = [r for _, r in segments]
        self.length = length
        self.ends = self.starts[1:] + [length]
        self.cm_at_start = []
        acc = 0.0
        for s, e, r in zip(self.starts, self.ends, self.rates):
            self.cm_at_start.append(acc)
            acc += (e - s) * r / 1e6
        self.total_cm = acc

    def rate_at(self, x):
        k = 0
        while k + 1 < len(self.starts) and self.starts[k + 1] <= x:
            k += 1
        return self.rates[k]

    def cm(self, x):
        """Cumulative cM at relative position x (clamped to the locus)."""
        x = max(0.0, min(float(x), float(self.length)))
        k = 0
        while k + 1 < len(self.starts) and self.starts[k + 1] <= x:
            k += 1
        return self.cm_at_start[k] + (x - self.starts[k]) * self.rates[k] / 1e6

    def position_of_cm(self, c):
        """Inverse of cm(): relative position of genetic position c."""
        for k in range(len(self.starts)):
            c0 = self.cm_at_start[k]
            c1 = c0 + (self.ends[k] - self.starts[k]) * self.rates[k] / 1e6
            if c <= c1 or k == len(self.starts) - 1:
                if self.rates[k] <= 0:
                    return float(self.starts[k])
                return self.starts[k] + (c - c0) * 1e6 / self.rates[k]
        return float(self.length)


def parse_segments(text):
    segs = []
    for item in text.split(","):
        start, rate = item.split(":")
        segs.append((int(start), float(rate)))
    if not segs or segs[0][0] != 0:
        sys.exit("simulate.py: the first recombination segment must start at 0")
    for a, b in zip(segs, segs[1:]):
        if b[0] <= a[0]:
            sys.exit("simulate.py: recombination segments must be increasing")
    return segs


# ---------------------------------------------------------------------------
# Pedigree

class Person:
    def __init__(self, role):
        self.role = role          # "single", "father", "mother", "parent", "child"
        self.iid = None
        self.fid = None
        self.father = None        # Person or None
        self.mother = None
        self.sex = None           # 1 male, 2 female
        self.h0 = None            # first haplotype, a list of 0/1 over the simulated sites
        self.h1 = None            # second haplotype


def transmit(rng, gmap, rel_pos, hap_a, hap_b):
    """One meiosis: a recombinant of hap_a and hap_b (lists of 0/1 over the
    sites at relative positions rel_pos). Crossovers are a Poisson number,
    placed uniformly on the genetic map."""
    n_cross = poisson(rng, gmap.total_cm / 100.0)
    return recombine(rng, gmap, rel_pos, hap_a, hap_b, n_cross), n_cross


def recombine(rng, gmap, rel_pos, hap_a, hap_b, n_cross):
    """A recombinant of hap_a and hap_b with n_cross crossovers placed
    uniformly on the genetic map."""
    cuts = sorted(gmap.position_of_cm(rng.random() * gmap.total_cm) for _ in range(n_cross))
    current = 0 if rng.random() < 0.5 else 1
    out = []
    c = 0
    for x, a, b in zip(rel_pos, hap_a, hap_b):
        while c < len(cuts) and cuts[c] < x:
            current = 1 - current
            c += 1
        out.append(a if current == 0 else b)
    return out


def pick(rng, pool, sex):
    """Remove and return a random Person of the given sex from pool."""
    candidates = [p for p in pool if p.sex == sex]
    if not candidates:
        sys.exit("simulate.py: not enough unrelated samples for the requested families")
    chosen = candidates[rand_below(rng, len(candidates))]
    pool.remove(chosen)
    return chosen


def build_families(rng, people, H0, H1, rel_pos, gmap, n_pedigrees, n_sibships, n_sibs, n_cross):
    """Larger families on top of the cohort, founded by its unrelated samples.

    A three-generation family: grandparents GF and GM, their son F, his wife M
    and n_sibs children of F and M. A sibship: a mother P with n_sibs children
    by a father X who is not genotyped (an unrelated sample taken out of the
    data). Every meiosis has n_cross crossovers. Returns the samples to drop
    (the X) and the new samples as (Person, h0, h1), h0 paternal."""
    pool = [p for p in people if p.role == "single"]
    dropped = []
    added = []
    index = {id(p): k for k, p in enumerate(people)}

    def haps(p):
        if id(p) in index:
            k = index[id(p)]
            return H0[k], H1[k]
        for q, h0, h1 in added:
            if q is p:
                return h0, h1
        raise KeyError(p.iid)

    def child(father, mother, fid):
        c = Person("child")
        c.father, c.mother, c.fid = father, mother, fid
        c.sex = 1 if rng.random() < 0.5 else 2
        h0 = recombine(rng, gmap, rel_pos, *haps(father), n_cross)
        h1 = recombine(rng, gmap, rel_pos, *haps(mother), n_cross)
        added.append((c, h0, h1))
        return c

    n_fam = 0
    for _ in range(n_pedigrees):
        n_fam += 1
        fid = "PED%02d" % n_fam
        gf, gm, m = pick(rng, pool, 1), pick(rng, pool, 2), pick(rng, pool, 2)
        for p in (gf, gm, m):
            p.fid = fid
        f = child(gf, gm, fid)
        f.sex = 1
        for _ in range(n_sibs):
            child(f, m, fid)
    for _ in range(n_sibships):
        n_fam += 1
        fid = "PED%02d" % n_fam
        p, x = pick(rng, pool, 2), pick(rng, pool, 1)
        p.fid = fid
        dropped.append(x)
        for _ in range(n_sibs):
            c = child(x, p, fid)
            c.father = None
    return dropped, added


def build_cohort(rng, n_cohort, n_trios, n_duos):
    """Lay out the cohort: singletons, trios and duos, shuffled as blocks so
    that families are spread through the file. Returns the list of Person in
    file order and the list of families (lists of Person)."""
    n_family_members = 3 * n_trios + 2 * n_duos
    n_single = n_cohort - n_family_members
    if n_single < 0:
        sys.exit("simulate.py: cohort too small for the requested families")
    blocks = []
    families = []
    for _ in range(n_single):
        blocks.append([Person("single")])
    for t in range(n_trios):
        f, m, c = Person("father"), Person("mother"), Person("child")
        f.sex, m.sex = 1, 2
        c.father, c.mother = f, m
        # The last trio lists its child before the parents: real files are
        # not always sorted by generation.
        block = [c, f, m] if t == n_trios - 1 else [f, m, c]
        blocks.append(block)
        families.append(("trio", f, m, c))
    for d in range(n_duos):
        p, c = Person("parent"), Person("child")
        # Alternate fathers and mothers among the genotyped parents.
        if d % 2 == 0:
            p.sex = 1
            c.father = p
        else:
            p.sex = 2
            c.mother = p
        blocks.append([p, c])
        families.append(("duo", p, c))
    shuffle(rng, blocks)
    people = [p for b in blocks for p in b]
    for k, p in enumerate(people):
        p.iid = "IND%04d" % (k + 1)
        if p.sex is None:
            p.sex = 1 if rng.random() < 0.5 else 2
    for k, fam in enumerate(families):
        fid = "FAM%02d" % (k + 1)
        for p in fam[1:]:
            p.fid = fid
    for p in people:
        if p.fid is None:
            p.fid = p.iid
    return people, families


# ---------------------------------------------------------------------------
# Writers

def fmt_cm(x):
    return "%.6f" % x


def write_genetic_map(path, gmap, start_bp, step):
    """HapMap layout: header, then position, rate (cM/Mb) of the interval that
    starts there, cumulative cM. Points every `step` bp and at each rate change,
    over the whole locus."""
    points = set(range(0, gmap.length + 1, step))
    points.update(s for s in gmap.starts)
    points.add(gmap.length)
    with open(path, "w") as f:
        f.write("position COMBINED_rate(cM/Mb) Genetic_Map(cM)\n")
        for x in sorted(points):
            rate = gmap.rate_at(x) if x < gmap.length else 0.0
            f.write("%d %.4f %s\n" % (start_bp + x, rate, fmt_cm(gmap.cm(x))))


def write_bed(path, n_sites, n_ind, code):
    """SNP-major binary PED. code(site, ind) gives 0 hom first allele,
    1 missing, 2 heterozygous, 3 hom second allele (the 2-bit values)."""
    nbytes = (n_ind + 3) // 4
    out = bytearray(b"\x6c\x1b\x01")
    for s in range(n_sites):
        rec = bytearray(nbytes)
        for i in range(n_ind):
            rec[i >> 2] |= code(s, i) << (2 * (i & 3))
        out += rec
    with open(path, "wb") as f:
        f.write(bytes(out))


def write_families(out, args, people, H0, H1, MISS, rel_pos, gmap, ids, bp, cms, a0, a1):
    """The families files: the cohort, less the ungenotyped fathers, with the
    larger families of build_families appended, as BED/BIM/FAM; and the true
    haplotypes of every sample with a parent or a child, the paternal one
    first. Drawn from their own random stream, so that the other files do not
    change with the families' parameters."""
    rng = random.Random(args.seed + 1)
    n_sites = len(ids)
    dropped, added = build_families(rng, people, H0, H1, rel_pos, gmap, args.pedigrees,
                                    args.sibships, args.sibs, args.family_crossovers)
    members = []   # (Person, h0, h1, missing)
    for k, p in enumerate(people):
        if p in dropped:
            continue
        members.append((p, H0[k], H1[k], MISS[k]))
    n_cohort = len(people)
    for k, (p, h0, h1) in enumerate(added):
        p.iid = "IND%04d" % (n_cohort + k + 1)
        members.append((p, h0, h1, [rng.random() < args.missing for _ in range(n_sites)]))

    def parent_id(q):
        return q.iid if q is not None else "0"

    with open(out + "families.bim", "w") as f:
        for k in range(n_sites):
            f.write("%s\t%s\t%s\t%d\t%s\t%s\n" % (CHROM, ids[k], fmt_cm(cms[k]), bp[k], a0[k], a1[k]))
    with open(out + "families.fam", "w") as f:
        for p, _, _, _ in members:
            f.write("%s %s %s %s %d -9\n" % (p.fid, p.iid, parent_id(p.father), parent_id(p.mother), p.sex))
    bed_code = {0: 0, 1: 2, 2: 3}
    write_bed(out + "families.bed", n_sites, len(members),
              lambda k, i: 1 if members[i][3][k] else bed_code[members[i][1][k] + members[i][2][k]])

    parents = {id(q) for p, _, _, _ in members for q in (p.father, p.mother) if q is not None}
    related = [m for m in members if m[0].father or m[0].mother or id(m[0]) in parents]
    with open(out + "families_truth.sample", "w") as f:
        f.write("ID_1 ID_2 missing ID_father ID_mother sex\n0 0 0 D D D\n")
        for p, _, _, _ in related:
            f.write("%s %s 0.0000 %s %s %d\n" % (p.fid, p.iid, parent_id(p.father), parent_id(p.mother), p.sex))
    with open(out + "families_truth.haps", "w") as f:
        for k in range(n_sites):
            row = [CHROM, ids[k], str(bp[k]), a0[k], a1[k]]
            for p, h0, h1, _ in related:
                # A mother-child duo's child carries the mother's haplotype first
                # in the cohort truth; here the paternal one comes first.
                swap = p.role == "child" and p.father is None and p.mother is not None and p not in [a[0] for a in added]
                first, second = (h1, h0) if swap else (h0, h1)
                row.append(str(first[k]))
                row.append(str(second[k]))
            f.write(" ".join(row) + "\n")
    print("families files:       %d samples (%d added, %d ungenotyped fathers left out), %d related"
          % (len(members), len(added), len(dropped), len(related)))


# ---------------------------------------------------------------------------
# Low-coverage sequencing of the cohort

LOWCOV_DEPTHS = (2, 6)     # mean read depths of the likelihood files
LOWCOV_ERROR = 0.01        # chance that a read shows the other allele


def write_lowcov(out, seed, depth, error):
    """Genotype likelihoods of the cohort from simulated reads, as GEN/SAMPLE.

    Reads the true haplotypes written to `out` (truth.haps, truth.sample). At
    each site each sample gets a Poisson number of reads of mean `depth`; a
    read copies one of the two haplotypes, chosen with equal chance, and shows
    the other allele with chance `error`. The likelihoods of 0, 1 and 2 copies
    of the second allele are normalised to sum to 1 and written with three
    significant digits (a site without reads gets three equal values). Draws
    come from their own stream, so the other files do not depend on them."""
    rng = random.Random("%d lowcov %d" % (seed, depth))
    stem = "%slowcov_%dx" % (out, depth)
    with open(out + "truth.sample") as f, open(stem + ".sample", "w") as g:
        g.write(f.read())
    # Chance that a read shows the second allele, for 0, 1 or 2 copies of it.
    p_second = (error, 0.5, 1.0 - error)
    with open(out + "truth.haps") as f, \
            gzip.GzipFile(stem + ".gen.gz", "wb", mtime=0) as g:
        for line in f:
            fields = line.split()
            row = fields[:5]
            alleles = fields[5:]
            for i in range(0, len(alleles), 2):
                haps = (int(alleles[i]), int(alleles[i + 1]))
                n_second = 0
                n_reads = poisson(rng, depth)
                for _ in range(n_reads):
                    allele = haps[0] if rng.random() < 0.5 else haps[1]
                    if rng.random() < error:
                        allele = 1 - allele
                    n_second += allele
                like = [p ** n_second * (1.0 - p) ** (n_reads - n_second) for p in p_second]
                total = sum(like)
                row.extend("%.3g" % (x / total) for x in like)
            g.write((" ".join(row) + "\n").encode())


def main():
    ap = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    ap.add_argument("--ms", required=True, help="scrm output (run with -SC abs)")
    ap.add_argument("--out", required=True, help="output folder")
    ap.add_argument("--seed", type=int, required=True)
    ap.add_argument("--length", type=int, required=True, help="locus length in bp, as given to scrm")
    ap.add_argument("--start", type=int, default=1000000, help="base-pair position of the locus start")
    ap.add_argument("--recomb", required=True,
                    help="recombination segments 'start:rate,...' (rate in cM/Mb), as given to scrm")
    ap.add_argument("--cohort", type=int, default=250)
    ap.add_argument("--trios", type=int, default=5)
    ap.add_argument("--duos", type=int, default=5)
    ap.add_argument("--reference", type=int, default=100)
    ap.add_argument("--missing", type=float, default=0.005, help="fraction of missing study genotypes")
    ap.add_argument("--map-step", type=int, default=5000, help="spacing of genetic map points in bp")
    ap.add_argument("--pedigrees", type=int, default=1, help="three-generation families of the families files")
    ap.add_argument("--sibships", type=int, default=1, help="mothers of several children in the families files")
    ap.add_argument("--sibs", type=int, default=3, help="children of each such family")
    ap.add_argument("--family-crossovers", type=int, default=1, help="crossovers of each meiosis in these families")
    args = ap.parse_args()

    rng = random.Random(args.seed)
    gmap = GeneticMap(parse_segments(args.recomb), args.length)
    positions, haps = read_ms(args.ms)
    n_raw = len(positions)

    # Haplotype budget: two per cohort founder, two per ungenotyped parent of
    # each duo child, two per reference sample.
    n_founders = args.cohort - args.trios - args.duos
    need = 2 * n_founders + 2 * args.duos + 2 * args.reference
    if len(haps) != need:
        sys.exit("simulate.py: scrm gave %d haplotypes, %d are needed" % (len(haps), need))

    # Integer base-pair positions, strictly increasing: floor of the simulated
    # position, pushed right when two sites fall on the same base.
    rel_pos = []
    prev = -1
    for x in positions:
        p = max(int(math.floor(x)), prev + 1)
        rel_pos.append(p)
        prev = p
    if rel_pos and rel_pos[-1] >= args.length:
        sys.exit("simulate.py: site positions run past the locus end")

    hap_bits = [[1 if ch == "1" else 0 for ch in h] for h in haps]

    people, families = build_cohort(rng, args.cohort, args.trios, args.duos)

    # Founders take simulated haplotypes in file order, then the ungenotyped
    # duo parents, then the reference panel.
    next_hap = 0
    for p in people:
        if p.role != "child":
            p.h0 = hap_bits[next_hap]
            p.h1 = hap_bits[next_hap + 1]
            next_hap += 2
    crossovers = 0
    for fam in families:
        if fam[0] == "trio":
            _, f, m, c = fam
            c.h0, n1 = transmit(rng, gmap, rel_pos, f.h0, f.h1)
            c.h1, n2 = transmit(rng, gmap, rel_pos, m.h0, m.h1)
        else:
            _, par, c = fam
            other_a = hap_bits[next_hap]
            other_b = hap_bits[next_hap + 1]
            next_hap += 2
            # The genotyped parent's transmission comes first in the child's
            # truth, as a duo is written out.
            c.h0, n1 = transmit(rng, gmap, rel_pos, par.h0, par.h1)
            c.h1, n2 = transmit(rng, gmap, rel_pos, other_a, other_b)
        crossovers += n1 + n2
    ref_haps = [hap_bits[k] for k in range(next_hap, next_hap + 2 * args.reference)]
    ref_sex = [1 if rng.random() < 0.5 else 2 for _ in range(args.reference)]

    # Missing study genotypes, drawn over all simulated sites.
    n_ind = len(people)
    missing = [[rng.random() < args.missing for _ in range(n_raw)] for _ in range(n_ind)]

    # Allele letters for every simulated site (ancestral, derived).
    letters = []
    for _ in range(n_raw):
        a = BASES[rand_below(rng, 4)]
        others = [x for x in BASES if x != a]
        b = others[rand_below(rng, 3)]
        letters.append((a, b))

    # Keep the sites where the observed study genotypes carry both alleles.
    # Orient each kept site so that its first allele is the first allele met
    # when reading the study in file order (heterozygotes are written first
    # allele first): every input format then gives the same allele order.
    sites = []  # (raw index, flip)
    for s in range(n_raw):
        seen0 = seen1 = False
        first = None
        for i, p in enumerate(people):
            if missing[i][s]:
                continue
            g = p.h0[s] + p.h1[s]
            if first is None:
                first = g
            if g < 2:
                seen0 = True
            if g > 0:
                seen1 = True
        if seen0 and seen1:
            sites.append((s, first == 2))

    n_sites = len(sites)
    bp = [args.start + rel_pos[s] for s, _ in sites]
    a0 = [letters[s][1] if flip else letters[s][0] for s, flip in sites]
    a1 = [letters[s][0] if flip else letters[s][1] for s, flip in sites]
    ids = ["%s:%d" % (CHROM, x) for x in bp]
    cms = [gmap.cm(rel_pos[s]) for s, _ in sites]

    def allele(h, k):
        s, flip = sites[k]
        return h[s] ^ (1 if flip else 0)

    # Final study haplotypes, per individual, per kept site.
    H0 = [[allele(p.h0, k) for k in range(n_sites)] for p in people]
    H1 = [[allele(p.h1, k) for k in range(n_sites)] for p in people]
    MISS = [[missing[i][s] for s, _ in sites] for i in range(n_ind)]
    R = [[allele(h, k) for k in range(n_sites)] for h in ref_haps]

    out = args.out.rstrip("/") + "/"

    def parent_id(q):
        return q.iid if q is not None else "0"

    # Genetic map.
    write_genetic_map(out + "genetic_map.txt", gmap, args.start, args.map_step)

    # SAMPLE files: truth and cohort share the columns, only the missing rate differs.
    def write_sample(path, with_missing):
        with open(path, "w") as f:
            f.write("ID_1 ID_2 missing ID_father ID_mother sex\n")
            f.write("0 0 0 D D D\n")
            for i, p in enumerate(people):
                rate = (sum(MISS[i]) / n_sites) if with_missing else 0.0
                f.write("%s %s %.4f %s %s %d\n" % (p.fid, p.iid, rate, parent_id(p.father),
                                                  parent_id(p.mother), p.sex))

    write_sample(out + "truth.sample", False)
    write_sample(out + "cohort.sample", True)

    # Truth haplotypes.
    with open(out + "truth.haps", "w") as f:
        for k in range(n_sites):
            row = [CHROM, ids[k], str(bp[k]), a0[k], a1[k]]
            for i in range(n_ind):
                row.append(str(H0[i][k]))
                row.append(str(H1[i][k]))
            f.write(" ".join(row) + "\n")

    def geno(i, k):
        """Unordered genotype: 0, 1, 2 copies of the second allele, -1 missing."""
        if MISS[i][k]:
            return -1
        return H0[i][k] + H1[i][k]

    # VCF.
    vcf_gt = {-1: "./.", 0: "0/0", 1: "0/1", 2: "1/1"}
    with open(out + "cohort.vcf", "w") as f:
        f.write("##fileformat=VCFv4.2\n")
        f.write("##source=sorvane example/simulate.py (scrm coalescent simulation)\n")
        f.write("##contig=<ID=%s>\n" % CHROM)
        f.write('##FORMAT=<ID=GT,Number=1,Type=String,Description="Genotype">\n')
        f.write("#CHROM\tPOS\tID\tREF\tALT\tQUAL\tFILTER\tINFO\tFORMAT\t"
                + "\t".join(p.iid for p in people) + "\n")
        for k in range(n_sites):
            row = [CHROM, str(bp[k]), ids[k], a0[k], a1[k], ".", "PASS", ".", "GT"]
            row.extend(vcf_gt[geno(i, k)] for i in range(n_ind))
            f.write("\t".join(row) + "\n")

    # GEN: three probabilities per sample; all zero means missing.
    gen_probs = {-1: "0 0 0", 0: "1 0 0", 1: "0 1 0", 2: "0 0 1"}
    with open(out + "cohort.gen", "w") as f:
        for k in range(n_sites):
            row = [CHROM, ids[k], str(bp[k]), a0[k], a1[k]]
            row.extend(gen_probs[geno(i, k)] for i in range(n_ind))
            f.write(" ".join(row) + "\n")

    # PED/MAP: missing code "0"; heterozygotes written first allele first.
    with open(out + "cohort.map", "w") as f:
        for k in range(n_sites):
            f.write("%s %s %s %d\n" % (CHROM, ids[k], fmt_cm(cms[k]), bp[k]))
    with open(out + "cohort.ped", "w") as f:
        for i, p in enumerate(people):
            row = [p.fid, p.iid, parent_id(p.father), parent_id(p.mother), str(p.sex), "-9"]
            for k in range(n_sites):
                g = geno(i, k)
                if g < 0:
                    row.append("0 0")
                elif g == 0:
                    row.append(a0[k] + " " + a0[k])
                elif g == 1:
                    row.append(a0[k] + " " + a1[k])
                else:
                    row.append(a1[k] + " " + a1[k])
            f.write(" ".join(row) + "\n")

    # BED/BIM/FAM.
    with open(out + "cohort.bim", "w") as f:
        for k in range(n_sites):
            f.write("%s\t%s\t%s\t%d\t%s\t%s\n" % (CHROM, ids[k], fmt_cm(cms[k]), bp[k], a0[k], a1[k]))
    with open(out + "cohort.fam", "w") as f:
        for p in people:
            f.write("%s %s %s %s %d -9\n" % (p.fid, p.iid, parent_id(p.father), parent_id(p.mother), p.sex))
    bed_code = {-1: 1, 0: 0, 1: 2, 2: 3}
    write_bed(out + "cohort.bed", n_sites, n_ind, lambda k, i: bed_code[geno(i, k)])

    # Sex list, for inputs that carry no sex (VCF).
    with open(out + "cohort.sex", "w") as f:
        for p in people:
            f.write("%s %d\n" % (p.iid, p.sex))

    # Reference panel.
    with open(out + "reference.samples", "w") as f:
        f.write("sample population group sex\n")
        for r in range(args.reference):
            f.write("REF%04d POP1 GRP1 %d\n" % (r + 1, ref_sex[r]))
    with open(out + "reference.legend", "w") as f:
        f.write("id position a0 a1\n")
        for k in range(n_sites):
            f.write("%s %d %s %s\n" % (ids[k], bp[k], a0[k], a1[k]))
    with open(out + "reference.haplotypes", "w") as f:
        for k in range(n_sites):
            f.write(" ".join(str(R[h][k]) for h in range(len(R))) + "\n")

    write_families(out, args, people, H0, H1, MISS, [rel_pos[s] for s, _ in sites], gmap,
                   ids, bp, cms, a0, a1)

    n_missing = sum(sum(m) for m in MISS)
    n_single = sum(1 for p in people if p.role == "single")
    print("simulated sites:      %d" % n_raw)
    print("kept sites:           %d (%d to %d)" % (n_sites, bp[0], bp[-1]))
    print("cohort samples:       %d (%d unrelated, %d trios, %d duos)"
          % (n_ind, n_single, args.trios, args.duos))
    print("reference samples:    %d (%d haplotypes)" % (args.reference, 2 * args.reference))
    print("missing genotypes:    %d (%.3f%%)" % (n_missing, 100.0 * n_missing / (n_ind * n_sites)))
    print("meiotic crossovers:   %d" % crossovers)
    print("map length:           %.4f cM" % gmap.total_cm)

    for depth in LOWCOV_DEPTHS:
        write_lowcov(out, args.seed, depth, LOWCOV_ERROR)
    print("likelihood files:     depths %s, read error %g"
          % (", ".join("%dx" % d for d in LOWCOV_DEPTHS), LOWCOV_ERROR))


if __name__ == "__main__":
    main()
