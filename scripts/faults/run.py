#!/usr/bin/env python3
# Plants each fault of faults.py in turn in a built copy of the repository, rebuilds and
# runs the tests, and appends one JSON line per fault to OUT: the tests that failed.
#
# usage: run.py REPO OUT.jsonl [--first] [--slow] [--prior=BEFORE.jsonl] [--within=REGEX]
#               [FAULT_ID...]
#   REPO has been configured in REPO/build (with ccache, see the developers' guide).
#   The slowest tests (SLOW) run only for a fault of their layers that no other test caught,
#   or for every fault with --slow. With --first a fault's run stops at its first failing
#   test: enough to say it is caught, not which tests catch it. With --prior the tests that
#   caught a fault in that earlier run (those still there) run first, the others only if
#   none of them fails. With --within only the tests whose names match REGEX run: to check
#   that one folder's tests still catch what they caught.
# Not part of `make test`: a run of all faults takes most of an hour on two cores.
import json, os, re, signal, subprocess, sys
sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from faults import FAULTS

SLOW = ["cli_phase_accuracy.DuohmmFamilies", "cli_phase_accuracy.ModelsAndSelections",
        "cli_call.ScaffoldAndRepeatability", "cli_workflow.ChunkedExampleLigates",
        "cli_plot.PlantedFaults"]
# Source folders whose faults the slow tests are there to catch.
SLOW_LAYERS = ("src/models", "src/containers", "src/modules", "src/duohmm", "src/readmine",
               "src/objects/haplotype_pairs", "src/modes/mutincluder", "src/output")

args = [a for a in sys.argv[1:] if not a.startswith("--")]
first, all_slow = "--first" in sys.argv, "--slow" in sys.argv
def flag(name):
    return next((a[len(name) + 3:] for a in sys.argv[1:] if a.startswith("--" + name + "=")), None)
prior_file, within = flag("prior"), flag("within")

def prior(fid):
    # Read again for each fault: the earlier run may still be going.
    if not prior_file: return []
    return next((r.get("failed", []) for r in map(json.loads, open(prior_file)) if r["id"] == fid), [])
repo, out, wanted = os.path.abspath(args[0]), args[1], set(args[2:])
build = os.path.join(repo, "build")
env = dict(os.environ, CCACHE_DIR="/work/.ccache", CCACHE_BASEDIR=repo)
nice = ["nice", "-n", "10"]

def stray():
    # A test ended by its time limit leaves its child running: those processes of this
    # build's binaries are ended one by one, by id.
    exes = {os.path.join(build, b) for b in ("sorvane", "readmine")}
    for p in os.listdir("/proc"):
        if not p.isdigit(): continue
        try:
            if os.readlink("/proc/%s/exe" % p) in exes: os.kill(int(p), signal.SIGKILL)
        except OSError:
            pass

def ctest(select):
    cmd = nice + ["ctest", "-j2", "--timeout", "150"] + select + (["--stop-on-failure"] if first else [])
    r = subprocess.run(cmd, cwd=build, env=env, capture_output=True, text=True)
    stray()
    return re.findall(r"^\s*\d+ - (\S+) \(", r.stdout, re.M)

def exact(names):
    return ["-R", "^(" + "|".join(re.escape(t) for t in names) + ")$"]

def selection(names):
    # ctest arguments running these tests, or None when none of them is allowed
    names = [t for t in names if not within or re.search(within, t)]
    return exact(names) if names else None

def listed():
    r = subprocess.run(["ctest", "-N"], cwd=build, env=env, capture_output=True, text=True)
    return re.findall(r"Test\s+#\d+: (\S+)", r.stdout)

def run(names):
    sel = selection(names)
    return ctest(sel) if sel else []
for fid, layer, path, old, new in FAULTS:
    if wanted and fid not in wanted: continue
    full = os.path.join(repo, path)
    text = open(full).read()
    rec = {"id": fid, "layer": layer}
    if text.count(old) != 1:
        rec["status"] = "not applicable"
    else:
        open(full, "w").write(text.replace(old, new))
        try:
            b = subprocess.run(nice + ["cmake", "--build", build, "-j2"], env=env, capture_output=True, text=True)
            if b.returncode != 0:
                rec["status"] = "build failed"
                rec["log"] = b.stdout[-2000:] + b.stderr[-2000:]
            else:
                rec["status"] = "ok"
                rec["failed"] = []
                rec["failed"] = run(prior(fid))
                if not rec["failed"]:
                    rec["failed"] = run([t for t in listed() if t not in SLOW])
                if all_slow or (not rec["failed"] and path.startswith(SLOW_LAYERS)):
                    rec["failed"] += run(SLOW)
                    rec["slow"] = True
        finally:
            open(full, "w").write(text)
    with open(out, "a") as f: f.write(json.dumps(rec) + "\n")
    print(fid, rec["status"], len(rec.get("failed", [])), flush=True)
subprocess.run(nice + ["cmake", "--build", build, "-j2"], env=env, capture_output=True)
