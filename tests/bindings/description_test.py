# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
"""capi.json against the baselines of the interface, which another tool made of the libraries."""
import json
import os
import re
import subprocess
import sys
from pathlib import Path
from typing import Any, Callable, Dict, List
from xml.etree import ElementTree

import pytest

Json = Dict[str, Any]

SOURCE = Path(os.environ["CAPI_SOURCE"])
DESCRIPTION: Json = json.loads(Path(os.environ["CAPI_JSON"]).read_text(encoding="utf-8"))
BASELINES = ("libcapi", "libcapi-keys", "types")
# The same type by two names.
SAME = {"unsigned": "unsigned int"}


class Baseline:
    """What a baseline has, in the words of capi.json."""

    def __init__(self, name: str) -> None:
        path = SOURCE / "tests/abi/baseline" / f"{name}.abi"
        root = ElementTree.parse(path).getroot()
        self.by_id = {node.attrib["id"]: node for node in root.iter() if "id" in node.attrib}
        self.functions = {
            node.attrib["name"]: node
            for node in root.iter("function-decl")
            if "mangled-name" in node.attrib
        }
        self.records = {
            node.attrib["name"]: node
            for kind in ("class-decl", "union-decl")
            for node in root.iter(kind)
            if node.get("is-declaration-only") != "yes"
        }
        self.enumerators = {
            node.attrib["name"]: int(node.attrib["value"]) for node in root.iter("enumerator")
        }

    def type(self, key: str) -> str:
        node = self.by_id[key]
        kind = node.tag
        if kind == "pointer-type-def":
            return self.type(node.attrib["type-id"]) + "*"
        if kind == "qualified-type-def":
            const = "const " if node.get("const") == "yes" else ""
            return const + self.type(node.attrib["type-id"])
        if kind == "array-type-def":
            lengths = "".join(f"[{each.attrib['length']}]" for each in node.iter("subrange"))
            return self.type(node.attrib["type-id"]) + lengths
        if kind == "typedef-decl" and node.attrib["name"] == "cJSON":
            return self.type(node.attrib["type-id"])
        if kind == "class-decl":
            return "struct " + node.attrib["name"]
        if kind == "union-decl":
            return "union " + node.attrib["name"]
        return SAME.get(node.attrib["name"], node.attrib["name"])

    def signature(self, name: str) -> str:
        node = self.functions[name]
        arguments = [
            "..." if each.get("is-variadic") == "yes" else self.type(each.attrib["type-id"])
            for each in node.findall("parameter")
        ]
        returned = node.find("return")
        assert returned is not None
        return f"{self.type(returned.attrib['type-id'])}({', '.join(arguments)})"

    def members(self, name: str) -> List[str]:
        members = []
        for member in self.records[name].findall("data-member"):
            variable = member.find("var-decl")
            assert variable is not None
            offset = int(member.get("layout-offset-in-bits", "0")) // 8
            members.append(
                f"{offset} {self.type(variable.attrib['type-id'])} {variable.attrib['name']}"
            )
        return members


def type_of(described: Json) -> str:
    kind = described["kind"]
    if kind == "pointer":
        return type_of(described["to"]) + "*"
    if kind == "array":
        inner = described
        lengths = ""
        while inner["kind"] == "array":
            lengths += f"[{inner['length']}]"
            inner = inner["of"]
        return type_of(inner) + lengths
    const = "const " if described.get("const") else ""
    prefix = f"{kind} " if kind in ("struct", "union") else ""
    return const + prefix + SAME.get(described["name"], described["name"])


def argument_of(described: Json) -> str:
    return type_of(described["of"]) + "*" if described["kind"] == "array" else type_of(described)


def signature_of(function: Json) -> str:
    arguments = [argument_of(each["type"]) for each in function["arguments"]]
    arguments += ["..."] if function.get("variadic") else []
    return f"{type_of(function['result'])}({', '.join(arguments)})"


def on_64_bits(value: Any) -> int:
    return int(value["64"] if isinstance(value, dict) else value)


def members_of(record: Json) -> List[str]:
    return [
        f"{on_64_bits(m['offset'])} {type_of(m['type'])} {m['name']}" for m in record["members"]
    ]


@pytest.fixture(name="baselines", scope="module")
def read_baselines() -> List[Baseline]:
    return [Baseline(name) for name in BASELINES]


