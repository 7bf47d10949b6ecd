# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
"""The libraries, and how they are called: texts, log lines and exceptions.

cffi gives the interpreter's lock back while a call runs, so that one that waits for a critical
section holds up no other thread of Python. The library logs from within its critical sections and
wants no call from there: its lines are only collected meanwhile, and reach Python's logging when the
call is over.
"""
from __future__ import annotations

import logging
import os
import threading
from collections import deque
from functools import lru_cache
from typing import Any, Callable, Deque, List, NamedTuple, Optional, Sequence, TypeVar, Union

from ._cdef import ffi

Text = Union[str, bytes, None, Any]
R = TypeVar("R")

# Why the calls fail that need the shared record.
DETACHED = "this process is attached to no adapter"

LOG = logging.getLogger("capi")
# Of syslog's levels 0 to 7.
_LEVELS = (50, 50, 50, 40, 30, 20, 20, 10)
_NOTICE = 5
# Whoever calls from elsewhere has no call of ours to give its lines to; nobody may ever look.
_KEPT_LINES = 256


class LogLine(NamedTuple):
    """A line of the library's log."""

    level: int
    """From 0, the worst, to 7, as syslog has them."""
    text: str


class Error(Exception):
    """A call of the library failed. Its text is what the library logged about it.

    Where that logs nothing it is what was refused, or the reason that the system has.
    """

    def __init__(
        self,
        message: str,
        *,
        function: str = "",
        result: int = -1,
        errno: int = 0,
        lines: Sequence[LogLine] = (),
    ) -> None:
        super().__init__(message)
        self.function = function
        """The function of the library, if one failed."""
        self.result = result
        """What it returned."""
        self.errno = errno
        """errno after it, where its documentation speaks of that."""
        self.lines = tuple(lines)
        """Everything that it logged, in order."""

    def __str__(self) -> str:  # that of KeyError would put quotes around it
        return str(self.args[0])


class _Call:
    """A call that runs: what it has logged, and what its callbacks have raised."""

    def __init__(self, function: str) -> None:
        self.function = function
        self.lines: List[LogLine] = []
        # These with those of the calls that its callbacks make, in order.
        self.all_lines: List[LogLine] = []
        self.raised: Optional[BaseException] = None
        self.errno = 0


class _Thread(threading.local):
    def __init__(self) -> None:
        self.running: List[_Call] = []
        self.last = _Call("")


_thread = _Thread()
_strays: Deque[LogLine] = deque(maxlen=_KEPT_LINES)


def encode(text: str) -> bytes:
    """The bytes of a text, which C ends with a NUL. Bytes that are no UTF-8 come back as they were."""
    encoded = text.encode("utf-8", "surrogateescape")
    if b"\0" in encoded:
        raise ValueError("a text for the adapter cannot have a NUL in it")
    return encoded


def decode(encoded: bytes) -> str:
    return encoded.decode("utf-8", "surrogateescape")


def text_of(pointer: Any) -> str:
    """The text at a pointer, or in an array that it may fill to the end; "" for null."""
    return decode(ffi.string(pointer)) if pointer else ""


def _open(name: str) -> Any:
    try:
        return ffi.dlopen(name)
    except OSError as error:
        raise ImportError(f"{name} cannot be loaded: {error}") from error


_libraries = (_open("libcapi.so.0"), _open("libcapi-keys.so.0"))


@lru_cache(maxsize=None)
def _found(name: str) -> Any:
    for library in _libraries:
        try:
            return getattr(library, name)
        except (AttributeError, ffi.error):
            continue
    raise AttributeError(f"the libraries have no {name}: they are older than this package")


def _keep(_type: Any, value: BaseException, _traceback: Any) -> None:
    """What a callback raises goes on when the call that it belongs to is over."""
    if _thread.running and _thread.running[-1].raised is None:
        _thread.running[-1].raised = value


@ffi.callback("capi_log_sink", onerror=_keep)  # type: ignore[misc]
def sink(level: int, text: Any) -> None:
    """Takes the library's log lines, but for what they tell of passwords."""
    line = LogLine(level, text_of(text))
    if level > _NOTICE and "password" in line.text:
        return
    if _thread.running:
        _thread.running[-1].lines.append(line)
        _thread.running[0].all_lines.append(line)
    else:
        _strays.append(line)


# Also what is called without an adapter may log.
_found("capiv2_log_init")(sink)


def callback(kind: str, function: Callable[..., R]) -> Any:
    """A C callback of a type of the headers. It lives as long as what this returns is kept."""
    return ffi.callback(kind, function, onerror=_keep)


def call(name: str, *arguments: Any) -> Any:
    """Calls a function. Raises what its callbacks raise."""
    function = _found(name)
    # cffi frees a text when the name that holds it goes.
    handed = [_as_c(each) for each in arguments]
    this = _Call(name)
    _thread.running.append(this)
    try:
        ffi.errno = 0  # or that of a call before would tell why this one fails
        result = function(*handed)
        this.errno = ffi.errno
    finally:
        _thread.running.pop()
    if not _thread.running:
        _tell(this.all_lines)
    _thread.last = this  # a handler of the log may have called the library, too
    if this.raised is not None:
        raise this.raised
    return result


def _as_c(argument: Any) -> Any:
    if isinstance(argument, str):
        return encode(argument)
    if argument is None:
        return ffi.NULL
    return getattr(argument, "_pointer", argument)  # that of a record


def _tell(lines: List[LogLine]) -> None:
    strays: List[LogLine] = []
    # Another thread may take strays at the same time.
    while _strays:
        try:
            strays.append(_strays.popleft())
        except IndexError:
            break
    for line in strays + lines:
        LOG.log(_LEVELS[min(max(line.level, 0), 7)], "%s", line.text)


def last_errno() -> int:
    """errno after the call just made in this thread."""
    return _thread.last.errno


def system_reason(subject: str) -> str:
    """What the system has against a file or the like; "" where the call just made leaves no errno."""
    return f"{subject}: {os.strerror(last_errno())}" if last_errno() else ""


def check(result: int, reason: str = "") -> int:
    """The result of the call just made in this thread; raises an Error for one below 0.

    A reason is told where nothing is logged.
    """
    if result >= 0:
        return result
    raise failure(result, reason)


def failure(result: int = -1, reason: str = "") -> Error:
    """What the call just made in this thread failed with. A reason is told where nothing is logged."""
    last = _thread.last
    # The first tells why, and those behind it what came of that.
    said = [line.text for line in last.lines if line.level <= _NOTICE]
    return Error(
        "; ".join(said) or reason or f"{last.function}() failed",
        function=last.function,
        result=result,
        errno=last.errno,
        lines=last.lines,
    )


def read_text(function: Callable[[Any, int], int], size: int = 4096, *, reason: str = "") -> str:
    """A text that a function writes into a buffer. The largest value of the record fits."""
    buffer = ffi.new("char[]", size)
    check(function(buffer, size), reason)
    return text_of(buffer)
