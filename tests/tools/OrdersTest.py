"""Tests of tools/orders.py: which changes of order it finds in a source."""
import pathlib
import sys
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "tools"))
import orders  # noqa: E402


def results(find, text):
    return [" ".join((text[:start] + new + text[end:]).split()) for start, end, new in find(text)]


class Orders(unittest.TestCase):
    def test_swaps_neighbours_that_both_act(self):
        text = "void F()\n{\n    First();\n    // Why.\n    if (m_a)\n        Second();\n    return;\n}\n"
        self.assertEqual(results(orders.swaps, text),
                         ["void F() { if (m_a) Second(); // Why. First(); return; }"])

    def test_leaves_what_nobody_sees_or_nothing_compiles(self):
        self.assertEqual(results(orders.swaps, "void F()\n{\n    m_a = 1;\n    m_b = 2;\n}\n"), [])
        self.assertEqual(results(orders.swaps, "void F()\n{\n    const int a = G();\n    H(a);\n}\n"), [])
        self.assertEqual(results(orders.swaps, "class C\n{\n    void F();\n    void G();\n};\n"), [])

    def test_swaps_a_store_and_what_reads_it(self):
        self.assertEqual(len(results(orders.swaps, "void F()\n{\n    m_a = 1;\n    m_b = m_a;\n}\n")), 1)

    def test_moves_each_statement_out_of_a_lock(self):
        text = ("bool F()\n{\n    const Guard guard(*this, 2);\n    First();\n    Second();\n    return true;\n}\n")
        found = results(orders.out_of_locks, text)
        self.assertIn("bool F() { First(); const Guard guard(*this, 2); Second(); return true; }", found)
        self.assertIn("bool F() { Second(); const Guard guard(*this, 2); First(); return true; }", found)
        self.assertIn("bool F() { { const Guard guard(*this, 2); First(); } Second(); return true; }", found)
        self.assertEqual(len(found), 3)

    def test_replaces_what_is_returned(self):
        self.assertEqual(results(orders.returns, "return true;"), ["return false;"])
        self.assertEqual(results(orders.returns, "return 7;"), ["return 7 + 1;"])
        self.assertEqual(results(orders.returns, "return m_a;"), ["return {};"])
        self.assertEqual(results(orders.returns, "return a && b;"), ["return {};", "return !(a && b);"])
        self.assertEqual(results(orders.returns, "return nullptr;"), [])


if __name__ == "__main__":
    unittest.main()
