#!/usr/bin/env python3
"""Expected share of thread time spent waiting at the ends of batches, for other thread
counts and batch sizes, from the per-individual times that a phasing log records.

Usage: python3 bench/batch_idle.py LOG [--threads 2,16,64] [--per-thread 1,2,4,8,16]
                                        [--individuals N] [--repeats R] [--seed S]

The log line "Processor seconds per individual in K batches of B on T threads (S s opening
and closing batches): mean m, quantiles 0%:x ..." gives the distribution of the work of one
individual (processor time, which leaves out the time a busy machine took the thread off);
individuals are drawn from it (log-linear between the quantiles), cut into batches of B, and
each batch is run as the workers run it: every individual goes to the first worker free, and
the batch ends with its slowest worker, after which the calling thread closes it and opens
the next (its measured seconds per individual of a batch, while the others wait). Within a
batch the individuals come in random order ("random") or by decreasing time ("sorted"),
which bound the order by estimated work that the phaser uses.
"""
import argparse
import bisect
import heapq
import math
import random
import re
import sys

LINE = re.compile(r"Processor seconds per individual in (\d+) batches of (\d+) on (\d+) threads \(([0-9.e+-]+) s opening"
                  r" and closing batches\): mean ([0-9.e+-]+), quantiles (.*)$", re.M)


def read_log(path):
    with open(path) as f:
        text = f.read()
    m = None
    for m in LINE.finditer(text):
        pass
    if m is None:
        sys.exit(f"{path}: no line of per-individual times")
    batches, batch, threads = int(m.group(1)), int(m.group(2)), int(m.group(3))
    serial, mean = float(m.group(4)), float(m.group(5))
    points = [(float(q.rstrip("%")) / 100, float(x)) for q, x in (p.split("%:") for p in m.group(6).split())]
    waited = re.findall(r"Threads waited at the ends of batches for ([0-9.]+) %", text)
    return dict(batches=batches, batch=batch, threads=threads, serial=serial, mean=mean, points=points,
                waited=float(waited[-1]) if waited else None)


def sampler(points, rng):
    qs = [q for q, _ in points]
    logs = [math.log(x) for _, x in points]

    def draw():
        u = rng.random()
        k = min(max(bisect.bisect_right(qs, u), 1), len(qs) - 1)
        q0, q1 = qs[k - 1], qs[k]
        t = 0.0 if q1 == q0 else (u - q0) / (q1 - q0)
        return math.exp(logs[k - 1] + t * (logs[k] - logs[k - 1]))
    return draw


def idle_share(times, threads, batch, serial_per_item, ordered):
    wall = 0.0
    for first in range(0, len(times), batch):
        items = times[first:first + batch]
        if ordered:
            items = sorted(items, reverse=True)
        free = [0.0] * threads
        for t in items:
            heapq.heapreplace(free, free[0] + t)
        wall += max(free) + serial_per_item * len(items)
    return 1.0 - sum(times) / (threads * wall)


def main():
    ap = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    ap.add_argument("log")
    ap.add_argument("--threads", default="2,16,64")
    ap.add_argument("--per-thread", default="1,2,4,8,16")
    ap.add_argument("--individuals", type=int, default=5000)
    ap.add_argument("--repeats", type=int, default=20)
    ap.add_argument("--seed", type=int, default=1)
    a = ap.parse_args()
    d = read_log(a.log)
    rng = random.Random(a.seed)
    draw = sampler(d["points"], rng)
    serial_per_item = d["serial"] / (d["batches"] * d["batch"])
    print(f"{a.log}: measured on {d['threads']} threads, batches of {d['batch']}, mean {d['mean']:.3g} s an individual,"
          f" {serial_per_item:.3g} s an individual opening and closing; waited {d['waited']} %")
    print("threads  batch  waiting % (random order)  waiting % (sorted)")
    for T in map(int, a.threads.split(",")):
        for k in map(int, a.per_thread.split(",")):
            B = k * T
            shares = {True: [], False: []}
            for _ in range(a.repeats):
                times = [draw() for _ in range(a.individuals)]
                for ordered in shares:
                    shares[ordered].append(idle_share(times, T, B, serial_per_item, ordered))
            mean = {o: 100 * sum(v) / len(v) for o, v in shares.items()}
            print(f"{T:7d}  {B:5d}  {mean[False]:24.1f}  {mean[True]:18.1f}")


if __name__ == "__main__":
    main()
