# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
"""What is closed at the end of a with."""
from __future__ import annotations

from types import TracebackType
from typing import Optional, Type, TypeVar

C = TypeVar("C", bound="Closing")


class Closing:
    """The end of a with is close()."""

    def close(self) -> None:
        raise NotImplementedError

    def __enter__(self: C) -> C:
        return self

    def __exit__(
        self,
        _type: Optional[Type[BaseException]],
        _value: Optional[BaseException],
        _traceback: Optional[TracebackType],
    ) -> None:
        self.close()
