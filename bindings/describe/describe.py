#!/usr/bin/python3
# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
"""describe.py --source DIR --cc COMPILER --version VERSION --json FILE --check FILE

Writes what the public headers declare, for programs that bind other languages to the library:
functions with their documentation, records with their layouts, enumerations and constants. The
layouts are worked out for 32-bit and 64-bit pointers, so that one description is true on every
processor of the device, whatever machine it was made on. The check is a C file that compiles only
where all of it is true: the build does so with the compiler of its target.
"""
from __future__ import annotations

import argparse
import json
import re
import subprocess
from pathlib import Path
from typing import Any, Dict, Iterator, List, NamedTuple, Optional, Tuple, Union

from pycparser import c_ast, c_generator, c_parser

Json = Dict[str, Any]

FORMAT = 1
ENTRIES = ("capi.h", "capi/thread.h", "capi-keys.h")
MAPS = {"capi": "src/capi.map", "capi-keys": "keys/capi-keys.map"}

# Of a type that is the same everywhere; a pointer has the width of the processor.
WIDTHS = {
    "char": 1,
    "int8_t": 1,
    "uint8_t": 1,
    "int16_t": 2,
    "uint16_t": 2,
    "int": 4,
    "unsigned": 4,
    "unsigned int": 4,
    "int32_t": 4,
    "uint32_t": 4,
    "int64_t": 8,
    "uint64_t": 8,
}


class Layout(NamedTuple):
    size: int
    align: int


class Unknown(Exception):
    """The layout is the C library's business."""


# ---- Comments, which the preprocessor takes away.


def without_frame(lines: List[str]) -> str:
    """The text of a comment: paragraphs are kept, and so are indented lines of lists."""
    text = "\n".join(lines).strip()
    text = text[2:-2] if text.endswith("*/") else text[2:]
    bare = (re.sub(r"^ \* ?", "", line) for line in text.split("\n"))
    return "\n".join(line.rstrip() for line in bare if line != " *").strip()


class Header:
    """A header's text, by line."""

    def __init__(self, path: Path, name: str) -> None:
        self.name = name
        self.lines = path.read_text(encoding="utf-8").split("\n")

    def is_comment(self, index: int) -> bool:
        return bool(re.match(r"\s*(/\*|\*)", self.lines[index]))

    def doc(self) -> str:
        """What the file begins with, behind the licence."""
        start = next(
            i for i, line in enumerate(self.lines) if line.startswith("/*") and "SPDX" not in line
        )
        end = next(i for i in range(start, len(self.lines)) if self.lines[i].endswith("*/"))
        return without_frame(self.lines[start : end + 1])

    def comment_above(self, line: int) -> str:
        """The comment in front of the block of declarations that a line (from 1) belongs to."""
        index = line - 2
        while index >= 0 and self.lines[index].strip() and not self.is_comment(index):
            index -= 1
        if index < 0 or not self.lines[index].strip():
            return ""
        last = index
        while "/*" not in self.lines[index]:
            index -= 1
        return without_frame(self.lines[index : last + 1])

    def comment_of_member(self, line: int) -> str:
        """The comment behind a member, or one of its own on the line above."""
        behind = re.search(r"/\*(.*)\*/\s*$", self.lines[line - 1])
        if behind:
            return behind.group(1).strip()
        above = re.match(r"\s+/\*(.*)\*/\s*$", self.lines[line - 2])
        return above.group(1).strip() if above else ""


def sentences(doc: str) -> List[str]:
    flat = re.sub(r"\s+", " ", doc)
    return re.split(r"(?<=\.) (?=[A-Z])", flat) if flat else []


def about_results(doc: str) -> str:
    return " ".join(s for s in sentences(doc) if re.search(r"\b([Rr]eturns?|[Gg]ives?|-1)\b", s))


def about_locks(doc: str) -> str:
    return " ".join(s for s in sentences(doc) if re.search(r"\block(s|ed)?\b", s))


# ---- Declarations


