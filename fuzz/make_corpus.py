#!/usr/bin/env python3
"""Writes the fuzzers' seeds: make_corpus.py FOLDER. One folder per fuzzer, one file per seed."""
import pathlib
import plistlib
import sys


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


def preferences_seeds():
    registry = {"Plugins": {"AU": {"000": {"path": "/p", "version": "1"}}}}
    values = {"base_dir": "/d", "n": 7, "r": 1.5, "t": True, "b": b"\0\1", "a": [1, {"k": "v"}]}
    for name, tree in (("registry", registry), ("values", values), ("text", "text"), ("empty", {})):
        yield name, plistlib.dumps(tree)
        yield name + "_binary", plistlib.dumps(tree, fmt=plistlib.FMT_BINARY)
    yield "nested", plistlib.dumps({"Plugins": {"AU": {"a": {"b": {"c": {"d": "e"}}}}}})
    yield "cut", plistlib.dumps(registry)[:-20]
    yield "quotes", b"<plist a='>'><array a='\"><array>'><?x \"?><true/><!-- \"?> --></array></plist>"


def main():
    folder = pathlib.Path(sys.argv[1])
    seeds = {"text": text_seeds, "setup_file": setup_file_seeds, "preferences": preferences_seeds}
    for name, make in seeds.items():
        (folder / name).mkdir(parents=True, exist_ok=True)
        for seed, content in make():
            (folder / name / f"seed_{seed.replace('/', '_')}").write_bytes(content)


main()
