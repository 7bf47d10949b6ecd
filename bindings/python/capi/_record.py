# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
"""Records of C as objects: each member an attribute, texts as str."""
from __future__ import annotations

from typing import (
    Any,
    ClassVar,
    Dict,
    Generic,
    Iterator,
    Optional,
    Sequence,
    Tuple,
    Type,
    TypeVar,
    Union,
    overload,
)

from ._cdef import ffi
from ._library import encode, text_of

T = TypeVar("T")
Place = Union[str, int]


def _get(holder: Any, place: Place) -> Any:
    return holder[place] if isinstance(place, int) else getattr(holder, place)


def _put(holder: Any, place: Place, value: Any) -> None:
    if isinstance(place, int):
        holder[place] = value
    else:
        setattr(holder, place, value)


def fill(array: Any, content: bytes) -> None:
    """Puts bytes into an array that has room for them, and zeros behind them."""
    buffer = ffi.buffer(array)
    buffer[:] = content.ljust(len(buffer), b"\0")


class Item(Generic[T]):
    """How a value of C is read and written, where it lies in a record or an array."""

    def load(self, holder: Any, place: Place, owner: Any) -> T:
        raise NotImplementedError

    def store(self, holder: Any, place: Place, value: T) -> None:
        raise NotImplementedError


class NumberItem(Item[int]):
    def load(self, holder: Any, place: Place, owner: Any) -> int:
        return int(_get(holder, place))

    def store(self, holder: Any, place: Place, value: int) -> None:
        _put(holder, place, value)  # OverflowError for what does not fit


class TextItem(Item[str]):
    """A text in an array, which it may fill without a terminator."""

    def load(self, holder: Any, place: Place, owner: Any) -> str:
        return text_of(_get(holder, place))

    def store(self, holder: Any, place: Place, value: str) -> None:
        array = _get(holder, place)
        content = encode(value)
        if len(content) >= len(array):
            raise ValueError(f"{place} has room for {len(array) - 1} bytes, not {len(content)}")
        fill(array, content)


class BytesItem(Item[bytes]):
    def load(self, holder: Any, place: Place, owner: Any) -> bytes:
        return bytes(ffi.buffer(_get(holder, place)))

    def store(self, holder: Any, place: Place, value: bytes) -> None:
        array = _get(holder, place)
        if len(value) != len(array):
            raise ValueError(f"{place} takes {len(array)} bytes, not {len(value)}")
        fill(array, value)


class ConstantItem(Item[str]):
    """A text of the library's own; "" where there is none."""

    def load(self, holder: Any, place: Place, owner: Any) -> str:
        return text_of(_get(holder, place))

    def store(self, holder: Any, place: Place, value: str) -> None:
        raise AttributeError(f"{place} is the library's text")


class Array(Sequence[T]):
    """An array of a record: what is put in here is put into the record."""

    __slots__ = ("_cdata", "_item", "_owner", "__weakref__")

    def __init__(self, cdata: Any, item: Item[T], owner: Any) -> None:
        self._cdata, self._item, self._owner = cdata, item, owner

    def __len__(self) -> int:
        return len(self._cdata)

    def _place(self, index: int) -> int:
        place = range(len(self))[index]  # IndexError for what is outside
        return place

    @overload
    def __getitem__(self, index: int) -> T:
        ...

    @overload
    def __getitem__(self, index: slice) -> Sequence[T]:
        ...

    def __getitem__(self, index: Union[int, slice]) -> Union[T, Sequence[T]]:
        if isinstance(index, slice):
            return [self[place] for place in range(len(self))[index]]
        return self._item.load(self._cdata, self._place(index), self._owner)

    def __setitem__(self, index: int, value: T) -> None:
        self._item.store(self._cdata, self._place(index), value)

    def __eq__(self, other: object) -> bool:
        if not isinstance(other, (Array, list, tuple)):
            return NotImplemented
        return list(self) == list(other)

    __hash__ = None  # type: ignore[assignment]

    def __repr__(self) -> str:
        return repr(list(self))


class ArrayItem(Item[Sequence[T]]):
    def __init__(self, item: Item[T]) -> None:
        self._item = item

    def load(self, holder: Any, place: Place, owner: Any) -> Array[T]:
        return Array(_get(holder, place), self._item, owner)

    def store(self, holder: Any, place: Place, value: Sequence[T]) -> None:
        array = _get(holder, place)
        if len(value) != len(array):
            raise ValueError(f"{place} has {len(array)} entries, not {len(value)}")
        for index, each in enumerate(value):
            self._item.store(array, index, each)


