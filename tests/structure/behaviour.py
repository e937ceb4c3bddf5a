#!/usr/bin/env python3
"""Checks that every oddity in docs/behaviour.md names the tests that pin it, and that they exist."""
import re
import sys
from pathlib import Path

root = Path(sys.argv[1])
DOCUMENT = "docs/behaviour.md"

# Only these files are built into the tests.
TESTS = {f"{suite}.{name}" for path in root.glob("tests/**/*_test.cpp")
         for suite, name in re.findall(r"^TEST(?:_[FP])?\(\s*(\w+),\s*(\w+)\s*\)", path.read_text(), re.MULTILINE)}

# The rows of the tables: line number and cells.
ROWS = [(number, [cell.strip() for cell in line.strip("|").split("|")])
        for number, line in enumerate((root / DOCUMENT).read_text().splitlines(), 1)
        if re.match(r"\|(?!---| what \|)", line)]


def complaints(number, cells):
    where = f"{DOCUMENT}:{number}: {cells[0]}:"
    if len(cells) != 3:
        yield f"{where} {len(cells)} columns instead of what, why and test"
    elif not re.fullmatch(r"`[\w.]+`(, `[\w.]+`)*", cells[2]):
        yield f"{where} no test, or not only names of tests"
    else:
        for test in re.findall(r"[\w.]+", cells[2]):
            if test not in TESTS:
                yield f"{where} there is no test {test}"


found = [complaint for row in ROWS for complaint in complaints(*row)]
print(*found, sep="\n")
print(f"{len(ROWS)} oddities, {len(found)} without the tests they need")
sys.exit(bool(found) or not ROWS)
