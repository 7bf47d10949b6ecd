# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
"""What of the description other languages get, and as which C text."""
from __future__ import annotations

from typing import Any, Dict, Iterator, List, NamedTuple

Json = Dict[str, Any]

# A language has its own threads, sockets, files and JSON; and the backend is the library's programs'.
BACKEND = "capi/backend.h"
LEFT_OUT = {
    BACKEND,
    "capi/ipc.h",
    "capi/schema.h",
    "capi/signal.h",
    "capi/thread.h",
    "capi/util.h",
}
# Takes a format and what goes into it.
VARIADIC = {"capiv2_log_print"}


class Declaration(NamedTuple):
    text: str
    packed: bool = False


class Chosen:
    def __init__(self, description: Json) -> None:
        def chosen(kind: str) -> List[Json]:
            return [each for each in description[kind] if each["header"] not in LEFT_OUT]

        self.description = description
        self.enums = chosen("enums")
        self.constants = chosen("constants")
        self.records = chosen("records")
        self.types = chosen("types")
        self.functions = [each for each in chosen("functions") if each["name"] not in VARIADIC]

    def declarations(self) -> Iterator[Declaration]:
        """All of it, each after what it needs."""
        for enum in self.enums:
            values = ", ".join(f"{value['name']} = {value['value']}" for value in enum["values"])
            yield Declaration(f"enum {enum['name'] or ''} {{ {values} }};")
        callbacks = {known["name"]: known["c"] + ";" for known in self.types}
        for record in self.records:
            # Pointers of a record's callbacks may be to records that come after.
            for member in record["members"]:
                name = member["type"].get("name")
                if name in callbacks:
                    yield Declaration(callbacks.pop(name))
            members = " ".join(f"{member['c']};" for member in record["members"])
            text = f"{record['kind']} {record['name']} {{ {members} }};"
            yield Declaration(text, record["packed"])
        for text in callbacks.values():
            yield Declaration(text)
        for function in self.functions:
            yield Declaration(function["c"] + ";")