class Describer:
    def __init__(self, source: Path, compiler: List[str]) -> None:
        self.source = source
        self.generator = c_generator.CGenerator()
        self.headers: Dict[str, Header] = {}
        self.numbers: Dict[str, int] = {}
        self.records: Dict[str, Json] = {}
        self.enums: List[Json] = []
        self.types: List[Json] = []
        self.functions: List[Json] = []
        self.entry = Header(source / "include/capi.h", "capi.h")
        self.layouts: Dict[Tuple[str, int], Layout] = {}
        self.versions = {name: pair for name, pair in self.read_maps()}
        self.options = [*compiler, "-std=c99", "-nostdinc"]
        for folder in (
            Path(__file__).parent / "system",
            source / "include",
            source / "keys/include",
        ):
            self.options += ["-I", str(folder)]
        self.read_declarations()
        self.constants = list(self.read_constants())

    def read_maps(self) -> Iterator[Tuple[str, Tuple[str, str]]]:
        for library, path in MAPS.items():
            version = ""
            for line in (self.source / path).read_text(encoding="utf-8").split("\n"):
                if re.match(r"[A-Z_0-9.]+ \{", line):
                    version = line.split()[0]
                name = re.match(r"\s+(\w+);$", line)
                if name:
                    yield name.group(1), (library, version)

    def preprocess(self, *options: str) -> str:
        text = "".join(f"#include <{entry}>\n" for entry in ENTRIES)
        command = [*self.options, *options, "-E", "-x", "c", "-"]
        return subprocess.run(
            command, input=text, stdout=subprocess.PIPE, text=True, check=True
        ).stdout

    def header(self, node: c_ast.Node) -> Optional[Header]:
        """The public header that a declaration stands in."""
        path = Path(node.coord.file)
        for folder in ("include", "keys/include"):
            if (self.source / folder) in path.parents:
                name = str(path.relative_to(self.source / folder))
                if name not in self.headers:
                    self.headers[name] = Header(path, name)
                return self.headers[name]
        return None

    def read_declarations(self) -> None:
        text = self.preprocess()
        packed = set()
        for record in re.finditer(r"struct (\w+) \{[^{}]*\} __attribute__\(\(packed\)\)", text):
            packed.add(record.group(1))
        text = re.sub(r"__attribute__\(\((?:[^()]|\([^()]*\))*\)\)", "", text)
        for node in c_parser.CParser().parse(text).ext:
            if not isinstance(node, (c_ast.Decl, c_ast.Typedef)):
                continue
            header = self.header(node)
            if header is not None:
                self.read_declaration(node, header, packed)

    def read_declaration(self, node: c_ast.Node, header: Header, packed: set[str]) -> None:
        kind = node.type
        inner = kind.type if isinstance(kind, c_ast.TypeDecl) else kind
        if isinstance(inner, c_ast.Enum):
            self.read_enum(inner, header)
        elif isinstance(inner, (c_ast.Struct, c_ast.Union)) and inner.decls:
            self.read_record(inner, header, packed)
        elif isinstance(kind, c_ast.FuncDecl):
            self.read_function(node, header)
        if isinstance(node, c_ast.Typedef):
            self.types.append(
                {
                    "name": node.name,
                    "header": header.name,
                    "doc": header.comment_above(node.coord.line),
                    "type": self.type_of(kind),
                    "c": self.generator.visit(self.without_body(node)),
                }
            )

    @staticmethod
    def without_body(node: c_ast.Typedef) -> c_ast.Typedef:
        inner = node.type.type if isinstance(node.type, c_ast.TypeDecl) else None
        if isinstance(inner, (c_ast.Struct, c_ast.Union)):
            bare = type(inner)(inner.name, None)
            kind = c_ast.TypeDecl(node.type.declname, [], None, bare)
            return c_ast.Typedef(node.name, [], ["typedef"], kind)
        return node

    def value_of(self, node: c_ast.Node) -> int:
        if isinstance(node, c_ast.Constant):
            return int(node.value.rstrip("uUlL"), 0)
        if isinstance(node, c_ast.ID):
            return self.numbers[node.name]
        if isinstance(node, c_ast.UnaryOp) and node.op == "-":
            return -self.value_of(node.expr)
        if isinstance(node, c_ast.BinaryOp) and node.op in ("+", "*"):
            left, right = self.value_of(node.left), self.value_of(node.right)
            return left + right if node.op == "+" else left * right
        raise SystemExit(f"describe: a number of an unknown form at {node.coord}")

    def read_enum(self, node: c_ast.Enum, header: Header) -> None:
        values: List[Json] = []
        following = 0
        for item in node.values.enumerators:
            following = self.value_of(item.value) if item.value is not None else following
            self.numbers[item.name] = following
            # One line may hold a whole enumeration; a comment behind it is that of none.
            alone = len({i.coord.line for i in node.values.enumerators}) == len(
                node.values.enumerators
            )
            doc = (
                header.comment_of_member(item.coord.line)
                if alone and len(node.values.enumerators) > 1
                else ""
            )
            values.append({"name": item.name, "value": following, "doc": doc})
            following += 1
        doc = header.comment_above(node.coord.line)
        self.enums.append({"name": node.name, "header": header.name, "doc": doc, "values": values})

    def type_of(self, node: c_ast.Node) -> Json:
        if isinstance(node, c_ast.PtrDecl):
            return {"kind": "pointer", "to": self.type_of(node.type)}
        if isinstance(node, c_ast.ArrayDecl):
            length = self.value_of(node.dim)
            node.dim = c_ast.Constant("int", str(length))
            return {"kind": "array", "length": length, "of": self.type_of(node.type)}
        if isinstance(node, c_ast.FuncDecl):
            return {"kind": "function", **self.signature(node)}
        described = self.plain_type(node.type)
        if "const" in node.quals:
            described["const"] = True
        return described

    @staticmethod
    def plain_type(node: c_ast.Node) -> Json:
        if isinstance(node, c_ast.IdentifierType):
            name = " ".join(node.names)
            kind = "void" if name == "void" else "number" if name in WIDTHS else "named"
            return {"kind": kind, "name": name}
        kinds = {c_ast.Struct: "struct", c_ast.Union: "union", c_ast.Enum: "enum"}
        return {"kind": kinds[type(node)], "name": node.name}

    def signature(self, node: c_ast.FuncDecl) -> Json:
        arguments: List[Json] = []
        variadic = False
        for argument in node.args.params if node.args else []:
            if isinstance(argument, c_ast.EllipsisParam):
                variadic = True
                continue
            described = self.type_of(argument.type)
            if described == {"kind": "void", "name": "void"}:
                continue
            arguments.append({"name": argument.name, "type": described})
        described = {"result": self.type_of(node.type), "arguments": arguments}
        return {**described, "variadic": True} if variadic else described

    def read_record(
        self, node: Union[c_ast.Struct, c_ast.Union], header: Header, packed: set[str]
    ) -> None:
        kind = "struct" if isinstance(node, c_ast.Struct) else "union"
        members: List[Json] = []
        for member in node.decls:
            members.append(
                {
                    "name": member.name,
                    "type": self.type_of(member.type),
                    "c": self.generator.visit(member),
                    "doc": header.comment_of_member(member.coord.line),
                }
            )
        record: Json = {
            "kind": kind,
            "name": node.name,
            "header": header.name,
            "doc": header.comment_above(node.coord.line),
            "packed": node.name in packed,
            "members": members,
        }
        self.lay_out(record)
        self.records[node.name] = record

    def lay_out(self, record: Json) -> None:
        """Gives a record its size and its members their offsets, unless they are the system's."""
        try:
            both = [self.places(record, pointer) for pointer in (4, 8)]
        except Unknown:
            return
        for pointer, (layout, _) in zip((4, 8), both):
            self.layouts[record["name"], pointer] = layout
        record["size"] = on_both(both[0][0].size, both[1][0].size)
        for member, narrow, wide in zip(record["members"], both[0][1], both[1][1]):
            member["offset"] = on_both(narrow, wide)

    def places(self, record: Json, pointer: int) -> Tuple[Layout, List[int]]:
        offsets: List[int] = []
        end, align = 0, 1
        for member in record["members"]:
            layout = self.layout_of(member["type"], pointer)
            step = 1 if record["packed"] else layout.align
            start = 0 if record["kind"] == "union" else rounded(end, step)
            offsets.append(start)
            end, align = max(end, start + layout.size), max(align, step)
        return Layout(rounded(end, align), align), offsets

    def layout_of(self, described: Json, pointer: int) -> Layout:
        kind = described["kind"]
        if kind == "array":
            one = self.layout_of(described["of"], pointer)
            return Layout(one.size * described["length"], one.align)
        if kind == "pointer":
            return Layout(pointer, pointer)
        if kind == "number":
            width = WIDTHS[described["name"]]
            return Layout(width, width)
        if kind == "named":
            for known in self.types:
                if known["name"] == described["name"]:
                    return self.layout_of(known["type"], pointer)
        if (described["name"], pointer) not in self.layouts:
            raise Unknown
        return self.layouts[described["name"], pointer]

    def read_function(self, node: c_ast.Decl, header: Header) -> None:
        if "static" in node.storage:
            return
        if node.name not in self.versions:
            raise SystemExit(
                f"describe: no .map file lists {node.name}, which {header.name} declares"
            )
        library, version = self.versions[node.name]
        doc = header.comment_above(node.coord.line)
        self.functions.append(
            {
                "name": node.name,
                "library": library,
                "version": version,
                "header": header.name,
                "doc": doc,
                "results": about_results(doc)
                or about_results(header.doc())
                or self.rule("Results"),
                "locks": about_locks(doc) or about_locks(header.doc()),
                **self.signature(node.type),
                "c": self.generator.visit(node),
            }
        )

    def rule(self, name: str) -> str:
        """One of the rules that hold everywhere."""
        found = re.search(rf"\d+\. {name}\. (.*?)\n *\d+\. ", self.entry.doc(), re.DOTALL)
        return re.sub(r"\s+", " ", found.group(1)) if found else ""

    def read_constants(self) -> Iterator[Json]:
        """Macros that are numbers; the compiler tells them in an order of its own."""
        macros = dict(
            re.findall(r"#define (CAPI_\w+) (-?\d+)$", self.preprocess("-dM"), re.MULTILINE)
        )
        for header in self.headers.values():
            for index, text in enumerate(header.lines):
                found = re.match(r"#define (\w+)", text)
                if found and found.group(1) in macros:
                    yield {
                        "name": found.group(1),
                        "value": int(macros[found.group(1)]),
                        "header": header.name,
                        "doc": header.comment_of_member(index + 1),
                    }

    def description(self, version: str) -> Json:
        missing = self.versions.keys() - {function["name"] for function in self.functions}
        if missing:
            raise SystemExit(f"describe: no header declares {', '.join(sorted(missing))}")
        headers = [self.entry, *self.headers.values()]
        return {
            "format": FORMAT,
            "version": version,
            "libraries": {"capi": "libcapi.so.0", "capi-keys": "libcapi-keys.so.0"},
            "headers": [{"name": header.name, "doc": header.doc()} for header in headers],
            "constants": self.constants,
            "enums": self.enums,
            "records": list(self.records.values()),
            "types": self.types,
            "functions": self.functions,
        }


