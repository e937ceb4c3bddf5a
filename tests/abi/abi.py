#!/usr/bin/env python3
"""Compares the binary interface of a built library with the one of the release, libtqamsg.so.1.abi.

    tests/abi/abi.py LIBRARY           compares; the library must have been built with -g by g++
    tests/abi/abi.py --store LIBRARY   makes the library's interface the one to compare with

The description holds the exported functions and objects, the types that they need, and how those lie
in memory, the standard library's among them; but no functions of the standard library.
"""
import argparse
import subprocess
import sys
import tempfile
import xml.etree.ElementTree as xml
from pathlib import Path

STORED = Path(__file__).with_name("libtqamsg.so.1.abi")
STANDARD = ("_ZNSt", "_ZNKSt", "_ZSt", "_ZN9__gnu_cxx", "_ZNK9__gnu_cxx")

CHANGED = """
The binary interface is not the one of the release. Added functions alone break no program: when they are
meant, store the new description by `./dev abi --store` and commit it with the change. Anything else
breaks programs that were built against the release, so undo it, or, in a release that may break them,
give the library another SONAME (the major version in CMakeLists.txt, the package's name) and then store.
"""


def drop_standard(element):
    """Takes out the functions of the standard library that are exported because their templates are used."""
    for child in list(element):
        if child.get("elf-symbol-id", child.get("name", "")).startswith(STANDARD):
            element.remove(child)
        else:
            drop_standard(child)


def describe(library, path):
    """Writes what the library promises, without what differs from machine to machine."""
    subprocess.run(["abidw", "--exported-interfaces-only", "--drop-undefined-syms", "--no-corpus-path",
                    "--no-comp-dir-path", "--no-show-locs", "--no-elf-needed", "--no-parameter-names",
                    "--type-id-style", "hash", "--out-file", path, library], check=True)
    tree = xml.parse(path)
    drop_standard(tree.getroot())
    tree.write(path, encoding="unicode")
    if not tree.findall(".//class-decl"):
        sys.exit(f"abi: {library} tells nothing of its types: was it built with -g?")


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--store", action="store_true")
    parser.add_argument("library")
    options = parser.parse_args()
    if options.store:
        describe(options.library, STORED)
        return 0
    with tempfile.TemporaryDirectory() as folder:
        built = Path(folder, "built.abi")
        describe(options.library, built)
        # Its exit status is a set of bits, and 0 when nothing differs.
        status = subprocess.run(["abidiff", "--no-show-locs", STORED, built]).returncode
    print(CHANGED if status else "the binary interface is the one of the release")
    return status != 0


sys.exit(main())
