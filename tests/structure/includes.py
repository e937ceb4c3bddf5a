#!/usr/bin/env python3
"""Checks the order of the library's folders: what a folder's files may include, and no more."""
import re
import sys
from pathlib import Path

root = Path(sys.argv[1])

# The table in docs/architecture.md has the order: folder, what it holds, what it may include. Every
# folder also includes itself and the headers that lie in tqamsg/ itself, but for the umbrellas.
ALLOWED = {"": set()}
for row in re.findall(r"^\| `(\w+)` \|[^|]*\| (.*) \|$", (root / "docs/architecture.md").read_text(), re.MULTILINE):
    ALLOWED[row[0]] = set(re.findall(r"`(\w+)`", row[1]))
UMBRELLAS = {"tqamsg/tqamsg.h", "tqamsg/tqa.h"}
# The umbrellas and the start-up file put everything together.
EXEMPT = UMBRELLAS | {"tqamsg/startup.cpp"}


def complaints(path):
    name = path.relative_to(root).as_posix()
    folder = path.parent.relative_to(root / "tqamsg").as_posix().strip(".")
    for number, line in enumerate(path.read_text().splitlines(), 1):
        include = re.match(r'\s*#\s*include\s*(?:"([^"]+)"|<(tqamsg/[^>]+)>)', line)
        if not include:
            continue
        target = include[1] or include[2]
        parts = target.split("/")
        if include[2] or parts[0] != "tqamsg":
            yield f'{name}:{number}: {target} is to be included as "tqamsg/..."'
        elif target in UMBRELLAS:
            yield f"{name}:{number}: the umbrella headers are for users of the library only"
        elif len(parts) > 2 and parts[1] not in ALLOWED.get(folder, set()) | {folder}:
            yield f"{name}:{number}: {path.parent.name}/ may not include {target}"


files = sorted(path for path in root.glob("tqamsg/**/*") if path.suffix in (".h", ".cpp", ".inc"))
files = [path for path in files if path.relative_to(root).as_posix() not in EXEMPT]
found = [complaint for path in files for complaint in complaints(path)]
print(*found, sep="\n")
print(f"{len(files)} files, {len(found)} includes against the order")
sys.exit(bool(found) or not files)
