"""tools/house.py catches what goes against the table of rooms."""
import pathlib
import sys
import unittest

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
sys.path.insert(0, str(ROOT / "tools"))
sys.dont_write_bytecode = True
import house  # noqa: E402

TABLE = """
Before the table, with the files: `A`, `B`, `Low`, `Mid`, `Top`, `Open`, `Hidden`, `Parser`, `Session`.

| Room | What | May include |
|---|---|---|
| `OrvProfiler/low` | the lowest | nothing |
| `OrvProfiler/mid` | | `OrvProfiler/low` |
| `OrvProfiler/top` | | `OrvProfiler/mid` and below |
| `client/open` | | `OrvProfiler/mid` and below |
| `client/hidden` | | `client/open` |
| `tests/mid` | | `OrvProfiler/mid` and below, `tests/support/*` |
| `tests/support/one` | | `OrvProfiler/top` and below |
| `managed/text` | | nothing |
| `managed/session` | | `managed/text` |
"""

HOUSE = {
    "OrvProfiler/low/Low.h": "#pragma once\n#include <windows.h>\n",
    "OrvProfiler/mid/Mid.h": '#include "OrvProfiler/low/Low.h"\n',
    "OrvProfiler/top/Top.h": '#include "OrvProfiler/mid/Mid.h"\n#include "OrvProfiler/low/Low.h"\n',
    "OrvProfiler/top/Top.cpp": '#include "OrvProfiler/top/Top.h"\n',
    "client/open/Open.h": '#include "OrvProfiler/low/Low.h"\n',
    "client/hidden/Hidden.h": '#include "client/open/Open.h"\n',
    "tests/mid/MidTest.cpp": '#include "OrvProfiler/mid/Mid.h"\n#include "tests/support/one/One.h"\n',
    "tests/support/one/One.h": "",
    "managed/text/Parser.cs": "class Parser {}",
    "managed/session/Session.cs": 'class Session { Parser m_parser; } // "Session"',
}


