#!/usr/bin/env python3
"""Pairs of heterozygous sites (as calibration.py rates them) at a rare allele of the estimate
(minor allele count 2 to MAX, default 5) that another sample carries too: per count and by the
most bp over which the sample's carrier haplotype agrees with another sample's carrier around
the site, the pairs, their share right, their mean PP and their share at singletons of the truth.

Usage: rare_spans.py TRUTH.haps TRUTH.sample ESTIMATE.vcf [MAX]
Only the Python standard library is used.
"""
import sys, os
sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from switch_error import read_haps, read_samples
from calibration import read_vcf_pp
truth_haps, truth_sample, est = sys.argv[1:4]
most = int(sys.argv[4]) if len(sys.argv) > 4 else 5
t_samples = read_samples(truth_sample)
t_sites, _ = read_haps(truth_haps, len(t_samples))
e_samples, e_sites = read_vcf_pp(est)
t_index = {s[0]: k for k, s in enumerate(t_samples)}
L, H = len(e_sites), 2 * len(e_samples)
hap = [bytearray(L) for _ in range(H)]
for l, (pos, ref, alt, calls) in enumerate(e_sites):
    for i, c in enumerate(calls):
        if c is not None:
            hap[2 * i][l], hap[2 * i + 1][l] = c[0] == "1", c[1] == "1"
pos = [s[0] for s in e_sites]

def shared(a, b, l):
    x, y, i, j = hap[a], hap[b], l, l
    while i > 0 and x[i - 1] == y[i - 1]: i -= 1
    while j + 1 < L and x[j + 1] == y[j + 1]: j += 1
    return pos[j] - pos[i]

# (site, carrier haplotype) -> (longest bp shared with another sample's carrier, minor count)
span = {}
for l in range(L):
    ones = sum(h[l] for h in hap)
    count = min(ones, H - ones)
    if count < 2 or count > most: continue
    minor = 1 if ones <= H - ones else 0
    carriers = [h for h in range(H) if hap[h][l] == minor]
    for a in carriers:
        others = [shared(a, b, l) for b in carriers if b // 2 != a // 2]
        if others: span[(l, a)] = (max(others), count)
t_count = {p: min(d.count("1"), len(d) - d.count("1")) for p, (a0, a1, d) in t_sites.items()}
rows = []
for i, s in enumerate(e_samples):
    ti, prev = t_index[s], None
    for l, (p, ref, alt, calls) in enumerate(e_sites):
        c = calls[i]
        if c is None or c[0] == c[1]: continue
        t, here = t_sites.get(p), None
        if t and (t[0], t[1]) in ((ref, alt), (alt, ref)) and t[2][2 * ti] != t[2][2 * ti + 1]:
            here = ((c[0] == t[2][2 * ti]) != ((t[0], t[1]) != (ref, alt)), l)
        before, prev = prev, here
        if c[2] is None or here is None or before is None: continue
        found = [span[(x, h)] + (t_count.get(pos[x]),) for x in (before[1], l) for h in (2 * i, 2 * i + 1) if (x, h) in span]
        if found:
            bp, count, truth = min(found)
            rows.append((bp, count, c[2], here[0] == before[0], truth == 1))
print("pairs at an allele of count 2 to %d:" % most, len(rows))
bins = [0, 2000, 5000, 10000, 20000, 50000, 100000, 200000, 10 ** 12]
for count in range(2, most + 1):
    print("count", count)
    for lo, hi in zip(bins, bins[1:]):
        sel = [r for r in rows if r[1] == count and lo <= r[0] < hi]
        if sel:
            n = len(sel)
            print("  %7d-%-12d pairs %5d right %.3f meanPP %.3f truth-singleton %.2f" % (lo, hi, n, sum(r[3] for r in sel) / n, sum(r[2] for r in sel) / n, sum(r[4] for r in sel) / n))
