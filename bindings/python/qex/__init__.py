"""Time-stamps by RFC 3161 with libqex.

`check` and `check_many` give the whole answer about tokens, from the program `qex`. `qex.lib` is the C interface of the
library: requests, replies, tokens and digests. README.md says which one to take when.
"""

from . import lib
from ._answer import Answer, Check, Job, Trust
from ._check import Checker, check, check_many
from ._load import LibraryError
from ._program import ToolError
from ._record import QexError, ResultError
from ._version import VERSION as __version__

__all__ = [
    "Answer", "Check", "Checker", "Job", "LibraryError", "QexError", "ResultError", "ToolError", "Trust", "__version__",
    "check", "check_many", "lib",
]
