# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
"""voice_stack.py LINE...: a voice stack that registers these lines whenever they are enabled."""
import sys

import capi

STACK = 2


def register(adapter: capi.Adapter, number: int) -> None:
    line = adapter.lines[number - 1]
    enabled = line.settings.enable
    if line.registration(STACK).registered != enabled:
        line.publish_registration(STACK, capi.LineRegStat(registered=enabled))


with capi.Adapter() as joined, joined.watch(capi.Topic.CONFIG) as watch:
    while True:
        for each in sys.argv[1:]:
            register(joined, int(each))
        print("waiting", flush=True)
        watch.wait()
