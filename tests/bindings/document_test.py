# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
"""docs/python.md: its programs run, print what it shows, and have right types."""
from __future__ import annotations

import os
import re
import subprocess
import sys
from pathlib import Path
from typing import Any, List, Tuple

import pytest

SOURCE = Path(os.environ["CAPI_SOURCE"])
PAGE = (SOURCE / "docs/python.md").read_text(encoding="utf-8")
EXAMPLE = re.compile(
    r"<!-- example: (\w+\.py) -->\n```python\n(.*?)```\n\n```text\n(.*?)```", re.DOTALL
)
EXAMPLES: List[Tuple[str, str, str]] = EXAMPLE.findall(PAGE)


def test_every_program_of_the_page_is_run() -> None:
    assert len(EXAMPLES) == PAGE.count("```python") == 5


@pytest.mark.usefixtures("capictl")
def test_the_programs_print_what_the_page_shows(tmp_path: Path) -> None:
    for name, program, expected in EXAMPLES:  # in their order, on one adapter
        (tmp_path / name).write_text(program, encoding="utf-8")
        run = subprocess.run(
            [sys.executable, tmp_path / name], stdout=subprocess.PIPE, text=True, check=True
        )
        assert run.stdout == expected, name


def test_the_programs_have_right_types(tmp_path: Path) -> None:
    for name, program, _ in EXAMPLES:
        (tmp_path / name).write_text(program, encoding="utf-8")
    command: List[Any] = ["mypy", "--strict", "--cache-dir", tmp_path / "cache"]
    command += ["--python-executable", sys.executable]
    environment = {**os.environ, "MYPYPATH": os.environ["PYTHONPATH"]}
    for name, _, _ in EXAMPLES:
        subprocess.run([*command, tmp_path / name], check=True, env=environment)
