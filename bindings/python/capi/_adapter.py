# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
"""The adapter."""
from __future__ import annotations

import os
import threading
import weakref
from typing import Dict, Iterator, Mapping, Optional, Tuple, Type, TypeVar, Union

from . import functions as c
from . import records
from ._cdef import ffi
from ._closing import Closing
from ._keys import Config
from ._library import DETACHED, Error, check, failure, read_text, sink, system_reason, text_of
from ._record import Array, ArrayItem, Field, Record, RecordItem, size_of
from ._snapshot import Snapshot
from ._stores import Calls, Messages
from ._told import tells
from ._watch import Watch
from .constants import IMS_VOICE_BYTES, SIP_LINES, TOPIC_ALL, VENDOR_BYTES, VOICE_STACKS
from .enums import HardwareInfoIndex, PresenceState, RecordKind, SimcardInfoIndex, Topic

R = TypeVar("R", bound=Record)
Path = Union[str, "os.PathLike[str]"]

# The library is the process's: the first adapter attaches it, and the last one detaches it.
_lock = threading.Lock()
_users = 0
# None of them; but without the record a master only attaches.
_CALLBACKS = ffi.new("struct capi_callbacks *")


def _kinds() -> Iterator[Tuple[Type[Record], RecordKind]]:
    """The kinds of the record's parts: each is named as its member."""
    for kind in RecordKind:
        member = getattr(records.SharedRecord, kind.name.lower())
        assert isinstance(member, Field)
        item = member._item
        if isinstance(item, ArrayItem):
            item = item._item
        if isinstance(item, RecordItem):
            yield item._kind, kind


_KIND_OF: Mapping[Type[Record], RecordKind] = dict(_kinds())
_NUMBERED = {
    kind
    for kind in RecordKind
    if isinstance(getattr(records.SharedRecord, kind.name.lower())._item, ArrayItem)
}


