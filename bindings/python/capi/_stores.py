# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
"""The call log and the short messages."""
from __future__ import annotations

import threading
import time
from datetime import datetime, timedelta, timezone
from typing import Any, Iterator, List, Optional, Tuple, Union

from . import functions as c
from . import records
from ._cdef import ffi
from ._library import Error, callback, check, decode, encode
from ._record import fill
from ._told import tells
from .constants import CALL_LOG_TYPES, SMS_TEXT_CAPACITY
from .enums import SmsSelector


_EPOCH = datetime(1970, 1, 1, tzinfo=timezone.utc)
# No thread of this process changes the call log between another's look at it and what follows. A
# handler of the log may change it, too, in the thread that calls.
_changing = threading.RLock()


def _time(seconds: int) -> Optional[datetime]:
    # datetime.fromtimestamp() goes no further than time_t does, which has 32 bits on some devices.
    return _EPOCH + timedelta(seconds=seconds) if seconds else None


class Call(records.CallLogRecord):
    """A call of the log; its times in UTC as well."""

    __slots__ = ()

    @property
    def start(self) -> Optional[datetime]:
        return _time(self.calltimestart)

    @property
    def connect(self) -> Optional[datetime]:
        """None for a call that was not answered."""
        return _time(self.calltimeconnect)

    @property
    def end(self) -> Optional[datetime]:
        return _time(self.calltimeend)


class Calls:
    """The call log, from the newest call to the oldest; reversed() goes the other way.

    An iteration shows the log as it was when it began.
    """

    # What capi_voip_call_log_dump() has for all entries and for the types 0 to 2.
    _ALL = 0
    _OF_TYPE = (2, 1, 3)
    # What tells a call from another one that has got its node. Sequences begin anew in an empty log.
    _IDENTITY = ("index", "calltype", "sequence", "calltimestart")

    def __init__(self, adapter: Any) -> None:
        self._adapter = adapter

    def _read(self, dump: Any, *selector: int) -> List[Call]:
        self._adapter._open()
        found: List[Call] = []

        def take(call: Any, _user: Any) -> int:
            found.append(Call._copied(call))
            return 0

        walk = callback("capi_call_log_cb", take)
        check(dump(*selector, walk, None))
        return found

    def __iter__(self) -> Iterator[Call]:
        return iter(self._read(c.capi_voip_call_log_dump, self._ALL))

    def __reversed__(self) -> Iterator[Call]:
        return iter(self._read(c.capi_voip_call_log_dump_all))

    def __len__(self) -> int:
        return len(self._read(c.capi_voip_call_log_dump, self._ALL))

    def of_type(self, kind: int) -> List[Call]:
        """The calls of a type, 0 to 2, from the newest on."""
        if kind not in range(CALL_LOG_TYPES):
            raise ValueError(f"there is no type {kind} of calls")
        return self._read(c.capi_voip_call_log_dump, self._OF_TYPE[kind])

    @tells("capi_voip_add_call_log")
    def add(self, kind: int, call: records.CallLogRecord) -> None:
        """Adds a call; a full type loses its oldest."""
        self._adapter._open()
        with _changing:
            check(c.capi_voip_add_call_log(kind, call._pointer))

    @tells("capi_voip_delete_call_log_by_node")
    def delete(self, call: records.CallLogRecord) -> None:
        """Removes a call as an iteration gave it. An Error tells when the log no longer has it.

        The library itself does not look whether the node is still that call's: this does, right
        before. These methods keep other threads out meanwhile. Another process that deletes the call
        between the two cannot be kept out: the log is damaged then, or another call goes.
        """
        self._adapter._open()
        there = records.CallLogRecord()
        with _changing:
            check(c.capi_voip_read_call_log_node(None, call.index, there._pointer))
            if any(getattr(there, name) != getattr(call, name) for name in self._IDENTITY):
                raise Error(f"the call in node {call.index} is no longer in the log")
            check(c.capi_voip_delete_call_log_by_node(call.calltype, call.index))

    @tells("capi_voip_clean_all_call_log", "capi_voip_clean_call_log_by_type")
    def clear(self, kind: Optional[int] = None) -> None:
        """Removes all calls, or those of a type."""
        self._adapter._open()
        with _changing:
            if kind is None:
                check(c.capi_voip_clean_all_call_log())
            elif self.of_type(kind):
                check(c.capi_voip_clean_call_log_by_type(kind))


