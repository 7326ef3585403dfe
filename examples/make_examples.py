#!/usr/bin/env python3
"""Writes the example songs beside this script, or checks that they are what it would write.

    make_examples.py            write
    make_examples.py --check    exit 1 and name the files that differ
"""

import pathlib
import sys

# No compiled modules are left among the examples.
sys.dont_write_bytecode = True

import midifile  # noqa: E402
import mountain_king  # noqa: E402
import prelude  # noqa: E402

SONGS = {
    "bach-prelude-bwv846.mid": prelude.tracks,
    "grieg-mountain-king.mid": mountain_king.tracks,
}


def main(arguments):
    if arguments not in ([], ["--check"]):
        sys.exit(__doc__)
    folder = pathlib.Path(__file__).parent
    different = []
    for name, tracks in SONGS.items():
        path = folder / name
        song = midifile.encode(tracks())
        if not arguments:
            path.write_bytes(song)
        elif not path.exists() or path.read_bytes() != song:
            different.append(name)
    if different:
        sys.exit("not what make_examples.py writes: " + ", ".join(different))


if __name__ == "__main__":
    main(sys.argv[1:])
