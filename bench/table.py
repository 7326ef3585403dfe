#!/usr/bin/env python3
"""Prints what the benchmarks measured as one table, each row beside its peer or limit of the same run.

    table.py RESULTS [--quick] [--only-against] [--document FILE]

RESULTS holds NAME_bench.json of each Google Benchmark program, what render_compare.py printed as
render_compare.json and perhaps what against.py printed as against.json; the table's rows go to
table.json there. --document also rewrites the block between the two bench markers of FILE. Exit
status 1 when a row is missing; a missed goal is none.
"""
import argparse
import collections
import json
import os
import pathlib
import platform
import re
import shutil
import subprocess
import sys
import textwrap

import render_compare

Row = collections.namedtuple("Row", "name ours peer goal")
Result = collections.namedtuple("Result", "group name ours peer unit ratio goal met")

# ours and peer are "PROGRAM/BENCHMARK COUNTER", or of the two scripts "COMMAND COUNTER"; the counter's
# ending is its unit. A peer may be a limit in that unit, of which the goal is 1. Without a goal a row
# only reports.


def against_peer(name, benchmark, goal):
    return Row(name, benchmark + " ours_ns", benchmark + " peer_ns", goal)


def sort_rows():
    orders = (("in order", 0.15), ("neighbours swapped", 0.3), ("few strays", 1.1), ("reversed", 1.1), ("random", 1.1))
    for number, (order, goal) in enumerate(orders):
        for count in (8, 64, 512, 1023):
            yield against_peer(f"{count} events, {order}", f"bridge/Sort/{count}/{number}", goal)


def idle_rows():
    for buses in (1, 16):
        for channels in (2, 32):
            for way, counter in (("fast entry", "fast_ns"), ("selector", "selector_ns")):
                benchmark = f"render/Pull/{channels}/{buses}"
                shape = f"{way}, {buses} bus{'es' if buses > 1 else ''} of {channels}"
                yield Row(shape, f"{benchmark} {counter}", f"{benchmark} direct_ns", None)


def song_rows():
    for song in render_compare.SONGS:
        yield Row(song.stem, f"ours {song.stem} cpu_ns", f"fluidsynth {song.stem} cpu_ns", 0.95)


LONG_SONG = render_compare.LONG_SONG.stem

GROUPS = (
    ("Listing an installation registry, against one read and parse of its file",
     [against_peer(f"{n} entr{'y' if n == '1' else 'ies'}", f"registry/ListRegistry/{n}", 1.2) for n in ("1", "100", "1000")]),
    ("MIDI ring, a message in and out, against boost::lockfree::spsc_queue",
     [against_peer("burst of 64", "bridge/RingBurst/64", 0.97),
      against_peer("burst of 1023", "bridge/RingBurst/1023", 0.97),
      against_peer("two threads", "bridge/RingTwoThreads", 0.5)]),
    ("Sorting a block's events, against std::stable_sort", list(sort_rows())),
    ("What a pull adds to the engine's own work, against its limit",
     [Row("empty block, fast entry", "bridge/Pull/8 fast_above_ns", 60, 1),
      Row("empty block, selector", "bridge/Pull/8 selector_above_ns", 60, 1),
      Row("each of 8 events", "bridge/Pull/8 event_ns", 5, 1),
      Row("each of 1023 events", "bridge/Pull/1023 event_ns", 5, 1)]),
    ("The same, against this machine",
     [Row("fast entry / calling the engine", "bridge/Pull/8 fast_ns", "bridge/Pull/8 direct_ns", None),
      Row("selector / calling the engine", "bridge/Pull/8 selector_ns", "bridge/Pull/8 direct_ns", None),
      Row("each of 1023 events / spsc_queue", "bridge/Pull/1023 event_ns", "bridge/RingBurst/1023 peer_ns", None)]),
    ("One pull of each bus of a do-nothing instrument, against a virtual call", list(idle_rows())),
    ("Opening an instrument, against its limit",
     [Row("1 entry in the registry", "bridge/Open/1 ours_ns", 150e3, 1),
      Row("100 entries", "bridge/Open/100 ours_ns", 600e3, 1)]),
    ("Opening an instrument, against one read and parse of the registry's file",
     [against_peer("1 entry in the registry", "bridge/Open/1", None),
      against_peer("100 entries", "bridge/Open/100", None)]),
    ("velnor-host render SONG -o OUT, a whole song's processor time, against fluidsynth -F", list(song_rows())),
    (f"velnor-host render, {LONG_SONG}",
     [Row("CPU of --quality best, against the default", "best cpu_ns", f"ours {LONG_SONG} cpu_ns", None),
      Row("CPU, 60 s, against a minimal program on libfluidsynth", "60 s cpu_ns", "minimal cpu_ns", 1.02),
      Row("CPU to the first block, against fluidsynth -F", f"ours {LONG_SONG} first_block_ns",
          f"fluidsynth {LONG_SONG} first_block_ns", 0.5),
      Row("peak memory, whole song, against fluidsynth -F", f"ours {LONG_SONG} peak_kib", f"fluidsynth {LONG_SONG} peak_kib", 1.00),
      Row("peak memory, 60 s, against a minimal program on libfluidsynth", "60 s peak_kib", "minimal peak_kib", None)]),
)