def test_it_has_the_functions_of_the_baseline_with_their_arguments_and_results(
    baselines: List[Baseline],
) -> None:
    told = {function["name"]: signature_of(function) for function in DESCRIPTION["functions"]}
    # Debug information has no type behind a pointer to what is constant and nothing.
    told = {name: signature.replace("const void*", "void*") for name, signature in told.items()}
    expected = {name: each.signature(name) for each in baselines[:2] for name in each.functions}
    assert told == expected
    assert len(told) > 250


def test_records_have_the_sizes_members_and_offsets_of_the_baseline(
    baselines: List[Baseline],
) -> None:
    compared = 0
    for record in DESCRIPTION["records"]:
        name = record["name"]
        found = [each for each in baselines if name in each.records]
        assert found, f"no baseline has {name}"
        if "size" not in record:
            continue
        for baseline in found:
            assert members_of(record) == baseline.members(name), name
            bits = int(baseline.records[name].attrib["size-in-bits"])
            assert on_64_bits(record["size"]) == bits // 8, name
            compared += 1
    assert compared > 65


def test_numbers_are_those_of_the_baseline(baselines: List[Baseline]) -> None:
    told = {
        value["name"]: value["value"] for enum in DESCRIPTION["enums"] for value in enum["values"]
    }
    expected = {name: value for each in baselines for name, value in each.enumerators.items()}
    assert told == expected


def test_only_what_the_c_library_lays_out_has_no_offsets() -> None:
    assert [record["name"] for record in DESCRIPTION["records"] if "size" not in record] == [
        "capi_waitor"
    ]


def test_only_records_with_pointers_depend_on_the_processor() -> None:
    told = [
        record["name"] for record in DESCRIPTION["records"] if isinstance(record.get("size"), dict)
    ]
    assert told == ["capi_carrier_info", "capi_callbacks", "capi_key_meaning"]


def test_every_function_is_told_of_with_its_result() -> None:
    for function in DESCRIPTION["functions"]:
        assert function["doc"], function["name"]
        assert function["results"] or function["result"]["kind"] == "void", function["name"]


def test_locks_are_told_as_the_comments_tell_them() -> None:
    by_name = {function["name"]: function for function in DESCRIPTION["functions"]}
    assert by_name["capi_watch_open"]["locks"] == "Takes no lock."
    assert by_name["capi_cfg_update_simcard_file"]["locks"] == "Takes lock 10 inside lock 0."
    # One that says nothing of its own has what its header says of all.
    assert "take lock 0 while they copy" in by_name["capi_set_voice_basic"]["locks"]
    assert by_name["capi_watch_changed"]["version"] == "CAPI_0.2"


def test_members_and_numbers_have_their_comments() -> None:
    records = {record["name"]: record for record in DESCRIPTION["records"]}
    times = {member["name"]: member["doc"] for member in records["capi_line_reg_stat"]["members"]}
    assert times["reg_time"] == "seconds since the epoch, 0 is unknown"
    numbers = {v["name"]: v["doc"] for enum in DESCRIPTION["enums"] for v in enum["values"]}
    assert numbers["CAPI_TOPIC_LINES"] == "registrations, telephones, published blocks"
    assert numbers["CAPI_EVS_UNSET"].startswith("An EVS number that is not configured")


def test_the_documentation_shows_what_it_has() -> None:
    page = (SOURCE / "docs/python.md").read_text(encoding="utf-8")
    shown = [json.loads(block) for block in re.findall(r"```json\n(.*?)```", page, re.DOTALL)]
    records = {record["name"]: record for record in DESCRIPTION["records"]}
    assert shown[0] in records["capi_carrier_info"]["members"]
    functions = {function["name"]: function for function in DESCRIPTION["functions"]}
    function = functions[shown[1]["name"]]
    assert shown[1] == {name: function[name] for name in shown[1]}
    assert function.keys() - shown[1].keys() == {"doc", "results", "locks"}


def describe(source: Path, into: Path) -> Json:
    subprocess.run(
        [
            sys.executable,
            SOURCE / "bindings/describe/describe.py",
            *("--source", source, "--cc", os.environ["CAPI_CC"], "--version", "1"),
            *("--json", into / "capi.json", "--check", into / "check.c"),
        ],
        check=True,
    )
    described: Json = json.loads((into / "capi.json").read_text(encoding="utf-8"))
    return described


