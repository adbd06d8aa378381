"""The Python package over libordo: symbols, host functions, prepared
formulas, errors, the log and threads, through the library of this build
(ORDO_LIBRARY)."""

import gc
import logging
import os
import threading
import unittest
from unittest import mock

import ordo
from ordo import _native

SYMBOLS = {"price": 12.5, "count": 3, "yes": True, "name": "Ordo", "empty": "",
           "v": [1, 2.5, 4], "holes": [1, None, 3], "none": [], "nothing": None,
           "wide": "äö€😀"}


class SymbolsTest(unittest.TestCase):
    def test_values_of_each_type(self):
        rows = [
            ("price * 2", 25.0),
            ("count + 1", 4.0),
            ("name + \"!\"", "Ordo!"),
            ("empty", ""),
            ("Sum(v)", 7.5),
            ("v * 2", "2 5 8"),
            ("Count(holes)", 3.0),
            ("IsNull(holes)", "0 1 0"),
            ("nothing", None),
            ("nothing + 1", None),
            ("wide", "äö€😀"),
            ("Length(wide)", 5.0),  # the astral character is two UTF-16 units
        ]
        with ordo.Client(SYMBOLS) as client:
            for formula, expected in rows:
                with self.subTest(formula=formula):
                    self.assertEqual(client.calculate(formula), expected)

    def test_a_callable_receives_name_and_arguments(self):
        asked = []

        def lookup(name, args):
            asked.append((name, args))
            return len(args)

        with ordo.Client(lookup) as client:
            self.assertEqual(client.calculate("a + b(1, \"x\", Sum(1, 2), [1..3])"), 4.0)
        self.assertEqual(asked, [("a", []), ("b", [1.0, "x", 3.0, [1.0, 2.0, 3.0]])])

    def test_unknown_symbols_fail_the_calculation(self):
        def lookup(name, args):
            raise KeyError(name)

        for symbols in (None, {}, lookup):
            with self.subTest(symbols=symbols), ordo.Client(symbols) as client:
                with self.assertRaises(ordo.EvaluationError) as raised:
                    client.calculate("zz + 1")
                self.assertIn("external symbol: zz", raised.exception.message)
                self.assertIsNone(raised.exception.__cause__)
                self.assertEqual(client.calculate("Try(zz, 0)"), 0.0)

    def test_flags_choose_the_form_of_results(self):
        rows = [
            (ordo.Flag.DEFAULT, "1 + 1", "2"),
            (ordo.Flag.FORCE_FLOAT_RESULT, "1 + 1", 2.0),
            (ordo.Flag.FORCE_FLOAT_RESULT, "\"7\"", 7.0),
            (ordo.Flag.FORCE_FLOAT_OR_STRING_RESULT, "1 + 1", 2.0),
            (ordo.Flag.FORCE_FLOAT_OR_STRING_RESULT, "\"7\"", "7"),
            (ordo.Flag.FORCE_NUMBER_SYMBOL_PARAMETER_TYPE, "f(\"a\")", "2"),
        ]
        for flags, formula, expected in rows:
            lookup = lambda name, args: 1.0 if isinstance(args[0], str) else 2.0  # noqa: E731
            with self.subTest(flags=flags, formula=formula), \
                    ordo.Client(lookup, flags=flags) as client:
                self.assertEqual(client.calculate(formula), expected)

    def test_separators_and_line_feed(self):
        with ordo.Client(list_separator=";", line_feed="|") as client:
            self.assertEqual(client.calculate("Sum(1; 2) + Length(\"a,b\")"), 6.0)
            with self.assertRaises(ordo.ParseError) as raised:
                client.calculate("1 +")
            self.assertTrue(raised.exception.message.startswith("Formula preparation failed|"))

    def test_a_long_text_crosses_pages(self):
        with ordo.Client() as client:
            client.register_function("Len", len, [str])
            client.register_function("Echo", lambda text: text, [str], str)
            self.assertEqual(client.calculate("Len(Repeat(\"ab€\", 3000))"), 9000.0)
            self.assertEqual(client.calculate("Echo(Repeat(\"x\", 5000))"), "x" * 5000)


