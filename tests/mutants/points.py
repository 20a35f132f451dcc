"""Finds the places of the production code into which a fault can be put, in clang's syntax tree."""

import re
from dataclasses import dataclass, field

from clang.cindex import Cursor, CursorKind as Kind, Index, TranslationUnit, TypeKind

RELATIONS = {"<": "<=", "<=": "<", ">": ">=", ">=": ">", "==": "!=", "!=": "=="}
ARITHMETIC = {"+": "-", "-": "+", "*": "/", "/": "*", "%": "*"}
LOCKS = re.compile(r"\b(lock_guard|unique_lock|scoped_lock|shared_lock|QMutexLocker|QReadLocker|QWriteLocker)\b")
NUMBERS = {
    TypeKind.BOOL, TypeKind.CHAR_U, TypeKind.UCHAR, TypeKind.USHORT, TypeKind.UINT, TypeKind.ULONG,
    TypeKind.ULONGLONG, TypeKind.CHAR_S, TypeKind.SCHAR, TypeKind.SHORT, TypeKind.INT, TypeKind.LONG,
    TypeKind.LONGLONG, TypeKind.FLOAT, TypeKind.DOUBLE, TypeKind.LONGDOUBLE,
}
FUNCTIONS = {
    Kind.FUNCTION_DECL, Kind.CXX_METHOD, Kind.CONSTRUCTOR, Kind.DESTRUCTOR, Kind.CONVERSION_FUNCTION,
    Kind.FUNCTION_TEMPLATE,
}
NOT_ENTERED = {
    Kind.STATIC_ASSERT, Kind.PARM_DECL, Kind.TYPE_REF, Kind.TEMPLATE_REF, Kind.NAMESPACE_REF,
    Kind.TEMPLATE_TYPE_PARAMETER, Kind.TEMPLATE_NON_TYPE_PARAMETER, Kind.ENUM_DECL, Kind.TYPE_ALIAS_DECL,
    Kind.TYPEDEF_DECL,
}


@dataclass
class Edit:
    """Text to insert before and after a piece of the source; {n} is replaced by the fault's number."""
    start: int
    end: int
    before: str
    after: str


@dataclass
class Point:
    path: str
    line: int
    function: str
    kind: str
    text: str
    edit: Edit = field(repr=False)
    number: int = 0

    def name(self):
        """Identifies the fault, independently of its line number."""
        return f"{self.path}: {self.function}: {self.kind}: {self.text}"


def one_line(text: bytes) -> str:
    return re.sub(r"\s+", " ", text.decode("utf-8", "replace")).strip()


def order_matters(first, second):
    """Two assignments can be swapped without effect if neither uses what the other one sets."""
    targets = [re.fullmatch(r'([\w.>\-:\[\]"]+) = [^;]*;', text) for text in (first, second)]
    if first == second:
        return False
    return not all(targets) or targets[0][1] in second or targets[1][1] in first


