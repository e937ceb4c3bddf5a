"""Finds small changes that could be made to a C++ source, and writes a source that has them all.

A mutant replaces an expression or a statement in the body of a function by another one:

    a < b         a <= b, and likewise for every comparison
    a && b        a || b
    a + b         a - b; also += ++ << & | and their kin
    42, 'x'       43, 41, 'y'
    true          false
    !a, -a        a
    if (a)        if (!(a)); also while and ?:
    return a      !(a), (a) + 1 or nullptr, by its type
    f(); a = b;   nothing

rewrite() makes a source in which each stands beside the original: `(mutant::active(7) ? (a <= b) : (a < b))`.
Lines keep their numbers. What the compiler computes (constants, conditions of `if constexpr`, labels,
template arguments, tables at file scope) has no mutants.
"""
import hashlib
from dataclasses import dataclass
from pathlib import Path

from clang.cindex import CursorKind, Diagnostic, Index, TokenKind, TypeKind

SWAPPED = {
    "<": "<=", "<=": "<", ">": ">=", ">=": ">", "==": "!=", "!=": "==",
    "&&": "||", "||": "&&",
    "+": "-", "-": "+", "<<": ">>", ">>": "<<", "&": "|", "|": "&", "*": "+", "/": "*", "%": "/", "^": "&",
    "+=": "-=", "-=": "+=", "<<=": ">>=", ">>=": "<<=", "&=": "|=", "|=": "&=", "*=": "+=", "/=": "*=",
    "++": "--", "--": "++",
}
COMPARISONS = {"<", "<=", ">", ">=", "==", "!="}
FUNCTIONS = {CursorKind.FUNCTION_DECL, CursorKind.CXX_METHOD, CursorKind.CONSTRUCTOR, CursorKind.DESTRUCTOR,
             CursorKind.CONVERSION_FUNCTION, CursorKind.FUNCTION_TEMPLATE}
BODIES = {CursorKind.COMPOUND_STMT, CursorKind.IF_STMT, CursorKind.WHILE_STMT, CursorKind.FOR_STMT,
          CursorKind.CXX_FOR_RANGE_STMT, CursorKind.DO_STMT, CursorKind.CASE_STMT, CursorKind.DEFAULT_STMT}
OPERATIONS = {CursorKind.BINARY_OPERATOR, CursorKind.COMPOUND_ASSIGNMENT_OPERATOR, CursorKind.CALL_EXPR}
NAMES = {CursorKind.DECL_REF_EXPR, CursorKind.MEMBER_REF_EXPR, CursorKind.TYPE_REF, CursorKind.TEMPLATE_REF}
INTEGERS = {TypeKind.INT, TypeKind.UINT, TypeKind.LONG, TypeKind.ULONG, TypeKind.LONGLONG, TypeKind.ULONGLONG,
            TypeKind.SHORT, TypeKind.USHORT}


@dataclass
class Mutant:
    file: str
    function: str
    line: int
    last_line: int
    start: int
    end: int
    original: str
    mutated: str    # "" if the statement is dropped
    occurrence: int = 1
    id: int = 0

    @property
    def name(self):
        """Tells the mutant whatever changes elsewhere in its file."""
        number = f" #{self.occurrence}" if self.occurrence > 1 else ""
        return f"{self.file}, {self.function}: {self.original} => {self.mutated or 'nothing'}{number}"

    @property
    def rank(self):
        return hashlib.sha256(self.name.encode()).hexdigest()


def visible(cursor):
    """What stands in the source, below the conversions that the compiler adds."""
    while cursor.kind == CursorKind.UNEXPOSED_EXPR:
        inner = next(cursor.get_children(), None)
        if inner is None:
            break
        cursor = inner
    return cursor


def is_object(cursor):
    """Whether it is one as it stands there, perhaps made a bool by an operator of its own."""
    seen = visible(cursor)
    return seen.type.get_canonical().kind == TypeKind.RECORD or seen.spelling == "operator bool"


