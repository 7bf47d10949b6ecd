# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
"""Joining and leaving, errors and log lines, callbacks, threads and forks."""
from __future__ import annotations

import gc
import json
import logging
import os
import pydoc
import subprocess
import sys
import threading
from pathlib import Path
from typing import Any, Callable, List

import capi
import pytest
from capi import functions as c


def run(program: str) -> "subprocess.CompletedProcess[str]":
    return subprocess.run(
        [sys.executable, "-c", program], capture_output=True, text=True, check=False
    )


@pytest.mark.usefixtures("device")
def test_without_an_adapter_joining_is_an_error_that_says_so() -> None:
    program = "import capi\ntry: capi.Adapter()\nexcept capi.Error as e: print(e)"
    assert run(program).stdout == "there is no adapter: NO_LOCKS\n"


@pytest.mark.usefixtures("device")
def test_a_program_of_python_starts_an_adapter() -> None:
    program = (
        "import capi\n"
        "with capi.Adapter.start('/quorbleconf/config/voice.settings') as adapter:\n"
        "    print(adapter.config['sip_line_1.display_name'], adapter.presence.state)\n"
        # Anew, and so without what was there before.
        "with capi.Adapter.start('/quorbleconf/config/network.settings') as adapter:\n"
        "    print(adapter.config['sip_line_1.display_name'], adapter.config['hw_info.model'])\n"
        # This one leaves nothing that is published.
        "try: capi.Adapter.start('/missing')\n"
        "except capi.Error as e: print(e.function, e, e.errno)\n"
        "try: capi.Adapter.start('/tmp')\n"
        "except capi.Error as e: print(e)\n"
    )
    assert run(program).stdout == (
        "Frontdesk 3\n QZX-200\n"
        "capi_init_settings_from_file /missing: No such file or directory 2\n"
        "/tmp: Is a directory\n"
    )


def test_who_has_joined_cannot_start_another(adapter: capi.Adapter) -> None:
    with pytest.raises(capi.Error, match="cannot start one"):
        capi.Adapter.start()
    assert adapter.config["hw_info.model"] == "QZX-200"


def test_a_closed_adapter_says_so_and_another_goes_on(adapter: capi.Adapter) -> None:
    second = capi.Adapter()
    second.close()
    second.close()
    uses: List[Callable[[], object]] = [
        lambda: second.config["hw_info.model"],
        lambda: second.config.set("hw_info.model", "x"),
        lambda: list(second.calls),
        lambda: list(second.messages),
        lambda: second.read(capi.VoiceBasic),
        lambda: second.lines[0].phone,
        second.watch,
        second.snapshot,
    ]
    for use in uses:
        with pytest.raises(capi.Error, match="the adapter is closed"):
            use()
    assert adapter.config["hw_info.model"] == "QZX-200"


@pytest.mark.usefixtures("capictl")
def test_it_may_be_left_and_joined_again() -> None:
    for _ in range(3):
        with capi.Adapter() as adapter:
            assert adapter.serial == "2604000123456"


def test_the_device_tells_of_itself_and_its_sim(adapter: capi.Adapter) -> None:
    assert adapter.imei == "350000000000017"
    assert adapter.firmware_version == "v2.4.1"
    assert adapter.hardware(capi.HardwareInfoIndex.MAC_PREFIX) == "0A3F7C"
    assert adapter.sim(capi.SimcardInfoIndex.IMSI) == "001010123456789"
    assert adapter.carrier is not None and adapter.carrier.mcc == "001"
    assert capi.call_state_name(0) == "Unknown"


def test_a_signal_has_up_to_three_texts(adapter: capi.Adapter) -> None:
    posted = Path("/tmp/posted_signals")
    posted.write_text("")
    adapter.post("alone")
    adapter.post("two", "a", "b")
    adapter.post("three", "a", "b", "c")
    with pytest.raises(ValueError, match="^a signal has room for three texts, not 4$"):
        adapter.post("four", *"abcd")
    simple, *others = posted.read_text().splitlines()
    assert simple == "signal simple alone"
    assert ["two" in others[0], "three" in others[1], len(others)] == [True, True, 2]


def test_log_lines_reach_logging_at_their_levels(
    adapter: capi.Adapter, caplog: pytest.LogCaptureFixture
) -> None:
    with caplog.at_level(logging.DEBUG, logger="capi"):
        adapter.config["sip_line_1.display_name"] = "logged"
        with pytest.raises(capi.Error):
            adapter.write(capi.VoiceSipLine(), 3)
    said = [(record.levelno, record.message.partition("]")[2].strip()) for record in caplog.records]
    assert (logging.INFO, "[sip_line_1][option_sip_line_display_name][logged]") in said
    assert (logging.WARNING, "line index-3, error") in said


