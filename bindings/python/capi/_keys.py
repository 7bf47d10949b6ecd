# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
"""The keys of the configuration, as people name them: "sip_line_1.display_name"."""
from __future__ import annotations

import difflib
from functools import lru_cache
from typing import Any, Dict, Iterator, Mapping, Optional, Union

from . import functions as c
from . import records
from ._cdef import ffi
from ._library import DETACHED, Error, callback, check, failure, read_text, text_of
from ._told import tells
from .constants import KEYS_SENTENCE
from .enums import ConfigKeyKind, KeyCheck

Value = Union[str, int]


class UnknownKey(Error, KeyError):
    """There is no key of this name."""


class InvalidValue(Error, ValueError):
    """A value is not right for its key: the text says what is, and never shows a secret."""

    def __init__(self, message: str, fault: KeyCheck) -> None:
        super().__init__(message, function="capi_keys_check", result=fault)
        self.fault = fault
        """What is wrong with it."""

    def __reduce__(self) -> Any:
        return type(self), (self.args[0], self.fault), self.__dict__


class Key:
    """A key: what it means and what it takes."""

    def __init__(self, row: records.ConfigKey, section: int, number: int) -> None:
        self._row = row
        base = row.section.replace("%d", "")
        self.section = row.section.replace("%d", str(section))
        """As setting files have it: "sip_line_1"."""
        self.name = row.name.replace("%d", str(number))
        """As setting files have it: "option_sip_line_display_name"."""
        self.field = self.name[len("option_" + base.rstrip("_") + "_") :]
        self.label = f"{self.section}.{self.field}"
        self.is_number = row.kind == ConfigKeyKind.NUMBER
        self.capacity = row.capacity
        """Bytes of a text that are kept, the terminator included."""

    def __repr__(self) -> str:
        return f"Key({self.label!r})"

    @property
    @tells("capi_keys_describe")
    def meaning(self) -> records.KeyMeaning:
        """What it means, its unit, who says so, its start, and more."""
        meaning = records.KeyMeaning()
        check(c.capi_keys_describe(self._row._pointer, meaning._pointer))
        return meaning

    @property
    @tells("capi_keys_allowed")
    def allowed(self) -> str:
        """What it takes, for people: "0 to 65535"."""
        return read_text(lambda buf, size: c.capi_keys_allowed(self._row._pointer, buf, size))

    @property
    def names(self) -> Dict[int, str]:
        """The numbers that have names, or are allowed beside the range."""
        found: Dict[int, str] = {}

        def take(number: int, name: Any, _user: Any) -> int:
            found[number] = text_of(name)
            return 0

        walk = callback("capi_key_value_cb", take)
        check(c.capi_keys_for_each_value(self._row._pointer, walk, None))
        return found

    def as_text(self, value: Value) -> str:
        """A value as the library takes it: a number in decimal, also for the name of one."""
        if isinstance(value, int):
            return str(int(value))
        if not isinstance(value, str):
            raise TypeError(
                f"{self.label} takes a text or a whole number, not a {type(value).__name__}"
            )
        if self.is_number and not value.lstrip("-").isdigit():
            number = ffi.new("int32_t *")
            if c.capi_keys_value_number(self.section, self.name, value, number) == 0:
                return str(number[0])
        return value

    @tells("capi_keys_check")
    def check(self, value: Value) -> None:
        """Raises InvalidValue for a value that is not right."""
        sentence = ffi.new("char[]", KEYS_SENTENCE)
        text = self.as_text(value)
        refuse(c.capi_keys_check(self.section, self.name, text, sentence, KEYS_SENTENCE), sentence)


def refuse(fault: int, sentence: Any) -> None:
    """Raises what a check of a value came to."""
    if fault < 0:
        raise failure(fault, DETACHED)
    if fault != KeyCheck.OK:
        raise InvalidValue(text_of(sentence), KeyCheck(fault))


@lru_cache(maxsize=None)
def all_keys() -> Mapping[str, Key]:
    """Every key by its label, in the order of the library's table."""
    rows = []

    def take(row: Any, _user: Any) -> int:
        rows.append(records.ConfigKey._copied(row))
        return 0

    walk = callback("capi_config_key_cb", take)
    check(c.capi_config_for_each(walk, None))
    keys = [
        Key(row, section, number)
        for row in rows
        for section in range(1, max(row.section_max, 1) + 1)
        for number in range(1, max(row.name_max, 1) + 1)
    ]
    return {key.label: key for key in keys}


def find(label: str) -> Key:
    """The key of a label. A label that is nearly right is told in the exception."""
    key = all_keys().get(label)
    if key is not None:
        return key
    near = difflib.get_close_matches(label, all_keys(), 1)
    hint = f" Did you mean {near[0]}?" if near else ""
    raise UnknownKey(f"there is no key {label}.{hint}")


class Config(Mapping[str, str]):
    """The settings by their names, as a mapping of texts.

    Reading takes no lock. What is set is checked first, is there for every process at once, and
    tells those who watch; it stands in no file, and is gone with the next start of the master.
    """

    def __init__(self, adapter: Any) -> None:
        self._adapter = adapter

    def __getitem__(self, label: str) -> str:
        key = find(label)
        self._adapter._open()
        section, name = key.section, key.name
        return read_text(
            lambda buf, size: c.capi_live_get(section, name, buf, size), reason=DETACHED
        )

    def __setitem__(self, label: str, value: Value) -> None:
        self.set(label, value)

    def __iter__(self) -> Iterator[str]:
        return iter(all_keys())

    def __len__(self) -> int:
        return len(all_keys())

    def __contains__(self, label: object) -> bool:
        return label in all_keys()

    @tells("capi_keys_set", "capi_config_set")
    def set(self, label: str, value: Value, *, checked: bool = True) -> None:
        """Sets a value: a text, a number, or the name of one.

        One that is not right raises InvalidValue. Unchecked, the library takes whatever it is given,
        as it does from a setting file.
        """
        key = find(label)
        self._adapter._open()
        text = key.as_text(value)
        if not checked:
            check(c.capi_config_set(key.section, key.name, 0, text), DETACHED)
            return
        sentence = ffi.new("char[]", KEYS_SENTENCE)
        refuse(c.capi_keys_set(key.section, key.name, text, sentence, KEYS_SENTENCE), sentence)

    def number(self, label: str) -> int:
        """The value of a key that takes numbers."""
        return int(self[label])

    def key(self, label: str) -> Key:
        """What a key means and takes."""
        return find(label)

    def section(self, name: str) -> Dict[str, str]:
        """The values of a section, by their names without it."""
        keys = [key for key in all_keys().values() if key.section == name]
        if not keys:
            raise UnknownKey(f"there is no section {name}")
        return {key.field: self[key.label] for key in keys}


def label_of(section: str, name: str) -> Optional[str]:
    """The label of a section and key as the library names them."""
    for key in all_keys().values():
        if key.section == section and key.name == name:
            return key.label
    return None
