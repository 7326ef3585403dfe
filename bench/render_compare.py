#!/usr/bin/env python3
"""Compares `velnor-host render`, as a user types it, with FluidSynth on the same song and SoundFont.

    render_compare.py HOST BUNDLES FLUID_MINIMAL FIRST_BLOCK

Prints one JSON object: of each command, the median of five runs, all in turns, of its processor time
(user and system) as cpu_ns, its peak memory as peak_kib and, of some, the processor time to the first
block of sound as first_block_ns.
"""
import collections
import json
import os
import pathlib
import statistics
import subprocess
import sys
import tempfile

FONT = "/usr/share/sounds/sf2/TimGM6mb.sf2"
EXAMPLES = pathlib.Path(__file__).resolve().parent.parent / "examples"
PACKAGE = pathlib.Path("/usr/share/games/openttd/baseset/openmsx")
SONGS = (
    EXAMPLES / "bach-prelude-bwv846.mid",
    EXAMPLES / "grieg-mountain-king.mid",
    PACKAGE / "flying_scotsman.mid",
    PACKAGE / "slow_neasy_redfarn.mid",
    PACKAGE / "the_fast_route.mid",
    PACKAGE / "tttheme2.mid",
)
LONG_SONG = SONGS[1]
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


def main():
    host, bundles, minimal, first_block = sys.argv[1:5]
    with tempfile.TemporaryDirectory() as work:
        root = pathlib.Path(work)
        data = root / "data"
        data.mkdir()
        (data / "font.sf2").symlink_to(FONT)
        home = {"HOME": work, "PATH": os.environ["PATH"], "XDG_CONFIG_DIRS": work + "/etc", "XDG_DATA_DIRS": work + "/usr"}
        subprocess.run([host, "install", bundles + "/Velnor.component", "--engine", bundles + "/SoundFont.engine",
                        "--data", str(data)], env=home, check=True, stdout=subprocess.DEVNULL)
        out = str(root / "out.wav")
        commands = {
            "60 s": [host, "render", str(LONG_SONG), "-o", out, "--to", str(SECONDS)],
            "minimal": [minimal, str(LONG_SONG), FONT, out, str(SECONDS)],
            "best": [host, "render", str(LONG_SONG), "-o", out, "--quality", "best"],
        }
        for song in SONGS:
            commands[f"ours {song.stem}"] = [host, "render", str(song), "-o", out]
            commands[f"fluidsynth {song.stem}"] = ["fluidsynth", "-ni", "-F", out, FONT, str(song)]
        samples = {name: collections.defaultdict(list) for name in commands}
        for _ in range(RUNS):
            for name, command in commands.items():
                seconds, peak = measured(command, home)
                samples[name]["cpu_ns"].append(seconds * 1e9)
                samples[name]["peak_kib"].append(peak)
            for name in (f"ours {LONG_SONG.stem}", f"fluidsynth {LONG_SONG.stem}"):
                seconds = to_first_block(commands[name], home, first_block, str(root / "seconds"))
                samples[name]["first_block_ns"].append(seconds * 1e9)
        print(json.dumps({name: {counter: statistics.median(values) for counter, values in counters.items()}
                          for name, counters in samples.items()}, indent=1))


if __name__ == "__main__":
    main()
