#!/usr/bin/python3
"""Mutation testing: does the test suite notice a realistic fault?

Each mutant in mutants.txt is one textual change to one file. For every
mutant this script copies the tracked tree into a scratch folder (once, then
only files whose content changed), applies the change, rebuilds incrementally,
runs the ctest labels of the mutant's area and restores the file. A mutant is
killed when a test fails (or the build refuses it, which is counted apart);
it survives when every test passes. Prints one line per mutant, the kill rate
per area and the survivors.

  tools/mutants/run_mutants.py                 all mutants
  tools/mutants/run_mutants.py --sample        the fixed CI sample (entries with `sample: yes`)
  tools/mutants/run_mutants.py --only NAME...  the named mutants
  tools/mutants/run_mutants.py --markdown      also print the table as Markdown

Exit status: 0 when no mutant survived (mutants marked `equivalent:` aside),
1 when one did, 2 on a bad mutant list or a scratch build that fails.
"""
import argparse
import json
import os
import shutil
import subprocess
import sys
import time
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
LIST = Path(__file__).resolve().parent / "mutants.txt"
SCRATCH = ROOT / "build" / "mutants" / "src"
BUILD = SCRATCH / "build" / "release"

# ctest labels each area's mutants are checked with.
# ctest labels each area's mutants are checked with (a mutant may name others).
AREA_LABELS = {
    "frame": "frame",
    "effect": "effect|voicing",
    "dsp": "dsp|voicing|golden",
    "cli": "cli",
    "lv2": "lv2",
}
# A mutant changes `find` into `into` in `file`, and optionally findN into
# intoN in fileN for N = 2..4 (one fault spelled in several places, e.g. in
# both engines).
EDIT_KEYS = [("file", "find", "into")] + [(f"file{n}", f"find{n}", f"into{n}") for n in (2, 3, 4)]
KEYS = {"name", "area", "why", "labels", "sample", "equivalent"} | {k for keys in EDIT_KEYS for k in keys}


class ListError(Exception):
    pass


def parse_list(text):
    """Blocks separated by blank lines; `key: value` lines; `#` lines are comments.
    A value continues on following lines that start with '| ' (the rest verbatim)."""
    mutants, block, last = [], {}, None
    for number, raw in enumerate(text.splitlines() + [""], 1):
        line = raw.rstrip("\n")
        if line.startswith("#"):
            continue
        if not line.strip():
            if block:
                mutants.append(block)
            block, last = {}, None
            continue
        if line.startswith("| ") and last:
            block[last] += "\n" + line[2:]
            continue
        key, sep, value = line.partition(": ")
        if not sep or key not in KEYS:
            raise ListError(f"mutants.txt:{number}: expected 'key: value' with key in {sorted(KEYS)}")
        block[key] = value
        last = key
    for m in mutants:
        for key in ("name", "area", "file", "find", "into", "why"):
            if key not in m:
                raise ListError(f"mutant {m.get('name', '?')}: no '{key}'")
        for keys in EDIT_KEYS[1:]:
            if len({k in m for k in keys}) != 1:
                raise ListError(f"mutant {m['name']}: {', '.join(keys)} go together")
        if m["area"] not in AREA_LABELS:
            raise ListError(f"mutant {m['name']}: unknown area {m['area']}")
    names = [m["name"] for m in mutants]
    if len(set(names)) != len(names):
        raise ListError("mutant names are not unique")
    return mutants


def run(cmd, cwd, log, timeout=None):
    with open(log, "ab") as out:
        out.write(("\n$ " + " ".join(cmd) + "\n").encode())
        out.flush()
        try:
            return subprocess.run(cmd, cwd=cwd, stdout=out, stderr=subprocess.STDOUT, timeout=timeout).returncode
        except subprocess.TimeoutExpired:
            return 124


def sync_scratch():
    """Copies every tracked file whose content differs into the scratch tree,
    stamped with the current time so that the build sees it changed (a file
    left mutated by an interrupted run is restored the same way)."""
    files = subprocess.run(["git", "ls-files", "-z"], cwd=ROOT, check=True, capture_output=True).stdout
    for name in filter(None, files.decode().split("\0")):
        source, target = ROOT / name, SCRATCH / name
        if not source.is_file():
            continue
        if target.is_file() and target.read_bytes() == source.read_bytes():
            continue
        target.parent.mkdir(parents=True, exist_ok=True)
        shutil.copyfile(source, target)
        shutil.copymode(source, target)


def executables(labels):
    """The test programs ctest runs for these labels (targets to rebuild)."""
    out = subprocess.run(["ctest", "--test-dir", str(BUILD), "--show-only=json-v1", "-L", labels],
                         capture_output=True, text=True)
    names = set()
    for test in json.loads(out.stdout or '{"tests": []}').get("tests", []):
        program = Path(test.get("command", [""])[0])
        if program.parent.is_relative_to(BUILD) and program.suffix == "":
            names.add(program.name)
    return sorted(names) or ["all"]


def edits(mutant):
    """(file, find, into) of each change the mutant makes."""
    return [(mutant[f], mutant[a], mutant[b]) for f, a, b in EDIT_KEYS if f in mutant]


