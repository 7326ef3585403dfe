#!/usr/bin/env python3
"""Writes the fuzzers' seeds: make_corpus.py FOLDER. One folder per fuzzer, one file per seed."""
import datetime
import pathlib
import plistlib
import random
import struct
import sys
import zlib


def text_seeds():
    yield "comments", b"a /* b */ c // d\ne //* f */\r\n/*/ g */ /*"
    yield "tokens", b",a,,b,"
    yield "lines", b"a\r\nb\rc\n\n"
    for number in (b"3,25", b"  -1.5e3x", b"12e", b"1e400", b"0e-1", b"1e-99999999999", b"9" * 320):
        yield "number_" + number.decode().strip()[:12], number


def setup(children):
    return b"<?xml version='1.0' encoding='UTF-8'?>\n<OrmoSetup>" + children + b"</OrmoSetup>\n"


def setup_file_seeds():
    vendor = b'<Property name="vendor" value="Tavo"/>'
    product = b"<Property name='product' value='Tarn 12'></Property>"
    yield "good", setup(vendor + product)
    yield "bom", b"\xef\xbb\xbf" + setup(vendor)
    yield "latin1", b"<?xml version='1.0' encoding='ISO-8859-1'?><OrmoSetup a='\xe9'/>"
    yield "mixed", setup(b"<!-- c --><![CDATA[ <d> ]]>&lt;&#x41;<a><b c=d/></a>" + vendor)
    yield "other", b"<!DOCTYPE x><Other/>"
    yield "cut", setup(vendor)[:60]


REGISTRY = {"Plugins": {"AU": {"000": {"path": "/p", "version": "1"}}}}


def domain_files():
    values = {"base_dir": "/d", "n": 7, "r": 1.5, "t": True, "b": b"\0\1", "a": [1, {"k": "v"}]}
    for name, tree in (("registry", REGISTRY), ("values", values), ("text", "text"), ("empty", {})):
        yield name, plistlib.dumps(tree)
        yield name + "_binary", plistlib.dumps(tree, fmt=plistlib.FMT_BINARY)
    yield "nested", plistlib.dumps({"Plugins": {"AU": {"a": {"b": {"c": {"d": "e"}}}}}})
    yield "cut", plistlib.dumps(REGISTRY)[:-20]
    yield "text", b"// x\n{ \"a b\" = (1, <00ff>); c; /* y */ d = {e = '\\'';}; }"
    yield "table", b"a = b; \"c\" = \"d\";"
    yield "json", b'{"a": [1.5e+3, null, true, {}], "b": "\\u00e9"}'
    yield "wide", plistlib.dumps({"a": [1]}).decode().encode("utf-16")
    yield "latin", b"<?xml version='1.0' encoding='ISO-8859-1'?><plist><string>\xe9</string></plist>"
    yield "quotes", b"<plist a='>'><array a='\"><array>'><?x \"?><true/><!-- \"?> --></array></plist>"


def preferences_seeds():
    # The fuzzer takes its choices from the end: scope to write, places of the first part and of the
    # second, where the second begins. The user's own file for any host is place 1.
    for name, content in domain_files():
        yield name, content + struct.pack("<H3B", 0xFFFF, 0, 2, 1)
    own = plistlib.dumps({"base_dir": "/own", "o": 1})
    other = plistlib.dumps(REGISTRY | {"base_dir": "/other"}, fmt=plistlib.FMT_BINARY)
    for scope in range(4):
        for places, others in ((1, 2), (2, 0b101100), (0b010100, 0b101000)):
            yield f"two_{scope}_{places}", own + other + struct.pack("<H3B", len(own), others, places, scope)


def property_list_seeds():
    yield from domain_files()
    tree = {"d": datetime.datetime(2004, 2, 29), "u": plistlib.UID(7), "e": {}, "n": -(2**63), "i": float("inf")}
    yield "kinds", plistlib.dumps(tree, fmt=plistlib.FMT_BINARY)


def code(text):
    return int.from_bytes(text.encode(), "big")


