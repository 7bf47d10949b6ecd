# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
"""Being told of changes."""
from __future__ import annotations

import math
import os
import select
import time
from typing import Callable, Optional

from . import functions as c
from . import records
from ._closing import Closing
from ._library import Error, check, failure, system_reason
from ._told import tells
from .enums import Topic

# In seconds: poll() takes milliseconds that an int of C has room for.
_LONGEST_POLL = 24 * 60 * 60


class Watch(Closing):
    """Tells of changes: which topics, not how many changes there were.

    ``async for topics in watch`` goes on for as long as changes come, and ends with an Error when
    the watch is closed, as the end of its adapter does. Without asyncio there is wait(), and
    fileno() for select() and the like. Read the values that you start with after the watch was
    opened. A watch belongs to the process that opened it, and to one thread at a time.
    """

    def __init__(self, topics: Topic) -> None:
        self._watch = records.Watch()
        self._process = os.getpid()
        self._is_awaited = False
        self._wake: Callable[[], object] = lambda: None
        self._is_open = False
        result = c.capi_watch_open(self._watch._pointer, int(topics))
        if result != 0:
            raise failure(result, system_reason("there is no watch"))
        self._is_open = True

    def fileno(self) -> int:
        """The descriptor, which becomes readable with a change, and is not to be read from."""
        if not self._is_open:
            raise Error("the watch is closed")
        if self._process != os.getpid():
            raise Error("the watch is that of another process: open one after the fork")
        return self._watch.fd

    @tells("capi_watch_changed")
    def changed(self) -> Topic:
        """The topics that have changed since it was asked last; none is false."""
        self.fileno()
        result = c.capi_watch_changed(self._watch._pointer)
        return Topic(check(result, system_reason("the watch cannot tell")))

    def wait(self, timeout: Optional[float] = None) -> Topic:
        """Waits for a change, at most for so many seconds; then there is none."""
        deadline = None if timeout is None else time.monotonic() + timeout
        while True:
            topics = self.changed()
            left = None if deadline is None else deadline - time.monotonic()
            if topics or (left is not None and left <= 0):
                return topics
            # Another segment in the place of the watched one may bring another descriptor.
            poll = select.poll()
            poll.register(self.fileno(), select.POLLIN)
            poll.poll(None if left is None else math.ceil(min(left, _LONGEST_POLL) * 1000))

    def close(self) -> None:
        """Ends the watch, and with an Error what waits for it in an event loop."""
        if not self._is_open:
            return
        self._is_open = False
        if self._process == os.getpid():
            c.capi_watch_close(self._watch._pointer)
            self._wake()
        else:
            os.close(self._watch.fd)  # the parent's goes on

    def __del__(self) -> None:
        if getattr(self, "_is_open", False):
            self.close()

    def __aiter__(self) -> Watch:
        return self

    async def __anext__(self) -> Topic:
        if self._is_awaited:
            raise RuntimeError("one task at a time waits for a watch")
        self._is_awaited = True
        try:
            while True:
                topics = self.changed()
                if topics:
                    return topics
                await self._readable()
        finally:
            self._is_awaited = False

    async def _readable(self) -> None:
        # Half of what importing the package would take, for those who have no use for it.
        import asyncio

        loop = asyncio.get_running_loop()
        is_readable: asyncio.Future[None] = loop.create_future()

        def wake() -> None:
            if not is_readable.done():
                is_readable.set_result(None)

        def wake_from_anywhere() -> None:
            if not loop.is_closed():
                loop.call_soon_threadsafe(wake)

        # One of the loop's own: when the watch is closed its number may be another file's at once.
        descriptor = os.dup(self.fileno())
        try:
            loop.add_reader(descriptor, wake)
            self._wake = wake_from_anywhere
            await is_readable
        finally:
            self._wake = lambda: None
            loop.remove_reader(descriptor)
            os.close(descriptor)
