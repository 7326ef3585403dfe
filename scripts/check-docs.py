#!/usr/bin/env python3
"""Checks that every path of this repository that a document names in backticks exists."""
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
TOPS = {p.name for p in ROOT.iterdir()} - {"build"}


def paths_in(text):
    for quoted in re.findall(r"`([^`\n]+)`", text):
        path = quoted.strip().removeprefix("./").rstrip("/")
        if re.fullmatch(r"[\w.+/-]+", path) and ("/" in path or "." in path) and path.split("/")[0] in TOPS:
            yield path


missing = [
    f"{doc.relative_to(ROOT)} names {path}"
    for doc in [ROOT / "README.md", *sorted(ROOT.glob("docs/*.md")), *sorted(ROOT.glob("*/README.md")), *sorted(ROOT.glob("engines/*/README.md"))]
    for path in paths_in(doc.read_text())
    if not (ROOT / path).exists()
]
print("\n".join(missing))
sys.exit(1 if missing else 0)
