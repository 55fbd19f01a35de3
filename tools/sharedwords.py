"""Words of the shared memory are read through ReadOnce, and the command text through ReadField: for tools/lint.

Another process changes them at any moment; a plain read may be done again at each use, and what was checked is then not
what is used. Where the compiler happens to read once, no test can tell. Stores are free, and so is adding bits to a word.
"""
import re

LAYOUT = "OrvProfiler/share/ShareLayout.h"
# Who maps the shared memory, or works on what others have mapped.
ROOMS = ("OrvProfiler/share/", "OrvProfiler/OrvWorkbench/")
WORD = re.compile(r"^    (?:u?int\d+_t) (\w+);", re.MULTILINE)
FIELD = re.compile(r"^    wchar_t (commandText)\[", re.MULTILINE)
UNREAD = re.compile(r"""//[^\n]*|"(?:\\.|[^"\\\n])*\"""")
# What names the object that the word is a member of, back to the first thing that is none of it.
OBJECT = r"[\w.\[\]*]*(?:->[\w.\[\]*]*)*"


def blanked(match):
    return " " * len(match.group())


def problems(files):
    """The plain reads in files ({name from the root: text})."""
    layout = files.get(LAYOUT, "")
    readers = {word: "ReadOnce" for word in WORD.findall(layout)}
    readers.update({field: "ReadField" for field in FIELD.findall(layout)})
    found = []
    for name, text in files.items():
        if not name.startswith(ROOMS) or name == LAYOUT:
            continue
        code = UNREAD.sub(blanked, text)
        for match in re.finditer(rf"({OBJECT})(?:->|\.)({'|'.join(readers) or '(?!)'})\b(?!\()", code):
            reader = readers[match.group(2)]
            before = code[:match.start()].rstrip()
            if before.endswith(f"{reader}(") or (reader == "ReadField" and re.search(r"ReadField\(\w+,$", before)):
                continue
            if not re.match(r" (?:\|=|=(?!=)) ", code[match.end():]):
                line = text.count("\n", 0, match.start()) + 1
                found.append(f"{name}:{line}: {match.group(2)} is read without {reader}")
    return found
