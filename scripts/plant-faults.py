#!/usr/bin/env python3
"""Plants faults in the code, one at a time, and counts how many the tests catch.

  scripts/plant-faults.py [--check] [--own] [--survivors] [--preset P] [--only NAME...] [LAYER...]

scripts/faults/LAYER.txt holds a layer's faults: what a developer could get wrong and a user would feel.

  # a comment
  == short-name: what a user would feel
  !! caught by: tsan                  (only where the 64-bit tests cannot see it: asan, tsan, rtsan, effects)
  -- path/to/File.cpp
  the lines as they stand, which occur once in the file
  ->
  the lines to take their place, or none

A fault may change several places: each begins with its own "--" line.

The tree is copied to build/faults/tree, where each fault is planted, built and tested: the layer's own
test program first, then those of the layers above it, until a test fails. A test that fails is run a
second time by itself, as CTest runs it, and must fail again: what comes and goes catches nothing. What
does not end in time counts as caught. Results stand in build/faults/LAYER.json.

Exit status 1: less than 92% of a layer's faults are caught, or a fault does not fit the code or build.
"""
import argparse
import fcntl
import hashlib
import json
import os
import pathlib
import re
import resource
import shutil
import signal
import subprocess
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
FAULTS = ROOT / "scripts" / "faults"
WORK = ROOT / "build" / "faults"
TREE = WORK / "tree"
LEAST_FAULTS = 20
LEAST_SHARE = 0.92
LARGEST_FILE = 16 << 30  # sparse, in tests of long files
JOBS = os.cpu_count() or 1
# A layer's own tests first, then those of the layers above it.
PROGRAMS = {
    "platform": ["platform_tests", "support_tests", "framework_tests", "bridge_tests", "allocation_fault_tests",
                 "soundfont_tests", "host_tests"],
    "support": ["support_tests", "bridge_tests", "allocation_fault_tests", "host_tests"],
    "framework": ["framework_tests", "bridge_tests", "allocation_fault_tests", "soak_tests", "host_tests"],
    "bridge": ["bridge_tests", "allocation_fault_tests", "soak_tests", "host_tests"],
    "host": ["host_tests"],
    "soundfont": ["soundfont_tests", "soak_tests", "host_tests"],
}
# Presets that a fault may name. The effects of functions are checked by compiling.
EFFECTS = "effects"
PRESETS = {"lp64", "asan", "tsan", "rtsan", EFFECTS}
EFFECT_TARGETS = ["velnor_component", "soundfont_engine"]


class Fault:
    def __init__(self, layer, name, effect):
        self.layer, self.name, self.effect = layer, name, effect
        self.preset = "lp64"
        self.edits = []  # [path, old lines, new lines]

    def planted(self):
        """The changed files' texts; raises ValueError where an old text does not occur once."""
        texts = {}
        for path, old, new in self.edits:
            if path not in texts:
                if not (ROOT / path).is_file():
                    raise ValueError(f"there is no {path}")
                texts[path] = "\n" + (ROOT / path).read_text()
            before = "\n" + "\n".join(old) + "\n"
            # Adjacent occurrences share a line's end, which count() would miss.
            count = len(re.findall(f"(?={re.escape(before)})", texts[path]))
            if not old or count != 1:
                raise ValueError(f"the old text occurs {count} times in {path}")
            texts[path] = texts[path].replace(before, "\n" + "".join(line + "\n" for line in new))
        return {path: text[1:] for path, text in texts.items()}