class HostFunctionsTest(unittest.TestCase):
    def test_parameters_and_results_of_each_type(self):
        rows = [
            # params, result, function, formula, expected
            ([float, float], float, lambda a, b: a - b, "F(5, 2)", 3.0),
            ([float], float, lambda a: a, "IsNull(F(1/0))", 1.0),
            ([float], float, lambda a: None, "IsNull(F(1))", 1.0),
            ([str], str, str.upper, "F(\"abc\") + \"!\"", "ABC!"),
            ([list], float, lambda v: sum(v), "F([1..4])", 10.0),
            ([list], float, lambda v: v.count(None), "F(IgnoreNull(1/0))", 1.0),
            ([list], list, lambda v: v[::-1], "F([1..3])", "3 2 1"),
            ([], list, lambda: [1, None], "IsNull(F())", "0 1"),
            ([], list, lambda: [], "Count(F())", 0.0),
            ([ordo.Reference], str, repr, "F(price)", "Reference(name='price', args=[])"),
            ([ordo.Reference], str, lambda r: f"{r.name}{r.args}", "F(p(1, \"x\"))",
             "p[1.0, 'x']"),
        ]
        for params, result, function, formula, expected in rows:
            with self.subTest(formula=formula, params=params), ordo.Client() as client:
                client.register_function("F", function, params, result)
                self.assertEqual(client.calculate(formula), expected)

    def test_a_repeated_last_parameter_takes_the_rest(self):
        with ordo.Client() as client:
            client.register_function("Join", lambda sep, *parts: sep.join(parts), [str, str], str,
                                     repeat_last=True)
            self.assertEqual(client.calculate("Join(\"-\", \"a\", \"b\", \"c\")"), "a-b-c")
            self.assertEqual(client.calculate("Join(\"-\", \"a\")"), "a")
            with self.assertRaises(ordo.ParseError) as raised:
                client.calculate("Join(\"-\")")
            self.assertIn("Wrong number of parameters for function Join", raised.exception.message)

    def test_decorator_alias_and_replacing_a_builtin(self):
        with ordo.Client() as client:
            @client.function(params=[float], alias="Twice")
            def Double(x):
                return 2 * x

            @client.function("SUM", params=[float], repeat_last=True)
            def total(*values):
                return -sum(values)

            self.assertEqual(client.calculate("double(2) + TWICE(3)"), 10.0)
            self.assertEqual(client.calculate("Sum(1, 2)"), -3.0)
            self.assertEqual(Double(4), 8)  # the decorator hands back the function

    def test_a_handler_may_calculate_with_its_client(self):
        with ordo.Client({"x": 4}) as client:
            client.register_function("Nested", client.calculate, [str])
            self.assertEqual(client.calculate("Nested(\"x + 1\") * 2"), 10.0)

    def test_handlers_live_as_long_as_the_client(self):
        with ordo.Client() as client:
            client.register_function("Answer", lambda: 42)
            gc.collect()
            self.assertEqual(client.calculate("Answer()"), 42.0)

    def test_registration_refuses_unknown_types(self):
        with ordo.Client() as client:
            for params, result in (([int], float), ([float], dict), ([None], float)):
                with self.subTest(params=params, result=result):
                    with self.assertRaises(TypeError):
                        client.register_function("F", abs, params, result)


class FormulaTest(unittest.TestCase):
    def test_prepared_once_calculated_with_different_symbols(self):
        with ordo.Client({"a": 1, "b": 2, "c": 3}) as client:
            formula = client.prepare("a + b * c")
            self.assertEqual(formula.calculate(), 7.0)
            self.assertEqual(formula.calculate({"a": 10, "b": 0, "c": 0}), 10.0)
            self.assertEqual(formula.calculate(lambda name, args: 2), 6.0)
            self.assertEqual(formula.calculate(), 7.0)  # the client's symbols again
            self.assertEqual(formula.text, "a + b * c")
            formula.close()
            formula.close()
            with self.assertRaises(ValueError):
                formula.calculate()

    def test_closing_the_client_ends_its_formulas(self):
        client = ordo.Client()
        formula = client.prepare("1 + 2")
        client.close()
        client.close()
        for call in (formula.calculate, lambda: client.prepare("1"), lambda: client.calculate("1")):
            with self.assertRaises(ValueError):
                call()
        formula.close()


