#!/usr/bin/env python3
# Markdown table of two runs of run.py: per fault, the tests that caught it before and
# whether it is caught after; a fault caught before and not after fails the comparison.
# usage: table.py BEFORE.jsonl AFTER.jsonl
import json, sys
sys.path.insert(0, __import__("os").path.dirname(__import__("os").path.abspath(__file__)))
from faults import FAULTS

def load(name):
    return {r["id"]: r for r in map(json.loads, open(name))}

before, after = load(sys.argv[1]), load(sys.argv[2])
lost = []
print("| fault | layer | tests failing before | caught after |")
print("|---|---|---|---|")
for fid, layer, *_ in FAULTS:
    b, a = before.get(fid, {}), after.get(fid, {})
    nb = len(b.get("failed", []))
    ca = "yes" if a.get("failed") else ("no" if a.get("status") == "ok" else a.get("status", "not run"))
    if nb and ca != "yes": lost.append(fid)
    print("| %s | %s | %d%s | %s |" % (fid, layer, nb, " (slow)" if b.get("slow") else "", ca))
caught_b = sum(1 for r in before.values() if r.get("failed"))
caught_a = sum(1 for r in after.values() if r.get("failed"))
print("\nCaught: %d of %d before, %d of %d after; lost: %s" % (caught_b, len(before), caught_a, len(after), " ".join(lost) or "none"))
sys.exit(1 if lost else 0)
