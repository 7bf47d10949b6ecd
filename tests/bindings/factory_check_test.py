# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
"""examples/factory_check.py, the acceptance of an adapter."""
from __future__ import annotations

import json
import os
import subprocess
import sys
from pathlib import Path
from typing import Any, Callable, Dict, Iterator, List, Tuple

import capi
import pytest

SOURCE = Path(os.environ["CAPI_SOURCE"])
Capictl = Callable[..., str]
STEPS = [
    *("identity", "sim", "lines take settings", "lines register"),
    *("call log", "messages", "watching", "restore"),
]


def check(tmp_path: Path, timeout: str) -> Tuple[int, str, Dict[str, Any]]:
    report = tmp_path / "report.json"
    run = subprocess.run(
        [
            *(sys.executable, str(SOURCE / "examples/factory_check.py")),
            *("--json", str(report), "--timeout", timeout),
        ],
        stdout=subprocess.PIPE,
        text=True,
        check=False,
    )
    told: Dict[str, Any] = json.loads(report.read_text()) if report.exists() else {}
    return run.returncode, run.stdout, told


@pytest.fixture(name="stack")
def start_voice_stack() -> Iterator[Callable[..., None]]:
    started: List["subprocess.Popen[str]"] = []

    def start(*lines: str) -> None:
        command = [sys.executable, str(Path(__file__).parent / "voice_stack.py"), *lines]
        process = subprocess.Popen(command, stdout=subprocess.PIPE, text=True)
        started.append(process)
        assert process.stdout is not None and process.stdout.readline() == "waiting\n"

    yield start
    for process in started:
        process.kill()
        process.communicate()


@pytest.mark.usefixtures("device")
def test_without_an_adapter_there_is_nothing_to_look_at(tmp_path: Path) -> None:
    assert check(tmp_path, "1") == (2, "", {})


def test_a_good_adapter_passes_and_is_as_it_was(
    adapter: capi.Adapter, stack: Callable[..., None], tmp_path: Path
) -> None:
    stack("1", "2")
    adapter.calls.add(1, capi.CallLogRecord(number="17"))
    before = adapter.snapshot()
    code, text, report = check(tmp_path, "60")
    assert code == 0, text
    assert [line.split(":")[0] for line in text.splitlines()[:-1]] == [f"pass  {s}" for s in STEPS]
    assert text.splitlines()[-1] == "PASSED  2604000123456"
    assert text.splitlines()[3] == "pass  lines register: line 1 on stack 2, line 2 on stack 2"
    assert report["passed"] is True and report["serial"] == "2604000123456"
    assert [each["name"] for each in report["checks"]] == STEPS
    assert before.changes_to(adapter.snapshot()) == []
    assert [call.number for call in adapter.calls] == ["17"]
    assert list(adapter.messages) == []


def failed(report: Dict[str, Any]) -> Dict[str, str]:
    return {each["name"]: each["detail"] for each in report["checks"] if not each["passed"]}


def test_a_line_that_does_not_register_fails_and_all_is_restored(
    adapter: capi.Adapter, stack: Callable[..., None], tmp_path: Path
) -> None:
    for line in adapter.lines:
        line.publish_registration(2, capi.LineRegStat())
    stack("1")
    before = adapter.snapshot()
    code, text, report = check(tmp_path, "0.2")
    assert code == 1
    assert failed(report) == {"lines register": "not registered: line 2"}
    assert text.splitlines()[-1] == "FAILED  2604000123456"
    assert before.changes_to(adapter.snapshot()) == []


def test_a_device_without_identity_or_sim_fails(
    adapter: capi.Adapter, stack: Callable[..., None], tmp_path: Path
) -> None:
    stack("1", "2")
    kept = adapter.snapshot()
    adapter.config.set("hw_info.wan_mac", "", checked=False)
    adapter.config.set("sim_info.IMSI", "", checked=False)
    code, _, report = check(tmp_path, "60")
    assert code == 1
    assert failed(report) == {
        "identity": 'the WAN MAC is ""',
        "sim": "the SIM has no IMSI",
    }
    for change in kept.changes_to(adapter.snapshot()):
        adapter.config.set(change.key, change.before, checked=False)


def test_a_damaged_store_fails(
    adapter: capi.Adapter, stack: Callable[..., None], tmp_path: Path
) -> None:
    stack("1", "2")
    log = Path("/quorbleconf/nv/voip_call_log")
    content = log.read_bytes()
    log.write_bytes(b"no call log" + content[11:])
    code, _, report = check(tmp_path, "60")
    log.write_bytes(content)
    assert code == 1
    assert list(failed(report)) == ["call log"]
    assert adapter.config["sip_line_1.display_name"] == "Frontdesk"
