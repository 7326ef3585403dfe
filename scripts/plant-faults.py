#!/usr/bin/env python3
"""Plants faults in the code, one at a time, and counts how many the tests catch.

  scripts/plant-faults.py [--check] [--own] [--every] [--survivors] [--preset P] [--only NAME...] [LAYER...]

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
test program first, then those of the layers above it, until a test fails. A program's tests are spread
over the processors, the quick ones first. A test that fails is run a second time by itself, as CTest runs it, and must fail
again: what comes and goes catches nothing. What does not end in time counts as caught. Results stand in
build/faults/LAYER.json and, with --every, all tests that failed in build/faults/LAYER.tests.json: a test
that no fault needs is seen there.

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
SLOW_MS = 700  # what takes longer is run after the quick tests
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
        self.slow = {}  # tests of a program
        self.configured = False

    def start(self, command, log, environment=None):
        def limit_resources():
            resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
            resource.setrlimit(resource.RLIMIT_FSIZE, (LARGEST_FILE, LARGEST_FILE))
        with open(log, "wb") as output:
            return subprocess.Popen(command, cwd=TREE, stdin=subprocess.DEVNULL, stdout=output,
                                    stderr=subprocess.STDOUT, start_new_session=True,
                                    env=environment, preexec_fn=limit_resources)

    def run(self, command, limit, log):
        """The exit status, or None when it did not end in time; nothing that it started goes on."""
        process = self.start(command, log)
        try:
            return process.wait(limit)
        except subprocess.TimeoutExpired:
            return None
        finally:
            end(process)

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

    def failing_tests(self, program, pattern, every=False):
        """The tests that fail, of the first process that fails or of every one, and whether one did not end."""
        memory = pathlib.Path("/dev/shm")
        temporary = (memory if os.access(memory, os.W_OK) else WORK) / f"velnor-faults.{os.getpid()}"
        limit = self.limits.get(program, 900)
        only = pattern if re.fullmatch(r"[\w/]+\.[\w/]+", pattern) else None
        deadline = time.monotonic() + (min(limit, 60) if only else limit)
        command = [str(self.build_folder / "bin" / program), "--gtest_shuffle=0",
                   f"--gtest_filter={pattern}"]
        command += [] if every else ["--gtest_fail_fast"]
        shards = 1 if only else JOBS
        logs = [WORK / f"test.{shard}.log" for shard in range(shards)]
        processes = [self.start(command, log, self.environment(temporary / str(shard), GTEST_SHARD_INDEX=str(shard),
                                                               GTEST_TOTAL_SHARDS=str(shards)))
                     for shard, log in enumerate(logs)]
        try:
            while time.monotonic() < deadline:
                statuses = [process.poll() for process in processes]
                if None not in statuses or (not every and any(statuses)):
                    break
                time.sleep(0.02)
        finally:
            for process in processes:
                end(process)
            shutil.rmtree(temporary, ignore_errors=True)
        failing = []
        timed_out = not any(statuses) and None in statuses
        for status, log in zip(statuses, logs):
            if status == 0 or (status is None and not timed_out and not every):
                continue
            text = log.read_text(errors="replace")
            failed = re.findall(r"\[  FAILED  \] ([\w/]+\.[\w/]+)", text)
            began = re.findall(r"\[ RUN      \] (\S+)", text)
            ended = re.findall(r"\[       OK \] (\S+)|\[  SKIPPED \] (\S+)", text)
            if began and not any(began[-1] in names for names in ended):
                failed.append(began[-1])  # it ended the process, or went on too long
            failing += failed or [only or "its start"]
        return list(dict.fromkeys(failing)), timed_out

    def catcher(self, program, first=None, every=None):
        """The test of the program that catches the fault, or None. The test that caught it before goes first.
        A list receives every test that failed."""
        if first and every is None:
            failing, timed_out = self.failing_tests(program, first)
            if failing:
                return describe(program, failing[0], timed_out)
        passed_over = []
        slow = ":".join(self.slow.get(program, []))
        parts = ["", slow] if slow and every is None else [""]
        while parts and len(passed_over) < 5:
            without = ":".join(passed_over + ([slow] if len(parts) == 2 else []))
            failing, timed_out = self.failing_tests(program, f"{parts[0]}-{without}", every is not None)
            if not failing:
                parts.pop(0)
                continue
            name = failing[0]
            if timed_out or name == "its start" or self.failing_tests(program, name)[0]:
                if every is not None:
                    every += failing
                return describe(program, name, timed_out)
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
                seconds = time.monotonic() - begin
                ended = re.findall(r"OK \] (\S+) \((\d+) ms\)", "".join(
                    log.read_text(errors="replace") for log in WORK.glob("test.*.log")))
                known[program] = [digest, seconds, [test for test, ms in ended if int(ms) > SLOW_MS]]
                stamps.write_text(json.dumps(known, indent=1))
            self.limits[program] = 30 + 2 * known[program][1]
            self.slow[program] = known[program][2]
        return True


def end(process):
    """Ends the process and what it started."""
    try:
        os.killpg(process.pid, signal.SIGKILL)
    except ProcessLookupError:
        pass
    process.wait()


def describe(program, test, timed_out):
    return f"{program} {test}{' (time-out)' if timed_out else ''}"


def write_tree(texts):
    for path, text in texts.items():
        (TREE / path).write_text(text)


def try_fault(fault, tree, programs, before, every):
    """'caught by ...', 'survived' or 'invalid ...'. A list receives every test that failed."""
    try:
        write_tree(fault.planted())
        if tree.preset == EFFECTS:
            if tree.build(EFFECT_TARGETS):
                return "survived"
            refused = "-Wfunction-effects" in tree.log.read_text(errors="replace")
            return "caught by effects" if refused else f"invalid: does not build ({tree.log})"
        caught = re.match(r"caught by (\w+) ([\w/]+\.[\w/]+)$", before or "")
        if caught and caught[1] in programs:  # what caught it before, first
            programs = [caught[1]] + [program for program in programs if program != caught[1]]
        for program in programs:
            if not tree.build([program]):
                return f"invalid: does not build ({tree.log})"
            if failing := tree.catcher(program, caught[2] if caught and caught[1] == program else None, every):
                return f"caught by {failing}"
        return "survived"
    except ValueError as error:
        return f"invalid: {error}"
    finally:
        write_tree({path: (ROOT / path).read_text() for path, _, _ in fault.edits if (ROOT / path).is_file()})


def read_results(name):
    path = WORK / f"{name}.json"
    return json.loads(path.read_text()) if path.exists() else {}


def keep_result(name, fault, result):
    results = read_results(name)
    results[fault] = result
    (WORK / f"{name}.json").write_text(json.dumps(results, indent=1))


def run_layer(layer, faults, trees, own, every, digest):
    """Caught and valid of the layer's faults; None when the tree without a fault does not pass."""
    programs = PROGRAMS[layer][:1] if own else PROGRAMS[layer]
    for preset in sorted({fault.preset for fault in faults}):
        tree = trees.setdefault(preset, TestTree(preset))
        ready = tree.build(EFFECT_TARGETS) if preset == EFFECTS else tree.check_unplanted(programs, digest)
        if not ready:
            return None
    caught = valid = 0
    for fault in faults:
        tests = [] if every else None
        begin = time.monotonic()
        result = try_fault(fault, trees[fault.preset], programs, read_results(layer).get(fault.name), tests)
        print(f"{layer} {fault.name}: {result} [{time.monotonic() - begin:.0f} s]", flush=True)
        if result == "survived":
            print(f"    {fault.effect}", flush=True)
        caught += result.startswith("caught")
        valid += not result.startswith("invalid")
        keep_result(layer, fault.name, result)
        if every:
            keep_result(f"{layer}.tests", fault.name, tests)
    return caught, valid


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("layers", nargs="*", metavar="LAYER", help=", ".join(PROGRAMS))
    parser.add_argument("--check", action="store_true", help="only check that the faults fit the code")
    parser.add_argument("--own", action="store_true", help="run the layer's own test program alone")
    parser.add_argument("--every", action="store_true", help="find all tests that catch a fault")
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

    signal.signal(signal.SIGTERM, lambda *_: sys.exit(1))  # what is planted is taken back
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
            counted = run_layer(layer, faults, trees, arguments.own, arguments.every, digest)
            if counted is None:
                return 1
            table.append((layer, len(faults), *counted))
    print(f"{'layer':<12}{'planted':>8}{'caught':>8}{'share':>8}")
    for layer, planted, caught, valid in table:
        print(f"{layer:<12}{planted:>8}{caught:>8}{100 * caught / max(valid, 1):>7.0f}%"
              + (f"  ({planted - valid} invalid)" if valid < planted else ""))
    return 1 if any(valid < planted or caught < LEAST_SHARE * planted for _, planted, caught, valid in table) else 0


sys.exit(main())
