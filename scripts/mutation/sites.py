# sites.py - finds the places that a mutation run can change, and writes the instrumented sources.
#
# A mutant has a number and a place: an expression that is wrapped in a call, or a statement after a
# test of the number. All mutants are in the sources, and in one build, at the same time (see
# Mutants.h). Lines keep their numbers, and a run needs no compiler.

import bisect
import collections
import re

from clang import cindex
from clang.cindex import CursorKind as Kind
from clang.cindex import TypeKind

COMPARISONS = {"<": "less", "<=": "less_equal", ">": "greater", ">=": "greater_equal"}
MOVED = {"<": "<=", "<=": "<", ">": ">=", ">=": ">"}
TURNED = {"<": ">=", "<=": ">", ">": "<=", ">=": "<"}
OPERATORS = {*COMPARISONS, "==", "!=", "&&", "||", "+", "-", "+=", "-=", "="}
RESULTS = {"kResultSuccess": "kResultFailure", "kResultFailure": "kResultSuccess",
           "kResultOutOfRange": "kResultFailure", "kResultNothingDone": "kResultSuccess",
           "kAudioHardwareNoError": "kAudioHardwareUnspecifiedError",
           "kAudioHardwareUnspecifiedError": "kAudioHardwareNoError"}
CONSTANT = re.compile(r"((?:\w+::)*)(k[A-Z]\w*)")
FUNCTIONS = {Kind.FUNCTION_DECL, Kind.FUNCTION_TEMPLATE, Kind.CXX_METHOD, Kind.CONSTRUCTOR,
             Kind.DESTRUCTOR, Kind.CONVERSION_FUNCTION}
CLASSES = {Kind.CLASS_DECL, Kind.STRUCT_DECL, Kind.CLASS_TEMPLATE,
           Kind.CLASS_TEMPLATE_PARTIAL_SPECIALIZATION}
LITERALS = {Kind.INTEGER_LITERAL, Kind.CHARACTER_LITERAL, Kind.FLOATING_LITERAL}
LOOPS = {Kind.FOR_STMT, Kind.WHILE_STMT, Kind.DO_STMT, Kind.CXX_FOR_RANGE_STMT}
JUMPS = {Kind.BREAK_STMT, Kind.CONTINUE_STMT}
CASTS = {Kind.CXX_STATIC_CAST_EXPR, Kind.CXX_REINTERPRET_CAST_EXPR, Kind.CXX_CONST_CAST_EXPR,
         Kind.CXX_DYNAMIC_CAST_EXPR}
# What is in these is not evaluated while the program runs.
UNEVALUATED = {Kind.CXX_UNARY_EXPR, Kind.CXX_TYPEID_EXPR, Kind.STATIC_ASSERT, Kind.TYPE_REF,
               Kind.TEMPLATE_REF, Kind.PARM_DECL, Kind.TEMPLATE_TYPE_PARAMETER,
               Kind.TEMPLATE_NON_TYPE_PARAMETER, Kind.TYPE_ALIAS_DECL, Kind.TYPEDEF_DECL}
NUMBERS = {TypeKind.INVALID, TypeKind.UNEXPOSED, TypeKind.DEPENDENT, TypeKind.POINTER,
           TypeKind.CONSTANTARRAY, TypeKind.ENUM, TypeKind.BOOL, TypeKind.FLOAT, TypeKind.DOUBLE}
INTEGERS = {TypeKind.CHAR_U, TypeKind.UCHAR, TypeKind.CHAR16, TypeKind.CHAR32, TypeKind.USHORT,
            TypeKind.UINT, TypeKind.ULONG, TypeKind.ULONGLONG, TypeKind.CHAR_S, TypeKind.SCHAR,
            TypeKind.WCHAR, TypeKind.SHORT, TypeKind.INT, TypeKind.LONG, TypeKind.LONGLONG}

ARRAYS = {TypeKind.CONSTANTARRAY, TypeKind.DEPENDENTSIZEDARRAY}

Wrap = collections.namedtuple("Wrap", "begin end before after mutants")


# One change: where it is (the text is the line's), and what it is called.
Mutant = collections.namedtuple("Mutant", "number file function line text change")


