"""Ordo formula calculation from Python, over libordo's C interface.

    import ordo

    with ordo.Client({"price": 12.5}) as client:
        client.calculate("price * 2")        # 25.0

The library is found through the library argument of Client, else the
environment variable ORDO_LIBRARY, else the system's library search path.
"""

from ._client import Client, Flag, Formula
from ._errors import (Code, Error, EvaluationError, IllegalParameterError,
                      IncompatibleVersionError, ParseError, QuotaExceededError,
                      UnhandledExceptionError)
from ._native import Reference

__all__ = [
    "Client", "Code", "Error", "EvaluationError", "Flag", "Formula", "IllegalParameterError",
    "IncompatibleVersionError", "ParseError", "QuotaExceededError", "Reference",
    "UnhandledExceptionError",
]
