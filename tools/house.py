"""The rooms of the sources, and which may include which: read from the table in docs/architecture.md, held by tools/lint.

A row of the table is | `room` | what it holds | what it may include |. The last names rooms in backticks; "and below"
behind one adds what that one may include; a * stands for the rooms of a folder. A room may always include itself.
"""
import fnmatch
import posixpath
import re

# Folders whose sources all lie in rooms.
FOLDERS = ("OrvProfiler", "client", "managed", "bridge", "bench", "tests")
HEADING = re.compile(r"^\| Room \|", re.MULTILINE)
INCLUDE = re.compile(r'^[ \t]*#[ \t]*include[ \t]*(["<])([^">]*)[">]', re.MULTILINE)
# Comments, texts and characters, so that a name in them is not taken for a use.
UNREAD = re.compile(r"""//[^\n]*|/\*.*?\*/|@"(?:[^"]|"")*"|"(?:\\.|[^"\\\n])*"|'(?:\\.|[^'\\\n])+'""", re.DOTALL)
TYPE = re.compile(r"\b(?:class|struct|enum|interface)\s+(\w+)")


def read_table(document):
    """{room: the rooms it may include, itself among them}. ValueError when the table is not as it should be."""
    start = HEADING.search(document)
    if not start:
        raise ValueError("no table of rooms")
    rows = {}
    for line in document[start.start():].split("\n")[2:]:
        if not line.startswith("|"):
            break
        cells = [cell.strip() for cell in line.strip("|").split("|")]
        names = re.findall(r"`([^`]+)`", cells[0])
        if len(cells) != 3 or len(names) != 1 or names[0] in rows:
            raise ValueError(f"not a row of rooms: {line}")
        rows[names[0]] = re.findall(r"`([^`]+)`( and below)?", cells[2])
    allowed = {}

    def rooms_of(room, asking=()):
        if room in asking:
            raise ValueError(f"{room} lies below itself")
        if room not in allowed:
            found = {room}
            for pattern, below in rows[room]:
                matches = fnmatch.filter(rows, pattern)
                if not matches:
                    raise ValueError(f"{room} may include {pattern}, which is no room")
                found.update(matches)
                for match in matches if below else ():
                    found |= rooms_of(match, (*asking, room))
            allowed[room] = found
        return allowed[room]

    for room in rows:
        rooms_of(room)
    return allowed


def is_housed(name):
    """Whether the file is one that must lie in a room."""
    return name.split("/")[0] in FOLDERS and name.endswith((".cpp", ".h", ".c", ".cs"))


def room_of(name):
    return posixpath.dirname(name)


def includes_of(name, text, files):
    """(line, what is included, the file that is meant, None when it is none of the project's)."""
    for match in INCLUDE.finditer(text):
        quote, target = match.groups()
        beside = posixpath.normpath(posixpath.join(room_of(name), target))
        meant = next((path for path in (posixpath.normpath(target), beside) if path in files), None)
        if meant or quote == '"' or ".." in target.split("/"):
            yield text.count("\n", 0, match.start()) + 1, target, meant


def include_problems(name, text, allowed, files):
    for line, target, meant in includes_of(name, text, files):
        place = f"{name}:{line}"
        if ".." in target.split("/"):
            yield f'{place}: "{target}" climbs out of its folder; include from the root'
        elif meant is None:
            yield f'{place}: "{target}" is no file of the project'
        elif meant != target:
            yield f'{place}: "{target}" is not said from the root: "{meant}"'
        elif room_of(meant) not in allowed[room_of(name)]:
            yield f"{place}: {room_of(name)} may not include {room_of(meant)}: {target}"


def declares_member(word, code):
    """Whether C# code declares a member, a variable or a parameter of that name."""
    return re.search(rf"(?<!\bnew)(?<!\breturn)(?<!\bis)(?<!\bas)(?<=[\w>\]?])[ \n]+{word}\s*[;={{(,)]", code) is not None


def use_problems(files, allowed):
    """C# includes nothing: there a room uses another by naming its types. A name that two rooms have tells nothing, and
    neither does one that the room's own sources give to something else. Names of the class library are everybody's."""
    codes = {name: UNREAD.sub(" ", text) for name, text in files.items() if name.endswith(".cs")}
    homes, own = {}, {}
    for name, code in codes.items():
        own[room_of(name)] = own.get(room_of(name), "") + code
        for declared in TYPE.findall(code):
            # What the tests declare, only they can use.
            if not name.startswith(("tests/", "managed/reference/")):
                homes.setdefault(declared, set()).add(room_of(name))
    for name, code in codes.items():
        room = room_of(name)
        if room == "managed/reference":
            continue
        words = set(re.findall(r"(?<![.\w])[A-Za-z_]\w*", code)) & set(homes)
        declared_here = set(TYPE.findall(own[room]))
        for word in sorted(words - declared_here):
            if len(homes[word]) == 1 and not homes[word] & allowed[room] and not declares_member(word, own[room]):
                yield f"{name}: {room} may not use {min(homes[word])}: {word}"


def cycles(files):
    """Headers that include themselves in the end, each circle once."""
    graph = {name: [meant for _, _, meant in includes_of(name, text, files) if meant]
             for name, text in files.items() if name.endswith(".h")}
    done, found = set(), []

    def visit(name, path):
        if name in path:
            found.append(" -> ".join([*path[path.index(name):], name]))
        elif name in graph and name not in done:
            for target in graph[name]:
                visit(target, [*path, name])
            done.add(name)

    for name in sorted(graph):
        visit(name, [])
    return [f"headers include each other: {circle}" for circle in found]


def unnamed(document, files):
    """Files, tests apart, that the document does not name."""
    for name in files:
        if not name.startswith("tests/") and f"`{posixpath.splitext(posixpath.basename(name))[0]}`" not in document:
            yield f"{name}: is not named in docs/architecture.md"


def problems(document, files):
    """What is against the table: of files ({name from the root: text}) those that must lie in rooms count."""
    try:
        allowed = read_table(document)
    except ValueError as wrong:
        return [f"docs/architecture.md: {wrong}"]
    files = {name: text for name, text in files.items() if is_housed(name)}
    found = [f"docs/architecture.md: the room {room} is empty" for room in allowed
             if not any(room_of(name) == room for name in files)]
    homeless = [name for name in files if room_of(name) not in allowed]
    found += [f"{name}: lies in no room of docs/architecture.md" for name in homeless]
    housed = {name: text for name, text in files.items() if name not in homeless}
    found += unnamed(document, housed)
    for name, text in housed.items():
        if not name.endswith(".cs"):
            found += include_problems(name, text, allowed, files)
    found += use_problems(housed, allowed)
    return found + cycles(files)