def test_no_password_is_logged(adapter: capi.Adapter, caplog: pytest.LogCaptureFixture) -> None:
    with caplog.at_level(logging.DEBUG, logger="capi"):
        adapter.config["sip_line_1.auth_password"] = "hunter2ff"
        buffer = capi.ffi.new("char[]", 64)
        key = adapter.config.key("sip_line_1.auth_password")
        assert c.capi_config_get(key.section, key.name, buffer, 64) == 0
    assert capi.ffi.string(buffer) == b"hunter2ff"
    assert "hunter2ff" not in caplog.text


def test_a_handler_of_the_log_may_use_the_library(adapter: capi.Adapter) -> None:
    seen: List[str] = []

    class Handler(logging.Handler):
        def emit(self, record: logging.LogRecord) -> None:
            # This takes the lock that was held when the line was written.
            line = adapter.snapshot()["sip_line_2.display_name"]
            c.capi_get_device_imei(capi.ffi.new("char[]", 32), 32)
            seen.append(line)

    handler = Handler(level=logging.WARNING)
    logging.getLogger("capi").addHandler(handler)
    try:
        with pytest.raises(capi.Error):
            adapter.write(capi.VoiceSipLine(), 3)
    finally:
        logging.getLogger("capi").removeHandler(handler)
    assert len(seen) == 1


def test_an_error_is_that_of_the_call_whatever_a_handler_of_the_log_does(
    adapter: capi.Adapter,
) -> None:
    class Handler(logging.Handler):
        def emit(self, record: logging.LogRecord) -> None:
            c.capi_live_get("hw_info", "option_hw_info_model", capi.ffi.new("char[]", 32), 32)

    handler = Handler(level=logging.WARNING)
    logging.getLogger("capi").addHandler(handler)
    try:
        with pytest.raises(capi.Error, match="line index-3, error") as failed:
            adapter.write(capi.VoiceSipLine(), 3)
    finally:
        logging.getLogger("capi").removeHandler(handler)
    assert failed.value.function == "capi_set_voice_sip_line"
    assert len(failed.value.lines) == 1


def test_what_is_refused_without_a_line_of_the_log_is_named(
    adapter: capi.Adapter, tmp_path: Path
) -> None:
    def refused(use: Callable[[], object]) -> str:
        with pytest.raises(capi.Error) as failed:
            use()
        return str(failed.value)

    line, basic = capi.VoiceSipLine, capi.VoiceBasic
    assert refused(lambda: adapter.read(line, 3)) == "there is no VoiceSipLine 3"
    assert refused(lambda: adapter.read(line)) == "there is no VoiceSipLine 0"
    assert refused(lambda: adapter.read(basic, 2)) == "there is no VoiceBasic 2"
    stack = capi.VoiceStack()
    assert refused(lambda: adapter.write(stack, 9)) == "there is no VoiceStack 9"
    on_stack = "there is no line 2 on a voice stack 6"
    assert refused(lambda: adapter.lines[1].registration(6)) == on_stack
    large = capi.Message()
    large.TextSize = 39103
    room = "a message has room for 39102 bytes, not 39103"
    assert refused(lambda: adapter.messages.sent.add(large)) == room
    file = tmp_path / "missing" / "voip.conf"
    written = refused(lambda: adapter.snapshot().write_stack_file(1, file))
    assert written == f"{file}: No such file or directory"
    # What that left in errno is no reason for the next failure.
    with pytest.raises(capi.Error) as failed:
        adapter.read(line, 3)
    assert failed.value.errno == 0


def test_a_voice_stacks_file_that_cannot_be_made_is_told_with_the_reason(
    adapter: capi.Adapter,
) -> None:
    file = Path("/tmp/vosip.conf.voip")
    file.unlink(missing_ok=True)
    file.mkdir()
    try:
        with pytest.raises(capi.Error, match="voice stacks of type 1: Is a directory$"):
            adapter.write_stack_file(1)
    finally:
        file.rmdir()


