#!/usr/bin/env python3
"""Compares what a pull costs in this build and in that of another commit.

    against.py OURS EARLIER

Both are folders of bench builds. Runs their bridge and render benchmarks of one pull in turns and
prints one JSON object: of each, the least of every counter over all turns.
"""
import json
import os
import pathlib
import subprocess
import sys
import tempfile

TURNS = 2 if "VELNOR_BENCH_QUICK" in os.environ else 12
# Program, benchmark, and what its counters are called here.
PULLS = (("bridge_bench", "Pull/8", "pull"), ("render_bench", "Pull/2/1", "idle pull"))


def counters_of(program, benchmark, out):
    command = [program, f"--benchmark_filter=^{benchmark}/", f"--benchmark_out={out}", "--benchmark_out_format=json"]
    if subprocess.run(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL).returncode != 0:
        sys.exit(f"against: {program} failed")
    runs = [run for run in json.loads(pathlib.Path(out).read_text())["benchmarks"] if not run.get("error_occurred")]
    if len(runs) != 1:
        sys.exit(f"against: {program} does not measure {benchmark}")
    return {name: value for name, value in runs[0].items() if name.endswith("_ns")}


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    builds = {"ours": sys.argv[1], "earlier": sys.argv[2]}
    least = {}
    with tempfile.TemporaryDirectory() as work:
        for turn in range(TURNS):
            # Who comes second in one turn comes first in the next.
            for side in sorted(builds, reverse=turn % 2 == 1):
                for program, benchmark, name in PULLS:
                    measured = counters_of(f"{builds[side]}/bin/{program}", benchmark, f"{work}/result.json")
                    known = least.setdefault(f"{side} {name}", measured)
                    least[f"{side} {name}"] = {counter: min(known.get(counter, time), time)
                                               for counter, time in measured.items()}
    print(json.dumps(least, indent=1))


main()