class Finder:
    """The mutants of one file."""

    def __init__(self, root, file, arguments):
        self.file = file
        self.path = str(root / file)
        self.source = (root / file).read_bytes().decode("latin-1")  # a character for each byte
        self.function = ""
        self.mutants = []
        unit = Index.create().parse(self.path, ["-x", "c++", *arguments])
        errors = [str(d) for d in unit.diagnostics if d.severity >= Diagnostic.Error]
        if errors:
            raise SystemExit("\n".join(errors))
        self.tokens = [(t.extent.start.offset, t.extent.end.offset, t.spelling)
                       for t in unit.get_tokens(extent=unit.cursor.extent) if t.kind != TokenKind.COMMENT]
        self.starts = {start: index for index, (start, _, _) in enumerate(self.tokens)}
        for cursor in unit.cursor.get_children():
            if cursor.location.file and cursor.location.file.name == self.path:
                self.declaration(cursor)

    # --- texts ----------------------------------------------------------------------------------

    def text(self, start, end):
        """The source on one line, without comments."""
        parts = []
        last = start
        for begin, stop, spelling in self.tokens:
            if begin >= start and stop <= end:
                parts.append(" " * (begin > last and bool(parts)) + spelling)
                last = stop
        return "".join(parts)

    def of(self, cursor):
        return self.text(cursor.extent.start.offset, cursor.extent.end.offset)

    def follows(self, cursor):
        """The token behind it."""
        end = cursor.extent.end.offset
        return next((token for token in self.tokens if token[0] >= end), (end, end, ""))

    # --- the tree -------------------------------------------------------------------------------

    def declaration(self, cursor):
        if cursor.kind in FUNCTIONS:
            outer, self.function = self.function, cursor.spelling.split("<")[0]
            for child in cursor.get_children():
                if child.kind == CursorKind.COMPOUND_STMT:
                    self.statement(child)
            self.function = outer
        elif cursor.kind.is_declaration():
            for child in cursor.get_children():
                self.declaration(child)

    def statement(self, cursor):
        children = list(cursor.get_children())
        self.mutate(cursor, children)
        if cursor.kind == CursorKind.CASE_STMT or self.is_constant_condition(cursor):
            children = children[1:]
        elif cursor.kind == CursorKind.VAR_DECL:
            children = self.initializer(cursor, children)
        elif cursor.kind in NAMES:
            children = [c for c in children if c.kind not in (CursorKind.INTEGER_LITERAL, CursorKind.CXX_BOOL_LITERAL_EXPR)]
        for child in children:
            if child.kind.is_declaration() and child.kind != CursorKind.VAR_DECL:
                self.declaration(child)
                continue
            if cursor.kind in BODIES and child.kind.is_expression() and (cursor.kind != CursorKind.FOR_STMT or child == children[-1]):
                self.drop(child)
            self.statement(child)

    def is_constant_condition(self, cursor):
        return cursor.kind == CursorKind.IF_STMT and self.of(cursor).startswith("if constexpr")

    def initializer(self, variable, children):
        """What of a variable's children is computed at run time."""
        words = self.of(variable).split("=")[0].split()
        if "constexpr" in words or "static" in words:
            return []
        behind_name = variable.location.offset + len(variable.spelling)
        return [c for c in children if c.extent.start.offset >= behind_name
                and self.text(behind_name, c.extent.start.offset)[:1] in ("", "=", "(", "{", ":")]

    # --- mutants --------------------------------------------------------------------------------

    def add(self, cursor, mutated, end=None):
        start = cursor.extent.start.offset
        end = end or cursor.extent.end.offset
        original = self.text(start, end)
        whole = start in self.starts and any(stop == end for _, stop, _ in self.tokens)
        if not whole or not original or original == mutated:
            return  # from a macro
        if any((m.start, m.end, m.mutated) == (start, end, mutated) for m in self.mutants):
            return
        same = sum((m.function, m.original, m.mutated) == (self.function, original, mutated) for m in self.mutants)
        lines = [self.source.count("\n", 0, place) + 1 for place in (start, end)]
        self.mutants.append(Mutant(self.file, self.function, *lines, start, end, original, mutated, same + 1))

    def mutate(self, cursor, children):
        kind = cursor.kind
        if kind in OPERATIONS and len(children) >= 2:
            self.swap_operator(cursor, children[0], children[-1])
        elif kind == CursorKind.UNARY_OPERATOR:
            self.change_unary(cursor, children[0])
        elif kind == CursorKind.INTEGER_LITERAL:
            self.add(cursor, self.of(cursor) + " + 1")
            self.add(cursor, self.of(cursor) + " - 1")
        elif kind == CursorKind.CHARACTER_LITERAL:
            self.add(cursor, f"static_cast<char>({self.of(cursor)} + 1)")
        elif kind == CursorKind.CXX_BOOL_LITERAL_EXPR:
            self.add(cursor, {"true": "false", "false": "true"}.get(self.of(cursor), ""))
        elif kind in (CursorKind.IF_STMT, CursorKind.WHILE_STMT, CursorKind.CONDITIONAL_OPERATOR):
            if children[0].kind.is_expression() and not self.is_constant_condition(cursor):
                self.negate(children[0])
        elif kind == CursorKind.RETURN_STMT and children:
            self.change_result(children[0])

    def operator(self, cursor, children):
        """Of an expression with two sides, whether it is built in or a call."""
        if cursor.kind not in OPERATIONS or len(children) < 2:
            return ""
        return self.text(children[0].extent.end.offset, children[-1].extent.start.offset)

    def side(self, cursor):
        return f"({self.of(cursor)})" if visible(cursor).kind == CursorKind.BINARY_OPERATOR else self.of(cursor)

    def swap_operator(self, cursor, left, right):
        operator = self.operator(cursor, [left, right])
        swapped = SWAPPED.get(operator)
        if swapped is None:
            return
        kinds = {c.type.get_canonical().kind for c in (left, right)}
        if operator not in COMPARISONS and TypeKind.RECORD in kinds:
            return  # texts can be added but not subtracted
        if operator == "-" and cursor.type.get_canonical().kind != TypeKind.POINTER and TypeKind.POINTER in kinds:
            return  # nor can pointers be added
        self.add(cursor, f"{self.side(left)} {swapped} {self.side(right)}")

    def change_unary(self, cursor, operand):
        text = self.of(cursor)
        for operator in ("++", "--"):
            if text.startswith(operator):
                self.add(cursor, SWAPPED[operator] + text[2:])
                return
            if text.endswith(operator):
                self.add(cursor, text[:-2] + SWAPPED[operator])
                return
        if text.startswith("!="):
            return  # how the compiler reads a comparison that it writes by itself
        if text[:1] == "!" and is_object(operand):
            self.add(cursor, f"!{text}")  # the operand alone would make both branches objects
        elif text[:1] in ("!", "-", "~") and operand.kind != CursorKind.INTEGER_LITERAL:
            self.add(cursor, self.of(operand))

    def negate(self, condition):
        text = self.of(condition)
        inner = visible(condition)
        # These become the same by other rules.
        if not text.startswith("!") and not is_object(condition) and self.operator(inner, list(inner.get_children())) not in ("==", "!="):
            self.add(condition, f"!({text})")

    def change_result(self, value):
        kind = value.type.get_canonical().kind
        text = self.of(value)
        if text in ("true", "false", "nullptr") or value.kind == CursorKind.INIT_LIST_EXPR:
            return
        if kind == TypeKind.BOOL:
            self.negate(value)
        elif kind == TypeKind.POINTER:
            self.add(value, "nullptr")
        elif kind in INTEGERS and not text.lstrip("-").isdigit():
            self.add(value, f"({text}) + 1")

    def drop(self, cursor):
        """Leaves a statement out that is an expression: a call, an assignment."""
        begin, end, semicolon = self.follows(cursor)
        first = cursor.extent.start.offset
        before = self.starts.get(first, 0) - 1
        if semicolon == ";" and self.tokens[before][2] in (";", "{", "}", ")", "else", ":") and begin >= first:
            self.add(cursor, "", end)


