"""Several C++ sources as one text, so that a reader of the sources reads their headers only once.

Each source stays what it was: a name that it keeps to itself gets a number where others have that name too. Headers are
included where they first are. Each line of a source is a line of the text; its place is given back for messages.
"""
import collections
import re

# A namespace without a name, as the formatter lays it.
INTERNAL = re.compile(r"^namespace\n\{\n(.*?)^\} // namespace", re.MULTILINE | re.DOTALL)
DECLARED = re.compile(r"(?:class|struct|union|enum(?: class)?) (\w+)|using (\w+) =|[^=]*\(\*(\w+)\)\(")
NAMED = re.compile(r"(\w+)(?:\(|(?:\[[^\]]*\])* = |(?:\[[^\]]*\])*;|\{)")
NO_NAME = re.compile(r"static_assert|decltype|nullptr|[A-Z_0-9]+$")
INCLUDE = re.compile(r"^#include .*$", re.MULTILINE)


def declared_names(block):
    """What lines at the margin declare, as the formatter lays them."""
    names = set()
    for line in block.split("\n"):
        if not line or line[0] in " #/{}" or re.match(r"using [\w:]+;", line):
            continue
        # A template's arguments may hold brackets.
        match = DECLARED.match(line) or NAMED.search(re.sub(r"<[^;{(=]*>", "", line))
        name = match and next(filter(None, match.groups()))
        if name and not NO_NAME.match(name):
            names.add(name)
    return names


def internal_names(text):
    """What a source declares in its namespaces without a name."""
    return set().union(*map(declared_names, INTERNAL.findall(text)))


class Unit:
    """The text of some sources, {name: text}. What their headers declare is taken too."""

    def __init__(self, sources, headers=()):
        internal = {name: internal_names(text) for name, text in sources.items()}
        counts = collections.Counter(word for words in internal.values() for word in words)
        taken = set().union(*map(declared_names, headers))
        self.shared = sorted(word for word, count in counts.items() if count > 1 or word in taken)
        self.starts = []
        parts, seen, line = [], set(), 1
        for number, (name, text) in enumerate(sources.items()):
            for word in internal[name].intersection(self.shared):
                text = re.sub(rf"(?<![:.>\w]){word}\b", f"{word}U{number}", text)
            included = set(INCLUDE.findall(text))
            text = INCLUDE.sub(lambda match: "" if match.group() in seen else match.group(), text)
            seen |= included
            self.starts.append((line, name))
            parts.append(text if text.endswith("\n") else text + "\n")
            line += parts[-1].count("\n")
        self.text = "".join(parts)

    def place(self, line):
        """(source, line in it)."""
        start, name = max(entry for entry in self.starts if entry[0] <= line)
        return name, line - start + 1

    def original(self, message, path):
        """A message about the text, which lies in path, as one about the sources."""
        def replace(match):
            name, line = self.place(int(match.group(1)))
            return f"{name}:{line}:"

        message = re.sub(rf"{re.escape(str(path))}:(\d+):", replace, message)
        return re.sub(rf"\b({'|'.join(self.shared)})U\d+\b", r"\1", message) if self.shared else message