class Source:
    """One file, its mutants, and the wraps and operators that make them."""

    def __init__(self, name, path):
        self.name, self.bytes = name, path.read_bytes()
        self.starts = [0] + [i + 1 for i, byte in enumerate(self.bytes) if byte == ord("\n")]
        self.wraps, self.operators, self.seen = [], {}, set()
        self.ranges = []

    def text(self, begin, end):
        return self.bytes[begin:end].decode()

    def place(self, offset):
        """Returns the line's number and its text."""
        index = bisect.bisect_right(self.starts, offset) - 1
        following = self.starts[index + 1] if index + 1 < len(self.starts) else len(self.bytes) + 1
        return index + 1, self.text(self.starts[index], following - 1).strip()

    def render(self, header, dropped):
        """Returns the instrumented text; the mutants in `dropped` are left out of it."""
        wraps = [w for w in self.wraps if not dropped.intersection(w.mutants)]
        lost = {n for w in self.wraps if dropped.intersection(w.mutants) for n in w.mutants}
        opening, closing = collections.defaultdict(list), collections.defaultdict(list)
        for order, wrap in enumerate(wraps):
            opening[wrap.begin].append((-wrap.end, order, wrap))
            closing[wrap.end].append((-wrap.begin, -order, wrap))
        # The first line of every file is the comment that names it.
        position = self.starts[1] - 1
        parts = [f'#include "{header}"'.encode()]
        length = len(parts[0])
        begun, self.ranges = {}, []
        operators = {begin: (end, text) for begin, (end, text, mutants) in self.operators.items()
                     if not lost.intersection(mutants)}
        for stop in sorted({*opening, *closing, *operators, len(self.bytes)}):
            if stop < position:
                continue
            parts.append(self.bytes[position:stop])
            length, position = length + stop - position, stop
            for _, _, wrap in sorted(closing.get(stop, ())):
                parts.append(wrap.after.encode())
                length += len(parts[-1])
                self.ranges.append((begun[id(wrap)], length, wrap.mutants))
            for _, _, wrap in sorted(opening.get(stop, ())):
                begun[id(wrap)] = length
                parts.append(wrap.before.encode())
                length += len(parts[-1])
            if stop in operators:
                position, text = operators[stop]
                parts.append(text.encode())
                length += len(text)
        result = b"".join(parts)
        self.rendered_starts = [0] + [i + 1 for i, byte in enumerate(result) if byte == ord("\n")]
        return result

    def mutants_at(self, line, column):
        """Returns the numbers of the innermost wrap at a place of the instrumented text."""
        if line > len(self.rendered_starts):
            return ()
        offset = self.rendered_starts[line - 1] + column - 1
        around = [(end - begin, mutants) for begin, end, mutants in self.ranges
                  if begin <= offset < end]
        if not around:
            around = [(end - begin, mutants) for begin, end, mutants in self.ranges
                      if bisect.bisect_right(self.rendered_starts, begin) == line]
        return min(around)[1] if around else ()


