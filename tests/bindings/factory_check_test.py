# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
"""examples/factory_check.py, the acceptance of an adapter."""
from __future__ import annotations

import json
import os
import signal
import subprocess
import sys
import time
from contextlib import contextmanager
from pathlib import Path
from typing import Any, Callable, Dict, Iterator, List, Sequence, Tuple

import capi
import pytest

SOURCE = Path(os.environ["CAPI_SOURCE"])
CHECK = str(SOURCE / "examples/factory_check.py")
SIGNALS = Path("/tmp/posted_signals")
Capictl = Callable[..., str]
STEPS = [
    *("identity", "sim", "lines take settings", "lines register"),
    *("call log", "messages", "watching", "restore"),
]


@contextmanager
def running(
    tmp_path: Path, timeout: str, program: Sequence[str] = (CHECK,)
) -> Iterator["subprocess.Popen[str]"]:
    report = tmp_path / "report.json"
    command = [sys.executable, *program, "--json", str(report), "--timeout", timeout]
    with subprocess.Popen(command, stdout=subprocess.PIPE, text=True) as process:
        yield process
        process.kill()


def end_of(process: "subprocess.Popen[str]", tmp_path: Path) -> Tuple[int, str, Dict[str, Any]]:
    text, _ = process.communicate()
    report = tmp_path / "report.json"
    told: Dict[str, Any] = json.loads(report.read_text()) if report.exists() else {}
    return process.returncode, text, told


def check(tmp_path: Path, timeout: str) -> Tuple[int, str, Dict[str, Any]]:
    with running(tmp_path, timeout) as process:
        return end_of(process, tmp_path)


def ended_by(
    end: signal.Signals, process: "subprocess.Popen[str]", tmp_path: Path
) -> Tuple[int, str, Dict[str, Any]]:
    # While the device's tool posts a signal for it a process does not hear Ctrl-C. Each one is enough.
    while process.poll() is None:
        process.send_signal(end)
        try:
            process.wait(0.02)
        except subprocess.TimeoutExpired:
            pass
    return end_of(process, tmp_path)


class Stack:
    """A voice stack that runs."""

    def __init__(self, lines: Tuple[str, ...]) -> None:
        command = [sys.executable, str(Path(__file__).parent / "voice_stack.py"), *lines]
        self.process = subprocess.Popen(command, stdout=subprocess.PIPE, text=True)
        assert self.says() == "waiting"

    def says(self) -> str:
        """What it says next: the names that it was told."""
        assert self.process.stdout is not None
        return self.process.stdout.readline().rstrip("\n")

    def end(self) -> None:
        self.process.kill()
        self.process.communicate()
        SIGNALS.unlink()


@pytest.fixture(name="stack")
def start_voice_stack() -> Iterator[Callable[..., Stack]]:
    started: List[Stack] = []

    def start(*lines: str) -> Stack:
        started.append(Stack(lines))
        return started[-1]

    yield start
    for each in started:
        each.end()


@pytest.mark.usefixtures("device")
def test_without_an_adapter_there_is_nothing_to_look_at(tmp_path: Path) -> None:
    assert check(tmp_path, "1") == (2, "", {})


def test_a_good_adapter_passes_and_is_as_it_was(
    adapter: capi.Adapter, stack: Callable[..., Stack], tmp_path: Path
) -> None:
    voice = stack("1", "2")
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
    # The stack knows that, too.
    assert [voice.says(), voice.says()] == ["Test line 1, Test line 2", "Frontdesk, Fax"]
    assert "username=adapter-1\n" in Path("/tmp/vosip.conf.voip").read_text()


def failed(report: Dict[str, Any]) -> Dict[str, str]:
    return {each["name"]: each["detail"] for each in report["checks"] if not each["passed"]}


def test_a_line_that_does_not_register_fails_and_all_is_restored(
    adapter: capi.Adapter, stack: Callable[..., Stack], tmp_path: Path
) -> None:
    for line in adapter.lines:
        line.publish_registration(2, capi.LineRegStat())
    stack("1")
    before = adapter.snapshot()
    code, text, report = check(tmp_path, "10")
    assert code == 1
    assert failed(report) == {"lines register": "not registered: line 2"}
    assert text.splitlines()[-1] == "FAILED  2604000123456"
    assert before.changes_to(adapter.snapshot()) == []


