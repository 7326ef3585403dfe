#!/usr/bin/env python3
"""Checks that every include goes down the layers, never up or across. Exit status 1 names each that does not."""
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
CONTRACT = "bridge/OrmoEngine.h"
ALLOWED = {
    "platform": {"platform"},
    "support": {"support", "platform"},
    "framework": {"framework", "platform"},
    "bridge": {"bridge", "framework", "support", "platform"},
    "engines": {"engines", "platform", CONTRACT},
    "host": {"host", "platform", CONTRACT},
}
INCLUDE = re.compile(r'^\s*#\s*include\s+"([^"]+)"', re.M)


def violations():
    for layer, allowed in ALLOWED.items():
        for path in sorted((ROOT / layer).rglob("*.[ch]*")):
            if path.suffix not in {".h", ".c", ".cpp"} or "tests" in path.relative_to(ROOT).parts:
                continue
            for target in INCLUDE.findall(path.read_text()):
                top = target.split("/")[0]
                if target in allowed or top in allowed:
                    continue
                yield f"{path.relative_to(ROOT)} includes {target}"
    contract = ROOT / CONTRACT
    if contract.exists():
        for target in INCLUDE.findall(contract.read_text()):
            yield f"{CONTRACT} must include nothing of ours, but includes {target}"


found = list(violations())
print("\n".join(found))
sys.exit(1 if found else 0)
