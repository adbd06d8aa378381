#!/usr/bin/env python3
"""Writes the fuzz targets' seed corpora and dictionaries.

The seeds are formulas from the API test tables (tests/api/*_test.cpp) and a
few that reach what the tables do not (host functions, separators), each
behind a set-up block (see FuzzHost.h) chosen in turn from a few profiles.
The dictionaries hold the language's tokens and the builtin names. Run from
anywhere; it replaces fuzz/corpus/ and fuzz/*.dict.
"""
import hashlib
import pathlib
import re
import shutil

ROOT = pathlib.Path(__file__).resolve().parent.parent
FUZZ = ROOT / "fuzz"
SEEDS = {"utf8": 220, "utf16": 110}
LONGEST = 200

# Set-up blocks: flags, list separator, decimal separator, quota (2 bytes),
# answer seed, run. Flags 0x08 references, 0x10 calls, 0x20 host functions,
# 0x40 one call, 0x80 "\n"; the low three bits are the client's flags.
PROFILES = [
    bytes([0x00, 0, 0, 0xFF, 0xFF, 0, 0x00]),
    bytes([0x38, 0, 0, 0xFF, 0xFF, 1, 0x01]),
    bytes([0x84, 0, 0, 0xFF, 0xFF, 2, 0x04]),
    bytes([0x60, 0, 0, 0xFF, 0xFF, 3, 0x00]),
    bytes([0x09, 0, 0, 0x40, 0x00, 4, 0x18]),
    bytes([0x22, 0, 0, 0xFF, 0xFF, 5, 0x2A]),
]
HOST = bytes([0x38, 0, 0, 0xFF, 0xFF, 7, 0x15])
SEMICOLON_COMMA = bytes([0x20, ord(";"), ord(","), 0xFF, 0xFF, 0, 0])

EXTRA = [
    (HOST, 'HSum(1, 2, x) + hs(3)'),
    (HOST, 'HJoin("a", b, 3, [1 2])'),
    (HOST, 'HScale([1 2 NULL], 2) + HScale(x, y)'),
    (HOST, 'HRaw([1 2], [3]) + HRaw_([1 NULL])'),
    (HOST, 'HRef(x(1, "a"), "t") + HRef(y, "")'),
    (HOST, 'Try(HFail("bad"), 7)'),
    (HOST, 'HEval("1 + HSum(2, 3)") + HEval("HEval(\\"2\\")")'),
    (HOST, 'HOdd(1) + HOdd_()'),
    (HOST, 'x(1, lbl = 2, "l b" = [1 2]) + y + z(NULL)'),
    (HOST, 'a := 5, Iterate(1, 3, a := a * x), a'),
    (SEMICOLON_COMMA, 'Sum(1,5; [2 3]; HSum(0,25; 1))'),
    (PROFILES[0], '[1..4] MOD 0.5'),
    (PROFILES[0], '/* c */ "\\t" + [1 .. -3] ^ 2 DIV 3 <> NOT TRUE XOR NIL'),
]

TOKENS = [",", '"', "=", ":=", " OR ", " XOR ", " AND ", "<>", "<", ">", "<=", ">=", "+", "-",
          "*", "/", " DIV ", " MOD ", "^", "..", "NOT ", "(", ")", "[", "]", "NULL", "NIL",
          "TRUE", "FALSE", ":", ";", "/*", "*/", "\\\\", '\\"', "\\n", "\\t", "\\r", "e-",
          ".5", "1e5", "a.b", "a.-1", "_(", " = ", "\r\n", "\t", "\u00e9", "\u044f"]
HOST_NAMES = ["HSum", "HJoin", "HScale", "HRaw", "HRef", "HFail", "HEval", "HOdd", "hs"]


def unescape(literal):
    """The value of a C++ string literal's body."""
    simple = {"n": "\n", "t": "\t", "r": "\r", "0": "\0", '"': '"', "'": "'", "\\": "\\"}
    out, i = [], 0
    while i < len(literal):
        c = literal[i]
        if c != "\\":
            out.append(c)
            i += 1
            continue
        kind = literal[i + 1]
        if kind in simple:
            out.append(simple[kind])
            i += 2
        elif kind == "x":
            digits = re.match(r"[0-9a-fA-F]+", literal[i + 2:]).group()
            out.append(chr(int(digits, 16)))
            i += 2 + len(digits)
        elif kind in "uU":
            width = 4 if kind == "u" else 8
            out.append(chr(int(literal[i + 2:i + 2 + width], 16)))
            i += 2 + width
        else:
            raise ValueError(f"escape \\{kind}")
    return "".join(out)


def test_formulas():
    """Formulas of table rows ({"formula", ...}) and of Calc("formula") calls."""
    pattern = re.compile(r'^\s*\{\s*"((?:[^"\\]|\\.)*)"\s*,|Calc\(\s*"((?:[^"\\]|\\.)*)"\s*\)',
                         re.MULTILINE)
    formulas = set()
    for path in sorted((ROOT / "tests" / "api").glob("*_test.cpp")):
        for match in pattern.finditer(path.read_text(encoding="utf-8")):
            formula = unescape(match.group(1) if match.group(1) is not None else match.group(2))
            if formula.strip() and len(formula) <= LONGEST:
                formulas.add(formula)
    return sorted(formulas)


def encode(encoding, text):
    return text.encode("utf-8" if encoding == "utf8" else "utf-16-le", "surrogatepass")


def write_corpus(encoding, formulas, offset):
    folder = FUZZ / "corpus" / encoding
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    count = SEEDS[encoding] - len(EXTRA)
    step = len(formulas) / count
    chosen = [formulas[int(offset + i * step) % len(formulas)] for i in range(count)]
    seeds = [(PROFILES[i % len(PROFILES)], f) for i, f in enumerate(chosen)] + EXTRA
    for setup, formula in seeds:
        data = setup + encode(encoding, formula)
        (folder / hashlib.sha1(data).hexdigest()).write_bytes(data)


def builtin_names():
    registry = (ROOT / "functions" / "FunctionRegistry.cpp").read_text(encoding="utf-8")
    order = re.search(r"registrationOrder = \{(.*?)\};", registry, re.DOTALL).group(1)
    names = re.findall(r'u"(\w+)"', order)
    aliases = []
    for path in sorted((ROOT / "functions").glob("*.cpp")):
        for name, alias in re.findall(r'(?=u"(\w+)",\s*u"(\w+)")', path.read_text(encoding="utf-8")):
            if name in names and alias not in names:
                aliases.append(alias)
    return names + sorted(set(aliases))


def dictionary_entry(encoding, text):
    return '"' + "".join(f"\\x{b:02X}" if b < 0x20 or b > 0x7E or chr(b) in '"\\' else chr(b)
                         for b in encode(encoding, text)) + '"'


def write_dictionary(encoding):
    words = TOKENS + [name + "(" for name in builtin_names() + HOST_NAMES]
    lines = ["# The language's tokens, the builtin functions and the fuzz host's own functions,",
             f"# as {encoding} text. Written by fuzz/make_seeds.py."]
    lines += [dictionary_entry(encoding, word) for word in words]
    (FUZZ / f"{encoding}.dict").write_text("\n".join(lines) + "\n", encoding="ascii")


def main():
    formulas = test_formulas()
    for offset, encoding in enumerate(SEEDS):
        write_corpus(encoding, formulas, offset)
        write_dictionary(encoding)
    print(f"{len(formulas)} formulas in the test tables")


if __name__ == "__main__":
    main()