AGAINST = (
    ("One pull, against another commit's build in the same run",
     [Row("fast entry", "ours pull fast_ns", "earlier pull fast_ns", 0.70),
      Row("selector", "ours pull selector_ns", "earlier pull selector_ns", 0.75),
      Row("fast entry, less calling the engine", "ours pull fast_above_ns", "earlier pull fast_above_ns", None),
      Row("selector, less calling the engine", "ours pull selector_above_ns", "earlier pull selector_above_ns", None),
      Row("fast entry, do-nothing instrument", "ours idle pull fast_ns", "earlier idle pull fast_ns", None),
      Row("selector, do-nothing instrument", "ours idle pull selector_ns", "earlier idle pull selector_ns", None)]),
)


def groups_for(results, only_against):
    compared = AGAINST if (results / "against.json").exists() else ()
    return compared if only_against else GROUPS + compared


def counters_in(results):
    """The least over the repetitions of every counter; render_compare.py gives medians."""
    samples = collections.defaultdict(list)
    context = {}
    for file in sorted(results.glob("*_bench.json")):
        document = json.loads(file.read_text())
        context = document["context"]
        for run in document["benchmarks"]:
            if run["run_type"] == "iteration" and not run.get("error_occurred"):
                name = re.sub(r"/(iterations:\d+|real_time|repeats:\d+)", "", run["name"])
                for counter in run:
                    if counter.endswith("_ns"):
                        samples[f"{file.name.removesuffix('_bench.json')}/{name} {counter}"].append(run[counter])
    for compared in (results / "render_compare.json", results / "against.json"):
        for command, counters in json.loads(compared.read_text()).items() if compared.exists() else ():
            for counter, value in counters.items():
                samples[f"{command} {counter}"].append(value)
    return {name: min(values) for name, values in samples.items()}, context


def results_of(counters, groups):
    for group, rows in groups:
        for row in rows:
            ours = counters.get(row.ours)
            peer = row.peer if isinstance(row.peer, (int, float)) else counters.get(row.peer)
            ratio = ours / peer if ours is not None and peer else None
            met = None if row.goal is None or ratio is None else ratio <= row.goal
            yield Result(group, row.name, ours, peer, "KiB" if row.ours.endswith("_kib") else "ns", ratio, row.goal, met)


def quantity(value, unit):
    if value is None:
        return "missing"
    steps = (("KiB", 1), ("MiB", 1024)) if unit == "KiB" else (("ns", 1), ("us", 1e3), ("ms", 1e6), ("s", 1e9))
    name, scale = [step for step in steps if value >= step[1]][-1:][0] if value >= 1 else steps[0]
    return f"{value / scale:#.3g}".rstrip(".") + " " + name


