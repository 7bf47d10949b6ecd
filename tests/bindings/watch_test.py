# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
"""Being told of changes, with asyncio and without."""
from __future__ import annotations

import asyncio
import errno
import math
import os
import select
import threading
from typing import Callable, List

import capi
import pytest

Capictl = Callable[..., str]


def test_a_task_is_told_of_what_another_process_does(
    adapter: capi.Adapter, capictl: Capictl
) -> None:
    async def told() -> List[capi.Topic]:
        seen = []
        with adapter.watch(capi.Topic.CONFIG | capi.Topic.CALLS) as watch:
            loop = asyncio.get_running_loop()
            loop.run_in_executor(None, capictl, "config", "set", "sip_line_1.display_name", "told")
            async for topics in watch:
                seen.append(topics)
                if topics & capi.Topic.CONFIG:
                    adapter.calls.add(0, capi.CallLogRecord(number="1"))
                if topics & capi.Topic.CALLS:
                    break
        return seen

    seen = asyncio.run(told())
    assert adapter.config["sip_line_1.display_name"] == "told"
    assert seen[0] & capi.Topic.CONFIG and seen[-1] & capi.Topic.CALLS


def test_a_watch_tells_nothing_of_other_topics(adapter: capi.Adapter) -> None:
    with adapter.watch(capi.Topic.CALLS) as watch:
        adapter.config["sip_line_1.display_name"] = "unseen"
        assert not watch.changed()
        adapter.calls.add(0, capi.CallLogRecord())
        assert watch.changed() == capi.Topic.CALLS
        assert not watch.changed()


def test_without_asyncio_a_watch_waits_or_gives_up(adapter: capi.Adapter) -> None:
    with adapter.watch() as watch:
        assert not watch.wait(0)
        assert not watch.wait(0.01)
        for longest in (60, 1e7, math.inf):
            setter = threading.Thread(
                target=adapter.config.set, args=("sip_line_1.display_name", str(longest))
            )
            setter.start()
            assert watch.wait(longest) == capi.Topic.CONFIG
            setter.join()


def test_its_descriptor_is_one_for_any_poll(adapter: capi.Adapter) -> None:
    with adapter.watch(capi.Topic.CONFIG) as watch:
        assert select.select([watch], [], [], 0)[0] == []
        adapter.config["sip_line_1.display_name"] = "polled"
        assert select.select([watch], [], [], 60)[0] == [watch]
        assert watch.changed() == capi.Topic.CONFIG
        assert select.select([watch], [], [], 0)[0] == []


def test_a_task_that_is_cancelled_leaves_nothing_behind(adapter: capi.Adapter) -> None:
    async def cancel() -> None:
        with adapter.watch(capi.Topic.CONFIG) as watch:
            descriptors = os.listdir("/proc/self/fd")
            task = asyncio.ensure_future(watch.__anext__())
            await asyncio.sleep(0)
            with pytest.raises(RuntimeError, match="one task at a time"):
                await watch.__anext__()
            task.cancel()
            with pytest.raises(asyncio.CancelledError):
                await task
            assert os.listdir("/proc/self/fd") == descriptors
            # And it goes on for the next one.
            adapter.config["sip_line_1.display_name"] = "next"
            assert await watch.__anext__() == capi.Topic.CONFIG

    asyncio.run(cancel())


def test_a_closed_watch_says_so(adapter: capi.Adapter) -> None:
    watch = adapter.watch()
    descriptor = watch.fileno()
    watch.close()
    watch.close()
    with pytest.raises(OSError):
        os.fstat(descriptor)
    with pytest.raises(capi.Error, match="the watch is closed"):
        watch.changed()


async def awaited(watch: capi.Watch) -> "asyncio.Task[capi.Topic]":
    """A task that waits for the watch by now."""

    async def wait() -> capi.Topic:
        return await watch.__anext__()

    task = asyncio.ensure_future(wait())
    await asyncio.sleep(0)
    return task


