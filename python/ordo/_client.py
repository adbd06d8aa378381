"""A client of the library, its prepared formulas, and the callbacks through
which the library asks Python for symbol values, host functions and log
entries."""

import contextlib
import ctypes
import enum
import itertools
import logging
import threading
from collections.abc import Mapping

from . import _native
from ._errors import Code, error_for
from ._native import NUMBER, NUMBERLIST, STRING, VARREF, Reference


class Flag(enum.IntFlag):
    DEFAULT = 0
    FORCE_FLOAT_RESULT = 1
    FORCE_NUMBER_SYMBOL_PARAMETER_TYPE = 2
    FORCE_FLOAT_OR_STRING_RESULT = 4


# Log entry priorities (critical error, error, warning, notification, debug,
# information) as logging levels.
_LEVELS = {1: logging.CRITICAL, 2: logging.ERROR, 3: logging.WARNING, 4: logging.INFO,
           5: logging.DEBUG, 6: logging.INFO}

_PARAMETER_KINDS = {float: NUMBER, str: STRING, list: NUMBERLIST, Reference: VARREF}
_RESULT_KINDS = {float: NUMBER, str: STRING, list: NUMBERLIST}


class _Closed(ValueError):
    pass


class _Guard:
    """Counts the calls under way with a handle, so that ending the handle
    waits for them: the library must not end a client or a formula while
    another thread uses it."""

    def __init__(self, what):
        self._what = what
        self._changed = threading.Condition()
        self._users = 0
        self._closed = False

    @contextlib.contextmanager
    def use(self):
        with self._changed:
            if self._closed:
                raise _Closed(f"the {self._what} is closed")
            self._users += 1
        try:
            yield
        finally:
            with self._changed:
                self._users -= 1
                self._changed.notify_all()

    def close(self):
        """Closes once the calls under way end; False when already closed."""
        with self._changed:
            if self._closed:
                return False
            self._closed = True
            self._changed.wait_for(lambda: self._users == 0)
            return True


def _unknown(name, args):
    raise KeyError(name)


def _lookup(symbols):
    """A symbol source as a callable (name, args) -> value; KeyError for an
    unknown name."""
    if symbols is None or callable(symbols):
        return symbols
    if isinstance(symbols, Mapping):
        return lambda name, args: symbols[name]
    raise TypeError("symbols must be a mapping or a callable (name, args) -> value")


class _Call:
    """The state of one library call: where its symbols come from, and the
    first exception a callback raised, kept for the caller."""

    __slots__ = ("lookup", "exception")

    def __init__(self, lookup):
        self.lookup = lookup
        self.exception = None

    def fail(self, exception):
        if self.exception is None:
            self.exception = exception


class _Callbacks:
    """The client's callbacks, alive as long as the library may call them.
    No exception leaves them: a failing callback answers an error code and
    leaves its exception to the call, found through the call's data
    pointer."""

    def __init__(self, library, lookup, logger):
        self._library = library
        self._lookup = lookup or _unknown
        self._logger = logger
        self._calls = {}
        self._keys = itertools.count(1)
        self.symbol = _native.SymbolCallback(self._symbol)
        self.log = _native.LogCallback(self._log)
        # Every handler ever registered: formulas prepared before a name was
        # registered again keep calling the earlier one.
        self._handlers = []

    @contextlib.contextmanager
    def call(self, lookup=None):
        """A key for the data pointer of one library call, and its state."""
        key = next(self._keys)
        state = _Call(lookup or self._lookup)
        self._calls[key] = state
        try:
            yield key, state
        finally:
            del self._calls[key]

    def _symbol(self, name, args, flags, result, key):
        call = self._calls[key]
        try:
            value = call.lookup(_native.read_text(name), _native.read_values(args))
            kind = _native.kind_of(value)
            _native.answer(self._library, result.contents, kind, _native.encode_value(kind, value))
            return Code.OK
        except KeyError:
            return Code.ILLEGAL_PARAMETER
        except BaseException as exception:
            call.fail(exception)
            return Code.UNKNOWN_ERROR

    def _log(self, text, priority):
        try:
            self._logger.log(_LEVELS.get(priority, logging.INFO), "%s", _native.read_text(text),
                             extra={"ordo_priority": priority})
            return Code.OK
        except BaseException:
            return Code.UNKNOWN_ERROR

    def handler(self, function, result_kind):
        """A handler that calls function with the arguments' values and answers
        its result as result_kind, or the exception's text as the message."""

        def handle(flags, args, key, result):
            call = self._calls[key]
            try:
                value = function(*_native.read_values(args))
                data = _native.encode_value(result_kind, value)
                _native.answer(self._library, result.contents, result_kind, data)
                return Code.OK
            except BaseException as exception:
                call.fail(exception)
                with contextlib.suppress(Exception):
                    message = _native.encode_text(f"{type(exception).__name__}: {exception}")
                    _native.answer(self._library, result.contents, STRING, message)
                return Code.UNKNOWN_ERROR

        thunk = _native.FunctionHandler(handle)
        self._handlers.append(thunk)
        return thunk


