"""ordo-calc's options and outputs, driven through the built executable.

Usage: options_test.py PATH_TO_ORDO_CALC
"""
import os
import re
import subprocess
import sys
import tempfile
import unittest

TOOL = None


def run(args, stdin=""):
    return subprocess.run([TOOL, *args], input=stdin, capture_output=True, text=True,
                          timeout=120)


class ToolTest(unittest.TestCase):
    def check(self, args, stdout=None, stderr=r"^", status=0, stdin=""):
        """Runs the tool; stdout exact when given, stderr a pattern searched for."""
        with self.subTest(args=args, stdin=stdin):
            result = run(args, stdin)
            self.assertEqual(result.returncode, status, result.stderr)
            if stdout is not None:
                self.assertEqual(result.stdout, stdout)
            self.assertRegex(result.stderr, stderr)
            return result


class SymbolsTest(ToolTest):
    def test_values_from_the_command_line(self):
        cases = [
            (["--var", "price=12.5", "price*2"], "25\n"),
            (["--var", "names=a,b", "names"], "a,b\n"),
            (["--var", "q=\"12\"", "q+\"x\""], "12x\n"),  # quotes make a text of digits
            (["--var", "e=\"\"", "Length(e)"], "0\n"),
            (["--var", "v=[1 2, 3]", "Sum(v)", "Count(v)"], "6\n3\n"),
            (["--var", "v=[]", "Count(v)"], "0\n"),
            (["--var", " spaced  =  7 ", "spaced"], "7\n"),
            (["--var", "a=1", "--var", "a=2", "a"], "2\n"),  # the later wins
            (["--var", "n=nan", "IsNull(n)"], "1\n"),
            (["--var", "x=1", "x", "x(5)"], "1\n1\n"),  # arguments are not looked at
        ]
        for args, stdout in cases:
            self.check(args, stdout)

    def test_values_from_a_file(self):
        with tempfile.NamedTemporaryFile("w", suffix=".vars", delete=False) as file:
            file.write("# prices\nprice = 12.5\n\n   # indented comment\nlist=[1 2]\nname = x y\n")
        try:
            self.check(["--vars", file.name, "price", "Sum(list)", "name"], "12.5\n3\nx y\n")
            self.check(["--vars", file.name, "--var", "price=1", "price"], "1\n")
            self.check(["--var", "price=1", "--vars", file.name, "price"], "12.5\n")
        finally:
            os.unlink(file.name)

    def test_bad_symbols_are_usage_errors(self):
        with tempfile.NamedTemporaryFile("w", suffix=".vars", delete=False) as file:
            file.write("a = 1\nno assignment here\n")
        try:
            cases = [
                (["--var", "x", "1"], r"--var x: expected name = value"),
                (["--var", "=1", "1"], r"expected name = value"),
                (["--var", "x=", "1"], r"expected name = value"),
                (["--var", "v=[1 a]", "1"], r"number list holds numbers"),
                (["--vars", file.name, "1"], re.escape(file.name) + r":2: expected name = value"),
                (["--vars", file.name + ".missing", "1"], r"No such file"),
                (["--var"], r"missing value: --var"),
            ]
            for args, stderr in cases:
                self.check(args, "", stderr, status=2)
        finally:
            os.unlink(file.name)

    def test_unknown_symbols_fail_as_before(self):
        self.check(["--var", "known=1", "unknown+known"], "",
                   r"(?s)error -4 .*external symbol: unknown", status=1)


class CalculationTest(ToolTest):
    def test_formulas_from_arguments_and_standard_input(self):
        self.check(["1+2", "\"a\" + \"b\""], "3\nab\n")
        self.check([], "3\n6\n", stdin="1+2\n\n2*3\r\n")
        self.check(["1+*2"], "", r"(?s)error -3 \(Parse error\).*line 1:3", status=1)

    def test_threads_agree(self):
        self.check(["--threads", "8", "Round(2.567, 2)", "Upper(\"ab\") + Repeat(\"x\", 3)"],
                   "2.57\nABxxx\n")
        self.check(["--threads", "4"], "3\n", stdin="1+2\n")
        self.check(["--threads", "8", "--var", "v=[1 2 3]", "Sum(v)"], "6\n")

    def test_threads_that_disagree_fail(self):
        # Random draws another number on every thread.
        result = self.check(["--threads", "4", "Random()"], None,
                            r"ordo-calc: thread \d of 4 has another outcome than thread 1: ",
                            status=1)
        self.assertRegex(result.stdout, r"^0\.\d+\n$")

    def test_bad_thread_counts(self):
        for count in ["0", "-1", "1025", "x", ""]:
            self.check(["--threads", count, "1"], "", r"bad value: --threads", status=2)

    def test_time(self):
        result = self.check(["--time", "--threads", "2", "1+2", "1+*2"], "3\n", status=1)
        times = re.findall(r"time: prepare \d+\.\d{3} ms, calculate \d+\.\d{3} ms\n",
                           result.stderr)
        self.assertEqual(len(times), 1)  # none for the formula that did not prepare


class CatalogueTest(ToolTest):
    def names(self, pattern):
        result = self.check(["--functions", pattern] if pattern else ["--functions"])
        lines = result.stdout.splitlines()
        self.assertRegex(lines[0], r"^NAME +ALIAS +CATEGORY +PARAMETERS +DESCRIPTION$")
        return [line.split()[0] for line in lines[1:]]

    def test_patterns(self):
        cases = [
            ("sin", ["Asin", "Sin", "Sinh"]),  # name, any case
            ("IIF", ["If"]),  # alias
            ("relation", ["Count", "First", "Get", "Last", "ReverseList"]),  # category
        ]
        for pattern, names in cases:
            self.assertEqual(self.names(pattern), names, pattern)

    def test_every_function_is_listed(self):
        names = self.names(None)
        self.assertEqual(len(names), 143)
        self.assertEqual(len(set(name.lower() for name in names)), 143)

    def test_columns(self):
        result = self.check(["--functions", "Round"])
        self.assertRegex(result.stdout,
                         r"\nRound +Math +1-2 +number \[, amount of decimals \(0\)\]\n")
        result = self.check(["--functions", "IgnoreNull"])
        self.assertRegex(result.stdout, r"\nIgnoreNull +IN +Control +0\+ +statements\n")

    def test_misuse(self):
        self.check(["--functions", "nothing-like-this"], "", r"no function matches", status=1)
        self.check(["--functions", "a", "b"], "", r"takes one pattern", status=2)


class HelpTest(ToolTest):
    def test_help_names_every_option(self):
        result = self.check(["--help"])
        for option in ["--var", "--vars", "--time", "--threads", "--functions", "--quota"]:
            self.assertIn(option + " ", result.stdout)


if __name__ == "__main__":
    TOOL = sys.argv.pop(1)
    unittest.main()
