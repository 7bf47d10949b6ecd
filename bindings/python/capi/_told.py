# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
"""What the headers say of a function, for the methods that stand on it."""
from __future__ import annotations

import inspect
from typing import Any, Callable, TypeVar

from . import functions as c

F = TypeVar("F", bound=Callable[..., Any])


def tells(*names: str) -> Callable[[F], F]:
    """Adds the documentation of functions to that of a method."""

    def add(method: F) -> F:
        docs = [inspect.cleandoc(getattr(c, name).__doc__ or "") for name in names]
        method.__doc__ = "\n\n".join([inspect.cleandoc(method.__doc__ or ""), *docs])
        return method

    return add
