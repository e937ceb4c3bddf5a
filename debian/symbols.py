#!/usr/bin/env python3
"""Keeps debian/libtqamsg1.symbols, the list of what the library exports.

    debian/symbols.py LIBRARY                   brings the list up to date with a built library
    debian/symbols.py --check [--all] LIBRARY   compares the two, and fails if they differ

New symbols get the version of the package, the others keep theirs, and those that are gone, which no
release may lose, are named. Instantiations of templates come and go with the compiler: they may be
missing, and are compared only with --all, which is for the compiler and the flags of the packages.
Those of the standard library are not listed one by one.
"""
import argparse
import re
import subprocess
import sys
from pathlib import Path

FILE = Path(__file__).with_name("libtqamsg1.symbols")
HEAD = "libtqamsg.so.1 libtqamsg1 #MINVER#\n* Build-Depends-Package: libtqamsg-dev\n"
STANDARD = ' (c++|regex|optional=templinst)"^std::.*@Base$"'


def run(*command, text=None):
    return subprocess.run(command, check=True, capture_output=True, text=True, input=text).stdout.splitlines()


def entry(kind, name, readable):
    """A symbol as the file has it, without its version."""
    if readable.startswith("std::"):
        return STANDARD
    if name == readable:
        return f" {name}@Base"
    return f' ({"c++|optional=templinst" if kind in "Wu" else "c++"})"{readable}@Base"'


def optional(symbol):
    return "|optional=" in symbol.partition('"')[0]


def exported(library):
    symbols = [line.split()[1:] for line in run("nm", "--dynamic", "--defined-only", library)]
    readable = run("c++filt", text="\n".join(name for _, name in symbols))
    return {entry(kind, name, shown) for (kind, name), shown in zip(symbols, readable, strict=True)}


def listed():
    """{symbol: the version of the package that had it first}"""
    lines = FILE.read_text().splitlines() if FILE.exists() else []
    return dict(line.rsplit(" ", 1) for line in lines if line.startswith(" "))


def check(library, everything):
    found, known = exported(library), listed()
    gone = sorted(each for each in known.keys() - found if not optional(each))
    new = sorted(each for each in found - known.keys() if everything or not optional(each))
    for each in gone:
        print("is listed and not exported:", each.strip())
    for each in new:
        print("is exported and not listed:", each.strip())
    if gone or new:
        print(f"What is new on purpose, `{Path(__file__).parent.name}/symbols.py LIBRARY` adds to {FILE.name};"
              " what is gone breaks the programs that use it, and asks for another SONAME.")
    print(f"{len(found)} entries exported, {len(known)} listed")
    return bool(gone or new)


def update(library):
    version = re.search(r"\((\S+)\)", FILE.with_name("changelog").read_text())[1]
    found, known = exported(library), listed()
    FILE.write_text(HEAD + "".join(f"{each} {known.get(each, version)}\n" for each in sorted(found)))
    for name in sorted(known.keys() - found):
        print("gone:", name)


parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
parser.add_argument("--check", action="store_true", help="compare, and change nothing")
parser.add_argument("--all", action="store_true", help="compare the instantiations of templates, too")
parser.add_argument("library")
options = parser.parse_args()
sys.exit(check(options.library, options.all) if options.check else update(options.library))
