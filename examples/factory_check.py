#!/usr/bin/python3
# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
"""The last look at an adapter on the production line.

Is the device's identity there, is the SIM recognised, can both lines be configured and do they
register anew, are the stores sound, does a change reach a watcher, and is all as it was before? Ctrl-C
ends the checks, not what brings everything back. A report for people goes to standard output, one for
machines where --json says. The exit code is 0 when all is well, 1 when it is not, and 2 when there is
no adapter to look at.
"""
from __future__ import annotations

import argparse
import asyncio
import json
import re
import signal
import sys
import time
from types import FrameType
from typing import Any, Callable, Dict, List, Optional, Tuple

import capi

LINES = (1, 2)
CALL_TYPE = 0
NUMBER = "5550100"
# The type of voice stack whose file has the lines' accounts, and the signal that makes it read that.
VOIP_STACK = 1
CHANGE_SIGNAL = "vop_sig_cfg_changed_info"
# Who ends the test with one of these gets the adapter back as it was.
ENDS = (signal.SIGINT, signal.SIGTERM, signal.SIGHUP)


class Fault(Exception):
    """What is wrong with this adapter."""


def must(is_so: object, fault: str) -> None:
    if not is_so:
        raise Fault(fault)


class FactoryCheck:
    """The checks, in their order; each returns what is worth a line in the report."""

    def __init__(self, adapter: capi.Adapter, timeout: float) -> None:
        self.adapter = adapter
        self.timeout = timeout
        self.before = adapter.snapshot()
        self.changed: List[str] = []

    def set(self, key: str, value: str, checked: bool = True) -> None:
        if key not in self.changed:
            self.changed.append(key)
        self.adapter.config.set(key, value, checked=checked)

    def tell_the_stack(self) -> None:
        """A voice stack reads its file, and that when it is told to."""
        self.adapter.write_stack_file(VOIP_STACK)
        self.adapter.post(CHANGE_SIGNAL)

    def new_registrations(self, line: capi.Line) -> List[int]:
        """The stacks on which it has registered since: what was there may be of one that has died."""
        return [
            stack
            for (stack, now), then in zip(line.registrations.items(), self.before_of(line.number))
            if now.registered and not (then.registered and now.reg_time == then.reg_time)
        ]

    def before_of(self, line: int) -> List[capi.LineRegStat]:
        """The registrations of a line as the check began, on each stack."""
        return [lines[line - 1] for lines in self.before.reg_stat]

    def identity(self) -> str:
        facts = {
            "serial number": (self.adapter.serial, r"\S+"),
            "IMEI": (self.adapter.imei, r"\d{15,16}"),
            "firmware": (self.adapter.firmware_version, r"(?!Unknown$)\S+"),
            "WAN MAC": (
                self.adapter.config["hw_info.wan_mac"],
                r"([0-9A-Fa-f]{2}:){5}[0-9A-Fa-f]{2}",
            ),
            "LAN MAC": (
                self.adapter.config["hw_info.lan_mac"],
                r"([0-9A-Fa-f]{2}:){5}[0-9A-Fa-f]{2}",
            ),
        }
        for name, (value, form) in facts.items():
            must(re.fullmatch(form, value), f'the {name} is "{value}"')
        return ", ".join(f"{name} {value}" for name, (value, _) in facts.items())

    def sim(self) -> str:
        for index in (capi.SimcardInfoIndex.ICCID, capi.SimcardInfoIndex.IMSI):
            must(self.adapter.sim(index), f"the SIM has no {index.name}")
        carrier = self.adapter.carrier
        must(carrier, "no carrier that the device knows has issued the SIM")
        assert carrier is not None
        return f"{carrier.file}, MCC {carrier.mcc}"

    def lines_take_settings(self) -> str:
        now = int(time.time())
        if any(each.reg_time == now for line in LINES for each in self.before_of(line)):
            time.sleep(1)  # times of registrations are whole seconds: the next one's is to differ
        for line in LINES:
            wanted = {
                f"sip_line_{line}.display_name": f"Test line {line}",
                f"sip_line_{line}.user_name": f"{NUMBER}{line}",
                f"sip_line_{line}.auth_name": f"factory-{line}",
                f"sip_line_{line}.auth_password": f"factory-{line}",
                f"sip_line_{line}.enable": "1",
            }
            for key, value in wanted.items():
                # What people type is checked; a test rig's names may have blanks.
                self.set(key, value, checked=" " not in value)
            settings = self.adapter.read(capi.VoiceSipLine, line)
            found = {f"sip_line_{line}.{name}": str(value) for name, value in settings}
            for key, value in wanted.items():
                must(found[key] == value, f"{key} did not take a value")
        return f"{len(LINES)} lines"

    def lines_register(self) -> str:
        with self.adapter.watch(capi.Topic.LINES) as watch:
            self.tell_the_stack()
            end = time.monotonic() + self.timeout
            while True:
                missing = [line for line in self.adapter.lines if not self.new_registrations(line)]
                if not missing:
                    break
                must(
                    watch.wait(end - time.monotonic()),
                    "not registered: " + ", ".join(self.missed(line) for line in missing),
                )
        stacks = [
            f"line {line.number} on stack {stack}"
            for line in self.adapter.lines
            for stack in self.new_registrations(line)
        ]
        return ", ".join(stacks)

    @staticmethod
    def missed(line: capi.Line) -> str:
        return f"line {line.number}" + (" since it was told" if line.is_registered else "")

    def call_log(self) -> str:
        calls = self.adapter.calls
        before = list(calls)
        limit = capi.constants.CALL_LOG_ENTRIES_PER_TYPE
        must(len(calls.of_type(CALL_TYPE)) < limit, "the call log is full: a call more loses one")
        now = int(time.time())
        try:
            calls.add(CALL_TYPE, capi.CallLogRecord(endpt=1, number=NUMBER, calltimestart=now))
            must(next(iter(calls)).number == NUMBER, "a call that was stored is not the newest")
        finally:
            for call in calls:
                if (call.number, call.calltimestart) == (NUMBER, now):
                    calls.delete(call)
        must(len(calls) == len(before), "a call that was deleted is still there")
        return f"{len(before)} calls"

    def messages(self) -> str:
        box = self.adapter.messages.received
        before = len(box)
        limit = capi.constants.SMS_MAX_MESSAGES
        must(before < limit, "there is no room for a message: one more loses one")
        text = "factory check \N{CHECK MARK}"
        message = capi.Message(text, RemoteNumber=NUMBER)
        try:
            must(box[box.add(message)].text == text, "a message that was stored has another text")
        finally:
            if message.id:
                box.delete(message.id)
        must(len(box) == before, "a message that was deleted is still there")
        return f"{before} received, {len(self.adapter.messages.sent)} sent"

    def watching(self) -> str:
        return asyncio.run(asyncio.wait_for(self.see_a_change(), self.timeout))

    async def see_a_change(self) -> str:
        with self.adapter.watch(capi.Topic.CONFIG) as watch:
            key = "sip_registration.reg_interval"
            self.set(key, str(self.adapter.config.number(key) + 1))
            async for topics in watch:
                return f"told of {topics.name}"
        raise Fault("the watch has ended")

    def restore(self) -> str:
        for key in self.changed:
            # What was there before need not be what the check of values takes.
            self.adapter.config.set(key, self.before[key], checked=False)
        if self.changed:
            self.tell_the_stack()
        left = [key for key in self.changed if self.adapter.config[key] != self.before[key]]
        must(not left, "not as before: " + ", ".join(left))
        return "the settings are as before"


