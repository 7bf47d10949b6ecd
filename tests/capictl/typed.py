# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
"""typed.py FILE KEYS SHELL...

Types KEYS, in which \\t and \\n are what they are in C, into an interactive shell on a terminal, and
ends when FILE is there. Prints what was on the screen when it does not come.
"""
import os
import pty
import select
import sys
import time


def main(file, keys, *shell):
    pid, terminal = pty.fork()
    if pid == 0:
        os.execvp(shell[0], shell)
    screen = b""
    pending = keys.encode().decode("unicode_escape").encode()
    deadline = time.monotonic() + 60
    while not os.path.exists(file) and time.monotonic() < deadline:
        ready = select.select([terminal], [], [], 0.05)[0]
        if ready:
            try:
                screen += os.read(terminal, 4096)
            except OSError:
                break
        elif b"ready>" in screen and pending:
            # A shell that completes swallows what is typed meanwhile, so one key after the other.
            end = pending.find(b"\t") + 1 or len(pending)
            os.write(terminal, pending[:end])
            pending = pending[end:]
    os.kill(pid, 9)
    os.close(terminal)
    if not os.path.exists(file):
        print(screen.decode(errors="replace"))


main(*sys.argv[1:])
