#!/usr/bin/env python3
"""Pairs of heterozygous sites (as calibration.py rates them) that involve a doubleton of the
estimate whose two carriers are in different samples: count, share right, mean PP and share at
singletons of the truth, binned by the stretch over which the two carriers agree around the
doubleton, in sites, bp and cM (the cM from genetic_map.txt beside the estimate).

Usage: doubletons.py TRUTH.haps TRUTH.sample ESTIMATE.vcf
Only the Python standard library is used.
"""
import sys, os
sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from switch_error import read_haps, read_samples
from calibration import read_vcf_pp
truth_haps, truth_sample, est = sys.argv[1:4]
t_samples = read_samples(truth_sample)
t_sites, _ = read_haps(truth_haps, len(t_samples))
e_samples, e_sites = read_vcf_pp(est)
t_index = {s[0]: k for k, s in enumerate(t_samples)}
E = len(e_samples)
L = len(e_sites)
# haplotype strings per haplotype: columns
hap = [bytearray(L) for _ in range(2 * E)]
for l, (pos, ref, alt, calls) in enumerate(e_sites):
    for i, c in enumerate(calls):
        if c is None: continue
        hap[2 * i][l] = 1 if c[0] == "1" else 0
        hap[2 * i + 1][l] = 1 if c[1] == "1" else 0
count = [0] * L
for h in hap:
    for l in range(L):
        count[l] += h[l]
mac = [min(c, 2 * E - c) for c in count]
pos = [s[0] for s in e_sites]
import bisect
gm = [l.split() for l in open(os.path.join(os.path.dirname(est), "genetic_map.txt")) if l[0].isdigit()]
gp = [int(g[0]) for g in gm]; gc = [float(g[2]) for g in gm]
def cm(p):
    i = bisect.bisect_right(gp, p)
    if i == 0: return gc[0]
    if i == len(gp): return gc[-1]
    return gc[i-1] + (gc[i]-gc[i-1]) * (p-gp[i-1]) / (gp[i]-gp[i-1])
cms = [cm(p) for p in pos]
def shared(a, b, l):
    x, y = hap[a], hap[b]
    i = l
    while i - 1 >= 0 and x[i - 1] == y[i - 1]: i -= 1
    j = l
    while j + 1 < L and x[j + 1] == y[j + 1]: j += 1
    return i, j
info = {}
for l in range(L):
    if mac[l] != 2: continue
    minor = 1 if count[l] <= E else 0
    car = [h for h in range(2 * E) if hap[h][l] == minor]
    if len(car) != 2 or car[0] // 2 == car[1] // 2: continue
    i, j = shared(car[0], car[1], l)
    info[l] = (j - i + 1, pos[j] - pos[i], car, cms[j] - cms[i])
# pairs
rows = []
prev = [None] * E
for l, (p, ref, alt, calls) in enumerate(e_sites):
    truth = t_sites.get(p)
    flip = None
    if truth is not None and (truth[0], truth[1]) in ((ref, alt), (alt, ref)):
        flip = (truth[0], truth[1]) != (ref, alt)
        tmac = sum(1 for ch in truth[2] if ch == "1"); tmac = min(tmac, len(truth[2]) - tmac)
    for ek, s in enumerate(e_samples):
        c = calls[ek]
        if c is None or c[0] == c[1]: continue
        tk = t_index[s]
        here = None
        if flip is not None and truth[2][2 * tk] != truth[2][2 * tk + 1]:
            here = ((c[0] == truth[2][2 * tk]) != flip, tmac, l)
        before, prev[ek] = prev[ek], here
        if c[2] is None or here is None or before is None: continue
        right = here[0] == before[0]
        for site in (l, before[2]):
            if site in info:
                rows.append((info[site][0], info[site][1], min(here[1], before[1]), c[2], right, info[site][3]))
                break
import collections
print("pairs with a doubleton of the estimate:", len(rows))
for name, key, bins in (("sites", 0, [0, 5, 10, 20, 40, 80, 160, 320, 10**9]), ("bp", 1, [0, 2000, 5000, 10000, 20000, 50000, 100000, 200000, 10**12]), ("cM", 5, [0, 0.005, 0.01, 0.02, 0.03, 0.05, 0.1, 0.2, 100])):
    print("by shared stretch in", name)
    for lo, hi in zip(bins, bins[1:]):
        sel = [r for r in rows if lo <= r[key] < hi]
        if not sel: continue
        n = len(sel); right = sum(r[4] for r in sel); mpp = sum(r[3] for r in sel) / n
        t1 = sum(1 for r in sel if r[2] == 1)
        hi_pp = [r for r in sel if r[3] >= 0.8]
        print("  %8g-%-10g pairs %6d right %.3f meanPP %.3f truth-singleton %.2f | PP>=0.8: %d right %.3f" % (lo, hi, n, right / n, mpp, t1 / n, len(hi_pp), (sum(r[4] for r in hi_pp) / len(hi_pp)) if hi_pp else 0))
