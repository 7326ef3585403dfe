#!/usr/bin/env python3
"""Makes another product of a built component: copies the bundle and rewrites the product record in it.

The record is 256 bytes, little-endian, between the words 0x12345678 and 0x87654321; each executable
of the bundle holds it twice. Info.plist is given the same codes and names, in its registrations and
as the bundle's own.
"""
import argparse
import os
import pathlib
import plistlib
import re
import shutil
import struct
import sys

START, END, SIZE = b"\x78\x56\x34\x12", b"\x21\x43\x65\x87", 256


def fail(line):
    sys.exit(f"brand.py: {line}")


def name(text):
    # Both become names of folders.
    if not text.isascii() or not text.isprintable() or not 0 < len(text) < 64 or "/" in text or text in (".", ".."):
        raise argparse.ArgumentTypeError('1 to 63 printable ASCII characters without a slash, not "." or ".."')
    return text


def code(text):
    if not text.isascii() or len(text) != 4:
        raise argparse.ArgumentTypeError("four ASCII characters")
    return text


def identifier(text):
    if not re.fullmatch(r"[A-Za-z0-9-]+(\.[A-Za-z0-9-]+)+", text):
        raise argparse.ArgumentTypeError('words of letters, digits and "-" with dots between them, as com.acme.piano')
    return text


def arguments():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("bundle", type=pathlib.Path, help="the component to copy")
    parser.add_argument("copy", type=pathlib.Path, help="the new component")
    parser.add_argument("--vendor", type=name, required=True)
    parser.add_argument("--product", type=name, required=True)
    parser.add_argument("--subtype", type=code, help="the instrument's code; hosts tell products apart by it")
    parser.add_argument("--manufacturer", type=code, help="the instrument's other code, of who makes it")
    parser.add_argument("--identifier", type=identifier, help="the bundle's own; from vendor and product when not given")
    parser.add_argument("--outputs", type=int, choices=range(1, 33), metavar="N", help="channels of the first configuration")
    parser.add_argument("--multi-output", action=argparse.BooleanOptionalAction,
                        help="let hosts choose buses and channels, or not; the original's when not given")
    return parser.parse_args()


def records(data):
    at = data.find(START)
    while at >= 0:
        if data[at + SIZE - 4 : at + SIZE] == END:
            yield at
        at = data.find(START, at + 1)


def rewrite(path, args):
    data = bytearray(path.read_bytes())
    found = list(records(data))
    if len(found) != 2:
        fail(f"{path}: {len(found)} product records instead of 2")
    for at in found:
        struct.pack_into("64s64s", data, at + 64, args.vendor.encode(), args.product.encode())
        if args.subtype:
            struct.pack_into("4s", data, at + 8, args.subtype.encode())
        if args.manufacturer:
            struct.pack_into("4s", data, at + 208, args.manufacturer.encode())
        if args.outputs:
            struct.pack_into("<i", data, at + 16, args.outputs)
        if args.multi_output is not None:
            struct.pack_into("<I", data, at + 192, int(args.multi_output))
    path.write_bytes(data)


def register(path, args):
    info = plistlib.loads(path.read_bytes())
    words = [re.sub(r"[^A-Za-z0-9]+", "-", word).strip("-") or "x" for word in (args.vendor, args.product)]
    info["CFBundleIdentifier"] = args.identifier or ".".join(["com", *words])
    info["CFBundleName"] = args.product
    for component in info["VelnorComponents"]:
        is_view = component["type"] == "auvw"
        component["name"] = f"{args.vendor}: {args.product}" + (" View" if is_view else "")
        if is_view:
            continue  # its codes are the same for every product
        if args.subtype in (None, component["subtype"]):
            print(f"brand.py: the subtype stays {component['subtype']}, the original's: of two such products hosts find "
                  "only one; give another --subtype", file=sys.stderr)
        component["subtype"] = args.subtype or component["subtype"]
        component["manufacturer"] = args.manufacturer or component["manufacturer"]
    path.write_bytes(plistlib.dumps(info))


def executables(bundle):
    try:
        name = plistlib.loads((bundle / "Contents/Info.plist").read_bytes())["CFBundleExecutable"]
    except OSError:
        fail(f"{bundle}: not a bundle")
    except Exception:
        fail(f"{bundle}: its Info.plist cannot be read, or names no executable")
    found = sorted((bundle / "Contents").glob(f"*-linux/{name}"))
    if not found:
        fail(f"{bundle}: it holds no executable {name}")
    return [path.relative_to(bundle) for path in found]


def check_destination(args):
    folder = pathlib.Path(os.path.abspath(args.copy)).parent
    if not folder.is_dir():
        fail(f"{folder}: there is no such folder")
    if os.path.lexists(args.copy):
        fail(f"{args.copy} exists already")
    if args.copy.suffix != ".component":
        fail(f"{args.copy}: hosts find a component only when its name ends in .component")
    if args.bundle.resolve() in (folder.resolve(), *folder.resolve().parents):
        fail(f"{args.copy}: it lies in the bundle that is to be copied")


def main():
    args = arguments()
    paths = executables(args.bundle)
    check_destination(args)
    try:
        shutil.copytree(args.bundle, args.copy)
        for path in paths:
            rewrite(args.copy / path, args)
        register(args.copy / "Contents/Info.plist", args)
    except BaseException as error:
        shutil.rmtree(args.copy, ignore_errors=True)
        if isinstance(error, (OSError, shutil.Error, KeyError, TypeError)):
            fail(f"{args.copy}: not made: {error}")
        raise


main()