def check(mutant, log):
    """Applies, rebuilds, tests, restores. Returns killed / survived / broken."""
    originals = {name: (SCRATCH / name).read_text() for name, _, _ in edits(mutant)}
    labels = mutant.get("labels", AREA_LABELS[mutant["area"]])
    try:
        for name, find, into in edits(mutant):
            path = SCRATCH / name
            path.write_text(path.read_text().replace(find, into))
        with open(log, "a") as out:
            out.write(f"\n==== mutant {mutant['name']}\n")
        if run(["cmake", "--build", str(BUILD), "--target", *executables(labels)], SCRATCH, log) != 0:
            return "broken"
        # Every test of these labels takes seconds; a mutant that hangs one is
        # killed by the time limit.
        status = run(["ctest", "--test-dir", str(BUILD), "-L", labels, "--stop-on-failure",
                      "--timeout", "60", "-j", str(os.cpu_count() or 2)], SCRATCH, log)
        return "killed" if status != 0 else "survived"
    finally:
        for name, text in originals.items():
            (SCRATCH / name).write_text(text)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--sample", action="store_true", help="only the fixed CI sample")
    parser.add_argument("--only", nargs="+", metavar="NAME", help="only these mutants")
    parser.add_argument("--markdown", action="store_true", help="print the summary as a Markdown table too")
    args = parser.parse_args()
    try:
        mutants = parse_list(LIST.read_text())
    except ListError as error:
        print(f"run_mutants: {error}", file=sys.stderr)
        return 2
    if args.sample:
        mutants = [m for m in mutants if m.get("sample") == "yes"]
    if args.only:
        unknown = set(args.only) - {m["name"] for m in mutants}
        if unknown:
            print(f"run_mutants: no such mutant: {', '.join(sorted(unknown))}", file=sys.stderr)
            return 2
        mutants = [m for m in mutants if m["name"] in args.only]

    SCRATCH.mkdir(parents=True, exist_ok=True)
    log = SCRATCH.parent / "mutants.log"
    log.write_text("")
    sync_scratch()
    for m in mutants:  # every change must apply before any is tried
        for name, find, _ in edits(m):
            found = (SCRATCH / name).read_text().count(find) if (SCRATCH / name).is_file() else 0
            if found != 1:
                print(f"run_mutants: mutant {m['name']}: '{find}' occurs {found} times in {name} "
                      "(must be once)", file=sys.stderr)
                return 2
    env_launcher = {"CMAKE_CXX_COMPILER_LAUNCHER": "ccache", "CMAKE_C_COMPILER_LAUNCHER": "ccache"}
    if shutil.which("ccache"):
        os.environ.update({k: os.environ.get(k, v) for k, v in env_launcher.items()})
        os.environ.setdefault("CCACHE_BASEDIR", str(ROOT))
    labels = "|".join(sorted({m.get("labels", AREA_LABELS[m["area"]]) for m in mutants}))
    if (run(["cmake", "--preset", "release"], SCRATCH, log) != 0 or
            run(["cmake", "--build", str(BUILD)], SCRATCH, log) != 0 or
            run(["ctest", "--test-dir", str(BUILD), "-L", labels, "--timeout", "300",
                 "-j", str(os.cpu_count() or 2)], SCRATCH, log) != 0):
        print(f"run_mutants: the unmutated scratch tree does not build or pass its tests; see {log}",
              file=sys.stderr)
        return 2

    results, started = [], time.time()
    for m in mutants:
        t0 = time.time()
        outcome = check(m, log)
        results.append((m, outcome))
        print(f"{outcome.upper():9} {m['area']:7} {m['name']:32} {time.time() - t0:5.0f} s  {m['why']}",
              flush=True)
    return report(results, time.time() - started, args.markdown)


def report(results, seconds, markdown):
    areas = sorted({m["area"] for m, _ in results})
    rows = []
    for area in areas + ["all"]:
        mine = [(m, o) for m, o in results if area in ("all", m["area"])]
        counted = [(m, o) for m, o in mine if not (o == "survived" and "equivalent" in m)]
        killed = sum(o != "survived" for _, o in counted)
        equivalent = len(mine) - len(counted)
        rate = 100.0 * killed / len(counted) if counted else 100.0
        rows.append((area, len(mine), killed, equivalent, rate))
    print(f"\n{'area':8} {'mutants':>7} {'killed':>6} {'equivalent':>10} {'kill rate':>9}")
    for area, total, killed, equivalent, rate in rows:
        print(f"{area:8} {total:7} {killed:6} {equivalent:10} {rate:8.1f}%")
    if markdown:
        print("\n| area | mutants | killed | equivalent | kill rate |\n|---|---:|---:|---:|---:|")
        for area, total, killed, equivalent, rate in rows:
            print(f"| {area} | {total} | {killed} | {equivalent} | {rate:.1f}% |")
    broken = [m["name"] for m, o in results if o == "broken"]
    if broken:
        print(f"\nrefused by the compiler (counted as killed): {', '.join(broken)}")
    for m, o in results:
        if o == "survived" and "equivalent" in m:
            print(f"equivalent: {m['name']}: {m['equivalent']}")
    survivors = [m for m, o in results if o == "survived" and "equivalent" not in m]
    for m in survivors:
        print(f"SURVIVOR: {m['name']} ({m['file']}): {m['why']}")
    print(f"\n{len(results)} mutants in {seconds:.0f} s")
    return 1 if survivors else 0


if __name__ == "__main__":
    sys.exit(main())
