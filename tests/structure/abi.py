#!/usr/bin/env python3
"""Compares the library's classes, as the compiler lays them out, with slots.txt.

The compiler's class dump gives sizes and, for each slot, the class whose body it holds. It names
operations without their arguments, so a small program made from the table asks for the slot of
each overload (a pointer to a virtual member holds its table offset) and for the fields' offsets.
"""
import re
import subprocess
import sys
import tempfile
from pathlib import Path

root, compiler = Path(sys.argv[1]), sys.argv[2]
table = Path(__file__).with_name("slots.txt")

PROGRAM = """
#include <cstddef>
#include <cstdio>
#include <cstring>

template <class... Arguments>
struct With {
    template <class Member>
    static std::size_t slot(Member member) {
        std::size_t offset;
        std::memcpy(&offset, &member, sizeof offset);
        return (offset - 1) / sizeof(void*);
    }
    template <class Result, class Class>
    static std::size_t of(Result (Class::*member)(Arguments...)) { return slot(member); }
    template <class Result, class Class>
    static std::size_t of(Result (Class::*member)(Arguments...) const) { return slot(member); }
};

int main() {
    const auto print = [](const char* what, std::size_t found) { std::printf("%s=%zu\\n", what, found); };
"""


def read_table():
    """{class: (size, [(offset, field)], [(slot, owner, name, arguments)])}"""
    classes = {}
    for line in table.read_text().splitlines():
        word, _, rest = line.partition(" ")
        if word == "class":
            name, size = rest.split()
            size, fields, slots = classes[name] = (int(size), [], [])
        elif word == "field":
            offset, field = rest.split()
            fields.append((int(offset), field))
        elif word.isdigit():
            owner, operation = rest.split(" ", 1)
            name, arguments = re.fullmatch(r"(\S+)\((.*)\)(?: const)?", operation).groups()
            slots.append((int(word), owner, name, arguments))
    return classes


def expected(classes):
    """The table as {what: value}, worded as found() words the compiler's answers."""
    facts = {}
    for name, (size, fields, slots) in classes.items():
        facts[f"sizeof {name}"] = str(size)
        for offset, field in fields:
            facts[f"offset {name}::{field}"] = str(offset)
        if slots:
            facts[f"slots {name}"] = str(len(slots))
        for slot, owner, operation, arguments in slots:
            facts[f"body {name}[{slot}]"] = "none" if owner == "none" else f"{owner}::{operation}"
            if not operation.startswith("~"):
                facts[f"slot {name}::{operation}({arguments})"] = str(slot)
    return facts


def program(classes):
    headers = sorted(path.relative_to(root) for path in root.glob("tqamsg/**/*.h"))
    lines = []
    for name, (_, fields, slots) in classes.items():
        lines += [f'print("sizeof {name}", sizeof({name}));']
        lines += [f'print("offset {name}::{field}", offsetof({name}, {field}));' for _, field in fields]
        for _, owner, operation, arguments in slots:
            if not operation.startswith("~"):
                member = f"&{name if owner == 'none' else owner}::{operation}"
                lines += [f'print("slot {name}::{operation}({arguments})", With<{arguments}>::of({member}));']
    return "".join(f'#include "{header}"\n' for header in headers) + PROGRAM + "\n".join(lines) + "\n}\n"


def read_dump(dump, classes):
    facts = {}
    for name, entries in re.findall(r"^Vtable for (\S+)\n.*\n((?:\d+ .*\n)+)", dump, re.MULTILINE):
        if name in classes and classes[name][2]:
            bodies = [line.split()[-1].removeprefix("(*)(...))") for line in entries.splitlines()[2:]]
            facts[f"slots {name}"] = str(len(bodies))
            for slot, body in enumerate(bodies):
                facts[f"body {name}[{slot}]"] = "none" if body in ("0", "__cxa_pure_virtual") else body
    return facts


def found(classes):
    with tempfile.TemporaryDirectory() as folder:
        source, dump, binary = (Path(folder, name) for name in ("abi.cpp", "abi.class", "abi"))
        source.write_text(program(classes))
        # Nothing of the library is called, so it need not be linked.
        subprocess.run([compiler, "-std=c++20", "-w", "-fno-access-control", f"-fdump-lang-class={dump}",
                        "-Wl,--unresolved-symbols=ignore-all", f"-I{root}", source, "-o", binary], check=True)
        facts = read_dump(dump.read_text(), classes)
        answers = subprocess.run([binary], check=True, capture_output=True, text=True).stdout
    facts.update(line.rsplit("=", 1) for line in answers.splitlines())
    return facts


classes = read_table()
want, have = expected(classes), found(classes)
differences = [f"{what}: {have.get(what, 'missing')}, should be {want.get(what, 'absent')}"
               for what in want | have if have.get(what) != want.get(what)]
print(*differences, sep="\n")
print(f"{len(want)} facts about {len(classes)} classes, {len(differences)} differences")
sys.exit(bool(differences))