class HouseTest(unittest.TestCase):
    def found(self, changes=None, table=TABLE):
        return house.problems(table, {**HOUSE, **(changes or {})})

    def expect(self, message, name, text):
        self.assertEqual([message], self.found({name: text}))

    def test_good_house_has_no_problem(self):
        self.assertEqual([], self.found())

    def test_climbing_a_floor(self):
        self.expect("OrvProfiler/low/Low.h:2: OrvProfiler/low may not include OrvProfiler/top: OrvProfiler/top/Top.cpp",
                    "OrvProfiler/low/Low.h", '\n#include "OrvProfiler/top/Top.cpp"\n')

    def test_reaching_into_a_room_from_outside(self):
        self.expect("tests/mid/MidTest.cpp:1: tests/mid may not include client/hidden: client/hidden/Hidden.h",
                    "tests/mid/MidTest.cpp", '#include "client/hidden/Hidden.h"\n')

    def test_what_a_neighbour_may_is_not_inherited(self):
        # tests/support/one may include the top, tests/mid may include tests/support/one.
        self.expect("tests/mid/MidTest.cpp:1: tests/mid may not include OrvProfiler/top: OrvProfiler/top/Top.h",
                    "tests/mid/MidTest.cpp", '  #  include "OrvProfiler/top/Top.h"\n')

    def test_only_below_is_inherited(self):
        self.expect("client/hidden/Hidden.h:1: client/hidden may not include OrvProfiler/low: OrvProfiler/low/Low.h",
                    "client/hidden/Hidden.h", '#include "OrvProfiler/low/Low.h"\n')

    def test_angle_brackets_do_not_hide_it(self):
        self.expect("OrvProfiler/mid/Mid.h:1: OrvProfiler/mid may not include client/open: client/open/Open.h",
                    "OrvProfiler/mid/Mid.h", "#include <client/open/Open.h>\n")

    def test_forwarding_through_the_parent(self):
        self.expect('OrvProfiler/mid/Mid.h:1: "../low/Low.h" climbs out of its folder; include from the root',
                    "OrvProfiler/mid/Mid.h", '#include "../low/Low.h"\n')
        self.expect('OrvProfiler/mid/Mid.h:1: "OrvProfiler/mid/../low/Low.h" climbs out of its folder; include from '
                    'the root', "OrvProfiler/mid/Mid.h", '#include "OrvProfiler/mid/../low/Low.h"\n')

    def test_not_from_the_root(self):
        self.expect('OrvProfiler/top/Top.cpp:1: "Top.h" is not said from the root: "OrvProfiler/top/Top.h"',
                    "OrvProfiler/top/Top.cpp", '#include "Top.h"\n')

    def test_no_such_file(self):
        self.expect('OrvProfiler/top/Top.cpp:1: "OrvProfiler/top/Gone.h" is no file of the project',
                    "OrvProfiler/top/Top.cpp", '#include "OrvProfiler/top/Gone.h"\n')

    def test_file_in_no_room(self):
        self.expect("client/Stray.cpp: lies in no room of docs/architecture.md", "client/Stray.cpp", "")
        self.expect("OrvProfiler/mid/deeper/Deep.h: lies in no room of docs/architecture.md",
                    "OrvProfiler/mid/deeper/Deep.h", "")

    def test_file_that_the_document_does_not_name(self):
        self.expect("OrvProfiler/mid/New.h: is not named in docs/architecture.md", "OrvProfiler/mid/New.h", "")

    def test_headers_that_include_each_other(self):
        self.assertEqual(["headers include each other: OrvProfiler/mid/A.h -> OrvProfiler/mid/B.h -> OrvProfiler/mid/A.h"],
                         self.found({"OrvProfiler/mid/A.h": '#include "OrvProfiler/mid/B.h"\n',
                                     "OrvProfiler/mid/B.h": '#include "OrvProfiler/mid/A.h"\n'}))

    def test_header_that_includes_itself(self):
        self.assertEqual(["headers include each other: OrvProfiler/mid/A.h -> OrvProfiler/mid/A.h"],
                         self.found({"OrvProfiler/mid/A.h": '#include "OrvProfiler/mid/A.h"\n'}))

    def test_type_of_a_room_that_may_not_be_used(self):
        self.expect("managed/text/Parser.cs: managed/text may not use managed/session: Session",
                    "managed/text/Parser.cs", "class Parser { void Ask(Session session) {} }")

    def test_names_in_comments_texts_and_members_are_no_use(self):
        self.assertEqual([], self.found({"managed/text/Parser.cs":
                                         'class Parser { /* Session */ string s = "Session"; int n = x.Session; } // Session'}))

    def test_own_member_of_the_same_name_is_no_use(self):
        self.assertEqual([], self.found({"managed/text/Parser.cs": "class Parser { int Session; int Ask() { return Session; } }"}))

    def test_new_object_is_a_use(self):
        self.expect("managed/text/Parser.cs: managed/text may not use managed/session: Session",
                    "managed/text/Parser.cs", "class Parser { object Ask() { return new Session(); } }")

    def test_files_outside_of_the_house_do_not_count(self):
        self.assertEqual([], self.found({"tools/x.cpp": '#include "../y.h"\n', "client/open/page.txt": ""}))

    def test_room_without_files(self):
        self.assertEqual(["docs/architecture.md: the room client/empty is empty"],
                         self.found(table=TABLE.rstrip() + "\n| `client/empty` | | nothing |\n"))

    def test_table_that_cannot_be_read(self):
        for row, message in [("| `client/open` | | nothing |", "not a row of rooms: | `client/open` | | nothing |"),
                             ("| no room | | nothing |", "not a row of rooms: | no room | | nothing |"),
                             ("| `tests/x` | | `client/gone` |", "tests/x may include client/gone, which is no room"),
                             ("| `tests/x` | | `tests/x` and below |", "tests/x lies below itself")]:
            with self.subTest(row):
                self.assertEqual([f"docs/architecture.md: {message}"], self.found(table=TABLE.rstrip() + f"\n{row}\n"))
        self.assertEqual(["docs/architecture.md: no table of rooms"], self.found(table="nothing"))


if __name__ == "__main__":
    unittest.main()
