#!/usr/bin/env python3
"""Checks that every path of this repository that a document names in backticks exists."""
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
TOPS = {p.name for p in ROOT.iterdir()}
# Where other paths begin: in a bundle, in the user's preferences, in a build, in a folder of the reader's choice.
ELSEWHERE = {"Contents", "DIR", "Plugins", "build"}


def paths_in(text):
    for quoted in re.findall(r"`([^`\n]+)`", text):
        path = quoted.strip().removeprefix("./").rstrip("/")
        top = path.split("/")[0]
        if re.fullmatch(r"[\w.+-][\w.+/-]*", path) and top not in ELSEWHERE and ("/" in path or top in TOPS):
            yield path


missing = [
    f"{doc.relative_to(ROOT)} names {path}"
    for doc in [ROOT / "README.md", *sorted(ROOT.glob("docs/*.md")), *sorted(ROOT.glob("*/README.md")), *sorted(ROOT.glob("engines/*/README.md"))]
    for path in paths_in(doc.read_text())
    if not (ROOT / path).exists() and not (doc.parent / path).exists()
]
print("\n".join(missing))
sys.exit(1 if missing else 0)
