# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
"""Many values that belong together."""
from __future__ import annotations

import os
from typing import Any, List, NamedTuple, Union

from . import functions as c
from . import records
from ._cdef import ffi
from ._keys import find, label_of
from ._library import DETACHED, callback, check, read_text, system_reason, text_of
from ._told import tells


class Change(NamedTuple):
    """A value that differs between two snapshots."""

    key: str
    before: str
    after: str


class Snapshot(records.SharedRecord):
    """A copy of the whole shared record: no other process's change falls between its values.

    Members are those of the record; values have their names as in Adapter.config:
    snapshot["sip_line_1.display_name"].
    """

    __slots__ = ("_generation",)

    def __init__(self) -> None:
        super().__init__()
        self._generation: Any = ffi.new("uint64_t *")

    @property
    def generation(self) -> int:
        """Which state it holds; generations only grow."""
        return int(self._generation[0])

    @tells("capi_live_refresh")
    def refresh(self) -> bool:
        """Brings it up to date without a lock. Tells whether anything had changed."""
        return check(c.capi_live_refresh(self._pointer, self._generation), DETACHED) == 1

    def __getitem__(self, label: str) -> str:
        key = find(label)
        pointer, section, name = self._pointer, key.section, key.name
        return read_text(lambda buf, size: c.capi_snapshot_get(pointer, section, name, buf, size))

    def copy(self) -> Snapshot:
        other = Snapshot()
        ffi.memmove(other._pointer, self._pointer, ffi.sizeof(self._c))
        other._generation[0] = self._generation[0]
        return other

    @tells("capi_snapshot_diff")
    def changes_to(self, after: Snapshot) -> List[Change]:
        """The values that are others in a later snapshot, in the order of the keys."""
        found: List[Change] = []
        walk = callback("capi_snapshot_change_cb", collector(found))
        check(c.capi_snapshot_diff(self._pointer, after._pointer, walk, None))
        return found

    @tells("capi_keys_for_each_change")
    def changes_since_start(self) -> List[Change]:
        """The values that are not those of a master's start without settings."""
        found: List[Change] = []
        walk = callback("capi_snapshot_change_cb", collector(found))
        check(c.capi_keys_for_each_change(self._pointer, walk, None))
        return found

    @tells("capi_snapshot_write_config_file")
    def write_stack_file(self, kind: int, path: Union[str, "os.PathLike[str]"]) -> None:
        """Writes the file of a type of voice stack from these values, wherever it is wanted."""
        result = c.capi_snapshot_write_config_file(self._pointer, kind, os.fspath(path))
        check(result, system_reason(os.fspath(path)))


def collector(found: List[Change]) -> Any:
    def take(section: Any, name: Any, before: Any, after: Any, _user: Any) -> int:
        names = text_of(section), text_of(name)
        label = label_of(*names) or ".".join(names)
        found.append(Change(label, text_of(before), text_of(after)))
        return 0

    return take