def outcome(step: Callable[[], str]) -> Tuple[bool, str]:
    try:
        return True, step()
    except asyncio.TimeoutError:
        return False, "nobody was told in time"
    except (Fault, capi.Error) as fault:
        return False, str(fault)
    except Exception as error:  # what nobody has thought of is to keep the adapter from nothing
        return False, f"{type(error).__name__}: {error}"


def ignore_ends() -> None:
    for each in ENDS:
        signal.signal(each, signal.SIG_IGN)


def interrupt(_number: int, _frame: Optional[FrameType]) -> None:
    ignore_ends()
    raise KeyboardInterrupt


def run(adapter: capi.Adapter, timeout: float) -> List[Dict[str, Any]]:
    check = FactoryCheck(adapter, timeout)
    steps: List[Callable[[], str]] = [
        check.identity,
        check.sim,
        check.lines_take_settings,
        check.lines_register,
        check.call_log,
        check.messages,
        check.watching,
    ]
    results: List[Dict[str, Any]] = []

    def note(step: Callable[[], str], passed: bool, detail: str) -> None:
        name = step.__name__.replace("_", " ")
        results.append({"name": name, "passed": passed, "detail": detail})

    step = steps[0]
    try:
        for step in steps:
            note(step, *outcome(step))
        ignore_ends()  # what is left takes a moment only
    except KeyboardInterrupt:
        note(step, False, "interrupted")
    finally:  # whatever came before
        note(check.restore, *outcome(check.restore))
    return results


def identify(adapter: capi.Adapter) -> Optional[str]:
    try:
        return adapter.serial
    except capi.Error:
        return None


def main() -> int:
    parser = argparse.ArgumentParser(description="Checks an adapter before it leaves the factory.")
    parser.add_argument("--json", metavar="FILE", help="where the report for machines goes")
    parser.add_argument("--timeout", type=float, default=30, help="seconds to wait for a line")
    options = parser.parse_args()
    for each in ENDS:
        if signal.getsignal(each) != signal.SIG_IGN:  # as under nohup
            signal.signal(each, interrupt)
    try:
        adapter = capi.Adapter()
    except capi.Error as error:
        print(f"factory_check: {error}", file=sys.stderr)
        return 2
    with adapter:
        serial = identify(adapter)
        results = run(adapter, options.timeout)
    passed = all(result["passed"] for result in results)
    for result in results:
        print(f"{'pass' if result['passed'] else 'FAIL'}  {result['name']}: {result['detail']}")
    print(f"{'PASSED' if passed else 'FAILED'}  {serial or 'a device without a serial number'}")
    if options.json:
        report = {"serial": serial, "passed": passed, "checks": results, "capi": capi.__version__}
        with open(options.json, "w", encoding="utf-8") as file:
            json.dump(report, file, indent=2)
            file.write("\n")
    return 0 if passed else 1


if __name__ == "__main__":
    sys.exit(main())