def state_seeds():
    state = {"version": 0, "type": code("aumu"), "subtype": code("QXTA"), "manufacturer": code("QXMA")}
    blob = struct.pack(">4If", 0, 0, 1, 5, 0.5)
    names = {"0": {"0": "unit"}, "2": {"0": "out", "3": "more"}}
    full = state | {"data": blob, "name": "Soft", "element-name": names, "OrmoData": b"chunk"}
    # The fuzzer takes its choices from the end: read as a file, initialized, engine, several outputs.
    for name, tree in (("identity", state), ("full", full), ("part", full | {"part": 1})):
        for ending in (b"\1\1\1\0", b"\1\0\0\1"):
            yield f"{name}_{ending[1]}", plistlib.dumps(tree) + ending
            yield f"{name}_{ending[1]}_binary", plistlib.dumps(tree, fmt=plistlib.FMT_BINARY) + ending
    for number, content in noise(128):
        yield number, content + b"\0\1\1\1"


def noise(size):
    """Inputs that are used up by random choices."""
    for number in range(16):
        yield f"noise_{number}", random.Random(number).randbytes(size)


def soundfont_chunk_seeds():
    def chunk(bank, program, bend):
        state = struct.pack("<fHB4fBB3fB", 0.2, 256, 1, 0.2, 0, 0.5, 0.9, 1, 3, 2, 0.3, 8, 0)
        for channel in range(16):
            controllers = bytearray(120)
            controllers[7], controllers[10], controllers[84] = 100, 64, 255
            group = (0, 16) if channel == 0 else (255, 0)
            state += struct.pack("<hh", bank, program) + controllers + struct.pack("<HBB", bend, 2, 0) + bytes(128)
            state += struct.pack("<4B63f", 0, 0, *group, *[0] * 63)
        return struct.pack("<4s3I", b"VSFC", 1, 16 + len(state), zlib.crc32(state)) + state

    good = chunk(0, 0, 0x2000)
    yield "good", good
    yield "program", chunk(128, 127, 0x3FFF)
    yield "cut", good[:-1]
    yield "long", good + b"\0"
    # Two bytes of offset, one of value.
    yield "edit", b"\x38\0\5"  # another program
    for name, offset in (("magic", 0), ("version", 4), ("size", 9), ("checksum", 12)):
        yield name, struct.pack("<HB", offset, 1)


def component_seeds():
    yield from noise(1024)


def view_seeds():
    yield from noise(128)


def event_sorter_seeds():
    yield from noise(512)


def midi_file_seeds():
    def chunk(kind, content):
        return kind + struct.pack(">I", len(content)) + content

    end = b"\0\xff\x2f\0"
    tempo = b"\0\xff\x51\3\x07\xa1\x20\0\xff\x58\4\x03\2\x18\x08"
    notes = b"\0\x90\x3c\x40\x60\x3c\0\x81\0\xc1\5\0\xf0\3\1\2\xf7\0\xff\1\2hi\0\xb0\7\x7f"
    one = chunk(b"MThd", struct.pack(">3H", 0, 1, 96)) + chunk(b"MTrk", tempo + notes + end)
    frames = chunk(b"MThd", struct.pack(">3H", 0, 1, 0xE728)) + chunk(b"MTrk", notes + end)
    two = chunk(b"MThd", struct.pack(">3H", 1, 2, 480) + b"more") + chunk(b"MTrk", tempo + end)
    two += chunk(b"XFIH", b"other") + chunk(b"MTrk", notes + end)
    for name, content in (("one", one), ("frames", frames), ("two", two), ("cut", two[:-9])):
        yield name, content + b"\1"  # read as a file
    yield "events", tempo + notes + b"\0\x60\0\0"  # wrapped: division, tracks, kind


def main():
    folder = pathlib.Path(sys.argv[1])
    suffix = "_seeds"
    seeds = {name.removesuffix(suffix): make for name, make in globals().items() if name.endswith(suffix)}
    for name, make in seeds.items():
        (folder / name).mkdir(parents=True, exist_ok=True)
        for seed, content in make():
            (folder / name / f"seed_{seed.replace('/', '_')}").write_bytes(content)


main()
