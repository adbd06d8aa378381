"""The C interface of libordo through ctypes: loading the library, its
records and functions, and the conversion of values to and from the
library's memory formats."""

import collections.abc
import ctypes
import ctypes.util
import math
import numbers
import os
import struct
import threading
from typing import NamedTuple

VERSION = 8400

# Parameter and result types of the records.
STRING = 1
NUMBERLIST = 2
NUMBER = 3
VARREF = 4

ONE_OR_MORE = 1
CONST_FUNCTION = 1

# The library's null: the not-a-number with every bit but the sign set. Any
# not-a-number it hands back counts as null.
NULL_NUMBER = struct.unpack("<d", struct.pack("<Q", 0x7FFFFFFFFFFFFFFF))[0]


class Reference(NamedTuple):
    """A symbol reference passed to a host function: the symbol's name and
    the values of its own arguments."""

    name: str
    args: list


# Texts the library hands over are c_void_p, plain addresses read with
# read_text; texts handed to it are c_char_p fields and arguments that take
# the bytes of encode_text and keep them alive with their record.
class Result(ctypes.Structure):
    _fields_ = [
        ("iResultBufferLength", ctypes.c_int32),
        ("iType", ctypes.c_int32),
        ("xResultBuffer", ctypes.c_void_p),
    ]


class PreparationResult(ctypes.Structure):
    _fields_ = [
        ("iResultBufferLength", ctypes.c_int32),
        ("iFlags", ctypes.c_int32),
        ("iType", ctypes.c_int32),
        ("xResultBuffer", ctypes.c_void_p),
    ]


class ParameterValue(ctypes.Structure):
    pass


ParameterValue._fields_ = [
    ("xValue", ctypes.c_void_p),
    ("xcDescription", ctypes.c_void_p),
    ("xcLabel", ctypes.c_void_p),
    ("iFlags", ctypes.c_int32),
    ("iType", ctypes.c_int32),
    ("xdtNext", ctypes.POINTER(ParameterValue)),
]


class VarRefValue(ctypes.Structure):
    _fields_ = [
        ("xcIdentifier", ctypes.c_void_p),
        ("xdtParameters", ctypes.POINTER(ParameterValue)),
    ]


class Parameter(ctypes.Structure):
    pass


Parameter._fields_ = [
    ("xcDescription", ctypes.c_char_p),
    ("iFlags", ctypes.c_int32),
    ("iType", ctypes.c_int32),
    ("xdtNext", ctypes.POINTER(Parameter)),
]

SymbolCallback = ctypes.CFUNCTYPE(
    ctypes.c_int32, ctypes.c_void_p, ctypes.POINTER(ParameterValue), ctypes.c_int32,
    ctypes.POINTER(Result), ctypes.c_void_p)
LogCallback = ctypes.CFUNCTYPE(ctypes.c_int32, ctypes.c_void_p, ctypes.c_int32)
FunctionHandler = ctypes.CFUNCTYPE(
    ctypes.c_int32, ctypes.c_int32, ctypes.POINTER(ParameterValue), ctypes.c_void_p,
    ctypes.POINTER(Result))


class Function(ctypes.Structure):
    _fields_ = [
        ("xcName", ctypes.c_char_p),
        ("xcSecondaryName", ctypes.c_char_p),
        ("xcCategory", ctypes.c_char_p),
        ("xdtParameters", ctypes.POINTER(Parameter)),
        ("iFlags", ctypes.c_int32),
        ("iResultType", ctypes.c_int32),
        ("xFunctionHandler", FunctionHandler),
    ]


class Init(ctypes.Structure):
    _fields_ = [
        ("iVersion", ctypes.c_int32),
        ("xGetSymbolValueFunc", SymbolCallback),
        ("xWriteLogEntryFunc", LogCallback),
        ("xOnExternalObjectReferenceCreatedFunc", ctypes.c_void_p),
        ("xOnExternalFunctionCallCreatedFunc", ctypes.c_void_p),
        ("xcLineFeed", ctypes.c_char_p),
        ("xxClientHandle", ctypes.POINTER(ctypes.c_void_p)),
        ("iFlags", ctypes.c_int32),
        ("iQuota", ctypes.c_int32),
        ("cExpressionListSeparator", ctypes.c_ubyte),
        ("cDecimalSeparator", ctypes.c_ubyte),
    ]


_PROTOTYPES = {
    "xCalcAllocateMemory": (ctypes.c_void_p, [ctypes.c_size_t]),
    "iCalcFreeMemory": (ctypes.c_int32, [ctypes.c_void_p]),
    "iCalcInitialize": (ctypes.c_int32, [ctypes.POINTER(Init)]),
    "iCalcPrepareFormula": (ctypes.c_int32, [
        ctypes.c_void_p, ctypes.c_char_p, ctypes.POINTER(PreparationResult),
        ctypes.POINTER(ctypes.c_void_p), ctypes.c_void_p]),
    "iCalcCalculate": (ctypes.c_int32, [
        ctypes.c_void_p, ctypes.c_void_p, ctypes.POINTER(Result), ctypes.c_void_p]),
    "iCalcFreeFormula": (ctypes.c_int32, [ctypes.c_void_p, ctypes.c_void_p]),
    "iCalcRegisterFunction": (ctypes.c_int32, [ctypes.c_void_p, ctypes.POINTER(Function)]),
    "iCalcFinalize": (ctypes.c_int32, [ctypes.c_void_p]),
    "xcCalcGetErrorString": (ctypes.c_void_p, [ctypes.c_int32]),
}