class Adapter(Closing):
    """An adapter, as the processes of the device share it.

    ``with capi.Adapter() as adapter:`` joins the one that runs; an Error tells when none does.
    Adapter.start() makes this process its master. Methods may be called from any thread.

    config: the settings by their names, adapter.config["sip_line_1.display_name"]
    calls: the call log
    messages: the short messages
    lines: the telephone lines 1 and 2, at 0 and 1
    """

    config: Config
    calls: Calls
    messages: Messages
    lines: Tuple[Line, ...]

    def __init__(self) -> None:
        self._is_open = False
        self._attach(is_master=False)
        if self.presence.state < PresenceState.NOT_PUBLISHED:
            state = PresenceState(self.presence.state)
            self.close()
            raise Error(f"there is no adapter: {state.name}", function="capi_init")

    @classmethod
    @tells("capi_init_settings_from_file", "capi_config_finish", "capi_post_init")
    def start(cls, *settings: Path) -> Adapter:
        """Starts an adapter with setting files, of which later ones count, as its master."""
        adapter = cls.__new__(cls)
        adapter._is_open = False
        adapter._attach(is_master=True)
        try:
            for each in settings:
                path = os.fspath(each)
                result = c.capi_init_settings_from_file(path)
                check(result, system_reason(path) or DETACHED)
            check(c.capi_config_finish(), DETACHED)
            check(c.capi_post_init(1))
        except BaseException:
            adapter.close()
            raise
        return adapter

    def _attach(self, *, is_master: bool) -> None:
        global _users
        with _lock:
            if is_master and _users > 0:
                raise Error("this process has joined an adapter: it cannot start one")
            if _users == 0:
                check(c.capi_init(_CALLBACKS if is_master else None, int(is_master), sink))
            _users += 1
        self._is_open = True
        self._watches: "weakref.WeakSet[Watch]" = weakref.WeakSet()
        self.config = Config(self)
        self.calls = Calls(self)
        self.messages = Messages(self)
        self.lines = tuple(Line(self, number) for number in range(1, SIP_LINES + 1))

    @tells("capi_uninit")
    def close(self) -> None:
        """Leaves the adapter, which goes on. No other thread may be within a call.

        Its watches are closed.
        """
        global _users
        with _lock:
            if not self._is_open:
                return
            self._is_open = False
            for watch in list(self._watches):
                watch.close()
            _users -= 1
            if _users == 0:
                c.capi_uninit()

    def _open(self) -> None:
        if not self._is_open:
            raise Error("the adapter is closed")

    @property
    @tells("capi_get_presence")
    def presence(self) -> records.Presence:
        """Whether anybody is there: locks, segment, published settings."""
        self._open()
        presence = records.Presence()
        check(c.capi_get_presence(presence._pointer), DETACHED)
        return presence

    # ---- Records

    @tells("capi_live_read")
    def read(self, kind: Type[R], number: int = 0) -> R:
        """A whole record as it is now, without a lock: adapter.read(capi.VoiceSipLine, 1).

        The number counts from 1, for records that there are several of.
        """
        self._open()
        record = kind()
        result = c.capi_live_read(_kind_of(kind), number, record._pointer, size_of(kind))
        if result != 0:
            raise failure(result, _why_not_there(kind, number))
        return record

    def write(self, record: Record, number: int = 0) -> None:
        """Sets a whole record as it is: what it holds is not checked."""
        self._open()
        name = f"capi_set_{type(record)._c.partition('capi_')[2]}"
        setter = getattr(c, name, None)
        if setter is None or type(record) not in _KIND_OF:
            raise TypeError(f"a {type(record).__name__} is not set as a whole")
        numbered = (number,) if _KIND_OF[type(record)] in _NUMBERED else ()
        result = setter(record._pointer, *numbered)
        if result != 0:
            raise failure(result, _why_not_there(type(record), number))

    @tells("capi_live_refresh")
    def snapshot(self) -> Snapshot:
        """All values at once."""
        self._open()
        snapshot = Snapshot()
        snapshot.refresh()
        return snapshot

    def vendor(self) -> bytes:
        """The vendor's block of the shared record."""
        return self._block(RecordKind.VENDOR, VENDOR_BYTES)

    def ims_voice(self) -> bytes:
        """The IMS block of the shared record."""
        return self._block(RecordKind.IMS_VOICE, IMS_VOICE_BYTES)

    def _block(self, kind: RecordKind, size: int) -> bytes:
        self._open()
        block = ffi.new("uint8_t[]", size)
        check(c.capi_live_read(kind, 0, block, size), DETACHED)
        return bytes(ffi.buffer(block))

    # ---- Changes

    @tells("capi_watch_open")
    def watch(self, topics: Topic = Topic(TOPIC_ALL)) -> Watch:
        """Tells of changes from now on: async for topics in adapter.watch(capi.Topic.LINES)."""
        self._open()
        watch = Watch(topics)
        self._watches.add(watch)
        return watch

    @tells("capi_fire_internal_event2")
    def post(self, name: str, *texts: str) -> None:
        """Posts a signal, alone or with up to three texts."""
        self._open()
        if not texts:
            check(c.capi_fire_internal_event(name))
            return
        if len(texts) > 3:
            raise ValueError(f"a signal has room for three texts, not {len(texts)}")
        first, second, third = (*texts, *[""] * (3 - len(texts)))
        check(c.capi_fire_internal_event2(name, first, second, third))

    @tells("capi_make_config_file")
    def write_stack_file(self, kind: int) -> None:
        """Writes the file of a type of voice stack anew, as the stack is to be told of settings."""
        self._open()
        result = c.capi_make_config_file(kind)
        check(result, system_reason(f"the file of voice stacks of type {kind}") or DETACHED)

    # ---- The device

    @tells("capi_get_hardware_info")
    def hardware(self, index: HardwareInfoIndex) -> str:
        """A fact about the hardware. An Error for one that the device does not know."""
        self._open()
        return read_text(lambda buf, size: c.capi_get_hardware_info(index, buf, size))

    @property
    def serial(self) -> str:
        """The serial number."""
        return self.hardware(HardwareInfoIndex.SERIAL)

    @property
    @tells("capi_get_device_imei")
    def imei(self) -> str:
        """The IMEI."""
        self._open()
        return read_text(c.capi_get_device_imei)

    @property
    @tells("capi_get_firmware_version")
    def firmware_version(self) -> str:
        """The firmware's version."""
        self._open()
        return read_text(c.capi_get_firmware_version).rstrip("\n")

    # ---- The SIM

    @tells("capi_get_simcard_info")
    def sim(self, index: SimcardInfoIndex) -> str:
        """A value of the SIM, which may be empty."""
        self._open()
        return read_text(lambda buf, size: c.capi_get_simcard_info(index, buf, size))

    @property
    @tells("capi_check_simcard")
    def is_sim_usable(self) -> bool:
        """Whether the inserted SIM is one of a known network."""
        self._open()
        return c.capi_check_simcard() == 0

    @property
    @tells("capi_get_carrier_info")
    def carrier(self) -> Optional[records.CarrierInfo]:
        """Whose SIM it is; None for nobody's that the device knows."""
        self._open()
        carrier = records.CarrierInfo()
        return carrier if c.capi_get_carrier_info(None, None, carrier._pointer) == 0 else None


