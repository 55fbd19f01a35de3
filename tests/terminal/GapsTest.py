"""What Wine's console lacks, and the prompt works around or the documents tell (docs/client.md, The prompt).

A test that fails here has good news: this Wine can do it. Then take the gap out of the documents, and its test away.

    GapsTest.py BUILD [TEST ...]
"""
import pathlib
import re
import sys
import time
import unittest

sys.dont_write_bytecode = True
from terminal import ROOT, Terminal  # noqa: E402

BUILD = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else ROOT / "build" / "mingw").resolve()
PROMPT = "probe>"


class GapsTest(unittest.TestCase):
    def setUp(self):
        self.terminal = Terminal([ROOT / "tools" / "wine-run", BUILD / "tests" / "OrvConsoleProbe.exe"], ROOT)
        self.addCleanup(self.terminal.close)
        self.terminal.wait_for_line(PROMPT)
        self.terminal.wait_until_keys_are_read()

    def line(self):
        """Types a line that tells that all before it has been seen."""
        before = self.lines()
        self.terminal.type("x")
        self.terminal.press("Enter")
        self.terminal.wait(lambda: self.lines() > before, "waited for the line")

    def lines(self):
        return len(re.findall("^line .*x$", self.terminal.screen(), re.MULTILINE))

    def test_ctrl_c_does_not_give_up_the_line(self):
        self.terminal.type("ab")
        self.terminal.press("C-c")
        self.line()
        self.assertNotIn("aborted", self.terminal.screen())

    def test_ctrl_z_does_not_come_through(self):
        self.terminal.press("C-z")
        self.line()
        self.assertNotIn("Ctrl-Z", self.terminal.screen())

    def test_esc_does_not_clear_the_line(self):
        self.terminal.type("ab")
        self.terminal.press("Escape")
        time.sleep(0.5)  # what follows at once is taken for Alt and a key
        self.line()
        self.assertIn("\nline abx\n", self.terminal.screen())

    def test_the_lines_are_not_listed_by_a_key(self):
        self.line()
        self.terminal.press("F7")
        self.line()
        self.assertNotIn("0: ", self.terminal.screen())

    def test_there_is_no_ctrl_break(self):
        self.terminal.type("break")
        self.terminal.press("Enter")
        self.terminal.wait_for("\nrefused\n")

    def test_a_wide_character_counts_as_one_place(self):
        self.terminal.type("中")
        self.terminal.press("Tab")
        self.terminal.wait_for(f"Tab, column {len(PROMPT) + 1 + 1}")

    def test_the_keys_held_with_tab_are_not_told(self):
        self.terminal.press("Tab")
        self.terminal.wait_for("keys 0")


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], *sys.argv[2:]])
