#!/usr/bin/env python3
"""Compares `velnor-host render` with FluidSynth on the same song, SoundFont, rate and quality.

    render_compare.py HOST BUNDLES FLUID_MINIMAL SONG

Processor time (user and system), peak memory and the time to the first block, each the median of
five alternating runs, as ratios. Prints one JSON object a line.
"""
import json
import os
import pathlib
import resource
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


def row(name, ours, peers, goal):
    ratio = ours / peers
    print(json.dumps({"name": name, "ours": ours, "peer": peers, "ratio": round(ratio, 3), "goal": goal, "met": ratio <= goal}))


def main():
    host, bundles, minimal, song = sys.argv[1:5]
    with tempfile.TemporaryDirectory() as work:
        root = pathlib.Path(work)
        data = root / "data"
        data.mkdir()
        (data / "font.sf2").symlink_to(FONT)
        home = {"HOME": work, "PATH": os.environ["PATH"], "XDG_CONFIG_DIRS": work + "/etc", "XDG_DATA_DIRS": work + "/usr"}
        subprocess.run([host, "install", bundles + "/Velnor.component", "--engine", bundles + "/SoundFont.engine",
                        "--data", str(data)], env=home, check=True, stdout=subprocess.DEVNULL)
        out = str(root / "out.wav")
        ours = [host, "render", song, "-o", out, "--to", str(SECONDS)]
        commands = {
            "ours": ours,
            "minimal": [minimal, song, FONT, out, str(SECONDS)],
            "start": [host, "render", song, "-o", out, "--to", "0.01"],
            "fluidsynth": ["fluidsynth", "-ni", "-g", "0.2", "-r", "44100", "-F", out, FONT, song],
            "fluidsynth start": ["fluidsynth", "-ni", "-F", out, FONT, str(root / "short.mid")],
        }
        whole = [host, "render", song, "-o", out, "--tail", "0", "--realtime"]
        (root / "short.mid").write_bytes(b"MThd\0\0\0\6\0\0\0\1\0\x60MTrk\0\0\0\4\0\xff\x2f\0")
        commands["ours whole"] = whole
        samples = {name: [] for name in commands}
        for _ in range(RUNS):
            for name, command in commands.items():
                samples[name].append(measured(command, home))
        cpu = {name: statistics.median(s[0] for s in runs) for name, runs in samples.items()}
        memory = {name: statistics.median(s[1] for s in runs) for name, runs in samples.items()}
        row("CPU, a whole song, against fluidsynth -F", cpu["ours whole"], cpu["fluidsynth"], 1.00)
        row("CPU, 60 s, against a minimal program on libfluidsynth", cpu["ours"], cpu["minimal"], 1.02)
        row("peak memory, KiB, against fluidsynth -F", memory["ours whole"], memory["fluidsynth"], 1.00)
        row("CPU to the first block, against fluidsynth with an empty song", cpu["start"], cpu["fluidsynth start"], 0.5)


main()
