#!/usr/bin/env python3
"""Says what of tqamsg/ the tests have not run, and compares it with the list of what they cannot run.

    tests/coverage/report.py BUILD PROFILES

BUILD is a build with clang's source-based coverage, PROFILES the folder in which the tests left their
counts. A line, or one way of a condition, that has not been run and does not stand in uncovered.txt is
an error; one that stands there and was run is named, but another processor may decide otherwise.
Counts of all copies of a template and of an inline function, in all programs, are added up.
"""
import collections
import re
import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
LIST = Path(__file__).with_name("uncovered.txt")
LINE = re.compile(r"^ *(\d+)\| *([^|]*)\|(.*)$")
BRANCH = re.compile(r"^ *\|  Branch \((\d+):(\d+)\): \[(?:True: (\S+), False: (\S+)|Folded - Ignored)\]$")
# Where a condition ends, when it is not within parentheses.
CLOSING = re.compile(r"&&|\|\||[;?:)]|\{$")


def annotated_sources(build, profiles):
    """llvm-cov's text: the sources, with how often each line and each way of a condition was run."""
    data = build / "tests.profdata"
    counts = [str(each) for each in profiles.glob("*.profraw")]
    subprocess.run(["llvm-profdata-14", "merge", "-sparse", "-o", data, *counts], check=True)
    programs = [path for path in sorted(build.rglob("*tqamsg*")) if path.is_file() and not path.is_symlink()
                and path.read_bytes()[:4] == b"\x7fELF" and b"__llvm_covmap" in path.read_bytes()
                and path.suffix != ".o"]
    command = ["llvm-cov-14", "show", f"-instr-profile={data}", "-show-branches=count",
               "-show-instantiations=false", str(programs[0])]
    command += [f"-object={each}" for each in programs[1:]] + [str(ROOT / "tqamsg")]
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def condition(line, column):
    """The text of the condition that begins at the column, counted from 1."""
    depth, start, at = 0, column - 1, column - 1
    while at < len(line):
        if line[at] in "([":
            depth += 1
        elif depth == 0 and not line.startswith("::", at) and CLOSING.match(line, at):
            break
        elif line[at] in ")]":
            depth -= 1
        at += 2 if line.startswith("::", at) else 1
    return line[start:at].strip()


class Coverage:
    def __init__(self, text):
        self.lines = {}  # (file, number): (run, source)
        self.ways = {}   # (file, line, column, way): run
        file = None
        for line in text.splitlines():
            if line.startswith("/") and line.endswith(":"):
                file = Path(line[:-1]).relative_to(ROOT).as_posix()
            elif found := LINE.match(line):
                number, count, source = found.groups()
                self.lines[file, int(number)] = (count, source)
            elif found := BRANCH.match(line):
                number, column, true, false = found.groups()
                for way, count in ("true", true), ("false", false):
                    if count is not None:
                        key = file, int(number), int(column), way
                        self.ways[key] = self.ways.get(key, False) or count != "0"

    def code(self):
        """[(file, number, source, run)] of the lines that are code, which a bracket alone is not."""
        return [(file, number, source.strip(), count != "0") for (file, number), (count, source) in self.lines.items()
                if count and re.match(r"\s*(?!//)\S*\w", source)]

    def uncovered(self):
        """{"FILE: what": [numbers of the lines where that is so]}"""
        found = collections.defaultdict(list)
        for file, number, source, run in self.code():
            if not run:
                found[f"{file}: not run: {source}"].append(number)
        for (file, number, column, way), run in self.ways.items():
            if not run:
                found[f"{file}: never {way}: {condition(self.lines[file, number][1], column)}"].append(number)
        return found


def listed():
    """The entries of the list, which stand a line each, below the reason they share."""
    lines = LIST.read_text().splitlines() if LIST.exists() else []
    return collections.Counter(line.strip() for line in lines if line.startswith("    "))


def percent(covered, total):
    return f"{100 * covered / total:.2f} % ({covered:,} of {total:,})"


def main():
    build, profiles = (Path(each) for each in sys.argv[1:])
    coverage = Coverage(annotated_sources(build, profiles))
    places, known = coverage.uncovered(), listed()
    found = collections.Counter({entry: len(numbers) for entry, numbers in places.items()})
    for entry in sorted(found - known):
        print(f"not covered: {entry}  [line {', '.join(map(str, places[entry]))}]")
    for entry in sorted(known - found):
        print(f"covered or gone, to be taken from {LIST.name}: {entry}")
    lines = [run for *_, run in coverage.code()]
    ways = coverage.ways.values()
    print(f"lines     {percent(sum(lines), len(lines))}")
    print(f"branches  {percent(sum(ways), len(ways))}")
    print(f"{sum(found.values())} are not covered, {sum(known.values())} listed with a reason in {LIST.name}")
    return bool(found - known)


sys.exit(main())
