# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
"""voice_stack.py LINE...: a voice stack that registers these lines, as its file has them, when told.

The device's tool writes what is posted to /tmp/posted_signals, which is a pipe of ours here. Each time
that it has registered what there is to register it says so, with the names of all lines.
"""
import os
import re
import sys
import time
from pathlib import Path

import capi

STACK = 2
SIGNALS = Path("/tmp/posted_signals")


def account(number: int) -> "dict[str, str]":
    text = Path("/tmp/vosip.conf.voip").read_text(encoding="utf-8")
    section = re.findall(r"\[LINE\d_SUBSCRIBER\]\n([^\[]*)", text)[number - 1]
    return dict(line.split("=", 1) for line in section.splitlines() if line)


def register(adapter: capi.Adapter, number: int) -> None:
    enabled = int(account(number)["enable"])
    status = capi.LineRegStat(registered=enabled, reg_time=int(time.time()))
    adapter.lines[number - 1].publish_registration(STACK, status)


SIGNALS.unlink(missing_ok=True)
os.mkfifo(SIGNALS)
# Open for writing as well, so that it is never at its end.
with capi.Adapter() as joined, open(os.open(SIGNALS, os.O_RDWR), encoding="utf-8") as posted:
    print("waiting", flush=True)
    for line in posted:
        if line == "signal simple vop_sig_cfg_changed_info\n":
            for each in sys.argv[1:]:
                register(joined, int(each))
            print(", ".join(account(number)["displayname"] for number in (1, 2)), flush=True)
