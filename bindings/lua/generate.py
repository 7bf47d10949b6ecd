#!/usr/bin/python3
# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
"""generate.py DESCRIPTION FILE: the declarations of capi.json as LuaJIT takes them."""
import json
import sys
from pathlib import Path

sys.path.insert(0, str(Path(__file__).parents[1] / "describe"))
from chosen import Chosen

HEAD = """-- SPDX-FileCopyrightText: The capi authors
-- SPDX-License-Identifier: MIT
-- Made from the public headers.
"""


def main() -> None:
    chosen = Chosen(json.loads(Path(sys.argv[1]).read_text(encoding="utf-8")))
    lines = [
        each.text.replace("struct ", "struct __attribute__((packed)) ", 1)
        if each.packed
        else each.text
        for each in chosen.declarations()
    ]
    limits = [f"enum {{ {each['name']} = {each['value']} }};" for each in chosen.constants]
    text = "\n".join(lines + limits)
    Path(sys.argv[2]).parent.mkdir(parents=True, exist_ok=True)
    Path(sys.argv[2]).write_text(f'{HEAD}require("ffi").cdef[[\n{text}\n]]\n', encoding="utf-8")


if __name__ == "__main__":
    main()
