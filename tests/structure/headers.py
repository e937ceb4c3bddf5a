#!/usr/bin/env python3
"""Compiles every header of the library alone, and twice over: whoever includes one needs no other."""
import subprocess
import sys
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

root, compiler = Path(sys.argv[1]), sys.argv[2]
headers = sorted(path.relative_to(root) for path in root.glob("tqamsg/**/*.h"))


def compiles(header):
    include = f'#include "{header}"\n'
    return subprocess.run([compiler, "-std=c++20", "-fsyntax-only", "-Wall", "-Wextra", "-Wpedantic", "-Werror",
                           f"-I{root}", "-xc++", "-"], input=include * 2, text=True).returncode == 0


with ThreadPoolExecutor(2) as pool:
    failed = [header for header, fine in zip(headers, pool.map(compiles, headers)) if not fine]
print(*(f"{header}: does not compile alone" for header in failed), sep="\n")
print(f"{len(headers)} headers, {len(failed)} that do not compile alone")
sys.exit(bool(failed) or not headers)
