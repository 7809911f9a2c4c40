"""What the mutation run changes and what it leaves alone."""
import unittest

import mutants


def changes(line):
    return {(mutant.operator, mutant.applied(line).strip()) for mutant in mutants.all_of("a.cpp", line)}


class Mutants(unittest.TestCase):
    def test_each_operator_makes_its_change(self):
        table = [
            ("a = b < c;", "comparison", "a = b <= c;"),
            ("a = b == c;", "comparison", "a = b != c;"),
            ("a = b - c;", "arithmetic", "a = b + c;"),
            ("a = -c;", "arithmetic", "a = c;"),
            ("a *= c;", "assignment", "a /= c;"),
            ("return a &&", "logic", "return a ||"),
            ("return !a;", "logic", "return a;"),
            ("return true;", "logic", "return false;"),
            ("a = b | c;", "bits", "a = b & c;"),
            ("a = std::min(b, c);", "function", "a = std::max(b, c);"),
            ("++a;", "step", "--a;"),
            ("if (a) {", "condition", "if (!(a)) {"),
            ("a = b[i];", "index", "a = b[i + 1];"),
            ("a = 1;", "constant", "a = 0;"),
            ("a = 0.5;", "constant", "a = 1.5;"),
            ("    add(a, b);", "statement", ";"),
            ("throw expt_cError(a);", "statement", ";"),
        ]
        for line, operator, expected in table:
            with self.subTest(line=line):
                self.assertIn((operator, expected), changes(line))

    def test_what_is_no_code_and_what_declares_is_left_alone(self):
        for line in ["// a < b", '"a < b";', "#define SMALL 1", "template<class T, int N = 2>",
                     "std::vector<int> a;", "const T& a = b;", "using type = int;", "int f(int a);",
                     "[[nodiscard]] int f() const;"]:
            with self.subTest(line=line):
                self.assertEqual(changes(line), set())

    def test_a_line_that_goes_on_is_no_statement(self):
        found = mutants.all_of("a.cpp", "a = b +\n    f(c);\n")
        self.assertNotIn("statement", {mutant.operator for mutant in found})

    def test_the_seed_alone_decides_the_order(self):
        text = "a = b + c - d;\n" * 20
        self.assertEqual(mutants.in_order("a.cpp", text, 1), mutants.in_order("a.cpp", text, 1))
        self.assertNotEqual(mutants.in_order("a.cpp", text, 1), mutants.in_order("a.cpp", text, 2))

    def test_a_fault_differs_in_its_line_alone(self):
        text = "a = b;\nc = d + e;\n"
        fault = next(mutant for mutant in mutants.all_of("a.cpp", text) if mutant.operator == "arithmetic")
        self.assertEqual(fault.difference(text), ["-c = d + e;", "+c = d - e;"])


if __name__ == "__main__":
    unittest.main()