class Message(records.SmsRecord):
    """A short message: Message("On my way", RemoteNumber="5550100"), with the members of the record.

    Setting text or data sets Text with TextLen and TextSize, which tell what of it is stored.
    """

    __slots__ = ()

    def __init__(self, text: str = "", **members: Any) -> None:
        super().__init__(**members)
        if text:
            self.text = text

    @property
    def data(self) -> bytes:
        """The bytes of its text that mean something, of any encoding; a NUL is one of them."""
        return bytes(
            ffi.buffer(self._pointer.Text, min(self.TextLen, self.TextSize, SMS_TEXT_CAPACITY))
        )

    @data.setter
    def data(self, content: bytes) -> None:
        if len(content) > SMS_TEXT_CAPACITY:
            raise ValueError(
                f"a message has room for {SMS_TEXT_CAPACITY} bytes, not {len(content)}"
            )
        fill(self._pointer.Text, content)
        self.TextLen = self.TextSize = len(content)

    @property
    def text(self) -> str:
        """These as UTF-8. How a sender encodes is his business: TextType tells."""
        return decode(self.data)

    @text.setter
    def text(self, text: str) -> None:
        self.data = text.encode("utf-8", "surrogateescape")

    @property
    def is_read(self) -> bool:
        return self.bRead != 0

    @property
    def time(self) -> Optional[datetime]:
        """When it was stored, in UTC."""
        return _time(self.BeginTime)


class Box:
    """The received or the sent messages, from the oldest to the newest; box[id] is one of them."""

    _HEAD = ffi.offsetof("struct capi_sms_record", "Text")

    def __init__(self, adapter: Any, selector: SmsSelector) -> None:
        self._adapter = adapter
        self._selector = selector

    def _read(self) -> List[Tuple[bytes, int]]:
        self._adapter._open()
        found: List[Tuple[bytes, int]] = []

        def take(message: Any, _user: Any) -> int:
            size = self._HEAD + min(message.TextSize, SMS_TEXT_CAPACITY)
            found.append((bytes(ffi.buffer(message, size)), size))
            return 0

        walk = callback("capi_sms_dump_cb", take)
        check(c.capi_voip_sms_dump(self._selector, walk, None))
        return found

    def __iter__(self) -> Iterator[Message]:
        # A message has room for the longest text: one at a time is made.
        return (Message._copied(content, size) for content, size in self._read())

    def __len__(self) -> int:
        return len(self._read())

    def __getitem__(self, message_id: int) -> Message:
        self._adapter._open()
        message = Message()
        if c.capi_voip_sms_get(self._selector, message_id, message._pointer) != 0:
            self._read()  # a file that cannot be used is another fault
            raise NoMessage(f"there is no message {message_id}")
        return message

    @tells("capi_voip_sms_add")
    def add(self, message: records.SmsRecord) -> int:
        """Stores a message as the newest. Returns the id that it got.

        A record whose TextSize is 0 although it has a Text is a ValueError: Message() sets both.
        """
        self._adapter._open()
        if message.TextSize == 0 and message.Text:
            raise ValueError("TextSize is 0: the text would not be stored; a Message sets it")
        result = c.capi_voip_sms_add(self._selector, message._pointer)
        room = f"a message has room for {SMS_TEXT_CAPACITY} bytes, not {message.TextSize}"
        check(result, room)
        return message.id

    @tells("capi_voip_sms_update")
    def mark_read(self, message_id: int, is_read: bool = True) -> None:
        """Marks a message as read, or as unread."""
        message = self[message_id]
        message.bRead = int(is_read)
        message.LastTime = int(time.time())
        check(c.capi_voip_sms_update(self._selector, message._pointer))

    @tells("capi_voip_sms_del_by_id")
    def delete(self, message_id: int) -> None:
        """Removes a message."""
        self._adapter._open()
        check(c.capi_voip_sms_del_by_id(self._selector, message_id))

    @tells("capi_voip_sms_clean")
    def clear(self) -> None:
        """Removes all messages; ids start at 1 again."""
        self._adapter._open()
        check(c.capi_voip_sms_clean(self._selector))


class NoMessage(Error, KeyError):
    """There is no message of this id."""


class Messages:
    """The short messages: those received, then those sent."""

    def __init__(self, adapter: Any) -> None:
        self._adapter = adapter
        self.received = Box(adapter, SmsSelector.RECEIVED)
        self.sent = Box(adapter, SmsSelector.SENT)

    def __iter__(self) -> Iterator[Message]:
        yield from self.received
        yield from self.sent

    def __len__(self) -> int:
        return len(self.received) + len(self.sent)

    @tells("capi_voip_sms_send")
    def send(self, number: str, text: Union[str, bytes], text_type: int = 0) -> None:
        """Stores a message among the sent ones and asks for it to be sent.

        A text is sent as UTF-8; bytes as they are, encoded as the type tells.
        """
        self._adapter._open()
        content = text if isinstance(text, bytes) else encode(text)
        check(c.capi_voip_sms_send(number, text_type, content, len(content)))
