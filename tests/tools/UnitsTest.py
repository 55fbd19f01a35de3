"""tools/units.py puts sources together so that each means what it meant."""
import pathlib
import sys
import unittest

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
sys.path.insert(0, str(ROOT / "tools"))
sys.dont_write_bytecode = True
import units  # noqa: E402

ONE = """#include "One.h"
#include <vector>

namespace
{
constexpr int c_limit = 3;
int g_ones[2];
void (*g_ending)() = nullptr;
using Lines = std::vector<int>;
using std::vector;

struct Item
{
    int c_inner = c_limit;
};

template <typename Function, int (*F)(int)>
int Count(Item item)
{
    return item.Count + Other::Count + c_limit;
}
} // namespace
"""
TWO = """#include "One.h"
#include <string>

namespace
{
const wchar_t* c_limit = L"x";
static_assert(sizeof(int) == 4);
std::vector<int> Count();
} // namespace

void Two() { Use(c_limit); }
"""


class UnitsTest(unittest.TestCase):
    def setUp(self):
        self.unit = units.Unit({"One.cpp": ONE, "Two.cpp": TWO})

    def test_internal_names(self):
        self.assertEqual({"c_limit", "g_ones", "g_ending", "Lines", "Item", "Count"}, units.internal_names(ONE))
        self.assertEqual({"c_limit", "Count"}, units.internal_names(TWO))

    def test_shared_names_get_numbers(self):
        self.assertEqual(["Count", "c_limit"], self.unit.shared)
        self.assertIn("int c_inner = c_limitU0;", self.unit.text)
        self.assertIn("return item.Count + Other::Count + c_limitU0;", self.unit.text)
        self.assertIn("void Two() { Use(c_limitU1); }", self.unit.text)

    def test_name_that_a_header_has_gets_a_number(self):
        unit = units.Unit({"One.cpp": ONE}, ["struct Item\n{\n    Lines Count();\n};\n"])
        self.assertEqual(["Item"], unit.shared)
        self.assertIn("int Count(ItemU0 item)", unit.text)

    def test_header_is_included_once(self):
        self.assertEqual(1, self.unit.text.count('#include "One.h"'))
        self.assertEqual(ONE.count("\n") + TWO.count("\n"), self.unit.text.count("\n"))

    def test_duplicate_within_a_source_stays(self):
        unit = units.Unit({"A.cpp": "#include <a>\n#include <a>\n", "B.cpp": "#include <a>\n"})
        self.assertEqual("#include <a>\n#include <a>\n\n", unit.text)

    def test_places(self):
        self.assertEqual(("One.cpp", 1), self.unit.place(1))
        self.assertEqual(("Two.cpp", 1), self.unit.place(ONE.count("\n") + 1))
        line = self.unit.text[:self.unit.text.index("void Two")].count("\n") + 1
        self.assertEqual("Two.cpp:11:4: error: c_limit, see One.cpp:6:1: note",
                         self.unit.original(f"unit.cpp:{line}:4: error: c_limitU1, see unit.cpp:6:1: note", "unit.cpp"))


if __name__ == "__main__":
    unittest.main()