@pytest.mark.usefixtures("capictl")
def test_what_needs_the_librarys_record_says_so_without_it() -> None:
    program = (
        "import capi\n"
        "adapter = capi.Adapter()\n"
        "capi.functions.capi_uninit()\n"
        "for use in (lambda: adapter.config['hw_info.model'], lambda: adapter.read(capi.VoiceBasic),\n"
        "            lambda: adapter.config.set('hw_info.model', 'x'), adapter.snapshot,\n"
        "            lambda: adapter.config.set('hw_info.model', 'x', checked=False),\n"
        "            adapter.vendor, lambda: adapter.lines[0].registration(1),\n"
        "            lambda: adapter.presence, lambda: adapter.write_stack_file(1)):\n"
        "    try: use()\n"
        "    except capi.Error as error: print(error)\n"
    )
    assert run(program).stdout == "this process is attached to no adapter\n" * 9


def test_what_a_callback_lets_the_library_log_reaches_logging_in_its_place(
    adapter: capi.Adapter, caplog: pytest.LogCaptureFixture
) -> None:
    from capi._library import callback

    adapter.calls.clear()
    adapter.calls.add(0, capi.CallLogRecord())

    def fail_within(_call: Any, _user: Any) -> int:
        assert c.capi_set_voice_sip_line(capi.VoiceSipLine(), 3) == -1
        return 0

    walk = callback("capi_call_log_cb", fail_within)
    with caplog.at_level(logging.WARNING, logger="capi"):
        assert c.capi_voip_call_log_dump(0, walk, None) == 0
        # The lines of one call are not told as another's reason.
        with pytest.raises(capi.Error, match=r"^capi_voip_call_log_dump\(\) failed$"):
            capi.check(-1)
        adapter.config.set("hw_info.model", "QZX-200")
    said = [record.message.partition("]")[2].strip() for record in caplog.records]
    assert said == ["line index-3, error"]


def test_lines_of_calls_that_others_make_reach_logging_in_their_order(
    adapter: capi.Adapter, caplog: pytest.LogCaptureFixture
) -> None:
    from capi._library import _found

    record = capi.VoiceSipLine()._pointer
    with caplog.at_level(logging.WARNING, logger="capi"):
        for number in (3, 4):
            _found("capi_set_voice_sip_line")(record, number)
        with pytest.raises(capi.Error, match="line index-5, error") as failed:
            adapter.write(capi.VoiceSipLine(), 5)
    said = [each.message.partition("]")[2].strip() for each in caplog.records]
    assert said == [f"line index-{number}, error" for number in (3, 4, 5)]
    assert len(failed.value.lines) == 1


def test_what_a_callback_raises_is_raised_by_the_call(adapter: capi.Adapter) -> None:
    from capi._library import callback

    adapter.calls.clear()
    adapter.calls.add(0, capi.CallLogRecord())

    def fail(_call: Any, _user: Any) -> int:
        raise ZeroDivisionError("in a callback")

    walk = callback("capi_call_log_cb", fail)
    with pytest.raises(ZeroDivisionError, match="in a callback"):
        c.capi_voip_call_log_dump(0, walk, None)
    # Nothing of it is left for the next call.
    assert len(adapter.calls) == 1


@pytest.mark.usefixtures("adapter")
def test_functions_of_c_take_texts_and_give_results() -> None:
    buffer = capi.ffi.new("char[]", 64)
    assert c.capi_config_get("hw_info", "option_hw_info_model", buffer, 64) == 0
    assert capi.ffi.string(buffer) == b"QZX-200"
    assert c.capi_config_get("nothing", "nothing", buffer, 64) == -1
    with pytest.raises(capi.Error, match="capi_config_get"):
        capi.check(-1)


@pytest.mark.usefixtures("adapter")
def test_functions_of_c_take_records() -> None:
    presence = capi.Presence()
    assert c.capi_get_presence(presence) == 0
    assert presence.state == capi.PresenceState.PUBLISHED
    line = capi.VoiceSipLine()
    assert c.capi_get_voice_sip_line(line, 2) == 0
    assert line.display_name == "Fax"
    snapshot, generation = capi.SharedRecord(), capi.ffi.new("uint64_t *")
    assert c.capi_live_refresh(snapshot, generation) == 1
    # A record within another one is passed as what lies there.
    assert c.capi_get_voice_sip_line(snapshot.sip_line[0], 2) == 0
    assert [each.display_name for each in snapshot.sip_line] == ["Fax", "Fax"]