def read_faults(layer):
    """The layer's faults, and what is wrong with its file."""
    path = FAULTS / f"{layer}.txt"
    if not path.exists():
        return [], [f"there is no {path.relative_to(ROOT)}"]
    faults, wrong, part = [], [], None
    for number, line in enumerate(path.read_text().splitlines(), 1):
        place = f"{path.relative_to(ROOT)}:{number}"
        if line.startswith("== "):
            match = re.fullmatch(r"== ([a-z0-9]+(?:-[a-z0-9]+)*): (\S.*)", line)
            if not match:
                wrong.append(f"{place}: not '== short-name: what a user would feel'")
            faults.append(Fault(layer, *(match.groups() if match else ("", ""))))
            part = None
        elif not faults:
            if line.strip() and not line.startswith("#"):
                wrong.append(f"{place}: stands before the first fault")
        elif line.startswith("-- "):
            faults[-1].edits.append([line[3:].strip(), [], []])
            part = 1
        elif line.startswith("!! caught by: ") and part is None:
            faults[-1].preset = line.removeprefix("!! caught by: ").strip()
            if faults[-1].preset not in PRESETS:
                wrong.append(f"{place}: unknown preset")
        elif line == "->" and part == 1:
            part = 2
        elif part == 1 or (part == 2 and not re.match("# |#$", line)):
            faults[-1].edits[-1][part].append(line)
    for fault in faults:
        for edit in fault.edits:
            while edit[2] and not edit[2][-1].strip():
                edit[2].pop()
        try:
            if not fault.edits or any(old == new for _, old, new in fault.edits):
                raise ValueError("it changes nothing")
            fault.planted()
        except ValueError as error:
            wrong.append(f"{path.relative_to(ROOT)}: {fault.name}: {error}")
    names = [fault.name for fault in faults]
    wrong += [f"{path.relative_to(ROOT)}: {name} stands twice" for name in sorted(set(names)) if names.count(name) > 1]
    if len(faults) < LEAST_FAULTS:
        wrong.append(f"{path.relative_to(ROOT)}: {len(faults)} faults, at least {LEAST_FAULTS} are wanted")
    return faults, wrong


def refresh_copy():
    """Makes the copy what the checkout is, leaving alone what has not changed; a digest of it all."""
    listed = subprocess.run(["git", "ls-files", "-z", "-co", "--exclude-standard"], cwd=ROOT, check=True,
                            capture_output=True, text=True).stdout.split("\0")
    names = sorted({name for name in listed if name and (ROOT / name).is_file()})
    digest = hashlib.sha256()
    for name in names:
        content = (ROOT / name).read_bytes()
        copy = TREE / name
        if not copy.is_file() or copy.read_bytes() != content:
            copy.parent.mkdir(parents=True, exist_ok=True)
            copy.write_bytes(content)
        shutil.copymode(ROOT / name, copy)
        if not name.startswith(("scripts/", "docs/")) or name == "docs/formats.md":
            digest.update(name.encode() + b"\0" + hashlib.sha256(content).digest())
    known = set(names)
    for folder, folders, files in os.walk(TREE):
        if pathlib.Path(folder) == TREE:
            folders[:] = [name for name in folders if name not in {"build", ".git"}]
        for name in files:
            path = pathlib.Path(folder, name)
            if str(path.relative_to(TREE)) not in known:
                path.unlink()
    return digest.hexdigest()