def find(root, file, arguments):
    mutants = Finder(root, file, arguments).mutants
    return sorted(mutants, key=lambda m: (m.start, m.end, m.mutated))


def errors(text, root, arguments):
    """The file below the root and the line of each error that the compiler finds in this source."""
    unit = Index.create().parse("all.cpp", ["-w", *arguments], [("all.cpp", text)])
    for diagnostic in unit.diagnostics:
        if diagnostic.severity >= Diagnostic.Error:
            place = diagnostic.location
            yield str(Path(place.file.name).relative_to(root)), place.line


def rewrite(source, mutants):
    """The source (a character for each byte) with all these mutants, none inside another's text."""
    def write(start, end, inside):
        out = []
        while inside:
            place = inside[0].start, max(m.end for m in inside if m.start == inside[0].start)
            outer = [m for m in inside if (m.start, m.end) == place]
            inner = [m for m in inside if m not in outer and m.end <= place[1]]
            inside = [m for m in inside if m not in outer and m not in inner]
            out.append(source[start:place[0]])
            out.append(either(outer, write(*place, inner)))
            start = place[1]
        return "".join(out) + source[start:end]

    def either(choices, original):
        dropped = [m for m in choices if not m.mutated]
        if dropped:
            return f"{{ if (!mutant::active({dropped[0].id})) {original} }}"
        tests = "".join(f"mutant::active({m.id}) ? ({m.mutated}) : " for m in choices)
        return f"({tests}({original}))"

    return write(0, len(source), sorted(mutants, key=lambda m: m.start))