def test_a_registration_from_before_is_none_of_the_test(
    adapter: capi.Adapter, stack: Callable[..., Stack], tmp_path: Path
) -> None:
    # Of an application that has died since; another one registers what it is told.
    older = capi.LineRegStat(registered=1, reg_time=int(time.time()) - 90)
    adapter.lines[0].publish_registration(2, older)
    adapter.lines[1].publish_registration(3, capi.LineRegStat(registered=1))
    stack()
    code, _, report = check(tmp_path, "3")
    assert code == 1
    fault = "not registered: line 1 since it was told, line 2 since it was told"
    assert failed(report) == {"lines register": fault}
    for line, number in zip(adapter.lines, (2, 3)):
        line.publish_registration(number, capi.LineRegStat())


def test_a_line_that_has_registered_in_this_second_can_do_so_again(
    adapter: capi.Adapter, stack: Callable[..., Stack], tmp_path: Path
) -> None:
    stack("1", "2")
    for line in adapter.lines:
        record = capi.LineRegStat(registered=1, reg_time=int(time.time()))
        line.publish_registration(2, record)
    code, text, _ = check(tmp_path, "60")
    assert code == 0, text


@pytest.mark.parametrize("end", [signal.SIGINT, signal.SIGTERM, signal.SIGHUP])
def test_who_ends_the_test_finds_the_adapter_as_it_was(
    adapter: capi.Adapter, stack: Callable[..., Stack], tmp_path: Path, end: signal.Signals
) -> None:
    voice = stack()
    before = adapter.snapshot()
    with running(tmp_path, "60") as process:
        # Now it waits for lines that nobody registers.
        assert voice.says() == "Test line 1, Test line 2"
        assert adapter.config["sip_line_2.auth_name"] == "factory-2"
        code, text, report = ended_by(end, process, tmp_path)
    assert code == 1
    assert failed(report) == {"lines register": "interrupted"}
    assert [each["name"] for each in report["checks"]] == [*STEPS[:4], "restore"]
    assert text.splitlines()[-1] == "FAILED  2604000123456"
    assert before.changes_to(adapter.snapshot()) == []
    assert voice.says() == "Frontdesk, Fax"


def test_a_fault_of_the_check_itself_is_told_and_all_is_restored(
    adapter: capi.Adapter, stack: Callable[..., Stack], tmp_path: Path
) -> None:
    stack()
    before = adapter.snapshot()
    program = (
        "import capi, runpy\n"
        "def fail(*_): raise OSError('no descriptor')\n"
        "capi.Watch.wait = fail\n"
        f"runpy.run_path({CHECK!r}, run_name='__main__')\n"
    )
    with running(tmp_path, "60", ("-c", program)) as process:
        code, _, report = end_of(process, tmp_path)
    assert code == 1
    assert failed(report) == {"lines register": "OSError: no descriptor"}
    assert before.changes_to(adapter.snapshot()) == []


@pytest.mark.parametrize(
    ("step", "broken", "good_calls"),
    [("call log", "Calls.__iter__", 1), ("messages", "Box.__getitem__", 0)],
)
def test_who_ends_it_amid_a_store_finds_that_as_it_was(
    adapter: capi.Adapter, tmp_path: Path, step: str, broken: str, good_calls: int
) -> None:
    calls = [call.number for call in adapter.calls]
    program = (
        "import capi, runpy\n"
        f"good, left = capi.{broken}, [True] * {good_calls} + [False]\n"
        "def fail(*arguments):\n"
        "    if not left or left.pop(0): return good(*arguments)\n"
        "    raise KeyboardInterrupt\n"
        f"capi.{broken} = fail\n"
        f"runpy.run_path({CHECK!r}, run_name='__main__')\n"
    )
    with running(tmp_path, "0", ("-c", program)) as process:
        code, _, report = end_of(process, tmp_path)
    assert code == 1
    assert failed(report)[step] == "interrupted"
    assert [call.number for call in adapter.calls] == calls
    assert list(adapter.messages) == []


def test_what_others_set_meanwhile_is_left_to_them(
    adapter: capi.Adapter, stack: Callable[..., Stack], tmp_path: Path
) -> None:
    voice = stack()
    with running(tmp_path, "60") as process:
        voice.says()
        adapter.config["basic_sip.local_port"] = 5072
        _, _, report = ended_by(signal.SIGTERM, process, tmp_path)
    assert report["checks"][-1]["passed"]
    assert adapter.config["basic_sip.local_port"] == "5072"


def test_a_device_without_identity_or_sim_fails(
    adapter: capi.Adapter, stack: Callable[..., Stack], tmp_path: Path
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
    adapter: capi.Adapter, stack: Callable[..., Stack], tmp_path: Path
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