class Finder:
    """Finds the places of one translation unit, in the files that `wanted` accepts."""

    def __init__(self, root, wanted):
        self.root = root
        self.wanted = wanted
        self.sources = {}
        self.points = []
        self.function = ""

    def find(self, path, arguments):
        unit = Index.create().parse(
            path, arguments, options=TranslationUnit.PARSE_DETAILED_PROCESSING_RECORD)
        fatal = [d for d in unit.diagnostics if d.severity >= 4]
        if fatal:
            raise RuntimeError(f"{path}: {fatal[0]}")
        self.macros = {}
        for child in unit.cursor.get_children():
            if child.kind == Kind.MACRO_INSTANTIATION and child.location.file:
                name = child.location.file.name
                if self.relative(name):
                    extent = child.extent
                    self.macros.setdefault(name, []).append((extent.start.offset, extent.end.offset))
        self.declarations(unit.cursor)
        return self.points

    def relative(self, name):
        if not name.startswith(self.root + "/"):
            return None
        relative = name[len(self.root) + 1:]
        return relative if self.wanted(relative) else None

    def source(self, name):
        if name not in self.sources:
            with open(name, "rb") as file:
                self.sources[name] = file.read()
        return self.sources[name]

    # -- from declarations to the bodies of functions

    def declarations(self, parent):
        for child in parent.get_children():
            if parent.kind == Kind.TRANSLATION_UNIT and not (
                    child.location.file and self.relative(child.location.file.name)):
                continue
            if child.kind in FUNCTIONS:
                self.enter(child)
            elif child.kind == Kind.FIELD_DECL:
                self.function = child.spelling
                self.children(child)
            elif child.kind in (Kind.NAMESPACE, Kind.CLASS_DECL, Kind.STRUCT_DECL, Kind.CLASS_TEMPLATE,
                                Kind.LINKAGE_SPEC, Kind.UNEXPOSED_DECL):
                self.declarations(child)

    def enter(self, function: Cursor):
        if not function.is_definition() or not function.location.file:
            return
        self.file = function.location.file.name
        if not self.relative(self.file):
            return
        parent = function.semantic_parent
        inside = parent is not None and parent.kind in (Kind.CLASS_DECL, Kind.STRUCT_DECL, Kind.CLASS_TEMPLATE)
        if not inside and not list(function.get_arguments()) and self.text(function).startswith(b"constexpr"):
            return # it is a constant, which the compiler evaluates, so that no fault can be switched on
        self.function = f"{parent.spelling}::{function.spelling}" if inside else function.spelling
        self.children(function)

    def children(self, node):
        self.file = node.location.file.name if node.location.file else ""
        if self.relative(self.file):
            for child in self.after_name(node, node.get_children()):
                self.visit(child)

    # -- within the body of a function

    def visit(self, node):
        if node.kind in NOT_ENTERED:
            return
        if node.kind == Kind.DECL_STMT and re.match(rb"(static\s+)?constexpr\b", self.text(node)):
            return
        look = getattr(self, "look_" + node.kind.name.lower(), None)
        if look:
            look(node)
        if node.kind in (Kind.COMPOUND_STMT, Kind.IF_STMT, Kind.WHILE_STMT, Kind.FOR_STMT, Kind.CXX_FOR_RANGE_STMT,
                         Kind.CASE_STMT, Kind.DEFAULT_STMT):
            self.statements(node)
        for child in self.run_time(node):
            self.visit(child)

    @staticmethod
    def run_time(node):
        """@return the children except compile-time constants: labels, template arguments, array sizes"""
        children = list(node.get_children())
        if node.kind == Kind.CASE_STMT:
            return children[1:]
        if node.kind == Kind.DECL_REF_EXPR:
            return []
        if node.kind == Kind.MEMBER_REF_EXPR:
            return children[:1]
        if node.kind in (Kind.VAR_DECL, Kind.FIELD_DECL) and node.type.kind == TypeKind.CONSTANTARRAY:
            return [child for child in children if child.kind == Kind.INIT_LIST_EXPR]
        return Finder.after_name(node, children) if node.kind == Kind.VAR_DECL else children

    @staticmethod
    def after_name(declaration, children):
        """@return the children that stand after the declared name: those before it belong to the type"""
        return [child for child in children if child.extent.start.offset >= declaration.location.offset]

    def range(self, node):
        return node.extent.start.offset, node.extent.end.offset

    def text(self, node):
        start, end = self.range(node)
        return self.source(self.file)[start:end]

    def usable(self, node):
        extent = node.extent
        if not extent.start.file or extent.start.file.name != self.file or extent.end.file.name != self.file:
            return False
        start, end = self.range(node)
        return start < end and not any(s <= start and end <= e for s, e in self.macros.get(self.file, []))

    def add(self, node, kind, before, after, end=None, text=None):
        if not self.usable(node):
            return
        start, own_end = self.range(node)
        text = one_line(text if text is not None else self.source(self.file)[start:own_end])
        edit = Edit(start, end or own_end, before, after)
        self.points.append(Point(
            self.relative(self.file), node.extent.start.line, self.function, kind, text, edit))

    # -- conditions

    def condition(self, node):
        if not node.kind.is_expression():
            return
        if self.operator(node)[1] not in ("==", "!=", "&&", "||"):
            self.add(node, "turned round", "::mutants::Not({n},static_cast<bool>(", "))")

    def look_if_stmt(self, node):
        if not re.match(rb"if\s+constexpr", self.text(node)):
            first = next(node.get_children())
            declares = first.kind == Kind.VAR_DECL or first.kind == Kind.DECL_STMT
            if not declares:
                self.condition(first)

    def look_while_stmt(self, node):
        self.condition(next(node.get_children()))

    def look_conditional_operator(self, node):
        self.condition(next(node.get_children()))

    def look_do_stmt(self, node):
        self.condition(list(node.get_children())[-1])

    def look_return_stmt(self, node):
        for value in node.get_children():
            plain = value.kind == Kind.CXX_BOOL_LITERAL_EXPR or self.operator(value)[1] in RELATIONS
            if value.type.get_canonical().kind == TypeKind.BOOL and not plain:
                self.condition(value)

    # -- operators

    def operator(self, node):
        """@return the left operand, the operator and the right operand; None, "" and None if there are none"""
        while node.kind in (Kind.UNEXPOSED_EXPR, Kind.PAREN_EXPR):
            inner = list(node.get_children())
            if len(inner) != 1:
                break
            node = inner[0]
        if node.kind == Kind.CALL_EXPR and node.spelling.startswith("operator"):
            sides = list(node.get_arguments())
        elif node.kind == Kind.BINARY_OPERATOR:
            sides = list(node.get_children())
        else:
            return None, "", None
        if len(sides) != 2 or not (self.usable(sides[0]) and self.usable(sides[1])):
            return None, "", None
        between = self.source(self.file)[sides[0].extent.end.offset:sides[1].extent.start.offset]
        return sides[0], one_line(between).strip("() "), sides[1]

    def other(self, node, left, sign, right):
        """Adds a fault that uses another operator for the same operands."""
        changed = f"({one_line(self.text(left))}){sign}({one_line(self.text(right))})"
        if "//" in changed or "/*" in changed:
            return
        text = self.text(node) + b" -> " + sign.encode()
        changed = changed.replace("{", "{{").replace("}", "}}")
        self.add(node, "other operator", "(::mutants::On({n})?(" + changed + "):(", "))", text=text)

    def look_binary_operator(self, node):
        left, sign, right = self.operator(node)
        if sign in ("&&", "||"):
            for side in (left, right):
                self.add(side, "left out of the condition",
                         "(::mutants::On({n})?" + ("true" if sign == "&&" else "false") + ":static_cast<bool>(", "))")
        elif sign in RELATIONS:
            self.other(node, left, RELATIONS[sign], right)
        elif sign in ARITHMETIC:
            kinds = {side.type.get_canonical().kind for side in (left, right)}
            if kinds <= NUMBERS:
                self.other(node, left, ARITHMETIC[sign], right)

    def look_call_expr(self, node):
        left, sign, right = self.operator(node)
        if sign in ("==", "!="): # the type may have only one of them
            self.add(node, "turned round", "::mutants::Not({n},static_cast<bool>(", "))")
        elif sign in RELATIONS:
            self.other(node, left, RELATIONS[sign], right)

    # -- constants

    def look_integer_literal(self, node):
        if re.fullmatch(rb"(0[xX][0-9a-fA-F']+|[0-9][0-9']*)[uUlL]*", self.text(node)):
            self.add(node, "other constant", "::mutants::Changed({n},", ")")

    def look_cxx_bool_literal_expr(self, node):
        self.add(node, "other constant", "::mutants::Changed({n},", ")")

    def look_decl_ref_expr(self, node):
        named = node.referenced
        if named is None or named.kind != Kind.VAR_DECL or not self.usable(node):
            return
        canonical = named.type.get_canonical()
        duration = canonical.spelling.startswith("const std::chrono::duration")
        if not canonical.is_const_qualified() or not (canonical.kind in NUMBERS or duration):
            return
        if named.semantic_parent.kind in FUNCTIONS and b"constexpr" not in self.text_of(named):
            return
        self.add(node, "other constant", "::mutants::Changed({n},", ")")

    def text_of(self, declaration):
        extent = declaration.extent
        return self.source(extent.start.file.name)[extent.start.offset:extent.end.offset]

    # -- locks

    def look_var_decl(self, node):
        if not LOCKS.search(node.type.spelling):
            return
        for construction in node.get_children():
            arguments = list(construction.get_arguments()) if construction.kind == Kind.CALL_EXPR else []
            if arguments:
                self.add(arguments[0], "lock left out", "::mutants::Lock({n},", ")", text=self.text(node))

    # -- statements

    REMOVABLE = {Kind.CALL_EXPR, Kind.COMPOUND_ASSIGNMENT_OPERATOR, Kind.CXX_DELETE_EXPR, Kind.CXX_THROW_EXPR,
                 Kind.UNARY_OPERATOR}

    def removable(self, node):
        inner = node
        while inner.kind == Kind.UNEXPOSED_EXPR:
            children = list(inner.get_children())
            if len(children) != 1:
                break
            inner = children[0]
        if inner.kind == Kind.BINARY_OPERATOR:
            left, sign, _ = self.operator(inner)
            return left is not None and sign == "="
        if inner.kind == Kind.UNARY_OPERATOR:
            return b"++" in self.text(inner) or b"--" in self.text(inner)
        return inner.kind in self.REMOVABLE and inner.spelling != "reserve" # only saves time

    def after(self, node):
        """@return the position after the statement's semicolon, or None"""
        match = re.compile(rb"\s*;").match(self.source(self.file), node.extent.end.offset)
        return match.end() if match else None

    def statements(self, node):
        children = list(node.get_children())
        if node.kind in (Kind.IF_STMT, Kind.WHILE_STMT, Kind.FOR_STMT, Kind.CXX_FOR_RANGE_STMT):
            children = [c for c in children[1:] if self.usable(c) and self.is_body(c, node)]
        elif node.kind in (Kind.CASE_STMT, Kind.DEFAULT_STMT):
            children = children[-1:]
        removable = []
        for child in children:
            end = self.after(child) if self.usable(child) else None
            jump = child.kind in (Kind.BREAK_STMT, Kind.CONTINUE_STMT) or (
                child.kind == Kind.RETURN_STMT and not list(child.get_children()))
            if end and (jump or self.removable(child)):
                self.add(child, "left out", "{{if(!::mutants::On({n})){{", "}}}}", end)
            removable.append(end if end and not jump and self.removable(child) else None)
        if node.kind == Kind.COMPOUND_STMT:
            self.swaps(children, removable)

    def is_body(self, child, node):
        source = self.source(self.file)
        before = source[node.extent.start.offset:child.extent.start.offset].rstrip()
        return before.endswith(b")") or before.endswith(b"else")

    def swaps(self, children, ends):
        index = 0
        while index + 1 < len(children):
            if not (ends[index] and ends[index + 1]):
                index += 1
                continue
            first, second = children[index], children[index + 1]
            source = self.source(self.file)
            texts = [one_line(source[c.extent.start.offset:e]) for c, e in
                     ((first, ends[index]), (second, ends[index + 1]))]
            if order_matters(*texts) and not any(mark in t for t in texts for mark in ("//", "/*", 'R"')):
                swapped = (texts[1] + texts[0]).replace("{", "{{").replace("}", "}}")
                self.add(first, "swapped", "{{if(::mutants::On({n})){{" + swapped + "}}else{{", "}}}}",
                         ends[index + 1], text=" ".join(texts).encode())
            index += 2
