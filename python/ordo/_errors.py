"""The library's result codes as exceptions."""

import enum


class Code(enum.IntEnum):
    OK = 0
    UNKNOWN_ERROR = -1
    ILLEGAL_PARAMETER = -2
    PARSE_ERROR = -3
    EVALUATION_ERROR = -4
    INCOMPATIBLE_VERSION = -5
    QUOTA_EXCEEDED = -6
    UNHANDLED_EXCEPTION = -7


class Error(Exception):
    """A failed library call: its result code (``code``, an int that equals a
    ``Code`` member when the library knows it), the code's text, and the
    message the library composed (``message``, empty when it gave none)."""

    def __init__(self, code, code_text, message=""):
        self.code = code
        self.code_text = code_text
        self.message = message
        detail = message.strip()
        super().__init__(f"{code_text} ({code})" + (f": {detail}" if detail else ""))


class IllegalParameterError(Error):
    pass


class ParseError(Error):
    pass


class EvaluationError(Error):
    pass


class IncompatibleVersionError(Error):
    pass


class QuotaExceededError(Error):
    pass


class UnhandledExceptionError(Error):
    """A fault or stray exception inside the library or a callback; the
    library wrote a crash report to the log."""


_CLASSES = {
    Code.ILLEGAL_PARAMETER: IllegalParameterError,
    Code.PARSE_ERROR: ParseError,
    Code.EVALUATION_ERROR: EvaluationError,
    Code.INCOMPATIBLE_VERSION: IncompatibleVersionError,
    Code.QUOTA_EXCEEDED: QuotaExceededError,
    Code.UNHANDLED_EXCEPTION: UnhandledExceptionError,
}


def error_for(code, code_text, message=""):
    return _CLASSES.get(code, Error)(code, code_text, message)