def compiles(check: Path) -> bool:
    folders = [f"-I{SOURCE / folder}" for folder in ("include", "keys/include")]
    command = [os.environ["CAPI_CC"], "-std=c11", "-fsyntax-only", *folders, str(check)]
    return subprocess.run(command, stderr=subprocess.DEVNULL, check=False).returncode == 0


@pytest.fixture(name="edit")
def copy_headers(tmp_path: Path) -> Callable[[str, str, str], Path]:
    """Changes a header of a copy of the sources."""
    for folder in ("include", "keys/include"):
        (tmp_path / folder).parent.mkdir(exist_ok=True)
        subprocess.run(["cp", "-r", SOURCE / folder, tmp_path / folder], check=True)
    for path in ("src/capi.map", "keys/capi-keys.map"):
        (tmp_path / path).parent.mkdir(exist_ok=True)
        (tmp_path / path).write_bytes((SOURCE / path).read_bytes())

    def change(header: str, before: str, after: str) -> Path:
        file = tmp_path / "include" / header
        text = file.read_text(encoding="utf-8")
        assert before in text
        file.write_text(text.replace(before, after, 1), encoding="utf-8")
        return tmp_path

    return change


def test_a_description_that_is_true_compiles(tmp_path: Path) -> None:
    assert describe(SOURCE, tmp_path)["functions"] == DESCRIPTION["functions"]
    assert compiles(tmp_path / "check.c")


@pytest.mark.parametrize(
    ("header", "before", "after"),
    [
        ("capi/records.h", "int32_t session_timer_expires;", "uint32_t session_timer_expires;"),
        ("capi/records.h", "char user_agent[64]", "char user_agent[65]"),
        ("capi/sms.h", "CAPI_SMS_MAX_MESSAGES = 200", "CAPI_SMS_MAX_MESSAGES = 201"),
        ("capi/watch.h", "#define CAPI_TOPIC_ALL 31", "#define CAPI_TOPIC_ALL 32"),
        ("capi/snapshot.h", "unsigned type,\n", "long type,\n"),
        ("capi/sms.h", "} __attribute__((packed));", "};"),
    ],
)
def test_a_description_that_is_not_true_does_not_compile(
    edit: Callable[[str, str, str], Path], header: str, before: str, after: str
) -> None:
    copy = edit(header, before, after)
    describe(copy, copy)
    assert not compiles(copy / "check.c")


@pytest.mark.parametrize(
    ("before", "after", "said"),
    [
        (
            "CAPI_BEGIN_DECLS\n",
            "CAPI_BEGIN_DECLS\nvoid capi_more(void);\n",
            "describe: no .map file lists capi_more, which capi/log.h declares\n",
        ),
        (
            "void capiv2_log_init(capi_log_sink sink);\n",
            "",
            "describe: no header declares capiv2_log_init\n",
        ),
    ],
)
def test_headers_and_exported_names_have_to_agree(
    edit: Callable[[str, str, str], Path],
    capfd: pytest.CaptureFixture[str],
    before: str,
    after: str,
    said: str,
) -> None:
    copy = edit("capi/log.h", before, after)
    with pytest.raises(subprocess.CalledProcessError):
        describe(copy, copy)
    assert capfd.readouterr().err == said


def test_what_a_header_gains_languages_gain(edit: Callable[[str, str, str], Path]) -> None:
    copy = edit(
        "capi/watch.h",
        "CAPI_TOPIC_MESSAGES = 16 ",
        "CAPI_TOPIC_MESSAGES = 16, CAPI_TOPIC_MORE = 32 ",
    )
    edit(
        "capi/records.h",
        "int32_t clir_enable;",
        "int32_t clir_enable;\n  char colour[8]; /* of the lamp */",
    )
    describe(copy, copy)
    for language, target in (("python", copy / "capi"), ("lua", copy / "cdef.lua")):
        generate = SOURCE / "bindings" / language / "generate.py"
        subprocess.run([sys.executable, generate, copy / "capi.json", target], check=True)
    assert "    MORE = 32\n" in (copy / "capi/enums.py").read_text()
    field = "    colour = Field(TextItem(), 'char colour[8]: of the lamp')\n"
    assert field in (copy / "capi/records.py").read_text()
    assert "char colour[8];" in (copy / "cdef.lua").read_text()
