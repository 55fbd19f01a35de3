"""tools/sharedwords.py catches plain reads of the shared memory, in the product's own sources too."""
import pathlib
import sys
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "tools"))
sys.dont_write_bytecode = True
import sharedwords  # noqa: E402

LAYOUT = "struct Slot\n{\n    uint32_t id;\n    int32_t count;\n    wchar_t commandText[9];\n    uint8_t area[4];\n};\n"
PLACE = "OrvProfiler/share/A.cpp"


class SharedWords(unittest.TestCase):
    def found(self, code, name=PLACE):
        return sharedwords.problems({sharedwords.LAYOUT: LAYOUT, name: code})

    def expect(self, word, code, reader="ReadOnce"):
        self.assertEqual([f"{PLACE}:1: {word} is read without {reader}"], self.found(code))

    def test_plain_reads(self):
        self.expect("count", "return m_share.count;\n")
        self.expect("count", "if (block->slots[i].count == 0)\n")
        self.expect("id", "const uint32_t& id = ReadableOrEmpty(slot.id);\n")
        self.expect("id", "slot.other = slot.id;\n")
        self.expect("count", "++slot.count;\n")
        self.expect("commandText", "TString text(control->commandText);\n", "ReadField")
        self.expect("commandText", "ReadOnce(control->commandText);\n", "ReadField")

    def test_reads_at_once(self):
        for code in ("ReadOnce(m_share.count);\n", "ReadOnce(m_pShare->threads[i].id) != 0\n",
                     "ReadField(text, control->commandText);\n"):
            self.assertEqual([], self.found(code))

    def test_stores_and_what_is_no_word(self):
        for code in ("slot.id = 1;\n", "slot.id |= 1;\n", "list.count();\n", "slot.area[0] = 1;\n", "F(m_count);\n",
                     "// m_share.count\n", 'F("m_share.count");\n', "offsetof(Slot, count)\n"):
            self.assertEqual([], self.found(code))
        self.assertEqual([], self.found("return m_share.count;\n", "OrvProfiler/objects/A.cpp"))

    def test_product(self):
        paths = [path for path in (ROOT / "OrvProfiler").rglob("*") if path.suffix in (".h", ".cpp")]
        files = {path.relative_to(ROOT).as_posix(): path.read_text() for path in paths}
        self.assertEqual([], sharedwords.problems(files))
        tried = 0
        for name, text in files.items():
            for reader in ("ReadOnce(", "ReadField(text, "):
                at = text.find(reader) if name.startswith(sharedwords.ROOMS) and "ReadOnce(const" not in text else -1
                while at != -1:
                    plain = text[:at] + "Plain(" + text[at + len(reader):]
                    self.assertEqual(1, len(sharedwords.problems({**files, name: plain})), plain[at:at + 60])
                    tried += 1
                    at = text.find(reader, at + 1)
        self.assertGreater(tried, 7)


if __name__ == "__main__":
    unittest.main()