def _kind(kinds, kind, what):
    try:
        return kinds[kind]
    except (KeyError, TypeError):
        names = ", ".join(k.__name__ for k in kinds)
        raise TypeError(f"a {what} type is one of {names}, not {kind!r}") from None


def _separator(character):
    if character is None:
        return 0
    if len(character) != 1 or ord(character) > 0xFF:
        raise ValueError(f"a separator is one character up to U+00FF, not {character!r}")
    return ord(character)


class Client:
    """A client of the library: its symbols, host functions, flags, quota,
    separators and log. Close it (or use it as a context manager) to
    finalise it; its formulas end with it.

    symbols is a mapping from name to value, or a callable (name, args) ->
    value that raises KeyError for a name it does not know. A value is a
    number, a str, a list of numbers, or None for the library's null.

    Results are float (None for null) or str; by default single numbers come
    as float and everything else as text (Flag.FORCE_FLOAT_OR_STRING_RESULT).
    Any number of threads may use one client at once.
    """

    def __init__(self, symbols=None, *, flags=Flag.FORCE_FLOAT_OR_STRING_RESULT, quota=0,
                 list_separator=None, decimal_separator=None, line_feed="\n", log=None,
                 library=None):
        self._library = _native.load(library)
        self._callbacks = _Callbacks(self._library, _lookup(symbols),
                                     log or logging.getLogger("ordo"))
        handle = ctypes.c_void_p()
        init = _native.Init(
            iVersion=_native.VERSION,
            xGetSymbolValueFunc=self._callbacks.symbol,
            xWriteLogEntryFunc=self._callbacks.log,
            xcLineFeed=_native.encode_text(line_feed),
            xxClientHandle=ctypes.pointer(handle),
            iFlags=int(flags),
            iQuota=quota,
            cExpressionListSeparator=_separator(list_separator),
            cDecimalSeparator=_separator(decimal_separator))
        self._check(self._library.iCalcInitialize(ctypes.byref(init)))
        self._handle = handle.value
        self._guard = _Guard("client")

    def __enter__(self):
        return self

    def __exit__(self, *exc_info):
        self.close()

    def __del__(self):
        if hasattr(self, "_guard"):
            self.close()

    def close(self):
        """Finalises the client once the calls under way end (so never from
        one of its own callbacks)."""
        if self._guard.close():
            self._library.iCalcFinalize(self._handle)

    def prepare(self, text):
        """Parses a formula once, to be calculated as often as needed."""
        prepared = _native.PreparationResult()
        handle = ctypes.c_void_p()
        with self._guard.use(), self._callbacks.call() as (key, call):
            code = self._library.iCalcPrepareFormula(
                self._handle, _native.encode_text(text), ctypes.byref(prepared),
                ctypes.byref(handle), key)
        try:
            message = _native.read_text(prepared.xResultBuffer) or ""
        finally:
            self._library.iCalcFreeMemory(prepared.xResultBuffer)
        # Made before the check, so that a callback's interruption frees it.
        formula = Formula(self, handle.value, prepared.iFlags, text) if code == Code.OK else None
        self._check(code, message, call)
        return formula

    def calculate(self, text, symbols=None):
        """Prepares, calculates and frees a formula in one go."""
        with self.prepare(text) as formula:
            return formula.calculate(symbols)

    def register_function(self, name, function, params=(), result=float, *, repeat_last=False,
                          alias=None, category="", const=False):
        """Makes function callable from formulas prepared from now on, by name
        or alias in any case; it replaces a builtin of that name.

        params are the types of its parameters: float, str, list (of numbers)
        or Reference (a symbol named as an argument). repeat_last lets the
        last one take one or more arguments. result is float, str or list;
        None stands for null in numbers. const says that the result depends
        on nothing but the arguments. An exception the function raises fails
        the calculation and is the cause of its Error.
        """
        if not callable(function):
            raise TypeError(f"{function!r} is not callable")
        kinds = [_kind(_PARAMETER_KINDS, kind, "parameter") for kind in params]
        result_kind = _kind(_RESULT_KINDS, result, "result")
        parameters = (_native.Parameter * len(kinds))()
        for index, kind in enumerate(kinds):
            last = index == len(kinds) - 1
            parameters[index].xcDescription = _native.encode_text(params[index].__name__)
            parameters[index].iType = kind
            parameters[index].iFlags = _native.ONE_OR_MORE if repeat_last and last else 0
            if not last:
                parameters[index].xdtNext = ctypes.pointer(parameters[index + 1])
        record = _native.Function(
            xcName=_native.encode_text(name),
            xcSecondaryName=_native.encode_text(alias) if alias else None,
            xcCategory=_native.encode_text(category),
            xdtParameters=ctypes.cast(parameters, ctypes.POINTER(_native.Parameter)) if kinds
            else None,
            iFlags=_native.CONST_FUNCTION if const else 0,
            iResultType=result_kind,
            xFunctionHandler=self._callbacks.handler(function, result_kind))
        with self._guard.use():
            self._check(self._library.iCalcRegisterFunction(self._handle, ctypes.byref(record)))

    def function(self, name=None, **options):
        """register_function as a decorator; the name defaults to the
        function's own."""

        def register(function):
            self.register_function(name or function.__name__, function, **options)
            return function

        return register

    def _calculate(self, handle, symbols):
        result = _native.Result()
        with self._callbacks.call(_lookup(symbols)) as (key, call):
            code = self._library.iCalcCalculate(self._handle, handle, ctypes.byref(result), key)
        try:
            # On failure the buffer holds the library's message.
            value = _native.read_result(result.iType if code == Code.OK else STRING,
                                        result.xResultBuffer, result.iResultBufferLength)
        finally:
            self._library.iCalcFreeMemory(result.xResultBuffer)
        self._check(code, value, call)
        return value

    def _free(self, handle):
        try:
            with self._guard.use():
                self._library.iCalcFreeFormula(self._handle, handle)
        except _Closed:
            pass  # finalising the client ended the formula

    def _check(self, code, message="", call=None):
        """Raises the error of a failed call, with the exception of a failed
        callback as its cause. An interruption in a callback (such as
        KeyboardInterrupt) is raised as it is, whatever the call answered."""
        exception = call.exception if call else None
        if exception is not None and not isinstance(exception, Exception):
            raise exception
        if code != Code.OK:
            text = _native.error_text(self._library, code)
            raise error_for(code, text, message) from exception


class Formula:
    """A prepared formula. Any number of threads may calculate it at once.
    Close it (or use it as a context manager) to free it; closing its client
    ends it too. flags are the library's bits for it: 1 when nothing but its
    symbols varies, 2 as well when it has no symbols that vary, so that it
    was calculated once, when prepared."""

    def __init__(self, client, handle, flags, text):
        self._client = client
        self._handle = handle
        self._guard = _Guard("formula")
        self.flags = flags
        self.text = text

    def __enter__(self):
        return self

    def __exit__(self, *exc_info):
        self.close()

    def __del__(self):
        self.close()

    def calculate(self, symbols=None):
        """The formula's value, with symbols (a mapping or a callable) in place
        of the client's for this calculation."""
        with self._client._guard.use(), self._guard.use():
            return self._client._calculate(self._handle, symbols)

    def close(self):
        if self._guard.close():
            self._client._free(self._handle)