class Finder:
    """Walks what libclang makes of the sources, and collects the mutants of the product's files."""

    def __init__(self, root, product):
        self.root, self.product = root, product
        self.sources, self.mutants = {}, {}
        self.source = self.scope = None

    def parse(self, path, arguments):
        unit = cindex.Index.create().parse(str(path), arguments)
        errors = [str(d) for d in unit.diagnostics if d.severity >= cindex.Diagnostic.Error]
        if errors:
            raise RuntimeError(f"{path} does not parse: {errors[0]}")
        fresh = {}
        for cursor in unit.cursor.get_children():
            name = self.name_of(cursor)
            if name is not None and fresh.setdefault(name, name not in self.sources):
                self.source = self.sources.setdefault(name, Source(name, self.root / name))
                self.declaration(cursor)

    def name_of(self, cursor):
        file = cursor.location.file
        if file is None:
            return None
        for top in self.product:
            at = file.name.find(f"/{top}/")
            if at >= 0:
                return file.name[at + 1:]
        return None

    # Places.

    def extent(self, cursor):
        return cursor.extent.start.offset, cursor.extent.end.offset

    def text_of(self, cursor):
        return self.source.text(*self.extent(cursor))

    def new(self, begin, change, count=1):
        """Returns the number of a new mutant, or None if another unit has found it before."""
        if (begin, change) in self.source.seen:
            return None
        self.source.seen.add((begin, change))
        number = len(self.mutants) + 1
        self.mutants[number] = Mutant(number, self.source.name, self.scope,
                                      *self.source.place(begin), change)
        return number

    def wrap(self, extent, before, after, *mutants):
        before = before.replace("@", str(mutants[0]))
        self.source.wraps.append(Wrap(*extent, before, after, mutants))

    def add(self, extent, change, before, after):
        if extent[0] < self.source.starts[1]:
            return
        number = self.new(extent[0], change)
        if number is not None:
            self.wrap(extent, before, after, number)

    # Declarations.

    def declaration(self, cursor):
        kind = cursor.kind
        names = [c.spelling.split("<")[0] or "operator<" for c in (cursor.semantic_parent, cursor)
                 if c is not None and (c.kind in CLASSES or c is cursor)]
        self.scope = "::".join(names)
        if kind in FUNCTIONS:
            if cursor.is_definition():
                self.function(cursor)
        elif kind == Kind.FIELD_DECL:
            if not cursor.is_bitfield():
                self.variable(cursor, list(cursor.get_children()))
        elif kind in CLASSES or kind in (Kind.NAMESPACE, Kind.LINKAGE_SPEC, Kind.UNEXPOSED_DECL):
            for child in cursor.get_children():
                self.declaration(child)

    def function(self, cursor):
        result = cursor.result_type.get_canonical().kind
        self.returns_reference = result in (TypeKind.LVALUEREFERENCE, TypeKind.RVALUEREFERENCE)
        children = list(cursor.get_children())
        body = next((c for c in children if c.kind == Kind.COMPOUND_STMT), None)
        try_body = next((c for c in children if c.kind == Kind.CXX_TRY_STMT), None)
        if cursor.kind == Kind.CONSTRUCTOR:
            for child in children:
                if child.kind.is_expression():
                    self.visit(child)
        # Only a throw can end a body that must return a value, or that never returns.
        last = list(body.get_children())[-1:] if body else []
        self.ends = {self.extent(c) for c in last if result != TypeKind.VOID or
                     self.core(c).kind == Kind.CXX_THROW_EXPR}
        if body or try_body:
            self.visit(body or try_body)

    # Statements.

    def visit(self, cursor):
        kind = cursor.kind
        if kind in UNEVALUATED or kind.is_attribute():
            return
        if kind == Kind.COMPOUND_STMT:
            return self.block(cursor)
        children = list(cursor.get_children())
        if kind == Kind.VAR_DECL:
            return self.variable(cursor, children)
        if kind == Kind.CASE_STMT:
            children = children[1:]
            self.loose(children)
        elif kind == Kind.DEFAULT_STMT:
            self.loose(children)
        elif kind == Kind.IF_STMT:
            if re.match(r"if\s+constexpr", self.text_of(cursor)):
                children = children[1:]
            elif children[0].kind != Kind.VAR_DECL:
                self.condition(next(c for c in children if c.kind.is_expression()))
        elif kind == Kind.WHILE_STMT and children[0].kind != Kind.VAR_DECL:
            self.condition(children[0])
        elif kind == Kind.DO_STMT:
            self.condition(children[-1])
        elif kind == Kind.SWITCH_STMT:
            value = next(c for c in children if c.kind.is_expression())
            self.ends.update(self.extent(c) for c in self.last_jumps(children[-1]))
            self.add(self.extent(value), "switches on another value", "QXMutants::Next(@, ", ")")
        elif kind == Kind.RETURN_STMT:
            self.returned(cursor, children)
        elif kind.is_expression():
            children = self.expression(cursor, children)
        for child in children:
            self.visit(child)

    def block(self, cursor):
        statements = list(cursor.get_children())
        for statement in statements:
            self.visit(statement)
        self.loose(statements)
        for first, second in zip(statements, statements[1:]):
            if self.is_removable(first) and self.is_removable(second):
                self.exchange(first, second)

    def loose(self, statements):
        """Statements that can be left out."""
        for statement in statements:
            bare_return = (statement.kind == Kind.RETURN_STMT and
                           not list(statement.get_children()))
            if self.extent(statement) in self.ends:
                continue
            if self.is_removable(statement) or statement.kind in JUMPS or bare_return:
                self.add(self.extent(statement), "left out", "if (QXMutants::On(@)) ; else ", "")

    def last_jumps(self, body):
        """The break that ends a switch: no case comes after it."""
        last = list(body.get_children())[-1:]
        while last and last[0].kind in (Kind.CASE_STMT, Kind.DEFAULT_STMT, Kind.COMPOUND_STMT):
            last = list(last[0].get_children())[-1:]
        return [c for c in last if c.kind == Kind.BREAK_STMT]

    def is_removable(self, statement):
        if not statement.kind.is_expression():
            return False
        core = self.core(statement)
        text = self.text_of(statement)
        if text.startswith("static_cast<void>") or not self.text_of(core):
            return False
        if core.kind in (Kind.CALL_EXPR, Kind.CXX_DELETE_EXPR, Kind.CXX_THROW_EXPR,
                         Kind.COMPOUND_ASSIGNMENT_OPERATOR):
            return True
        found = self.binary(core, list(core.get_children()))
        return found is not None and found[1] == "="

    def exchange(self, first, second):
        calls = [c for s in (first, second) for c in s.walk_preorder() if c.kind == Kind.CALL_EXPR]
        if not calls:
            return
        one, two = self.extent(first), self.extent(second)
        number = self.new(one[0], "exchanged with the next")
        if number is None:
            return
        flat = [re.sub(r"\s+", " ", re.sub(r"//.*", "", self.source.text(*e))) for e in (two, one)]
        self.wrap(one, f"if (QXMutants::On(@)) {{ {flat[0]}; {flat[1]}; }} else ", "", number)
        self.wrap(two, "if (QXMutants::On(@)) ; else ", "", number)

    def variable(self, cursor, children):
        before = self.text_of(cursor)[: max(0, cursor.location.offset - self.extent(cursor)[0])]
        if re.search(r"\bconstexpr\b", before):
            return
        # What is before the name, and the size of an array, belong to the type.
        if cursor.type.get_canonical().kind in ARRAYS:
            children = [c for c in children if c.kind == Kind.INIT_LIST_EXPR]
        for child in children:
            if child.kind.is_expression() and self.extent(child)[0] >= cursor.location.offset:
                self.visit(child)

    def returned(self, cursor, children):
        if not children:
            return
        value, core = children[0], self.core(children[0])
        text = self.text_of(value)
        if self.is_decided(core) or self.returns_reference or text in ("nullptr", "{}"):
            return
        kind = value.type.get_canonical().kind
        if kind == TypeKind.BOOL:
            self.add(self.extent(value), "returns the opposite",
                     "(QXMutants::On(@) != bool(", "))")
        elif kind in INTEGERS or kind in (TypeKind.ENUM, TypeKind.FLOAT, TypeKind.DOUBLE):
            if not self.is_constant(core):
                self.add(self.extent(value), "returns another value", "QXMutants::Next(@, ", ")")
        elif kind != TypeKind.VOID:
            begin, end = self.extent(cursor)
            end = self.source.bytes.index(b";", end) + 1
            self.add((begin, end), "returns an empty value",
                     "{ if (QXMutants::On(@)) return {}; ", " }")

    # Expressions.

    def core(self, cursor):
        """The expression without parentheses and without what the compiler adds."""
        while cursor.kind in (Kind.UNEXPOSED_EXPR, Kind.PAREN_EXPR):
            children = list(cursor.get_children())
            if len(children) != 1:
                break
            cursor = children[0]
        return cursor

    def is_constant(self, core):
        return (core.kind in LITERALS or core.kind == Kind.CXX_BOOL_LITERAL_EXPR or
                CONSTANT.fullmatch(self.text_of(core)) is not None)

    def is_decided(self, core):
        """Returns whether the expression has mutants of its own that give the opposite answer."""
        if core.kind == Kind.CXX_BOOL_LITERAL_EXPR:
            return True
        if core.kind == Kind.UNARY_OPERATOR and self.text_of(core).startswith("!"):
            return self.is_decided(self.core(next(core.get_children())))
        found = self.binary(core, list(core.get_children()))
        return found is not None and found[1] in (*COMPARISONS, "==", "!=", "&&", "||")

    def condition(self, cursor):
        if not self.is_decided(self.core(cursor)):
            self.add(self.extent(cursor), "turned round", "(QXMutants::On(@) != bool(", "))")

    def binary(self, cursor, children):
        """Returns the left operand, the operator, the right operand and the operator's place."""
        if not cursor.kind.is_expression():
            return None
        operands = sorted((c for c in children if c.kind.is_expression()), key=self.extent)
        if len(operands) == 3 and self.text_of(operands[1]) in OPERATORS:
            del operands[1]
        if len(operands) != 2:
            return None
        left, right = self.extent(operands[0]), self.extent(operands[1])
        between = self.source.text(left[1], right[0])
        if between.strip() not in OPERATORS:
            return None
        begin = left[1] + len(between) - len(between.lstrip())
        return operands[0], between.strip(), operands[1], begin

    def expression(self, cursor, children):
        """Adds the mutants of one expression and returns what is to be visited below it."""
        kind, extent, text = cursor.kind, self.extent(cursor), self.text_of(cursor)
        if kind in LITERALS:
            if re.match(r"[\d'.]|u?8?'", text):
                self.add(extent, f"{text} becomes another value", "QXMutants::Next(@, ", ")")
        elif kind == Kind.CXX_BOOL_LITERAL_EXPR:
            if text in ("true", "false"):
                self.add(extent, f"{text} turned round", "(QXMutants::On(@) != ", ")")
        elif CONSTANT.fullmatch(text):
            self.constant(cursor, extent, text)
            return []
        elif kind == Kind.DECL_REF_EXPR:
            return []
        elif kind == Kind.MEMBER_REF_EXPR:
            return [c for c in children if self.extent(c)[0] == extent[0]]
        elif kind in CASTS:
            return children[-1:]
        elif kind == Kind.CONDITIONAL_OPERATOR:
            self.condition(children[0])
        elif kind == Kind.UNARY_OPERATOR and text[:2] in ("++", "--"):
            name = "Up" if text[:2] == "++" else "Down"
            change = f"{text[:2]} becomes {'--' if name == 'Up' else '++'}"
            number = self.new(extent[0], change)
            if number is not None:
                self.wrap(extent, f"QXMutants::{name}(@, ", ")", number)
                self.source.operators[extent[0]] = (extent[0] + 2, "", (number,))
        else:
            found = self.binary(cursor, children)
            if found is not None:
                self.operator(extent, *found)
        return children

    def constant(self, cursor, extent, text):
        if cursor.type.get_canonical().kind in (TypeKind.RECORD, TypeKind.CONSTANTARRAY):
            return
        scope, name = CONSTANT.fullmatch(text).groups()
        if name in RESULTS:
            self.add(extent, f"{name} becomes {RESULTS[name]}",
                     "QXMutants::Other(@, ", f", {scope}{RESULTS[name]})")
        else:
            self.add(extent, f"{name} becomes another value", "QXMutants::Next(@, ", ")")

    def operator(self, extent, left, operator, right, place):
        after_operator = place + len(operator)
        if operator in ("==", "!="):
            opposite = "!=" if operator == "==" else "=="
            number = self.new(place, f"{operator} becomes {opposite}")
            if number is not None:
                self.wrap(extent, "QXMutants::Turned(@, ", ")", number)
        elif operator in ("&&", "||"):
            self.condition(left)
            self.condition(right)
            opposite = "||" if operator == "&&" else "&&"
            number = self.new(place, f"{operator} becomes {opposite}")
            if number is not None:
                for part in (extent, self.extent(left), self.extent(right)):
                    self.wrap(part, "(QXMutants::On(@) != bool(", "))", number)
        elif operator in COMPARISONS:
            border = self.new(place, f"{operator} becomes {MOVED[operator]}")
            if border is not None:
                turned = self.new(place, f"{operator} becomes {TURNED[operator]}")
                types = [f"std::{COMPARISONS[o]}<>" for o in (operator, MOVED[operator])]
                self.wrap(extent, f"QXMutants::Compare<{', '.join(types)}>(@, {turned}, ", ")",
                          border, turned)
                self.source.operators[place] = (after_operator, ",", (border, turned))
        elif operator in ("+", "-"):
            kinds = [c.type.get_canonical().kind for c in (left, right)]
            if operator == "-" and kinds == [TypeKind.POINTER, TypeKind.POINTER]:
                self.add(extent, "the distance becomes another", "QXMutants::Next(@, ", ")")
            elif all(k in NUMBERS or k in INTEGERS for k in kinds):
                opposite = "-" if operator == "+" else "+"
                number = self.new(place, f"{operator} becomes {opposite}")
                if number is not None:
                    name = "Plus" if operator == "+" else "Minus"
                    self.wrap(extent, f"QXMutants::{name}(@, ", ")", number)
                    self.source.operators[place] = (after_operator, ",", (number,))
        elif operator in ("+=", "-="):
            opposite = "-=" if operator == "+=" else "+="
            number = self.new(place, f"{operator} becomes {opposite}")
            if number is not None:
                self.wrap(self.extent(right), "QXMutants::Negative(@, ", ")", number)