class TestTree:
    """The copy's build of one preset, and the tests of it."""

    def __init__(self, preset):
        self.preset = preset
        self.name = "clang" if preset == EFFECTS else preset
        self.build_folder = TREE / "build" / self.name
        self.log = WORK / f"{preset}.log"
        self.limits = {}
        self.configured = False

    def run(self, command, limit, log, environment=None):
        """The exit status, or None when it did not end in time; nothing that it started goes on."""
        def limit_resources():
            resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
            resource.setrlimit(resource.RLIMIT_FSIZE, (LARGEST_FILE, LARGEST_FILE))
        with open(log, "wb") as output:
            process = subprocess.Popen(command, cwd=TREE, stdin=subprocess.DEVNULL, stdout=output,
                                       stderr=subprocess.STDOUT, start_new_session=True,
                                       env=environment, preexec_fn=limit_resources)
        try:
            return process.wait(limit)
        except subprocess.TimeoutExpired:
            return None
        finally:
            try:
                os.killpg(process.pid, signal.SIGKILL)
            except ProcessLookupError:
                pass
            process.wait()

    def build(self, targets):
        if not self.configured:
            # A test program is not linked anew when the library that it loads changes.
            command = ["cmake", "--preset", self.name, "-DCMAKE_LINK_DEPENDS_NO_SHARED=ON"]
            if self.run(command, 600, self.log) != 0:
                return False
            self.configured = True
        return self.run(["ninja", "-C", str(self.build_folder), "-j", str(JOBS), *targets], 3600, self.log) == 0

    def environment(self, temporary, **more):
        shutil.rmtree(temporary, ignore_errors=True)
        temporary.mkdir(parents=True)
        return {**os.environ, "TMPDIR": str(temporary), "ASAN_OPTIONS": "allocator_may_return_null=1",
                "GTEST_BRIEF": "0", "GTEST_COLOR": "no", **more}

    def failing_test(self, program, passed_over, only=None):
        """None when all pass, else the test that fails and whether it did not end in time."""
        log = WORK / "test.log"
        memory = pathlib.Path("/dev/shm")
        temporary = (memory if os.access(memory, os.W_OK) else WORK) / f"velnor-faults.{os.getpid()}"
        pattern = only or "-" + ":".join(passed_over)
        limit = self.limits.get(program, 900)
        command = [str(self.build_folder / "bin" / program), "--gtest_fail_fast", "--gtest_shuffle=0",
                   f"--gtest_filter={pattern}"]
        status = self.run(command, min(limit, 300) if only else limit, log, self.environment(temporary))
        shutil.rmtree(temporary, ignore_errors=True)
        if status == 0:
            return None
        text = log.read_text(errors="replace")
        began = re.findall(r"\[ RUN      \] (\S+)", text)
        failed = re.findall(r"\[  FAILED  \] ([\w/]+\.[\w/]+)", text)
        return (failed or began or [only or "its start"])[0 if failed else -1], status is None

    def catcher(self, program, first=None):
        """The test of the program that catches the fault, or None. The test that caught it before goes first."""
        if first and (failing := self.failing_test(program, [], first)):
            return describe(program, failing)
        passed_over = []
        while len(passed_over) < 5 and (failing := self.failing_test(program, passed_over)):
            name, timed_out = failing
            if timed_out or name == "its start" or self.failing_test(program, [], name):
                return describe(program, failing)
            print(f"    {program}: {name} failed, but not by itself", flush=True)
            passed_over.append(name)
        return None

    def check_unplanted(self, programs, digest):
        """Whether the tree passes as it is; remembers how long each program took."""
        stamps = WORK / f"{self.preset}.passed.json"
        known = json.loads(stamps.read_text()) if stamps.exists() else {}
        if not self.build(programs):
            print(f"the tree without a fault does not build: {self.log}")
            return False
        for program in programs:
            if known.get(program, [None])[0] != digest:
                begin = time.monotonic()
                failing = self.catcher(program)
                if failing:
                    print(f"the tree without a fault does not pass: {failing}")
                    return False
                known[program] = [digest, time.monotonic() - begin]
                stamps.write_text(json.dumps(known, indent=1))
            self.limits[program] = 30 + 5 * known[program][1]
        return True


def describe(program, failing):
    return f"{program} {failing[0]}{' (time-out)' if failing[1] else ''}"


def write_tree(texts):
    for path, text in texts.items():
        (TREE / path).write_text(text)


def try_fault(fault, tree, programs, before):
    """'caught by ...', 'survived' or 'invalid ...'."""
    try:
        write_tree(fault.planted())
        if tree.preset == EFFECTS:
            if tree.build(EFFECT_TARGETS):
                return "survived"
            refused = "-Wfunction-effects" in tree.log.read_text(errors="replace")
            return "caught by effects" if refused else f"invalid: does not build ({tree.log})"
        caught = re.match(r"caught by (\w+) (\w+\.\w+)$", before or "")
        if caught and caught[1] in programs:  # what caught it before, first
            programs = [caught[1]] + [program for program in programs if program != caught[1]]
        for program in programs:
            if not tree.build([program]):
                return f"invalid: does not build ({tree.log})"
            if failing := tree.catcher(program, caught[2] if caught and caught[1] == program else None):
                return f"caught by {failing}"
        return "survived"
    except ValueError as error:
        return f"invalid: {error}"
    finally:
        write_tree({path: (ROOT / path).read_text() for path, _, _ in fault.edits if (ROOT / path).is_file()})


