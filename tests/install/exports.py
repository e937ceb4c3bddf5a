#!/usr/bin/env python3
"""Compares the names that the shared library exports with exports.txt, the names that it means to."""
import re
import subprocess
import sys
from pathlib import Path

library = sys.argv[1]
wanted = set(Path(__file__).with_name("exports.txt").read_text().split("\n\n", 1)[1].split())

# A class stands for its members, and a function for its overloads. Weak symbols are inline functions
# and templates, of which every user has a copy of its own: they promise nothing.
symbols = subprocess.run(["nm", "--dynamic", "--defined-only", "--demangle", library],
                         check=True, capture_output=True, text=True).stdout
exported = set(re.findall(r"^\w+ [^VWu] (?:[a-z ]+ for )?((?:tqa::)?\w+)", symbols, re.MULTILINE))

for name in sorted(exported - wanted):
    print(f"{name} is exported and should not be")
for name in sorted(wanted - exported):
    print(f"{name} should be exported and is not")
print(f"{len(exported)} exported names")
sys.exit(exported != wanted)