class ErrorsTest(unittest.TestCase):
    def test_codes_messages_and_causes(self):
        def failing(name, args):
            if name == "s":
                raise ZeroDivisionError("symbol")
            raise KeyError(name)

        def boom():
            raise ValueError("bad day")

        rows = [
            # formula, error class, code, text in the message, cause type
            ("1 +", ordo.ParseError, -3, "unexpected end of file", None),
            ("Boom(1)", ordo.ParseError, -3, "Wrong number of parameters", None),
            ("zz", ordo.EvaluationError, -4, "external symbol: zz", None),
            ("Boom()", ordo.EvaluationError, -4, "Boom. ValueError: bad day", ValueError),
            ("Fail()", ordo.EvaluationError, -4, "Error calculating function : Fail", TypeError),
            ("s + 1", ordo.EvaluationError, -4, "Unknown error occurred while evaluating value "
             "for external symbol: s", ZeroDivisionError),
            ("+".join(["1"] * 60), ordo.QuotaExceededError, -6, "", None),
        ]
        with ordo.Client(failing, quota=50) as client:
            client.register_function("Boom", boom)
            client.register_function("Fail", lambda: "text", result=list)
            for formula, kind, code, text, cause in rows:
                with self.subTest(formula=formula):
                    with self.assertRaises(kind) as raised:
                        client.calculate(formula)
                    error = raised.exception
                    self.assertIsInstance(error, ordo.Error)
                    self.assertEqual(error.code, code)
                    self.assertIn(text, error.message)
                    self.assertIn(f"({code})", str(error))
                    if cause is None:
                        self.assertIsNone(error.__cause__)
                    else:
                        self.assertIsInstance(error.__cause__, cause)

    def test_an_exception_a_formula_catches_is_not_raised(self):
        with ordo.Client(lambda name, args: 1 / 0) as client:
            self.assertEqual(client.calculate("Try(zz, 5)"), 5.0)

    def test_an_interruption_in_a_callback_is_raised_as_it_is(self):
        def interrupted(name, args):
            raise KeyboardInterrupt

        with ordo.Client(interrupted) as client:
            with self.assertRaises(KeyboardInterrupt):
                client.calculate("Try(zz, 5)")
            self.assertEqual(client.calculate("1 + 1"), 2.0)  # the client goes on

    def test_wrong_arguments(self):
        rows = [
            (lambda: ordo.Client(list_separator=";;"), ValueError),
            (lambda: ordo.Client(symbols=42), TypeError),
            (lambda: ordo.Client(library="/nonexistent/libordo.so"), OSError),
        ]
        for make, kind in rows:
            with self.subTest(kind=kind), self.assertRaises(kind):
                make()
        with ordo.Client() as client:
            for text, kind in ((b"1 + 1", TypeError), ("1 +\0 2", ValueError)):
                with self.subTest(text=text), self.assertRaises(kind):
                    client.calculate(text)


class LogTest(unittest.TestCase):
    def test_entries_reach_the_ordo_logger(self):
        with self.assertLogs("ordo", logging.DEBUG) as logs:
            with ordo.Client() as client:
                self.assertEqual(client.calculate("Print(\"hello\")"), 1.0)
        self.assertEqual([(r.levelno, r.getMessage(), r.ordo_priority) for r in logs.records], [
            (logging.INFO, "Ordo.dll version 8400 initialized successfully.", 4),
            (logging.INFO, "hello", 6),
        ])


class ThreadsTest(unittest.TestCase):
    def test_threads_share_a_client_and_a_formula(self):
        threads, rounds = 8, 200
        failures = []
        with ordo.Client() as client:
            client.register_function("Scale", lambda x, k: x * k, [float, float])
            formula = client.prepare("Scale(x, 10) + Length(t)")

            def work(index):
                try:
                    for round_ in range(rounds):
                        value = index * 1000 + round_
                        symbols = {"x": value, "t": "a" * index}
                        result = formula.calculate(symbols)
                        if result != value * 10 + index:
                            failures.append((index, round_, result))
                        if index % 2:
                            # a failing callback on this thread is not another's
                            with self.assertRaises(ordo.EvaluationError):
                                formula.calculate(lambda name, args: 1 / 0)
                except Exception as exception:  # reported below, not lost in the thread
                    failures.append(exception)

            workers = [threading.Thread(target=work, args=(i,)) for i in range(threads)]
            for worker in workers:
                worker.start()
            for worker in workers:
                worker.join()
            formula.close()
        self.assertEqual(failures, [])

    def test_closing_waits_for_calculations_under_way(self):
        started, release = threading.Event(), threading.Event()

        def slow(name, args):
            started.set()
            release.wait()
            return 1

        client = ordo.Client(slow)
        results = []
        worker = threading.Thread(target=lambda: results.append(client.calculate("x + 1")))
        worker.start()
        started.wait()
        closer = threading.Thread(target=client.close)
        closer.start()
        closer.join(0.2)
        self.assertTrue(closer.is_alive())  # still waiting for the calculation
        release.set()
        worker.join()
        closer.join()
        self.assertEqual(results, [2.0])


class LibraryLookupTest(unittest.TestCase):
    def test_order_of_places(self):
        found = "libordo.so.1"
        rows = [
            # path argument, ORDO_LIBRARY, what the system finds, first tried
            ("/a/libordo.so", "/b/libordo.so", found, "/a/libordo.so"),
            (None, "/b/libordo.so", found, "/b/libordo.so"),
            (None, None, found, found),
            (None, None, None, "libordo.so.1"),
        ]
        for path, variable, system, first in rows:
            environment = {"ORDO_LIBRARY": variable} if variable else {}
            with self.subTest(path=path, variable=variable, system=system), \
                    mock.patch.dict(os.environ, environment, clear=True), \
                    mock.patch("ctypes.util.find_library", return_value=system):
                candidates = _native._candidates(path)
                self.assertEqual(candidates[0], first)
                if not (path or variable):
                    self.assertEqual(candidates[-1], "libordo.so")


if __name__ == "__main__":
    unittest.main()