def results_file(layer):
    return WORK / f"{layer}.json"


def read_results(layer):
    path = results_file(layer)
    return json.loads(path.read_text()) if path.exists() else {}


def run_layer(layer, faults, trees, own, digest):
    """Caught and valid of the layer's faults; None when the tree without a fault does not pass."""
    programs = PROGRAMS[layer][:1] if own else PROGRAMS[layer]
    for preset in sorted({fault.preset for fault in faults}):
        tree = trees.setdefault(preset, TestTree(preset))
        ready = tree.build(EFFECT_TARGETS) if preset == EFFECTS else tree.check_unplanted(programs, digest)
        if not ready:
            return None
    caught = valid = 0
    for fault in faults:
        results = read_results(layer)
        begin = time.monotonic()
        result = try_fault(fault, trees[fault.preset], programs, results.get(fault.name))
        print(f"{layer} {fault.name}: {result} [{time.monotonic() - begin:.0f} s]", flush=True)
        if result == "survived":
            print(f"    {fault.effect}", flush=True)
        caught += result.startswith("caught")
        valid += not result.startswith("invalid")
        results[fault.name] = result
        results_file(layer).write_text(json.dumps(results, indent=1))
    return caught, valid


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("layers", nargs="*", metavar="LAYER", help=", ".join(PROGRAMS))
    parser.add_argument("--check", action="store_true", help="only check that the faults fit the code")
    parser.add_argument("--own", action="store_true", help="run the layer's own test program alone")
    parser.add_argument("--survivors", action="store_true", help="only the faults that no test caught the last time")
    parser.add_argument("--preset", choices=sorted(PRESETS), help="run all faults with this preset")
    parser.add_argument("--only", nargs="+", metavar="NAME", default=[], help="only these faults")
    arguments = parser.parse_args()
    # --only takes every name that follows, so layers may end up there.
    layers = arguments.layers + [name for name in arguments.only if name in PROGRAMS]
    only = {name for name in arguments.only if name not in PROGRAMS}
    if unknown := [layer for layer in layers if layer not in PROGRAMS]:
        parser.error(f"unknown layer {unknown[0]}")

    chosen, wrong = {}, []
    for layer in layers or PROGRAMS:
        chosen[layer], errors = read_faults(layer)
        wrong += errors
    if arguments.check:
        print("\n".join(wrong) if wrong else f"{sum(map(len, chosen.values()))} faults fit the code")
        return 1 if wrong else 0

    WORK.mkdir(parents=True, exist_ok=True)
    lock = open(WORK / "lock", "w")
    fcntl.flock(lock, fcntl.LOCK_EX)
    digest = refresh_copy()
    table, trees = [], {}
    for layer, faults in chosen.items():
        results = read_results(layer)
        faults = [fault for fault in faults if not only or fault.name in only]
        if arguments.survivors:
            faults = [fault for fault in faults if not results.get(fault.name, "").startswith("caught")]
        for fault in faults:
            fault.preset = arguments.preset or fault.preset
        if faults:
            counted = run_layer(layer, faults, trees, arguments.own, digest)
            if counted is None:
                return 1
            table.append((layer, len(faults), *counted))
    print(f"{'layer':<12}{'planted':>8}{'caught':>8}{'share':>8}")
    for layer, planted, caught, valid in table:
        print(f"{layer:<12}{planted:>8}{caught:>8}{100 * caught / max(valid, 1):>7.0f}%"
              + (f"  ({planted - valid} invalid)" if valid < planted else ""))
    return 1 if any(valid < planted or caught < LEAST_SHARE * planted for _, planted, caught, valid in table) else 0


sys.exit(main())
