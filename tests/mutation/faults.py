"""Finds places for small faults in C++ sources, by libclang's syntax tree.

A fault replaces the text of one node by another text. `form` says how a running program can choose it:

  choice     an expression, put as `(chosen ? other : original)`
  statement  a statement, put under `if (!chosen)`, with `other` under `else` if there is one
  else       the part behind `else`, put under `if (!chosen)`
  constant   a place where only a compiler computes; the source has to be built again for it
"""
import bisect
import hashlib
import pathlib
from dataclasses import dataclass

from clang import cindex
from clang.cindex import CursorKind, TypeKind

# What stands in a binary operator's place.
BINARY = {
    "+": ["-"], "-": ["+"], "*": ["+"], "/": ["*"], "%": ["/"],
    "&": ["|"], "|": ["&"], "^": ["|"], "<<": [">>"], ">>": ["<<"],
    "<": ["<=", ">="], "<=": ["<", ">"], ">": [">=", "<="], ">=": [">", "<"],
    "==": ["!="], "!=": ["=="], "&&": ["||"], "||": ["&&"],
}
COMPOUND = {
    "+=": "-=", "-=": "+=", "*=": "+=", "/=": "*=", "%=": "/=", "&=": "|=", "|=": "&=",
    "^=": "|=", "<<=": ">>=", ">>=": "<<=",
}
CLASS_OF = {
    "arithmetic": {"+", "-", "*", "/", "%"},
    "bits": {"&", "|", "^"},
    "shift": {"<<", ">>"},
    "comparison": {"<", "<=", ">", ">=", "==", "!="},
    "logic": {"&&", "||"},
}
COMPARISONS = CLASS_OF["comparison"]
INTEGERS = {
    TypeKind.CHAR_U, TypeKind.UCHAR, TypeKind.USHORT, TypeKind.UINT, TypeKind.ULONG,
    TypeKind.ULONGLONG, TypeKind.CHAR_S, TypeKind.SCHAR, TypeKind.SHORT, TypeKind.INT,
    TypeKind.LONG, TypeKind.LONGLONG,
}
FUNCTIONS = {
    CursorKind.FUNCTION_DECL, CursorKind.CXX_METHOD, CursorKind.FUNCTION_TEMPLATE,
    CursorKind.CONSTRUCTOR, CursorKind.DESTRUCTOR, CursorKind.CONVERSION_FUNCTION,
}
# Nodes whose parts only a compiler looks at.
CONSTANT = {
    CursorKind.STATIC_ASSERT, CursorKind.ENUM_CONSTANT_DECL, CursorKind.TEMPLATE_TYPE_PARAMETER,
    CursorKind.TEMPLATE_NON_TYPE_PARAMETER, CursorKind.TYPE_ALIAS_DECL, CursorKind.TYPEDEF_DECL,
}


@dataclass(frozen=True)
class Fault:
    """One small fault: bytes [start, end) of `path` replaced by `other`."""
    key: str
    path: str
    line: int
    function: str
    operator: str
    form: str
    start: int
    end: int
    original: str
    other: str


def operator_class(operator):
    """The class by which a binary operator is counted in reports."""
    return next(name for name, members in CLASS_OF.items() if operator in members)


def is_bit(variable):
    """Whether a constant is declared as a number with one bit set, above 2."""
    tokens = [token.spelling for token in variable.get_tokens()]
    value = tokens[-1].rstrip("uUlL") if len(tokens) > 1 and tokens[-2] == "=" else ""
    try:
        number = int(value, 0)
    except ValueError:
        return False
    return number > 2 and number & (number - 1) == 0


class Source:
    """A file's text, its lines, and the ranges that macros expand."""

    def __init__(self, root, path):
        self.path = path
        self.text = (root / path).read_bytes().decode("latin-1")
        self.macros = []
        self.found = {}

    def line_of(self, offset):
        return self.text.count("\n", 0, offset) + 1

    def touches_macro(self, start, end):
        return any(first <= start < last or first < end <= last for first, last in self.macros)


