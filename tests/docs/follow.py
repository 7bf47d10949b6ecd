#!/usr/bin/env python3
# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
"""follow.py PAGE [--show]

Does what a page says, as its reader would: writes its example files, runs its commands one block
after the other in one shell on a terminal, and compares what they print with what the page shows.

  <!-- example: FILE -->   the code block behind it is that file
  ```sh                    commands; each has to succeed
  ```text                  what the block of commands before it prints, or a program of theirs that
                           goes on in the background, sooner or later
  <!-- exit: N -->         a command of the block behind it ends with N

In what is shown "…" stands for any text, and a time or an id of eight hexadecimal digits for any
other one. --show prints what the commands print, for who writes a page.
"""
import fcntl
import os
import pty
import re
import select
import struct
import subprocess
import sys
import tempfile
import termios
import time

COLUMNS = 100
# For what never comes; everything else is waited for.
PATIENCE = 60

DRIVER = """
trap 'code=$?; [ "$status" -ne 0 ] || status=$code' ERR
while IFS= read -r block <&"$BLOCKS"; do
  status=0
  . "$block"
  printf '\\001%s %s\\001' "$status" "$(jobs -r | wc -l)"
done
"""


def blocks_of(page):
    """The page's blocks: (line, language, example's name, exit code, text)."""
    blocks, language, example, code, lines, first = [], None, None, 0, [], 0
    for number, line in enumerate(open(page, encoding="utf-8").read().split("\n"), 1):
        fence = re.fullmatch(r"```(\w*)", line)
        if fence and language is None:
            language, lines, first = fence[1] or "plain", [], number
        elif fence:
            blocks.append((first, language, example, code, "\n".join(lines)))
            language, example, code = None, None, 0
        elif language is not None:
            lines.append(line)
        elif match := re.fullmatch(r"<!-- example: (\S+) -->", line):
            example = match[1]
        elif match := re.fullmatch(r"<!-- exit: (\d) -->", line):
            code = int(match[1])
    return blocks


def steps_of(page):
    """Commands with what they have to print, and files, in the page's order."""
    steps = []
    for line, language, example, code, text in blocks_of(page):
        if example:
            steps.append({"line": line, "file": example, "text": text + "\n"})
        elif language == "sh":
            steps.append({"line": line, "commands": text, "code": code, "shown": None})
        elif language == "text":
            if not steps or steps[-1].get("shown", "") is not None:
                sys.exit(f"{page}:{line}: no commands print this")
            steps[-1]["shown"] = text
    return steps


def plain(text):
    """Without what differs each time, and blanks at the ends of lines."""
    text = re.sub(r"\x1b\[[0-9;]*m|\r", "", text)
    text = re.sub(r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d(Z|[+-]\d\d:\d\d)", "2026-11-22T08:30:00Z", text)
    text = re.sub(r"\b[0-9a-f]{8}\b", "7c1f09ae", text)
    return re.sub(r" +$", "", text, flags=re.M).strip("\n")


def matches(printed, shown):
    pattern = ".*".join(re.escape(part) for part in plain(shown).split("…"))
    return re.fullmatch(pattern, plain(printed), re.S) is not None


class Shell:
    """A shell on a terminal of its own."""

    def __init__(self):
        self.terminal, slave = pty.openpty()
        fcntl.ioctl(slave, termios.TIOCSWINSZ, struct.pack("HHHH", 50, COLUMNS, 0, 0))
        read_end, self.blocks = os.pipe()
        os.set_inheritable(read_end, True)
        environment = dict(os.environ, BLOCKS=str(read_end), NO_COLOR="1", TERM="dumb")
        self.process = subprocess.Popen(
            ["bash", "-c", DRIVER, "page"], stdin=subprocess.DEVNULL, stdout=slave, stderr=slave,
            pass_fds=[read_end], env=environment)
        os.close(read_end)
        os.close(slave)
        self.deadline = 0

    def more(self):
        """What comes next on the terminal, or "" when nothing does."""
        if not select.select([self.terminal], [], [], max(0, self.deadline - time.monotonic()))[0]:
            return b""
        try:
            return os.read(self.terminal, 65536)
        except OSError:
            return b""

    def run(self, file, shown):
        """Runs a file of commands: the exit code of what failed in it first, and what was printed."""
        self.deadline = time.monotonic() + PATIENCE
        os.write(self.blocks, (file + "\n").encode())
        printed, code, jobs = b"", None, 1
        while True:
            if code is None and (mark := re.search(rb"\x01(\d+) (\d+)\x01", printed)):
                code, jobs = int(mark[1]), int(mark[2])
                printed = printed.replace(mark[0], b"")
            text = printed.decode(errors="replace")
            if code is not None and (shown is None or jobs == 0 or matches(text, shown)):
                return code, text
            new = self.more()
            if not new:
                return code, text
            printed += new

    def end(self):
        os.close(self.blocks)
        self.process.wait()


def main():
    page, show = sys.argv[1], "--show" in sys.argv
    steps = steps_of(page)
    if not any("commands" in step for step in steps):
        sys.exit(f"FAILED: {page} has no commands")
    shell, wrong = Shell(), False
    block = tempfile.NamedTemporaryFile("w", prefix="block.", encoding="utf-8")
    for step in steps:
        if "file" in step:
            with open(step["file"], "w", encoding="utf-8") as file:
                file.write(step["text"])
            continue
        block.seek(0)
        block.truncate()
        block.write(step["commands"] + "\n")
        block.flush()
        code, printed = shell.run(block.name, step["shown"])
        print(step["commands"])
        if show:
            print("```text\n" + plain(printed) + "\n```")
        if code != step["code"]:
            print(f"FAILED: {page}:{step['line']}: ended with {code}, not {step['code']}:\n{printed}")
            wrong = True
        elif step["shown"] is not None and not matches(printed, step["shown"]):
            print(f"FAILED: {page}:{step['line']}: printed\n{plain(printed)}\ninstead of\n"
                  f"{plain(step['shown'])}")
            wrong = True
        if wrong and not show:
            break
    shell.end()
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