def rounded(value: int, align: int) -> int:
    return (value + align - 1) // align * align


def on_both(narrow: int, wide: int) -> Union[int, Dict[str, int]]:
    """A number that depends on the processor has one for each width of a pointer, in bits."""
    return narrow if narrow == wide else {"32": narrow, "64": wide}


# ---- The check


def expected(value: Union[int, Dict[str, int]]) -> str:
    if isinstance(value, int):
        return str(value)
    return f"(sizeof(void *) == 4 ? {value['32']} : {value['64']})"


def check_of(description: Json) -> Iterator[str]:
    yield "/* Made from the public headers: compiles where capi.json is true. */"
    yield "#include <capi-keys.h>\n#include <capi.h>\n#include <capi/thread.h>\n"
    for record in description["records"]:
        name = f"{record['kind']} {record['name']}"
        if "size" not in record:
            continue
        yield f'_Static_assert(sizeof({name}) == {expected(record["size"])}, "{name}");'
        for member in record["members"]:
            place = f"offsetof({name}, {member['name']}) == {expected(member['offset'])}"
            yield f'_Static_assert({place}, "{name}.{member["name"]}");'
            yield from same_type(name, record["name"], member)
    numbers = [value for enum in description["enums"] for value in enum["values"]]
    for number in numbers + description["constants"]:
        yield f'_Static_assert({number["name"]} == {number["value"]}, "{number["name"]}");'
    for function in description["functions"]:
        yield function["c"] + ";"


def same_type(record: str, prefix: str, member: Json) -> Iterator[str]:
    """A second declaration that is another one is an error, as it is for a function."""
    name = f"{prefix}_{member['name']}"
    yield f"extern __typeof__((({record} *)0)->{member['name']}) {name};"
    yield "extern " + re.sub(rf"\b{member['name']}(?=(\[\d+\])*$)", name, member["c"]) + ";"


def main() -> None:
    parser = argparse.ArgumentParser()
    parser.add_argument("--source", type=Path, required=True)
    parser.add_argument("--cc", nargs="+", required=True)
    parser.add_argument("--version", required=True)
    parser.add_argument("--json", type=Path, required=True)
    parser.add_argument("--check", type=Path, required=True)
    options = parser.parse_args()
    description = Describer(options.source.resolve(), options.cc).description(options.version)
    text = json.dumps(description, indent=1, ensure_ascii=False) + "\n"
    options.json.write_text(text, encoding="utf-8")
    options.check.write_text("\n".join(check_of(description)) + "\n", encoding="utf-8")


if __name__ == "__main__":
    main()