class Finder:
    """Walks the part of a translation unit that stands in files not seen before."""

    def __init__(self, root, parts):
        self.root = root
        self.parts = parts
        self.sources = {}
        self.seen = set()

    def relative(self, file):
        """`file` as a path below the root if it is one of ours, else None."""
        if file is None:
            return None
        try:
            path = str(pathlib.Path(file.name).resolve().relative_to(self.root))
        except ValueError:
            return None
        return path if path.split("/")[0] in self.parts else None

    def source(self, path):
        if path not in self.sources:
            self.sources[path] = Source(self.root, path)
        return self.sources[path]

    def take(self, unit):
        """Finds the faults of all files of `unit` that no unit before had."""
        news = {}
        for cursor in unit.cursor.get_children():
            path = self.relative(cursor.location.file)
            if path is None or path in self.seen:
                continue
            if cursor.kind == CursorKind.MACRO_INSTANTIATION:
                self.source(path).macros.append((cursor.extent.start.offset, cursor.extent.end.offset))
            elif cursor.kind not in (CursorKind.MACRO_DEFINITION, CursorKind.INCLUSION_DIRECTIVE):
                news.setdefault(path, []).append(cursor)
        for path, cursors in news.items():
            walk = Walk(self.source(path))
            for cursor in cursors:
                walk.visit(cursor, "", False)
            self.seen.add(path)

    def faults(self):
        """All faults found, in the order of files and places."""
        result = []
        for path in sorted(self.sources):
            counts = {}
            source = self.sources[path]
            for (start, end, other), (function, operator, form) in sorted(source.found.items()):
                original = source.text[start:end]
                name = (path, function, operator, " ".join(original.split()), other)
                counts[name] = counts.get(name, 0) + 1
                key = hashlib.sha1(repr((name, counts[name])).encode()).hexdigest()[:10]
                result.append(Fault(key, path, source.line_of(start), function, operator, form,
                                    start, end, original, other))
        return result