def cells(result):
    ratio = "missing" if result.ratio is None else f"{result.ratio:.2f}"
    goal = "" if result.goal is None else f"<= {result.goal:.2f}"
    met = "" if result.met is None else "met" if result.met else "missed"
    return quantity(result.ours, result.unit), quantity(result.peer, result.unit), ratio, goal, met


def goals_met(results):
    goals = [result for result in results if result.met is not None]
    missed = [f"{result.name} ({result.ratio:.2f}, goal {result.goal:.2f})" for result in goals if not result.met]
    return f"{len(goals) - len(missed)} of {len(goals)} goals met" + (f"; missed: {', '.join(missed)}." if missed else ".")


def print_table(results, quick):
    terminal = sys.stdout.isatty()
    bold, plain = ("\033[1m", "\033[0m") if terminal and not os.environ.get("NO_COLOR") else ("", "")
    columns = shutil.get_terminal_size().columns if terminal else 80
    room = max(32, min(columns - 46, max(len(result.name) for result in results)))
    if quick:
        print("A smoke run: too short for its figures to mean anything.")
    print(f"{'':{room + 2}} {'measured':>9} {'peer or':>9}")
    print(f"{'':{room + 2}} {'':>9} {'limit':>9} {'ratio':>7} {'goal':>8}")
    group = None
    for result in results:
        if result.group != group:
            group = result.group
            print(f"{bold}{group}{plain}")
        *above, last = textwrap.wrap(result.name, room)
        for line in above:
            print("  " + line)
        measured, peer, ratio, goal, met = cells(result)
        line = f"  {last:{room}} {measured:>9} {peer:>9} {ratio:>7} {goal:>8} "
        print((line + (f"{bold}missed{plain}" if met == "missed" else met)).rstrip())
    print(goals_met(results))


def machine(context):
    model = re.search(r"model name\s*:\s*(.+)", pathlib.Path("/proc/cpuinfo").read_text())
    compiler = subprocess.run(["c++", "--version"], capture_output=True, text=True, check=True).stdout.splitlines()[0]
    load = context["load_avg"][0] if context.get("load_avg") else os.getloadavg()[0]
    return (f"Measured on {context['date'][:10]}: {context['num_cpus']} processors ({model[1] if model else platform.machine()}), "
            f"{compiler}; load average {load:.1f} while measuring.")


def rewrite(document, results, context):
    lines = [*textwrap.wrap(machine(context) + " " + goals_met(results), 100), "", "| | ratio | goal | | measured | peer or limit |",
             "|---|---:|---:|---|---:|---:|"]
    group = None
    for result in results:
        if result.group != group:
            group = result.group
            lines.append(f"| **{group}** | | | | | |")
        measured, peer, ratio, goal, met = cells(result)
        lines.append(f"| {result.name} | {ratio} | {goal.replace('<=', '≤')} | {met} | {measured} | {peer} |")
    text = document.read_text()
    begin, end = "<!-- bench: begin -->\n", "<!-- bench: end -->"
    if text.count(begin) != 1 or text.count(end) != 1:
        sys.exit(f"table: {document} has no pair of bench markers")
    head, rest = text.split(begin)
    document.write_text(head + begin + "\n".join(lines) + "\n" + end + rest.split(end)[1])


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("results", type=pathlib.Path)
    parser.add_argument("--quick", action="store_true", help="say that the run was too short to mean anything")
    parser.add_argument("--only-against", action="store_true", help="only the rows of against.py")
    parser.add_argument("--document", type=pathlib.Path, help="rewrite the table in this document too")
    options = parser.parse_args()
    counters, context = counters_in(options.results)
    results = list(results_of(counters, groups_for(options.results, options.only_against)))
    (options.results / "table.json").write_text(json.dumps([result._asdict() for result in results], indent=1) + "\n")
    print_table(results, options.quick)
    missing = [result for result in results if result.ratio is None]
    for result in missing:
        print(f"table: nothing measured for: {result.group}: {result.name}", file=sys.stderr)
    if missing:
        sys.exit(1)
    if options.document:
        rewrite(options.document, results, context)


main()
