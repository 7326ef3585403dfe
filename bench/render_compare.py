#!/usr/bin/env python3
"""Compares `velnor-host render` with FluidSynth on the same song, SoundFont, rate and quality.

    render_compare.py HOST BUNDLES FLUID_MINIMAL FIRST_BLOCK SONG

Processor time (user and system), peak memory and the time to the first block, each the median of
five alternating runs, as ratios. Prints one JSON object a line.
"""
import json
import os
import pathlib
import statistics
import subprocess
import sys
import tempfile

FONT = "/usr/share/sounds/sf2/TimGM6mb.sf2"
SECONDS = 60.0
RUNS = 1 if "VELNOR_BENCH_QUICK" in os.environ else 5


def measured(command, environment):
    """Processor seconds and peak KiB of one run."""
    process = subprocess.Popen(command, env=environment, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    _, status, usage = os.wait4(process.pid, 0)
    if status != 0:
        sys.exit(f"render_compare: {command[0]} failed")
    return usage.ru_utime + usage.ru_stime, usage.ru_maxrss


def to_first_block(command, environment, library, note):
    """Processor seconds until the first block of sound is there."""
    environment = environment | {"LD_PRELOAD": library, "FIRST_BLOCK": note}
    measured(command, environment)
    return float(pathlib.Path(note).read_text())


def row(name, ours, peers, goal):
    ratio = ours / peers
    print(json.dumps({"name": name, "ours": ours, "peer": peers, "ratio": round(ratio, 3), "goal": goal,
                      "met": None if goal is None else ratio <= goal}))


def main():
    host, bundles, minimal, first_block, song = sys.argv[1:6]
    with tempfile.TemporaryDirectory() as work:
        root = pathlib.Path(work)
        data = root / "data"
        data.mkdir()
        (data / "font.sf2").symlink_to(FONT)
        home = {"HOME": work, "PATH": os.environ["PATH"], "XDG_CONFIG_DIRS": work + "/etc", "XDG_DATA_DIRS": work + "/usr"}
        subprocess.run([host, "install", bundles + "/Velnor.component", "--engine", bundles + "/SoundFont.engine",
                        "--data", str(data)], env=home, check=True, stdout=subprocess.DEVNULL)
        out = str(root / "out.wav")
        fluidsynth = ["fluidsynth", "-ni", "-g", "0.2", "-r", "44100", "-F", out]
        commands = {
            "ours": [host, "render", song, "-o", out, "--to", str(SECONDS)],
            "minimal": [minimal, song, FONT, out, str(SECONDS)],
            "ours whole": [host, "render", song, "-o", out, "--tail", "0", "--realtime"],
            "fluidsynth": fluidsynth + [FONT, song],
            "fluidsynth on demand": fluidsynth + ["-o", "synth.dynamic-sample-loading=1", FONT, song],
        }
        samples = {name: [] for name in commands}
        starts = {"ours": [], "fluidsynth": []}
        for _ in range(RUNS):
            for name, command in commands.items():
                samples[name].append(measured(command, home))
            for name, taken in starts.items():
                taken.append(to_first_block(commands[name], home, first_block, str(root / "seconds")))
        cpu = {name: statistics.median(s[0] for s in runs) for name, runs in samples.items()}
        memory = {name: statistics.median(s[1] for s in runs) for name, runs in samples.items()}
        row("CPU, a whole song, against fluidsynth -F", cpu["ours whole"], cpu["fluidsynth"], 1.00)
        row("CPU, 60 s, against a minimal program on libfluidsynth", cpu["ours"], cpu["minimal"], 1.02)
        row("peak memory, KiB, against fluidsynth -F", memory["ours whole"], memory["fluidsynth"], 1.00)
        row("peak memory, KiB, against fluidsynth -F that reads samples on demand", memory["ours"],
            memory["fluidsynth on demand"], None)
        row("CPU to the first block, against fluidsynth -F", statistics.median(starts["ours"]),
            statistics.median(starts["fluidsynth"]), 0.5)


main()
