"""Changes of order for tools/mutate: neighbouring statements swapped, one moved out of a lock's scope, another value
returned. It reads the formatter's line structure, not the language.
"""
import collections
import re

Unit = collections.namedtuple("Unit", "start end text indent")

# What has no effect at run time, or cannot stand elsewhere.
INERT = re.compile(r"static_assert\(|DebugAssert\(|using\b|typedef\b|constexpr\b|return\b|break;|continue;|case\b|default:|"
                   r"throw\b|public:|private:|protected:|friend\b|template\b|enum\b|struct\b|class\b|namespace\b|goto\b")
# Calls that only compute.
PURE = re.compile(r"\b(?:static_cast|reinterpret_cast|const_cast|sizeof|offsetof|decltype|if|for|while|switch|catch)\b"
                  r"|\bstd::(?:min|max|size|begin|end|move|forward|clamp)\b|\b(?:wcslen|GetBuffer|Get|IsEmpty)\b")
CALL = re.compile(r"\b([A-Za-z_]\w*(?:::\w+)*)(?:<[^<>;]*>)?\(|\b[A-Za-z_][\w:<>*& ]* \w+[({]\w")
STORE = re.compile(r"(?:\b[mg]_\w+(?:\[[^\]]*\])*|\bTraceFile|->\w+|\*\w+|\.\w+) [-+|&]?= |(?:\+\+|--)(?:m_|g_)|"
                   r"\bm_\w+\.(?:Reset|reset|Add|Receive)\b")
CLASS = re.compile(r"(?:template\b.*)?(?:class|struct|union|enum|namespace|extern)\b")
CHANGED = re.compile(r"\b(\w+)(?:\[[^\]]*\]|\.\w+)? [-+|&]?= |(?:\+\+|--)(\w+)")
GUARD = re.compile(r"const Guard guard\(|const std::lock_guard|const std::scoped_lock")
NUMBER = re.compile(r"-?(?:0[xX][0-9a-fA-F]+|\d+)[uUlL]*")
TRUTH = re.compile(r"==|!=|<=|>=|&&|\|\|| < | > |^!|\b(?:Is|Has|Can|Equal|Contains)\w*\(")


def blocks(text):
    """The statements of each block, in order: a list of units for each list of neighbours."""
    lines = []
    at = 0
    for line in text.split("\n"):
        lines.append((at, len(line) - len(line.lstrip(" ")), line.strip()))
        at += len(line) + 1
    open_units = {}  # indent: neighbours so far
    declarations = set()  # the indents of class bodies, whose order only the compiler sees
    header = ""
    for number, (start, indent, line) in enumerate(lines):
        if not line or line.startswith(("//", "#")):
            continue
        if line == "{":
            (declarations.add if CLASS.match(header) else declarations.discard)(indent + 4)
        else:
            header = line
        if line.startswith("}"):
            for deeper in [key for key in open_units if key > indent]:
                yield open_units.pop(deeper)
            continue
        if line.startswith(("{", "else", "catch")) or indent < 4 or indent in declarations:
            continue
        end = unit_end(lines, number)
        unit = Unit(start + indent, end, text[start + indent:end], indent)
        neighbours = open_units.setdefault(indent, [])
        if neighbours and text[neighbours[-1].end:unit.start].strip():
            # Something else stands between them, a comment at most.
            if re.sub(r"//[^\n]*", "", text[neighbours[-1].end:unit.start]).strip():
                yield open_units.pop(indent)
                neighbours = open_units.setdefault(indent, [])
        if not neighbours or unit.start >= neighbours[-1].end:
            neighbours.append(unit)
    yield from open_units.values()


def unit_end(lines, number):
    """Where the statement ends that begins in that line."""
    indent = lines[number][1]
    end = lines[number][0] + indent + len(lines[number][2])
    for start, depth, line in lines[number + 1:]:
        if not line:
            break
        continues = depth > indent or (depth == indent and line.startswith(("{", "}", "else", "catch", ": ")))
        if not continues:
            break
        end = start + depth + len(line)
    return end


def declared(text):
    """The name that a statement declares, or none."""
    match = re.match(r"(?:const |static |auto )*[\w:]+(?:<[^;]*?>)?[ *&]+(?:const )?(\w+)(?: = |\(|\{|;|\[)", text)
    return match.group(1) if match and not text.startswith(("if", "for", "while", "switch", "delete")) else None


def stores_to(text):
    """The names that a statement changes."""
    return {first or second for first, second in CHANGED.findall(text)}


def calls(text):
    return bool(CALL.search(PURE.sub("", text)))


def order_matters(first, second):
    """Whether somebody could see that two statements have changed places: one reads what the other stores, or both
    do something. Two stores to fields of the object's own are seen by nobody."""
    if any(re.search(rf"\b{name}\b", second) for name in stores_to(first)):
        return True
    both_act = (calls(first) or STORE.search(first)) and (calls(second) or STORE.search(second))
    return bool(both_act) and (calls(first) or calls(second) or "m_share." in first or "m_pShare->" in first)


def is_statement(unit):
    return not INERT.match(unit.text) and unit.text.endswith((";", "}")) and not unit.text.endswith("};")


def swaps(text):
    """(start, end, new) for each pair of neighbours whose order can matter."""
    for neighbours in blocks(text):
        for first, second in zip(neighbours, neighbours[1:]):
            if not is_statement(first) or not is_statement(second):
                continue
            name = declared(first.text)
            if name and re.search(rf"\b{name}\b", second.text):
                continue
            if not order_matters(first.text, second.text):
                continue
            between = text[first.end:second.start]
            yield first.start, second.end, second.text + between + first.text


def out_of_locks(text):
    """(start, end, new) for each statement that can leave the scope of a lock: to the front, or to the end."""
    for neighbours in blocks(text):
        guards = [index for index, unit in enumerate(neighbours) if GUARD.match(unit.text)]
        for index in guards:
            guard, inside = neighbours[index], neighbours[index + 1:]
            pad = " " * guard.indent
            for place, unit in enumerate(inside):
                # A whole clause may move with its return; a bare return has nothing to move.
                if INERT.match(unit.text) or (declared(unit.text) and not calls(unit.text)):
                    continue
                before = text[guard.start:unit.start]
                yield guard.start, unit.end, unit.text + "\n" + pad + before.rstrip()
                rest = inside[place + 1:]
                if all(other.text.startswith("return") for other in rest):
                    tail = text[unit.end:rest[-1].end] if rest else ""
                    yield guard.start, rest[-1].end if rest else unit.end, \
                        "{\n" + pad + before.rstrip() + "\n" + pad + "}\n" + pad + unit.text + tail


def returns(text):
    """(start, end, new) for each value that is returned."""
    for match in re.finditer(r"\breturn ([^;{}]+);", text):
        value = match.group(1)
        line = text[text.rfind("\n", 0, match.start()) + 1:match.start()]
        if "//" in line or "constexpr" in line or value.startswith("*this"):
            continue
        start, end = match.span(1)
        if value in ("true", "false"):
            yield start, end, "false" if value == "true" else "true"
        elif NUMBER.fullmatch(value):
            yield start, end, f"{value.rstrip('uUlL')} + 1"
        elif value != "nullptr":
            yield start, end, "{}"
            if TRUTH.search(value) and "?" not in value:
                yield start, end, f"!({value})"