def test_while_a_call_waits_other_threads_go_on(
    adapter: capi.Adapter, other: Callable[[str], Any]
) -> None:
    adapter.config["sip_line_1.display_name"] = "before"
    holder = other(
        "import capi, sys\n"
        "adapter = capi.Adapter()\n"
        "capi.functions.capi_critical_section_lock(capi.LockId.CONF_SHM)\n"
        "print('held', flush=True)\n"
        "sys.stdin.readline()\n"
        "capi.functions.capi_critical_section_unlock(capi.LockId.CONF_SHM)\n"
    )
    assert holder.says() == "held"
    begins = threading.Event()

    def set_value() -> None:
        begins.set()
        adapter.config["sip_line_1.display_name"] = "after"

    waiter = threading.Thread(target=set_value)
    waiter.start()
    begins.wait()
    for _ in range(100):  # these take no lock
        assert adapter.config.key("sip_line_1.display_name").allowed
    assert waiter.is_alive()
    holder.tell("go on")
    waiter.join()
    assert adapter.config["sip_line_1.display_name"] == "after"


def test_threads_have_errors_of_their_own(adapter: capi.Adapter) -> None:
    wrong: List[str] = []

    def fail(number: int) -> None:
        for _ in range(200):
            try:
                adapter.write(capi.VoiceSipLine(), number)
            except capi.Error as error:
                if f"line index-{number}, error" not in str(error) or len(error.lines) != 1:
                    wrong.append(str(error))

    threads = [threading.Thread(target=fail, args=(number,)) for number in range(3, 7)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert wrong == []


def test_a_child_of_fork_goes_on_with_the_adapter(adapter: capi.Adapter) -> None:
    child = os.fork()
    if child == 0:
        code = 1
        try:
            adapter.config["sip_line_1.display_name"] = "child"
            code = 0
        finally:
            os._exit(code)
    assert os.waitstatus_to_exitcode(os.waitpid(child, 0)[1]) == 0
    assert adapter.config["sip_line_1.display_name"] == "child"


def test_a_loop_leaves_no_descriptor_and_no_memory_behind(adapter: capi.Adapter) -> None:
    def use() -> None:
        with adapter.watch() as watch:
            adapter.config["sip_line_1.display_name"] = "again"
            assert watch.changed()
        list(adapter.calls)
        list(adapter.messages)
        adapter.snapshot().changes_since_start()

    def objects() -> int:
        gc.collect()
        return len(gc.get_objects())

    use()
    descriptors, before = len(os.listdir("/proc/self/fd")), objects()
    for _ in range(50):
        use()
    assert len(os.listdir("/proc/self/fd")) == descriptors
    assert objects() - before < 50


def test_help_reads_like_the_reference() -> None:
    def told(thing: object) -> str:
        return pydoc.plain(pydoc.render_doc(thing))

    assert "Results. 0 is success and -1 failure" in told(capi)
    assert "Copies a whole record out" in told(c.capi_live_read)
    assert "int capi_live_read(int kind, int number, void *record, size_t size)" in told(
        c.capi_live_read
    )
    assert "Locks: All calls but the six that always fail take lock 0" in told(
        c.capi_set_voice_basic
    )
    assert "seconds since the epoch, 0 is unknown" in told(capi.LineRegStat)
    assert "LINES: registrations, telephones, published blocks" in told(capi.Topic)
    # A method has what the header says of the function that it stands on.
    assert "Writes the configuration file of a voice stack: type 0" in told(capi.Adapter)
    assert "Takes no lock." in told(capi.Adapter.watch)
    assert "Tells of changes from now on" in told(capi.Adapter.watch)
    for name in capi.__all__:
        assert hasattr(capi, name), name
    for function in (getattr(c, name) for name in dir(c) if name.startswith("capi")):
        assert function.__doc__


def test_the_functions_tell_which_of_the_headers_they_leave_out() -> None:
    description = json.loads((Path(capi.__file__).parents[2] / "capi.json").read_text())
    told = c.__doc__ or ""
    missing = {each["name"]: each["header"] for each in description["functions"]}
    for name in [name for name in missing if hasattr(c, name)]:
        del missing[name]
    assert "capiv2_log_print()" in told and missing.pop("capiv2_log_print") == "capi/log.h"
    left_out = told.partition("capi/carrier.h:")[0]
    assert missing and [name for name, header in missing.items() if header not in left_out] == []


def test_without_an_adapter_log_lines_reach_logging_as_well() -> None:
    program = (
        "import logging, sys, capi\n"
        "logging.basicConfig(stream=sys.stdout, format='%(name)s %(levelname)s')\n"
        "capi.functions.capi_set_voice_sip_line(capi.VoiceSipLine()._pointer, 3)\n"
    )
    told = run(program)
    assert told.stdout == "capi WARNING\n"
    assert told.stderr == ""