class Walk:
    """The walk over one file's nodes."""

    def __init__(self, source):
        self.source = source
        self.text = source.text

    def span(self, cursor):
        return cursor.extent.start.offset, cursor.extent.end.offset

    def words(self, cursor):
        start, end = self.span(cursor)
        return self.text[start:end]

    def add(self, function, operator, form, span, other):
        start, end = span
        original = self.text[start:end]
        if start >= end or "\n#" in original or self.source.touches_macro(start, end):
            return
        if original != other:
            self.source.found.setdefault((start, end, other), (function, operator, form))

    def visit(self, cursor, function, constant):
        kind = cursor.kind
        if kind in FUNCTIONS:
            function = cursor.spelling
        if kind in CONSTANT or self.is_constant_variable(cursor):
            constant = True
        form = "constant" if constant else "choice"
        children = list(cursor.get_children())
        handler = getattr(self, "on_" + kind.name.lower(), None)
        if handler is not None:
            handler(cursor, children, function, form)
        in_constant = self.constant_children(cursor, children)
        for index, child in enumerate(children):
            self.visit(child, function, constant or index in in_constant)

    def is_constant_variable(self, cursor):
        if cursor.kind not in (CursorKind.VAR_DECL, CursorKind.FIELD_DECL):
            return False
        head = self.words(cursor).split("=")[0].split("{")[0]
        return "constexpr" in head.split()

    def constant_children(self, cursor, children):
        """Indexes of children that are constant expressions."""
        kind = cursor.kind
        if kind == CursorKind.CASE_STMT:
            return {0}
        if kind == CursorKind.IF_STMT and self.words(cursor)[2:].lstrip().startswith("constexpr"):
            return {0}
        if kind in (CursorKind.DECL_REF_EXPR, CursorKind.MEMBER_REF_EXPR, CursorKind.TYPE_REF,
                    CursorKind.TEMPLATE_REF, CursorKind.OVERLOADED_DECL_REF):
            # Arguments of templates.
            return {i for i, child in enumerate(children) if child.kind.is_expression()
                    and child.kind not in (CursorKind.DECL_REF_EXPR, CursorKind.MEMBER_REF_EXPR,
                                           CursorKind.CALL_EXPR, CursorKind.CXX_THIS_EXPR,
                                           CursorKind.UNEXPOSED_EXPR, CursorKind.PAREN_EXPR,
                                           CursorKind.ARRAY_SUBSCRIPT_EXPR)}
        if kind in (CursorKind.VAR_DECL, CursorKind.FIELD_DECL, CursorKind.PARM_DECL):
            # Bounds of arrays and arguments of templates stand before the name.
            name = cursor.location.offset
            bound = cursor.type.kind in (TypeKind.CONSTANTARRAY, TypeKind.DEPENDENTSIZEDARRAY)
            result = set()
            for index, child in enumerate(children):
                start, end = self.span(child)
                behind = self.text[end:end + 1]
                if start < name or (bound and behind == "]"
                                    and self.text[name:start].count("=") == 0
                                    and "{" not in self.text[name:start]):
                    result.add(index)
                if kind == CursorKind.FIELD_DECL and cursor.is_bitfield() and index == 0:
                    result.add(index)
            return result
        return set()

    # Expressions.

    def operator_between(self, children):
        """The operator's text, and its place, between two operands."""
        start, end = self.span(children[0])[1], self.span(children[1])[0]
        between = self.text[start:end]
        bare = between.strip(" \n\t()")
        return bare, start + between.find(bare)

    def on_binary_operator(self, cursor, children, function, form):
        if len(children) != 2:
            return
        operator, at = self.operator_between(children)
        start, end = self.span(cursor)
        for other in BINARY.get(operator, []):
            self.add(function, operator_class(operator), form, (start, end),
                     self.text[start:at] + other + self.text[at + len(operator):end])

    def on_compound_assignment_operator(self, cursor, children, function, form):
        if len(children) != 2:
            return
        operator, at = self.operator_between(children)
        start, end = self.span(cursor)
        if operator in COMPOUND:
            for other in (COMPOUND[operator], "="):
                self.add(function, "assignment", form, (start, end),
                         self.text[start:at] + other + self.text[at + len(operator):end])

    def on_unary_operator(self, cursor, children, function, form):
        words = self.words(cursor)
        span = self.span(cursor)
        for one, other in (("++", "--"), ("--", "++")):
            if words.startswith(one):
                self.add(function, "step", form, span, other + words[2:])
                return
            if words.endswith(one):
                self.add(function, "step", form, span, words[:-2] + other)
                return
        if words[0] in "!~-":
            # A class says yes or no by a conversion, which the choice between two forms does not ask.
            is_class = any(part.type.get_canonical().kind == TypeKind.RECORD
                           for child in children for part in child.walk_preorder()
                           if self.span(part) == self.span(children[0]))
            self.add(function, "negation", form, span,
                     "!" + words if words[0] == "!" and is_class else words[1:])

    def on_integer_literal(self, cursor, children, function, form):
        words = self.words(cursor)
        if not words[:1].isdigit():
            return
        self.add(function, "constant", form, self.span(cursor), f"({words} + 1)")
        if words.rstrip("uUlL") not in ("0", "0x0"):
            self.add(function, "constant", form, self.span(cursor), f"({words} - 1)")

    def on_floating_literal(self, cursor, children, function, form):
        words = self.words(cursor)
        if words[:1].isdigit():
            self.add(function, "constant", form, self.span(cursor), f"({words} + 1)")

    def on_cxx_bool_literal_expr(self, cursor, children, function, form):
        words = self.words(cursor)
        if words in ("true", "false"):
            self.add(function, "constant", form, self.span(cursor),
                     "false" if words == "true" else "true")

    def on_decl_ref_expr(self, cursor, children, function, form):
        named = cursor.referenced
        if named is None or named.kind != CursorKind.VAR_DECL or form == "constant":
            return
        words = self.words(cursor)
        if words.startswith(("tag::", "reg::", "field::")):
            return
        if cursor.type.get_canonical().kind in INTEGERS and cursor.type.is_const_qualified() \
                and named.semantic_parent.kind in (CursorKind.NAMESPACE,
                                                   CursorKind.TRANSLATION_UNIT):
            # Of a bit the next one: beside it others are seldom looked at.
            other = "<< 1" if is_bit(named) else "+ 1"
            self.add(function, "constant", form, self.span(cursor), f"({words} {other})")

    def negate(self, condition, function, form):
        words = self.words(condition)
        kind = condition.kind
        if kind == CursorKind.UNEXPOSED_EXPR:
            inner = list(condition.get_children())
            if len(inner) == 1 and self.span(inner[0]) == self.span(condition):
                kind = inner[0].kind
                condition = inner[0]
        if not kind.is_expression() or words.startswith("!"):
            return
        if kind == CursorKind.BINARY_OPERATOR:
            children = list(condition.get_children())
            if len(children) == 2 and self.operator_between(children)[0] in COMPARISONS:
                return
        self.add(function, "condition", form, self.span(condition), f"!({words})")

    def on_conditional_operator(self, cursor, children, function, form):
        if children:
            self.negate(children[0], function, form)

    def on_call_expr(self, cursor, children, function, form):
        arguments = list(cursor.get_arguments())
        start, end = self.span(cursor)
        words = self.text[start:end]
        if any(argument is None for argument in arguments):
            return
        # Arguments that are not written (defaults) have no place in the text.
        spans = [self.span(argument) for argument in arguments]
        if not words.endswith(")") or "(" not in words:
            return
        # What makes a variable is no expression: its words begin with the variable's name.
        made = cursor.referenced
        if made is not None and made.kind == CursorKind.CONSTRUCTOR \
                and not words.split("(")[0].endswith(made.spelling.split("<")[0]):
            return
        for one, other in (("std::min", "std::max"), ("std::max", "std::min")):
            if words.startswith(one):
                self.add(function, "limit", form, (start, end), other + words[len(one):])
        if words.startswith(("std::min", "std::max")) and \
                cursor.type.get_canonical().kind in INTEGERS:
            return  # in any order
        for i in range(len(arguments) - 1):
            (a, b), (c, d) = spans[i], spans[i + 1]
            if not (start < a < b <= c < d < end):
                continue
            kinds = [arguments[k].type.get_canonical().spelling.replace("const ", "")
                     for k in (i, i + 1)]
            if kinds[0] == kinds[1] and kinds[0] and self.text[a:b] != self.text[c:d]:
                self.add(function, "arguments", form, (start, end),
                         self.text[start:a] + self.text[c:d] + self.text[b:c] + self.text[a:b]
                         + self.text[d:end])

    # Statements.

    def remove(self, statement, function, operator, other=""):
        start, end = self.span(statement)
        rest = self.text[end:end + 1]
        if rest == ";":
            self.add(function, operator, "statement", (start, end + 1), other)

    def on_compound_stmt(self, cursor, children, function, form):
        for child in children:
            while child.kind in (CursorKind.CASE_STMT, CursorKind.DEFAULT_STMT):
                parts = list(child.get_children())
                if not parts:
                    break
                child = parts[-1]
            self.on_statement(child, function)

    def on_statement(self, child, function):
        if child.kind == CursorKind.BREAK_STMT:
            self.remove(child, function, "jump")
            self.remove(child, function, "jump", "continue;")
        elif child.kind == CursorKind.CONTINUE_STMT:
            self.remove(child, function, "jump")
            self.remove(child, function, "jump", "break;")
        elif child.kind == CursorKind.RETURN_STMT:
            if not list(child.get_children()):
                self.remove(child, function, "return")
        elif child.kind.is_expression() and not self.words(child).startswith("(void)"):
            self.remove(child, function, "statement")

    def on_return_stmt(self, cursor, children, function, form):
        if not children:
            return
        value = children[0]
        while value.kind == CursorKind.UNEXPOSED_EXPR:
            inner = list(value.get_children())
            if len(inner) != 1 or self.span(inner[0]) != self.span(value):
                break
            value = inner[0]
        if value.kind not in (CursorKind.CALL_EXPR, CursorKind.DECL_REF_EXPR,
                              CursorKind.MEMBER_REF_EXPR, CursorKind.CONDITIONAL_OPERATOR,
                              CursorKind.PAREN_EXPR):
            return
        kind = value.type.get_canonical().kind
        words = self.words(value)
        if kind == TypeKind.BOOL:
            self.add(function, "return", form, self.span(value), f"!({words})")
        elif kind in INTEGERS:
            self.add(function, "return", form, self.span(value), f"(({words}) + 1)")
        elif kind == TypeKind.POINTER:
            self.add(function, "return", form, self.span(value), "nullptr")

    def on_if_stmt(self, cursor, children, function, form):
        constant = self.words(cursor)[2:].lstrip().startswith("constexpr")
        if children:
            self.negate(children[0], function, "constant" if constant else form)
        if len(children) == 3 and not constant:
            self.add(function, "else", "else", self.span(children[2]), "{}")

    def on_while_stmt(self, cursor, children, function, form):
        if children:
            self.negate(children[0], function, form)

    on_do_stmt = None

    def on_for_stmt(self, cursor, children, function, form):
        for child in children[:-1]:
            if child.kind in (CursorKind.BINARY_OPERATOR,):
                self.negate(child, function, form)


def find(root, parts, arguments, tell):
    """All faults in the files of `parts` (folders below `root`), in a fixed order.

    `arguments` are those of the compiler. `tell(line)` is told of what cannot be parsed.
    """
    index = cindex.Index.create()
    finder = Finder(root, parts)
    options = cindex.TranslationUnit.PARSE_DETAILED_PROCESSING_RECORD
    sources = sorted(str(path) for part in parts for path in (root / part).rglob("*.cpp"))
    headers = sorted(str(path) for part in parts for path in (root / part).rglob("*.h"))
    for source in sources + headers:
        if source in headers and str(pathlib.Path(source).relative_to(root)) in finder.seen:
            continue
        unit = index.parse(source, args=arguments, options=options)
        errors = [d for d in unit.diagnostics if d.severity >= cindex.Diagnostic.Error]
        if errors:
            tell(f"{source}: {errors[0].spelling}")
        finder.take(unit)
    return finder.faults()