def test_a_task_that_waits_for_a_watch_ends_when_it_is_closed(adapter: capi.Adapter) -> None:
    async def close() -> None:
        watch = adapter.watch()
        descriptors = len(os.listdir("/proc/self/fd"))
        task = await awaited(watch)
        watch.close()
        with pytest.raises(capi.Error, match="the watch is closed"):
            await asyncio.wait_for(task, 60)
        assert len(os.listdir("/proc/self/fd")) == descriptors - 1

    asyncio.run(close())


def test_an_adapter_that_is_closed_ends_those_who_wait_for_its_watches(
    adapter: capi.Adapter,
) -> None:
    async def close() -> None:
        second = capi.Adapter()
        task, other = await awaited(second.watch()), adapter.watch()
        # From another thread, as at the end of a program.
        await asyncio.get_running_loop().run_in_executor(None, second.close)
        with pytest.raises(capi.Error, match="the watch is closed"):
            await asyncio.wait_for(task, 60)
        with other:
            assert not other.changed()

    asyncio.run(close())


def test_a_closed_watch_leaves_alone_who_has_its_descriptor_now(adapter: capi.Adapter) -> None:
    async def take_over() -> None:
        loop, told = asyncio.get_running_loop(), asyncio.Event()
        watch = adapter.watch()
        descriptor = watch.fileno()
        task = await awaited(watch)
        watch.close()
        read_end, write_end = os.pipe()
        assert read_end == descriptor
        loop.add_reader(read_end, told.set)
        task.cancel()
        await asyncio.wait([task])
        os.write(write_end, b"x")
        await asyncio.wait_for(told.wait(), 60)
        assert loop.remove_reader(read_end)
        os.close(read_end)
        os.close(write_end)

    asyncio.run(take_over())


def test_a_watch_may_be_closed_when_its_loop_is_over(adapter: capi.Adapter) -> None:
    loop = asyncio.new_event_loop()
    watch = adapter.watch()
    task = loop.run_until_complete(awaited(watch))
    loop.close()
    watch.close()
    assert not task.done()


def test_a_watch_that_is_forgotten_is_closed(adapter: capi.Adapter) -> None:
    descriptor = adapter.watch().fileno()
    with pytest.raises(OSError):
        os.fstat(descriptor)


def test_a_watch_that_cannot_be_opened_is_an_error_with_errno(adapter: capi.Adapter) -> None:
    with pytest.raises(capi.Error) as failed:
        adapter.watch(capi.Topic(0))
    assert failed.value.errno == errno.EINVAL
    assert str(failed.value) == "there is no watch: Invalid argument"


def test_a_child_of_fork_opens_its_own(adapter: capi.Adapter) -> None:
    watch = adapter.watch(capi.Topic.CONFIG)
    child = os.fork()
    if child == 0:
        code = 1
        try:
            try:
                watch.changed()
            except capi.Error:
                watch.close()
                with adapter.watch(capi.Topic.CONFIG) as own:
                    adapter.config["sip_line_1.display_name"] = "child"
                    code = 0 if own.changed() == capi.Topic.CONFIG else 2
        finally:
            os._exit(code)
    assert os.waitstatus_to_exitcode(os.waitpid(child, 0)[1]) == 0
    # The parent's goes on, although the child has closed its copy.
    assert watch.changed() == capi.Topic.CONFIG
    assert adapter.config["sip_line_1.display_name"] == "child"
    adapter.config["sip_line_1.display_name"] = "parent"
    assert watch.wait(60) == capi.Topic.CONFIG
    watch.close()


def test_a_registration_of_another_process_arrives(
    adapter: capi.Adapter, other: Callable[[str], object]
) -> None:
    with adapter.watch(capi.Topic.LINES) as watch:
        assert not adapter.lines[1].is_registered
        other(
            "import capi\n"
            "with capi.Adapter() as adapter:\n"
            "    adapter.lines[1].publish_registration(2, capi.LineRegStat(registered=1))\n"
            "    adapter.lines[1].phone = 'Ringing'\n"
        )
        while not (adapter.lines[1].is_registered and adapter.lines[1].phone == "Ringing"):
            assert watch.wait(60) == capi.Topic.LINES
    assert adapter.lines[1].registration(2).status_text == "Registered"
    assert list(adapter.lines[1].registrations) == [1, 2, 3, 4, 5]
    assert not adapter.lines[0].is_registered
