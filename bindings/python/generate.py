#!/usr/bin/python3
# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
"""generate.py DESCRIPTION PACKAGE

Makes of capi.json what the Python package has of the headers: declarations for cffi, enumerations,
constants, records and functions.

cffi only opens the libraries and compiles nothing (its ABI mode): the package is the same on every
processor, and is made on any machine. What that mode cannot see, whether the declarations are true,
the build has proved of capi.json.
"""
from __future__ import annotations

import json
import re
import sys
import textwrap
from pathlib import Path
from typing import Any, Dict, Iterator, List

from cffi import FFI

sys.path.insert(0, str(Path(__file__).parents[1] / "describe"))
from chosen import BACKEND, LEFT_OUT, VARIADIC, Chosen

Json = Dict[str, Any]

HEAD = """# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
# Made from the public headers.
"""

# Records of callbacks are no values.
UNTOLD = {"capi_callbacks"}
# The package has a class of its own by that name.
HIDDEN = {"Watch"}


class Source(Chosen):
    """What of the description goes into the package."""

    def __init__(self, description: Json) -> None:
        super().__init__(description)
        self.names = {record["name"]: class_name(record["name"]) for record in self.records}


def class_name(name: str) -> str:
    words = re.sub(r"^(capi|cfg)_", "", name).split("_")
    return "".join(word.capitalize() for word in words)


def indented(text: str, by: str = "    ") -> str:
    return "\n".join(by + line if line else line for line in text.split("\n"))


def docstring(text: str, by: str = "    ") -> str:
    bare = text.replace("\\", "\\\\").replace('"""', "'''")
    if bare.endswith('"'):
        bare += " "
    return indented('"""' + bare + ('\n"""' if "\n" in bare else '"""'), by)


# ---- cffi


def make_cdef(source: Source, into: Path) -> None:
    ffi = FFI()
    for declaration in source.declarations():
        ffi.cdef(declaration.text, packed=declaration.packed)
    ffi.set_source("capi._cdef", None)
    # cffi leaves a file alone that has its content, and the build would make it again for ever.
    (into / "_cdef.py").unlink(missing_ok=True)
    ffi.emit_python_code(str(into / "_cdef.py"))
    (into / "_cdef.pyi").write_text(HEAD + "from typing import Any\n\nffi: Any\n", encoding="utf-8")


def all_of(names: List[str]) -> str:
    return "__all__ = [\n" + "".join(f'    "{name}",\n' for name in names) + "]\n"


# ---- Enumerations and constants


def common_prefix(names: List[str]) -> str:
    first, last = min(names), max(names)
    length = 0
    while length < len(first) and first[: length + 1] == last[: length + 1]:
        length += 1
    return first[: first.rfind("_", 0, length) + 1]


def are_bits(values: List[int]) -> bool:
    return values == [1 << place for place in range(len(values))] and len(values) > 2


def make_enums(source: Source) -> Iterator[str]:
    names = [class_name(enum["name"]) for enum in source.enums if enum["name"]]
    yield HEAD + '"""The enumerations of the headers."""\nfrom enum import IntEnum, IntFlag\n'
    yield all_of(names)
    for enum in source.enums:
        if enum["name"] is None:
            continue
        names = [value["name"] for value in enum["values"]]
        prefix = common_prefix(names)
        base = "IntFlag" if are_bits([value["value"] for value in enum["values"]]) else "IntEnum"
        told = [
            f"{name_of(value, prefix)}: {value['doc']}" for value in enum["values"] if value["doc"]
        ]
        doc = (enum["doc"] or f"enum {enum['name']}") + ("\n\n" + "\n".join(told) if told else "")
        yield f"\nclass {class_name(enum['name'])}({base}):"
        yield docstring(doc) + "\n"
        for value in enum["values"]:
            yield f"    {name_of(value, prefix)} = {value['value']}"
        yield ""


def name_of(value: Json, prefix: str) -> str:
    name: str = value["name"]
    return name[len(prefix) :]


def make_constants(source: Source) -> Iterator[str]:
    yield HEAD + '"""The limits and other numbers of the headers."""\nfrom typing import Final\n'
    anonymous = [value for enum in source.enums if enum["name"] is None for value in enum["values"]]
    for value in anonymous + source.constants:
        behind = f"  # {value['doc']}" if value["doc"] else ""
        yield f"{name_of(value, 'CAPI_')}: Final = {value['value']}{behind}"


# ---- Records


def item_of(source: Source, described: Json) -> str:
    """What reads and writes a value of a type, and what Python sees of it."""
    kind = described["kind"]
    if kind == "array":
        inner = described["of"]
        if inner["kind"] == "number" and inner["name"] == "char":
            return "TextItem()"
        if inner["kind"] == "number" and inner["name"] == "uint8_t":
            return "BytesItem()"
        return f"ArrayItem({item_of(source, inner)})"
    if kind in ("struct", "union"):
        return f"RecordItem({source.names[described['name']]})"
    return "ConstantItem()" if kind == "pointer" else "NumberItem()"


