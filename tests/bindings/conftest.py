# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
"""An adapter for the tests: another process is its master, and this one joins it.

The tests of a file share an adapter, in a private view of the machine.
"""
from __future__ import annotations

import os
import subprocess
import sys
from pathlib import Path
from typing import Callable, Iterator, List

import capi
import pytest

SOURCE = Path(os.environ["CAPI_SOURCE"])
SETTINGS = [f"/quorbleconf/config/{name}.settings" for name in ("voice", "network")]

Capictl = Callable[..., str]


def run_capictl(*arguments: str) -> str:
    command = [os.environ["CAPICTL"], *arguments]
    return subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True).stdout


@pytest.fixture(name="device", scope="session")
def set_up_device() -> None:
    """The device's files, without an adapter running."""
    assert os.environ.get("CAPI_PRIVATE_VIEW"), "these tests run in tests/support/private-view"
    subprocess.run(["cp", "-r", f"{SOURCE}/demo/device/.", "/"], check=True)


@pytest.fixture(name="capictl", scope="session")
def start_master(device: None) -> Capictl:
    """The tool: another process than ours. The adapter runs."""
    run_capictl("master", "--settings", *SETTINGS)
    return run_capictl


@pytest.fixture(name="adapter")
def join_adapter(capictl: Capictl) -> Iterator[capi.Adapter]:
    with capi.Adapter() as adapter:
        yield adapter


class Other:
    """A process beside ours that runs a program of Python's and then waits to be ended."""

    def __init__(self, program: str) -> None:
        self.process = subprocess.Popen(
            [sys.executable, "-c", program],
            stdin=subprocess.PIPE,
            stdout=subprocess.PIPE,
            text=True,
            bufsize=1,
        )

    def says(self) -> str:
        assert self.process.stdout is not None
        return self.process.stdout.readline().rstrip("\n")

    def tell(self, line: str) -> None:
        assert self.process.stdin is not None
        self.process.stdin.write(line + "\n")
        self.process.stdin.flush()


@pytest.fixture(name="other")
def start_others() -> Iterator[Callable[[str], Other]]:
    started: List[Other] = []

    def start(program: str) -> Other:
        started.append(Other(program))
        return started[-1]

    yield start
    for each in started:
        each.process.kill()
        each.process.communicate()
