"""The places of a C++ source at which one thing can be broken: a comparison, an operator, a number, a condition, a result or a call."""
import re

from clang.cindex import CursorKind, Index, TypeKind
from mutants import Mutant

OPERATORS = {
    "<": "<=", "<=": "<", ">": ">=", ">=": ">", "==": "!=", "!=": "==", "&&": "||", "||": "&&",
    "+": "-", "-": "+", "*": "/", "/": "*", "%": "/", "&": "|", "|": "&", "<<": ">>", ">>": "<<",
    "+=": "-=", "-=": "+=", "|=": "&=", "&=": "|=",
}  # fmt: skip
NUMBERS = {
    TypeKind.BOOL, TypeKind.CHAR_U, TypeKind.UCHAR, TypeKind.USHORT, TypeKind.UINT, TypeKind.ULONG, TypeKind.ULONGLONG,
    TypeKind.CHAR_S, TypeKind.SCHAR, TypeKind.SHORT, TypeKind.INT, TypeKind.LONG, TypeKind.LONGLONG, TypeKind.ENUM,
}  # fmt: skip
FUNCTIONS = {CursorKind.FUNCTION_DECL, CursorKind.CXX_METHOD, CursorKind.CONSTRUCTOR, CursorKind.DESTRUCTOR}
# What the compiler computes, or what has to be a constant.
CONSTANTS = {CursorKind.STATIC_ASSERT, CursorKind.ENUM_DECL, CursorKind.INIT_LIST_EXPR}
INTEGER = re.compile(r"(0[xX][0-9a-fA-F]+|\d+)[uUlL]*")


def kind_of(cursor):
    try:
        return cursor.kind
    except ValueError:
        return None


class Source:
    """A source as the compiler reads it."""

    def __init__(self, path, arguments):
        self.text = path.read_bytes()
        self.unit = Index.create().parse(str(path), args=arguments)
        fatal = [str(each) for each in self.unit.diagnostics if each.severity >= 3]
        if fatal:
            raise RuntimeError(f"{path}: {fatal[0]}")
        self.path = str(path)
        self.mutants = []

    def places(self):
        for cursor in self.unit.cursor.get_children():
            if self._is_here(cursor):  # the headers hold what the bindings have no name for
                self._find(cursor)
        return sorted(set(self.mutants), key=Mutant.place)

    def _find(self, cursor):
        if cursor.kind in FUNCTIONS and cursor.is_definition():
            self._function(cursor)
        for each in cursor.get_children():
            if kind_of(each) is not None:
                self._find(each)

    def _is_here(self, cursor):
        return cursor.location.file is not None and cursor.location.file.name == self.path

    def _text(self, begin, end):
        return self.text[begin:end].decode()

    def _range(self, cursor):
        return cursor.extent.start.offset, cursor.extent.end.offset

    def _add(self, cursor, what, shape, *parts):
        begin, end = self._range(cursor)
        # A piece that stands twice must not hold a comment, which would end somewhere else.
        if end > begin and "//" not in self._text(begin, end) and all(begin <= b < e <= end for b, e in parts):
            self.mutants.append(Mutant(begin, end, cursor.extent.start.line, what, shape, parts))

    def _function(self, function):
        bodies = [each for each in function.get_children() if each.kind == CursorKind.COMPOUND_STMT]
        if not bodies:
            return
        head = self._text(function.extent.start.offset, bodies[0].extent.start.offset)
        if "constexpr" not in head and "consteval" not in head:
            self._look(bodies[0], function.result_type.get_canonical().kind)

    def _look(self, cursor, result):
        """At a statement or expression of a function, and at what it consists of."""
        children = [each for each in cursor.get_children() if kind_of(each) is not None]
        if cursor.kind in CONSTANTS:
            return
        if cursor.kind == CursorKind.DECL_STMT and re.match(r"(static\s+)?(constexpr|const\w*\s+static)\b", self._text(*self._range(cursor))):
            return
        if cursor.kind == CursorKind.LAMBDA_EXPR:
            result = None
        if cursor.kind in (CursorKind.BINARY_OPERATOR, CursorKind.COMPOUND_ASSIGNMENT_OPERATOR) and len(children) == 2:
            self._operator(cursor, *children)
        elif cursor.kind == CursorKind.INTEGER_LITERAL:
            self._number(cursor)
        elif cursor.kind == CursorKind.CXX_BOOL_LITERAL_EXPR:
            said = self._text(*self._range(cursor))
            other = {"true": "false", "false": "true"}.get(said)
            if other:
                self._add(cursor, f"{said} becomes {other}", f"(BM_MUTANT({{n}}) ? {other} : {said})")
        elif cursor.kind in (CursorKind.IF_STMT, CursorKind.WHILE_STMT, CursorKind.CONDITIONAL_OPERATOR) and children:
            self._condition(children[0])
        elif cursor.kind == CursorKind.RETURN_STMT and children:
            self._result(children[0], result)
        elif cursor.kind == CursorKind.COMPOUND_STMT:
            for each in children:
                if each.kind == CursorKind.CALL_EXPR:
                    self._add(each, "is left out", "if (!BM_MUTANT({n})) {0}", self._range(each))
        if cursor.kind == CursorKind.CASE_STMT:
            children = children[1:]
        for each in children:
            self._look(each, result)

    def _operator(self, cursor, left, right):
        left, right, types = self._range(left), self._range(right), (left.type, right.type)
        operator = self._text(left[1], right[0]).strip()
        other = OPERATORS.get(operator)
        if other is None or not all(each.get_canonical().kind in NUMBERS for each in types) and operator not in ("==", "!=", "&&", "||"):
            return
        shape = f"(BM_MUTANT({{n}}) ? (({{0}}) {other} ({{1}})) : (({{0}}) {operator} ({{1}})))"
        if operator.endswith("=") and cursor.kind == CursorKind.COMPOUND_ASSIGNMENT_OPERATOR:
            shape = f"(BM_MUTANT({{n}}) ? ({{0}} {other} ({{1}})) : ({{0}} {operator} ({{1}})))"
        self._add(cursor, f"{operator} becomes {other}", shape, left, right)

    def _number(self, cursor):
        said = self._text(*self._range(cursor))
        if INTEGER.fullmatch(said):
            self._add(cursor, f"{said} becomes {said} + 1", f"(BM_MUTANT({{n}}) ? {said} + 1 : {said})")

    def _condition(self, cursor):
        if cursor.kind.is_expression():
            self._add(cursor, "the condition is reversed", "(BM_MUTANT({n}) != static_cast<bool>({0}))", self._range(cursor))

    def _result(self, cursor, kind):
        if kind == TypeKind.BOOL:
            self._add(cursor, "the result is reversed", "(BM_MUTANT({n}) != static_cast<bool>({0}))", self._range(cursor))
        elif kind == TypeKind.INT:
            self._add(cursor, "the result is one more", "(({0}) + (BM_MUTANT({n}) ? 1 : 0))", self._range(cursor))