_loaded = {}
_loading = threading.Lock()


def _candidates(path):
    """The names to try, in order: the given path, $ORDO_LIBRARY, then the
    system's search (with and without an installed version suffix)."""
    chosen = path or os.environ.get("ORDO_LIBRARY")
    if chosen:
        return [os.fspath(chosen)]
    found = ctypes.util.find_library("ordo")
    return ([found] if found else []) + ["libordo.so.1", "libordo.so"]


def load(path=None):
    """The library, loaded once per name, with its functions declared."""
    with _loading:
        failures = []
        for name in _candidates(path):
            if name in _loaded:
                return _loaded[name]
            try:
                library = ctypes.CDLL(name)
            except OSError as error:
                failures.append(str(error))
                continue
            for function, (restype, argtypes) in _PROTOTYPES.items():
                getattr(library, function).restype = restype
                getattr(library, function).argtypes = argtypes
            _loaded[name] = library
            return library
        raise OSError("cannot load libordo (ORDO_LIBRARY may name its path): " + "; ".join(failures))


def encode_text(text):
    """Zero-terminated UTF-16 bytes of a str."""
    if not isinstance(text, str):
        raise TypeError(f"expected str, got {type(text).__name__}")
    if "\0" in text:
        raise ValueError("a text for the library cannot hold a NUL character")
    return text.encode("utf-16-le", "surrogatepass") + b"\0\0"


# Divides every page size, so a block of this size never spans two pages.
_BLOCK = 4096


def read_text(address):
    """The zero-terminated UTF-16 text at an address. Reads aligned blocks,
    so that it never touches a page past the terminator's."""
    if not address:
        return None
    chunks = []
    start = address
    while True:
        chunk = ctypes.string_at(start, _BLOCK - start % _BLOCK)
        end = chunk.find(b"\0\0")
        while end >= 0 and end % 2:  # a terminator starts at a unit, not inside one
            end = chunk.find(b"\0\0", end + 1)
        if end >= 0:
            chunks.append(chunk[:end])
            return b"".join(chunks).decode("utf-16-le", "surrogatepass")
        chunks.append(chunk)
        start += len(chunk)


def _from_number(value):
    return None if math.isnan(value) else value


def _to_number(value):
    if value is None:
        return NULL_NUMBER
    if isinstance(value, numbers.Real):
        return float(value)
    raise TypeError(f"expected a number or None, got {type(value).__name__}")


def read_numbers(address):
    """A count-prefixed number list."""
    count = ctypes.c_uint64.from_address(address).value
    values = (ctypes.c_double * count).from_address(address + 8)
    return [_from_number(value) for value in values]


def read_value(kind, address):
    """A value the library passed: a number, text, number list or reference."""
    if not address:
        return None
    if kind == NUMBER:
        return _from_number(ctypes.c_double.from_address(address).value)
    if kind == STRING:
        return read_text(address)
    if kind == NUMBERLIST:
        return read_numbers(address)
    if kind == VARREF:
        reference = VarRefValue.from_address(address)
        return Reference(read_text(reference.xcIdentifier), read_values(reference.xdtParameters))
    return None


def read_values(first):
    """The values of a linked parameter array, null for none."""
    values = []
    while first:
        parameter = first.contents
        values.append(read_value(parameter.iType, parameter.xValue))
        first = parameter.xdtNext
    return values


def read_result(kind, address, length):
    """A calculation result: a number (None for null) or a text."""
    if kind == NUMBER and length == 8:
        return _from_number(ctypes.c_double.from_address(address).value)
    if kind == STRING:
        return ctypes.string_at(address, max(length - 2, 0)).decode("utf-16-le", "surrogatepass") \
            if address else ""
    raise ValueError(f"unexpected result of type {kind} and {length} bytes")


def kind_of(value):
    """The record type that carries a symbol's value."""
    if value is None or isinstance(value, numbers.Real):
        return NUMBER
    if isinstance(value, str):
        return STRING
    if isinstance(value, collections.abc.Iterable):
        return NUMBERLIST
    raise TypeError(f"a symbol's value must be a number, str, list of numbers or None, "
                    f"not {type(value).__name__}")


def encode_value(kind, value):
    """The bytes of a value in the record format of its type."""
    if kind == NUMBER:
        return struct.pack("<d", _to_number(value))
    if kind == STRING:
        return encode_text(value)
    if isinstance(value, (str, bytes)) or not isinstance(value, collections.abc.Iterable):
        raise TypeError(f"expected a list of numbers, got {type(value).__name__}")
    values = [_to_number(item) for item in value]
    return struct.pack(f"<Q{len(values)}d", len(values), *values)


def answer(library, result, kind, data):
    """Hands bytes to the library in a result record, in a buffer of its own
    allocator, which the library releases."""
    buffer = library.xCalcAllocateMemory(len(data))
    if not buffer:
        raise MemoryError("xCalcAllocateMemory failed")
    ctypes.memmove(buffer, data, len(data))
    result.xResultBuffer = buffer
    result.iResultBufferLength = len(data)
    result.iType = kind


def error_text(library, code):
    return read_text(library.xcCalcGetErrorString(code))