def _kind_of(kind: Type[Record]) -> RecordKind:
    if kind not in _KIND_OF:
        raise TypeError(f"{kind.__name__} is no part of the shared record that is read alone")
    return _KIND_OF[kind]


def _why_not_there(kind: Type[Record], number: int) -> str:
    part = getattr(records.SharedRecord(), _KIND_OF[kind].name.lower())
    numbers = range(1, len(part) + 1) if isinstance(part, Array) else range(2)
    return DETACHED if number in numbers else f"there is no {kind.__name__} {number}"


class Line:
    """A telephone line: its settings and its live status. Lines and stacks count from 1 here."""

    def __init__(self, adapter: Adapter, number: int) -> None:
        self._adapter = adapter
        self.number = number

    def __repr__(self) -> str:
        return f"Line({self.number})"

    @property
    def settings(self) -> records.VoiceSipLine:
        """Its settings: a copy, which Adapter.write() sets."""
        return self._adapter.read(records.VoiceSipLine, self.number)

    @property
    @tells("capi_get_runtime_line_phone_phy_status")
    def phone(self) -> str:
        """What the telephone does; "Unknown" where nobody said."""
        self._adapter._open()
        return read_text(
            lambda buf, size: c.capi_get_runtime_line_phone_phy_status(self.number - 1, buf, size)
        )

    @phone.setter
    def phone(self, text: str) -> None:
        self._adapter._open()
        check(c.capi_set_runtime_line_phone_phy_status(self.number - 1, text))

    @property
    def call_state(self) -> records.SharedCallState:
        """Its calls as they are now."""
        return self._adapter.read(records.SharedCallState, self.number)

    @tells("capi_live_get_line_reg_stat")
    def registration(self, stack: int) -> records.LineRegStat:
        """Its registration on a voice stack, with duration and texts."""
        self._adapter._open()
        record = records.LineRegStat()
        result = c.capi_live_get_line_reg_stat(self.number - 1, record._pointer, stack - 1)
        if result != 0:
            lines, stacks = range(1, SIP_LINES + 1), range(1, VOICE_STACKS + 1)
            is_there = self.number in lines and stack in stacks
            missing = f"there is no line {self.number} on a voice stack {stack}"
            raise failure(result, DETACHED if is_there else missing)
        return record

    @tells("capi_set_runtime_line_reg_stat")
    def publish_registration(self, stack: int, record: records.LineRegStat) -> None:
        """What a voice stack tells of a line that it has registered, or not."""
        self._adapter._open()
        check(c.capi_set_runtime_line_reg_stat(self.number - 1, record._pointer, stack - 1))

    @property
    def registrations(self) -> Dict[int, records.LineRegStat]:
        """Those of all voice stacks, by the number of the stack."""
        return {stack: self.registration(stack) for stack in range(1, VOICE_STACKS + 1)}

    @property
    def is_registered(self) -> bool:
        """Whether it is, on any stack."""
        return any(each.registered for each in self.registrations.values())


@tells("capi_convert_call_state_to_string")
def call_state_name(state: int) -> str:
    """The name of a call state, 1 to 15."""
    return text_of(c.capi_convert_call_state_to_string(state))
