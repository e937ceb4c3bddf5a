#!/usr/bin/python3
"""What mutants.py finds in small sources, and that the rewritten source means the same without a mutant.

Debian's package of libclang needs Debian's interpreter. Exit status 77 (skipped) without the package.
"""
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

try:
    import mutants
except ImportError:
    print("skipped: python3-clang-14 is not installed")
    sys.exit(77)

HERE = Path(__file__).resolve().parent


def found(source):
    with tempfile.TemporaryDirectory() as folder:
        Path(folder, "a.cpp").write_text(source)
        return mutants.find(Path(folder), "a.cpp", ["-std=c++20"])


def changes(body):
    return [f"{m.original} => {m.mutated or 'nothing'}" for m in found(f"void g(int, int, bool);\nauto f(int a, int b, bool c) {{\n{body}\n}}\n")]


class Found(unittest.TestCase):
    def test_each_rule_has_its_mutants(self):
        cases = {
            "return a < b;": ["a < b => !(a < b)", "a < b => a <= b"],
            "return a == b;": ["a == b => a != b"],
            "return a - b;": ["a - b => (a - b) + 1", "a - b => a + b"],
            "return a;": ["a => (a) + 1"],
            "return 7;": ["7 => 7 + 1", "7 => 7 - 1"],
            "return -1;": ["1 => 1 + 1", "1 => 1 - 1"],
            "return c && a ? a : b;": ["c && a ? a : b => (c && a ? a : b) + 1", "c && a => !(c && a)", "c && a => c || a"],
            "a = b; return;": ["a = b; => nothing"],
            "++a; return;": ["++a => --a", "++a; => nothing"],
            "if (!c) return;": ["!c => c"],
            "while (c) g(a, b, true);": ["c => !(c)", "g(a, b, true); => nothing", "true => false"],
            "for (; c;) a += b;": ["a += b => a -= b", "a += b; => nothing"],
        }
        for body, expected in cases.items():
            with self.subTest(body):
                self.assertEqual(sorted(changes(body)), sorted(expected))

    def test_what_the_compiler_computes_has_none(self):
        for body in ("constexpr int n = 7; return;", "static_assert(1 < 2); return;", "int x[7]; return;",
                     "switch (a) { case 7: return; }", "if constexpr (sizeof a == 4) return;"):
            with self.subTest(body):
                self.assertEqual(changes(body), [])
        self.assertEqual(found("int table[2] = {1, 2};\nenum { kOne = 1 };\n"), [])

    def test_a_choice_is_never_between_an_object_and_a_truth_value(self):
        names = [m.name for m in found("struct S { explicit operator bool() const; };\n"
                                       "void f(S s) {\n    if (!s) return;\n    if (s) return;\n}\n")]
        self.assertEqual(names, ["a.cpp, f: !s => !!s"])

    def test_what_a_macro_writes_is_not_changed_inside(self):
        names = [m.name for m in found("#define LESS a < b\nvoid f(int a, int b) { if (LESS) return; }\n")]
        self.assertEqual(names, ["a.cpp, f: LESS => !(LESS)"])

    def test_equal_changes_of_a_function_are_numbered(self):
        names = [m.name for m in found("void f(int a) {\n    if (a > 1) return;\n    if (a > 1) return;\n}\n")]
        self.assertIn("a.cpp, f: 1 => 1 + 1", names)
        self.assertIn("a.cpp, f: 1 => 1 + 1 #2", names)


class Rewritten(unittest.TestCase):
    SOURCE = """\
int f(int a, int b) {
    int sum = 0;
    for (int i = a; i < b &&  // a comment
                    i != 9; ++i)
        if (i % 2 == 0) sum += i * (b - 1);
        else sum--;
    return sum;
}
constexpr int kFour = 4;
static_assert([](int n) constexpr { return n + 1; }(kFour) == 5);
int main(int argc, char**) { return f(argc, 8); }
"""

    def test_lines_keep_their_numbers(self):
        self.assertEqual(self.rewrite().count("\n"), self.SOURCE.count("\n"))

    def test_each_mutant_is_one_choice_of_one_program(self):
        with tempfile.TemporaryDirectory() as folder:
            source, program = Path(folder, "b.cpp"), Path(folder, "b")
            source.write_text(self.rewrite())
            subprocess.run(["g++", "-std=c++20", "-include", HERE / "mutant.h", source, "-o", program], check=True)

            def run(mutant):
                return subprocess.run([program], env={"TQA_MUTANT": str(mutant)}, check=False, timeout=10).returncode
            self.assertEqual(run(0), (2 + 4 + 6) * 7 - 4)
            by_name = {m.name: m.id for m in self.numbered()}
            self.assertEqual(run(by_name["a.cpp, f: b - 1 => b + 1"]), (2 + 4 + 6) * 9 - 4)
            self.assertEqual(run(by_name["a.cpp, f: sum--; => nothing"]), (2 + 4 + 6) * 7)

    def numbered(self):
        all_of_them = found(self.SOURCE)
        for number, mutant in enumerate(all_of_them):
            mutant.id = number + 1
        return all_of_them

    def rewrite(self):
        return mutants.rewrite(self.SOURCE, self.numbered())


if __name__ == "__main__":
    unittest.main()
