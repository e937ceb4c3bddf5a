#!/usr/bin/env python3
"""Compiles and runs the examples in a document, and compares what they print.

    tests/docs/examples.py DOCUMENT COMPILER FLAG...

FLAG... is what a program needs to be compiled and linked with the library. What a fenced block is
stands behind its fence:

    cpp FILE        the next piece of the program FILE
    cpp prelude     what stands before each of the examples that are no whole programs
    cpp             the body of a function of its own behind the prelude
    sh              commands, run where the programs of the document lie; in them g++ and pkg-config
                    give the compiler and the flags above
    WORD output     what the function or the commands before it print
    text            nothing to run

Any other block is a fault, and so are a function and commands that no output follows: nothing in
the document goes unchecked.
"""
import os
import re
import signal
import subprocess
import sys
import tempfile
from dataclasses import dataclass
from pathlib import Path

TIMEOUT = 120
WARNINGS = ["-Wall", "-Wextra", "-Wpedantic", "-Wshadow", "-Werror"]
MAIN = """
int main(int, char** arguments) {{
    static void (*const examples[])() = {{{names}}};
    examples[std::atoi(arguments[1])]();
}}
"""
SHELL = """
set -euo pipefail
g++() { command "$COMPILER" $WARNINGS "$@"; }
pkg-config() { echo "$FLAGS"; }
"""


@dataclass
class Block:
    words: list
    text: str
    line: int  # of its first line in the document


def blocks(text):
    for found in re.finditer(r"^```(.*)\n((?:.*\n)*?)^```$", text, re.MULTILINE):
        yield Block(found[1].split(), found[2], text.count("\n", 0, found.start(2)) + 1)


def read(document):
    """The programs by file, the prelude, and what is run: pairs of a block and its output."""
    programs, prelude, runs = {}, "", []
    for block in blocks(document.read_text()):
        source = f'#line {block.line} "{document}"\n{block.text}'
        match block.words:
            case ["cpp", "prelude"]:
                prelude += source
            case ["cpp", name]:
                programs[name] = programs.get(name, "") + source
            case ["cpp"] | ["sh"]:
                runs.append([block, None])
            case ["text"]:
                pass
            case [_, "output"] if runs and runs[-1][1] is None:
                runs[-1][1] = block
            case words:
                sys.exit(f"{document}:{block.line}: what is a block of {' '.join(words) or 'nothing'} here?")
    for block, output in runs:
        if output is None:
            sys.exit(f"{document}:{block.line}: what does this print?")
    return programs, prelude, runs


def run(command, **options):
    """What the command prints. Whatever it leaves running ends with it."""
    with subprocess.Popen(command, stdout=subprocess.PIPE, text=True, start_new_session=True, **options) as process:
        try:
            printed, _ = process.communicate(timeout=TIMEOUT)
        finally:
            try:
                os.killpg(process.pid, signal.SIGKILL)
            except ProcessLookupError:
                pass
    return printed if process.returncode == 0 else f"{printed}(exit status {process.returncode})\n"


class Examples:
    def __init__(self, document, compiler, flags, folder):
        self.document, self.compiler, self.flags, self.folder = document, compiler, flags, folder
        self.programs, self.prelude, self.runs = read(document)

    def build(self):
        """Writes the programs, and makes one program of all functions."""
        for name, text in self.programs.items():
            (self.folder / name).write_text(text)
        bodies = [block for block, _ in self.runs if block.words == ["cpp"]]
        if not bodies:
            return
        text = self.prelude
        for number, block in enumerate(bodies):
            text += f'\nstatic void example{number}() {{\n#line {block.line} "{self.document}"\n{block.text}}}\n'
        text += MAIN.format(names=", ".join(f"example{number}" for number in range(len(bodies))))
        source = self.folder / "examples.cpp"
        source.write_text(text)
        subprocess.run([self.compiler, "-std=c++20", *WARNINGS, source, "-o", self.folder / "examples", *self.flags],
                       check=True)

    def prints(self, block, number):
        if block.words == ["cpp"]:
            return run([self.folder / "examples", str(number)], cwd=self.folder)
        environment = dict(os.environ, COMPILER=self.compiler, FLAGS=" ".join(self.flags), WARNINGS=" ".join(WARNINGS))
        return run(["bash", "-c", SHELL + block.text], cwd=self.folder, env=environment)

    def faults(self):
        number = 0
        for block, output in self.runs:
            printed = self.prints(block, number)
            number += block.words == ["cpp"]
            if printed != output.text:
                yield f"{self.document}:{block.line}: prints\n{printed}instead of\n{output.text}"


def main():
    document, compiler, *flags = sys.argv[1:]
    with tempfile.TemporaryDirectory() as folder:
        examples = Examples(Path(document), compiler, flags, Path(folder))
        examples.build()
        found = list(examples.faults())
    print(*found, sep="\n")
    print(f"{len(examples.runs)} examples, {len(found)} that print something else")
    sys.exit(bool(found) or not examples.runs)


main()
