"""ordo-calc's interactive mode, typed at through a real pseudo-terminal.

Usage: interactive_test.py PATH_TO_ORDO_CALC
"""
import fcntl
import os
import pty
import re
import select
import struct
import subprocess
import sys
import tempfile
import termios
import time
import unittest

TOOL = None
PROMPT = "ordo> "
UP = "\x1b[A"
TIMEOUT = 60  # generous: the sanitizer build starts slowly


class Session:
    """ordo-calc on a pseudo-terminal, with a home of its own."""

    def __init__(self, home, args, stdout=None):
        master, slave = pty.openpty()
        fcntl.ioctl(slave, termios.TIOCSWINSZ, struct.pack("HHHH", 24, 100, 0, 0))
        env = dict(os.environ, HOME=home, TERM="xterm")
        self.process = subprocess.Popen([TOOL, *args], stdin=slave,
                                        stdout=slave if stdout is None else stdout,
                                        stderr=slave, env=env, start_new_session=True)
        os.close(slave)
        self.master = master
        self.output = ""

    def read_until(self, pattern):
        """Reads until the output so far matches pattern; answers the match."""
        deadline = time.monotonic() + TIMEOUT
        while not (match := re.search(pattern, self.output)):
            remaining = deadline - time.monotonic()
            if remaining <= 0 or not select.select([self.master], [], [], remaining)[0]:
                raise AssertionError(f"no {pattern!r} in output:\n{self.output}")
            try:
                chunk = os.read(self.master, 4096)
            except OSError:  # the other end closed
                chunk = b""
            if not chunk:
                raise AssertionError(f"ended without {pattern!r}:\n{self.output}")
            self.output += chunk.decode("utf-8", "replace")
        return match

    def wait_for_editing(self):
        """Waits until the line editor has the terminal: keys typed before
        that would reach the terminal's own line editing instead."""
        deadline = time.monotonic() + TIMEOUT
        while termios.tcgetattr(self.master)[3] & termios.ICANON:
            if time.monotonic() > deadline:
                raise AssertionError(f"the terminal stays in line mode:\n{self.output}")
            time.sleep(0.01)

    def type(self, keys, then):
        """Types keys at the prompt and waits for the pattern then, in the
        output from here on."""
        start = len(self.output)
        self.wait_for_editing()
        os.write(self.master, keys.encode())
        return self.read_until(r"(?s)\A.{%d}.*?%s" % (start, then))

    def finish(self):
        """Ends the session with Ctrl-D; answers the exit status."""
        self.wait_for_editing()
        os.write(self.master, b"\x04")
        status = self.process.wait(timeout=TIMEOUT)
        os.close(self.master)
        return status


class InteractiveTest(unittest.TestCase):
    def setUp(self):
        self.home = tempfile.TemporaryDirectory()
        self.addCleanup(self.home.cleanup)

    def start(self, *args, stdout=None):
        session = Session(self.home.name, args, stdout)
        self.addCleanup(lambda: session.process.poll() is None and session.process.kill())
        session.read_until(re.escape(PROMPT))
        return session

    def test_results_errors_and_history(self):
        session = self.start()
        session.type("1+2\r", r"\r\n3\r\n" + re.escape(PROMPT))
        # The caret stands under the column that the parse error names.
        session.type("1 + * 2\r",
                     r"\r\n {%d}\^\r\nerror -3 \(Parse error\).*?%s" % (len(PROMPT) + 4,
                                                                  re.escape(PROMPT)))
        # Up twice recalls "1+2", which is then edited before it is entered.
        session.type(UP + UP + "*10\r", r"\r\n21\r\n" + re.escape(PROMPT))
        self.assertEqual(session.finish(), 1)  # one formula failed

        with open(os.path.join(self.home.name, ".ordo_calc_history")) as history:
            saved = history.read()
        for formula in ["1+2", "1 + * 2", "1+2*10"]:
            self.assertIn(formula.replace(" ", "\\040"), saved)

        # The next session recalls the last session's formulas.
        session = self.start()
        session.type(UP + "\r", r"\r\n21\r\n" + re.escape(PROMPT))
        self.assertEqual(session.finish(), 0)

    def test_symbols_and_blank_lines(self):
        session = self.start("--var", "word=abc")
        session.type("\r", re.escape(PROMPT))  # a blank line calculates nothing
        session.type("Length(word)\r", r"\r\n3\r\n" + re.escape(PROMPT))
        self.assertEqual(session.finish(), 0)

    def test_redirected_output_gets_results_alone(self):
        with tempfile.TemporaryFile("w+") as results:
            session = self.start(stdout=results)
            session.type("1+2\r", re.escape(PROMPT))
            session.type("1+\r", r"error -3.*?" + re.escape(PROMPT))
            self.assertEqual(session.finish(), 1)
            results.seek(0)
            self.assertEqual(results.read(), "3\n")


if __name__ == "__main__":
    TOOL = sys.argv.pop(1)
    unittest.main()
