#!/usr/bin/env python3
"""Counts how much more work the library does for eight times as much: linear.py PROGRAM

PROGRAM is made from work.cpp. Each of its operations runs on inputs of growing size under callgrind,
which counts instructions: the figures do not depend on what else the machine does. The ratio of two
sizes that are eight times apart must be 10 at most. Exit status 77 (skipped) without valgrind.

    linear.py PROGRAM                    small sizes, one ratio each
    linear.py --full TABLE PROGRAM       up to 64 MB and 1,000,000 levels; writes a table in Markdown
    linear.py --deep PROGRAM             no counts: everything at 1,000,000 levels on a stack of 256 KiB
"""
import argparse
import os
import re
import resource
import shutil
import subprocess
import sys
import tempfile
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

MOST = 10  # the ratio for eight times as much
LEVELS = 1_000_000
STACK = 256 << 10

# The C library copies long blocks in other ways than short ones, which count differently.
COPYING = "glibc.cpu.x86_rep_movsb_threshold=0x7fffffffff:glibc.cpu.x86_non_temporal_threshold=0xfffffffffffff"

# The size with which the small run begins, and the largest one: 64 MB of text or of elements.
SIZES = {
    "width": (4000, 2_796_000),
    "depth": (4000, LEVELS),
    "length": (100_000, 64 << 20),
    "attributes": (4000, 2_796_000),
    "declarations": (4000, 2_290_000),
    "raw": (4000, 2_097_000),
    "raw-depth": (4000, LEVELS),
    "chosen-ids": (4000, 2_796_000),
    "ids": (4000, 2_796_000),
    "ranges": (2000, 932_000),
    "without-list": (4000, 2_796_000),
    "lines": (8000, 11_184_000),
}

# What cannot be linear as long as a message is one block without gaps and each call leaves all its
# lengths right. Such a row is only shown.
FIXED = {
    ("append-children", "depth"): "each new level makes all around it longer; tqa::Builder is linear",
    ("delete-forward", "middle"): "each child moves what stands before or behind it, whichever is less",
    ("expand-each", "width"): "each element moves all that stands behind it",
}
FIXED_SIZES = [250, 2000, 16000]


def sizes_of(operation, shape, full):
    if (operation, shape) in FIXED:
        return FIXED_SIZES
    first, largest = SIZES[shape]
    if operation == "delete-backward":
        largest //= 8  # an iterator on each child takes much more room than the child
    return [largest // 512, largest // 64, largest // 8, largest] if full else [first, 8 * first]


def run(command, **options):
    return subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, **options)


def pairs(program):
    return [tuple(line.split()) for line in run([program, "--list"], check=True).stdout.splitlines()]


def count(program, operation, shape, sizes):
    """The instructions at each size; a text when the program failed."""
    with tempfile.TemporaryDirectory() as folder:
        done = run(["valgrind", "--quiet", "--tool=callgrind", "--instr-atstart=no",
                    f"--callgrind-out-file={folder}/out", program, operation, shape, *map(str, sizes)],
                   env=os.environ | {"GLIBC_TUNABLES": COPYING})
        if done.returncode != 0:
            return done.stdout
        counts = {}
        for dump in Path(folder).iterdir():
            text = dump.read_text()
            size = re.search(r"^desc: Trigger: Client Request: (\d+)$", text, re.MULTILINE)
            if size:
                counts[int(size[1])] = int(re.search(r"^totals: (\d+)", text, re.MULTILINE)[1])
    return [counts[size] for size in sizes]


def ratios(counts):
    return [more / less for less, more in zip(counts, counts[1:])]


def table(rows):
    """The rows as Markdown: the figures of the largest size, and the ratios of all."""
    yield "| operation | shape | n | instructions | per unit | ratios for 8 n |"
    yield "| --- | --- | ---: | ---: | ---: | --- |"
    for operation, shape, sizes, counts in rows:
        steps = ", ".join(f"{ratio:.2f}" for ratio in ratios(counts))
        if (operation, shape) in FIXED:
            steps += f" ({FIXED[operation, shape]})"
        yield (f"| {operation} | {shape} | {sizes[-1]:,} | {counts[-1]:,} |"
               f" {counts[-1] / sizes[-1]:.2f} | {steps} |")


def compare(options):
    if shutil.which("valgrind") is None:
        print("skipped: valgrind is not installed")
        sys.exit(77)
    chosen = [pair for pair in pairs(options.program)
              if (" ".join(pair) in options.only if options.only else options.full or pair not in FIXED)]

    def measure(pair):
        sizes = sizes_of(*pair, options.full)
        counts = count(options.program, *pair, sizes)
        print(*pair, counts if isinstance(counts, str) else [f"{r:.2f}" for r in ratios(counts)], flush=True)
        return *pair, sizes, counts

    with ThreadPoolExecutor(options.jobs) as pool:
        rows = list(pool.map(measure, chosen))
    failed = [row for row in rows if isinstance(row[3], str)]
    steep = [row for row in rows
             if row not in failed and row[:2] not in FIXED and max(ratios(row[3])) > MOST]
    if options.full:
        counted = [row for row in rows if row not in failed]
        Path(options.full).write_text("\n".join(table(counted)) + "\n")
        print(options.full)
    for operation, shape, _, message in failed:
        print(f"{operation} {shape}: {message}")
    for operation, shape, sizes, counts in steep:
        print(f"{operation} {shape}: {counts} instructions at {sizes}: more than {MOST} times as many")
    return not failed and not steep


def dive(options):
    """Whether everything runs at full depth on a small stack."""
    def limit():
        resource.setrlimit(resource.RLIMIT_STACK, (STACK, STACK))

    good = True
    for operation, shape in pairs(options.program):
        if "depth" not in shape or (operation, shape) in FIXED:
            continue
        done = run([options.program, operation, shape, str(LEVELS)], preexec_fn=limit)
        if done.returncode != 0:
            good = False
            print(f"{operation} {shape} {LEVELS}: exit status {done.returncode}\n{done.stdout}")
    return good


parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
parser.add_argument("--full", metavar="TABLE", help="the whole range, written as a table")
parser.add_argument("--deep", action="store_true", help="everything at full depth on a small stack")
parser.add_argument("--jobs", type=int, default=1, help="runs at a time")
parser.add_argument("--only", action="append", metavar="'OPERATION SHAPE'", help="only this, and others so given")
parser.add_argument("program")
arguments = parser.parse_args()
sys.exit(not (dive(arguments) if arguments.deep else compare(arguments)))
