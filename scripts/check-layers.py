#!/usr/bin/env python3
"""Checks the house: every include goes down the layers, enters no closed room and closes no circle between files or
rooms; the host prints through one place, which cleans what a terminal shows; files keep to the length, guards and
comments of the common style. Exit status 1 names each that does not."""
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
    "host": {"host", "support", "platform", CONTRACT},
}
# Layers whose folders nobody outside enters.
ROOMED = {"platform", "host"}
INCLUDE = re.compile(r'^\s*#\s*include\s+"([^"]+)"', re.M)

PRINTERS = {"host/job/Terminal.cpp", "host/job/Interruption.cpp"}  # the second from signal handlers, texts of its own
PRINT = re.compile(r"\b(?:std::)?(?:v?f?printf|f?puts|f?putc|putchar|fwrite|perror)\s*\(|\bstd::(?:cout|cerr|clog)\b"
                   r"|\bwrite\(STD(?:OUT|ERR)_FILENO\b")


def prints():
    for path in sorted((ROOT / "host").rglob("*.cpp")):
        name = str(path.relative_to(ROOT))
        if name not in PRINTERS and "tests" not in path.relative_to(ROOT).parts and PRINT.search(path.read_text()):
            yield f"{name} prints past host/job/Terminal.h"


def violations():
    for layer, allowed in ALLOWED.items():
        for path in sorted((ROOT / layer).rglob("*.[ch]*")):
            if path.suffix not in {".h", ".c", ".cpp"} or "tests" in path.relative_to(ROOT).parts:
                continue
            for target in INCLUDE.findall(path.read_text()):
                top = target.split("/")[0]
                room = "/".join(target.split("/")[:-1])
                if "/" in room and top != layer and top in ROOMED:
                    yield f"{path.relative_to(ROOT)} enters the room {room}"
                if target in allowed or top in allowed:
                    continue
                yield f"{path.relative_to(ROOT)} includes {target}"
    for path in sorted(path for layer in ALLOWED for path in (ROOT / layer).rglob("tests/**/*.[ch]*")):
        own = path.relative_to(ROOT).parts[0]
        for target in INCLUDE.findall(path.read_text()):
            if "/tests/" in target and target.split("/")[0] != own:
                yield f"{path.relative_to(ROOT)} includes {target}: what tests of several layers share is in testing/"
    contract = ROOT / CONTRACT
    if contract.exists():
        for target in INCLUDE.findall(contract.read_text()):
            yield f"{CONTRACT} must include nothing of ours, but includes {target}"


def sources(layer):
    for path in sorted((ROOT / layer).rglob("*")):
        if path.suffix in {".h", ".c", ".cpp"} and "tests" not in path.relative_to(ROOT).parts:
            yield path


def circles(arrows):
    """The groups of nodes that reach each other (Tarjan's algorithm), where one has more than one node."""
    order, low, stack, found = {}, {}, [], []

    def visit(node):
        order[node] = low[node] = len(order)
        stack.append(node)
        for target in sorted(arrows.get(node, ())):
            if target not in order:
                visit(target)
                low[node] = min(low[node], low[target])
            elif target in stack:
                low[node] = min(low[node], order[target])
        if low[node] == order[node]:
            group = stack[stack.index(node):]
            del stack[stack.index(node):]
            if len(group) > 1:
                found.append(group)

    for node in sorted(arrows):
        if node not in order:
            visit(node)
    return found


def rounds():
    """Circles between the files of all layers, and between the rooms of one."""
    files, rooms = {}, {}
    for layer in ALLOWED:
        texts = {path.relative_to(ROOT): INCLUDE.findall(path.read_text()) for path in sources(layer)}
        bodies = {path.stem: path.parent for path in texts if len(path.parts) > 2}

        def room(path):
            return str(bodies.get(path.stem, path.parent))

        for path, targets in texts.items():
            for target in map(pathlib.PurePath, targets):
                files.setdefault(str(path), set()).add(str(target))
                # A public header at a layer's top declares for all rooms; only what a room's own file
                # includes tells what the room leans on.
                if layer in ROOMED and target in texts and len(path.parts) > 2 and room(target) != room(path):
                    rooms.setdefault(room(path), set()).add(room(target))
    for kind, arrows in (("files", files), ("rooms", rooms)):
        for group in circles(arrows):
            yield f"{kind} in a circle: {', '.join(sorted(group))}"


def oversized():
    for path in sorted(path for top in ROOT.iterdir() if top.name != "build" for path in top.rglob("*.[ch]*")):
        if path.suffix in {".h", ".c", ".cpp"}:
            text = path.read_text()
            if text.count("\n") > 400:
                yield f"{path.relative_to(ROOT)} has more than 400 lines"
            if path.suffix == ".h" and not re.search(r"^#ifndef VELNOR_\w+_H\n#define VELNOR_\w+_H$", text, re.M):
                yield f"{path.relative_to(ROOT)} has no include guard of the common form"
            if re.search(r"^\s*/\*", text, re.M):
                yield f"{path.relative_to(ROOT)} has a block comment"


found = [*violations(), *prints(), *rounds(), *oversized()]
print("\n".join(found))
sys.exit(1 if found else 0)
