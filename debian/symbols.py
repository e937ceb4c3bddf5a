#!/usr/bin/env python3
"""Brings debian/libtqamsg1.symbols up to date with a built library: debian/symbols.py LIBRARY

New symbols get the version of the package, the others keep theirs, and those that are gone, which no
release may lose, are named. Instantiations of templates come and go with the compiler, and those of
the standard library are not listed at all.
"""
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


old = FILE.read_text() if FILE.exists() else ""
known = dict(line.rsplit(" ", 1) for line in old.splitlines() if line.startswith(" "))
version = re.search(r"\((\S+)\)", FILE.with_name("changelog").read_text())[1]

symbols = [line.split()[1:] for line in run("nm", "--dynamic", "--defined-only", sys.argv[1])]
readable = run("c++filt", text="\n".join(name for _, name in symbols))
found = {entry(kind, name, shown) for (kind, name), shown in zip(symbols, readable, strict=True)}

FILE.write_text(HEAD + "".join(f"{each} {known.get(each, version)}\n" for each in sorted(found)))
for name in sorted(known.keys() - found):
    print("gone:", name)