def field_of(source: Source, described: Json) -> str:
    item = item_of(source, described)
    if item.startswith("ArrayItem("):
        return "ArrayField(" + item[len("ArrayItem(") : -1]
    return f"Field({item}"


def make_records(source: Source) -> Iterator[str]:
    yield HEAD + '"""The records of the headers: their members by name."""'
    yield "from ._record import (\n    ArrayField,\n    ArrayItem,\n    BytesItem,\n    ConstantItem,\n    Field,"
    yield "    NumberItem,\n    Record,\n    RecordItem,\n    TextItem,\n)\n"
    names = [source.names[each["name"]] for each in source.records if each["name"] not in UNTOLD]
    yield all_of([name for name in names if name not in HIDDEN])
    for record in source.records:
        if record["name"] in UNTOLD:
            continue
        declared = f"{record['kind']} {record['name']}"
        doc = record["doc"] or declared
        yield f"\nclass {source.names[record['name']]}(Record):"
        yield docstring(
            f"{doc}\n\n{declared} of {record['header']}" if doc != declared else doc
        ) + "\n"
        yield "    __slots__ = ()"
        yield f'    _c = "{declared}"'
        for member in record["members"]:
            doc = member["c"] + (": " + member["doc"] if member["doc"] else "")
            yield f"    {member['name']} = {field_of(source, member['type'])}, {doc!r})"
        yield ""


# ---- Functions


def hint_of(described: Json, is_result: bool) -> str:
    if described["kind"] == "void":
        return "None"
    if described["kind"] == "number" or described.get("name") == "size_t":
        return "int"
    target = described.get("to", {})
    if not is_result and target.get("name") == "char" and target.get("const"):
        return "Text"
    return "Any"


def make_functions(source: Source) -> Iterator[str]:
    headers = {header["name"]: header["doc"] for header in source.description["headers"]}
    used = [name for name in headers if any(f["header"] == name for f in source.functions)]
    about = "\n\n".join(f"{name}:\n\n{headers[name]}" for name in used)
    yield HEAD + '"""The functions of the libraries, as C has them.\n'
    yield "Texts may be str, and records those of capi.records; other pointers are those of capi.ffi. What"
    yield 'a call logs goes to the logger "capi"; results are C\'s, and check() makes exceptions of failures.\n'
    replaced = ", ".join(sorted(LEFT_OUT - {BACKEND}))
    left_out = f"Left out are {BACKEND}, which is for the library's own programs, {replaced}, "
    left_out += f"for which Python has means of its own, and {', '.join(VARIADIC)}()."
    yield textwrap.fill(left_out, 96) + "\n"
    yield about.replace("\\", "\\\\") + '\n"""'
    yield "from typing import Any\n\nfrom ._library import Text, call\n"
    for function in source.functions:
        arguments = [
            (plain(each["name"]), hint_of(each["type"], False)) for each in function["arguments"]
        ]
        listed = ", ".join(f"{name}: {hint}" for name, hint in arguments)
        handed = "".join(f", {name}" for name, _ in arguments)
        result = hint_of(function["result"], True)
        yield f"\ndef {function['name']}({listed}) -> {result}:"
        yield docstring("\n\n".join(told_of(function)))
        called = f'call("{function["name"]}"{handed})'
        if result == "int":
            yield f"    result: int = {called}\n    return result\n"
        else:
            yield f"    {'return ' if result != 'None' else ''}{called}\n"


def told_of(function: Json) -> Iterator[str]:
    yield function["c"]
    yield function["doc"]
    # What a header says of all its functions is not in the comment of one.
    if function["locks"] not in re.sub(r"\s+", " ", function["doc"]):
        yield "\n".join(textwrap.wrap("Locks: " + function["locks"], 92))


def plain(name: str) -> str:
    return name + "_" if name in ("from", "all", "global", "is", "in", "type") else name


def main() -> None:
    description = json.loads(Path(sys.argv[1]).read_text(encoding="utf-8"))
    package = Path(sys.argv[2])
    package.mkdir(parents=True, exist_ok=True)
    source = Source(description)
    make_cdef(source, package)
    made = {
        "enums.py": make_enums(source),
        "constants.py": make_constants(source),
        "records.py": make_records(source),
        "functions.py": make_functions(source),
    }
    rules = next(each["doc"] for each in description["headers"] if each["name"] == "capi.h")
    version = description["version"]
    made["_about.py"] = iter([f'{HEAD}VERSION = "{version}"\nRULES = {rules!r}'])
    for name, lines in made.items():
        text = "\n".join(lines)
        (package / name).write_text(
            re.sub(r"\n{4,}", "\n\n\n", text).rstrip() + "\n", encoding="utf-8"
        )


if __name__ == "__main__":
    main()