class Field(Generic[T]):
    """A member of a record."""

    def __init__(self, item: Item[T], doc: str) -> None:
        self._item = item
        self._name = ""
        self.__doc__ = doc

    def __set_name__(self, owner: Type[Record], name: str) -> None:
        self._name = name
        owner._fields = (*owner._fields, name)

    @overload
    def __get__(self, record: None, owner: Type[Record]) -> Field[T]:
        ...

    @overload
    def __get__(self, record: Record, owner: Type[Record]) -> T:
        ...

    def __get__(self, record: Optional[Record], owner: Type[Record]) -> Union[Field[T], T]:
        if record is None:
            return self
        return self._item.load(record._pointer, self._name, record._owner)

    def __set__(self, record: Record, value: T) -> None:
        self._item.store(record._pointer, self._name, value)


class ArrayField(Field[Sequence[T]]):
    """A member that is an array: single entries can be set, and all at once."""

    def __init__(self, item: Item[T], doc: str) -> None:
        super().__init__(ArrayItem(item), doc)

    @overload
    def __get__(self, record: None, owner: Type[Record]) -> ArrayField[T]:
        ...

    @overload
    def __get__(self, record: Record, owner: Type[Record]) -> Array[T]:
        ...

    def __get__(
        self, record: Optional[Record], owner: Type[Record]
    ) -> Union[ArrayField[T], Array[T]]:
        found = super().__get__(record, owner)
        assert isinstance(found, (ArrayField, Array))
        return found


class Record:
    """A record of C. Made without arguments it is all zero; arguments set members by name.

    A record within another one is a view of that: what is set here is set there. A member that there
    is not is an AttributeError.
    """

    # Of all that derive from it in this package, too: a misspelled member would be an attribute.
    __slots__ = ("_pointer", "_owner", "__weakref__")

    _c: ClassVar[str] = ""
    _fields: ClassVar[Tuple[str, ...]] = ()

    def __init__(self, **members: Any) -> None:
        self._pointer: Any = ffi.new(self._c + " *")
        self._owner: Any = self._pointer
        for name, value in members.items():
            if name not in self._fields:
                raise TypeError(f"{type(self).__name__} has no member {name}")
            setattr(self, name, value)

    @classmethod
    def _at(cls: Type[R], pointer: Any, owner: Any) -> R:
        """One that lies in memory of somebody else's, who lives as long."""
        record = cls.__new__(cls)
        record._pointer, record._owner = pointer, owner
        return record

    @classmethod
    def _copied(cls: Type[R], pointer: Any, size: Optional[int] = None) -> R:
        """A copy of what C shows during a callback, or of its first bytes."""
        record = cls.__new__(cls)
        record._pointer = record._owner = ffi.new(cls._c + " *")
        whole = ffi.sizeof(cls._c)
        ffi.memmove(record._pointer, pointer, whole if size is None else min(size, whole))
        return record

    def copy(self: R) -> R:
        """Another record of the same content."""
        return self._copied(self._pointer)

    def __copy__(self: R) -> R:
        return self.copy()

    def __deepcopy__(self: R, _memo: Dict[int, Any]) -> R:
        return self.copy()

    def to_dict(self) -> Dict[str, Any]:
        """The members as plain values: numbers, texts, bytes, lists and further dictionaries."""
        return {name: _plain(getattr(self, name)) for name in self._fields}

    def __iter__(self) -> Iterator[Tuple[str, Any]]:
        return iter((name, getattr(self, name)) for name in self._fields)

    def __eq__(self, other: object) -> bool:
        if type(self) is not type(other):
            return NotImplemented
        assert isinstance(other, Record)
        return self.to_dict() == other.to_dict()

    __hash__ = None  # type: ignore[assignment]

    def __repr__(self) -> str:
        # What is printed ends up in logs.
        shown = (
            f"{name}={'***' if 'password' in name and value else repr(value)}"
            for name, value in self
        )
        return f"{type(self).__name__}({', '.join(shown)})"


R = TypeVar("R", bound=Record)


class RecordItem(Item[R]):
    def __init__(self, kind: Type[R]) -> None:
        self._kind = kind

    def load(self, holder: Any, place: Place, owner: Any) -> R:
        return self._kind._at(ffi.addressof(holder, place), owner)

    def store(self, holder: Any, place: Place, value: R) -> None:
        if not isinstance(value, self._kind):
            raise TypeError(f"{place} takes a {self._kind.__name__}")
        _put(holder, place, value._pointer[0])


def _plain(value: Any) -> Any:
    if isinstance(value, Record):
        return value.to_dict()
    if isinstance(value, Array):
        return [_plain(each) for each in value]
    return value


def size_of(kind: Type[Record]) -> int:
    return int(ffi.sizeof(kind._c))
