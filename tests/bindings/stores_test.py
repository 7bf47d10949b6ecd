# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
"""The call log and the short messages as iterators."""
import threading
from datetime import datetime, timezone
from pathlib import Path
from typing import Any, Callable, List, Type

import capi
import pytest
from capi import _stores

Capictl = Callable[..., str]


@pytest.fixture(autouse=True)
def start_empty(adapter: capi.Adapter) -> None:
    adapter.calls.clear()
    adapter.messages.received.clear()
    adapter.messages.sent.clear()


def message(data: bytes, **members: Any) -> capi.Message:
    made = capi.Message(**members)
    made.data = data
    return made


def test_calls_come_from_the_newest_to_the_oldest(adapter: capi.Adapter, capictl: Capictl) -> None:
    for kind, number in ((0, "1"), (1, "2"), (0, "3")):
        adapter.calls.add(kind, capi.CallLogRecord(number=number, calltimestart=1700000000))
    assert [call.number for call in adapter.calls] == ["3", "2", "1"]
    assert [call.number for call in reversed(adapter.calls)] == ["1", "2", "3"]
    assert [call.number for call in adapter.calls.of_type(0)] == ["3", "1"]
    assert [call.number for call in adapter.calls.of_type(1)] == ["2"]
    assert [call.number for call in adapter.calls.of_type(2)] == []
    for wrong in (-1, 3):
        with pytest.raises(ValueError):
            adapter.calls.of_type(wrong)
    assert len(adapter.calls) == 3
    assert len(capictl("calls", "list").splitlines()) == 3


def test_a_call_tells_its_times_and_statistics(adapter: capi.Adapter) -> None:
    call = capi.CallLogRecord(calltimestart=1700000000, calltimeend=1700000060)
    call.statistics.PacketsLost = 7
    adapter.calls.add(2, call)
    (stored,) = adapter.calls
    assert stored.start == datetime(2023, 11, 14, 22, 13, 20, tzinfo=timezone.utc)
    assert stored.end is not None and stored.start is not None
    assert (stored.end - stored.start).total_seconds() == 60
    assert stored.connect is None
    assert stored.statistics.PacketsLost == 7


def test_times_go_further_than_a_time_t_of_32_bits(monkeypatch: pytest.MonkeyPatch) -> None:
    class Narrow(datetime):
        @classmethod
        def fromtimestamp(cls: Type[datetime], *_: Any) -> Any:
            raise OverflowError("timestamp out of range for platform time_t")

    monkeypatch.setattr(_stores, "datetime", Narrow)
    latest = datetime(2106, 2, 7, 6, 28, 15, tzinfo=timezone.utc)
    assert capi.Call(calltimestart=(1 << 32) - 1).start == latest


def test_calls_are_removed_one_by_one_by_type_or_all(adapter: capi.Adapter) -> None:
    for kind in (0, 0, 1, 2):
        adapter.calls.add(kind, capi.CallLogRecord(number=str(kind)))
    adapter.calls.delete(adapter.calls.of_type(0)[0])
    assert [call.number for call in adapter.calls] == ["2", "1", "0"]
    adapter.calls.clear(1)
    adapter.calls.clear(1)  # where there are none that is no failure
    assert [call.number for call in adapter.calls] == ["2", "0"]
    adapter.calls.clear()
    assert list(adapter.calls) == []


def add_calls(adapter: capi.Adapter, *numbers: str) -> None:
    for number in numbers:
        call = capi.CallLogRecord(number=number, calltimestart=1700000000 + int(number))
        adapter.calls.add(0, call)


def numbers_of(adapter: capi.Adapter) -> str:
    forwards = [call.number for call in adapter.calls]
    assert [call.number for call in reversed(adapter.calls)] == forwards[::-1]
    return " ".join(forwards)


def test_a_call_that_is_deleted_twice_leaves_the_log_whole(adapter: capi.Adapter) -> None:
    add_calls(adapter, "1", "2")
    newest = next(iter(adapter.calls))
    adapter.calls.delete(newest)
    for _ in range(3):
        with pytest.raises(capi.Error, match=r"^the call in node 1 is no longer in the log$"):
            adapter.calls.delete(newest)
    assert numbers_of(adapter) == "1"
    add_calls(adapter, "3")
    assert numbers_of(adapter) == "3 1"


def test_a_call_that_another_process_has_deleted_is_an_error_and_takes_no_other_with_it(
    adapter: capi.Adapter, capictl: Capictl
) -> None:
    add_calls(adapter, "1", "2")
    newest = next(iter(adapter.calls))
    capictl("calls", "delete", str(newest.index))
    with pytest.raises(capi.Error, match="no longer in the log"):
        adapter.calls.delete(newest)
    assert numbers_of(adapter) == "1"
    # By now the node is another call's.
    while next(iter(adapter.calls)).index != newest.index:
        add_calls(adapter, "3")
    before = numbers_of(adapter)
    with pytest.raises(capi.Error, match="no longer in the log"):
        adapter.calls.delete(newest)
    assert numbers_of(adapter) == before


def test_a_call_of_a_log_that_was_cleared_since_takes_no_other_with_it(
    adapter: capi.Adapter,
) -> None:
    add_calls(adapter, "1")
    (stale,) = adapter.calls
    adapter.calls.clear()
    add_calls(adapter, "2")
    (other,) = adapter.calls
    assert (other.index, other.sequence) == (stale.index, stale.sequence)
    with pytest.raises(capi.Error, match="no longer in the log"):
        adapter.calls.delete(stale)
    assert numbers_of(adapter) == "2"


def test_a_record_that_never_was_a_call_of_the_log_deletes_none(adapter: capi.Adapter) -> None:
    add_calls(adapter, "1", "2")
    kinds = range(capi.constants.CALL_LOG_TYPES)
    for record in (
        capi.CallLogRecord(),
        *(capi.CallLogRecord(index=7, calltype=kind) for kind in kinds),
        capi.CallLogRecord(index=7, calltype=0xFFFFFFFF),  # a free node
        capi.CallLogRecord(index=capi.constants.CALL_LOG_NODES),
    ):
        with pytest.raises(capi.Error):
            adapter.calls.delete(record)
    assert numbers_of(adapter) == "2 1"


def test_threads_that_delete_the_same_call_leave_the_log_whole(adapter: capi.Adapter) -> None:
    add_calls(adapter, *"12345678")
    calls = list(adapter.calls)[:-1]
    deleted: List[str] = []

    def delete_all() -> None:
        for call in calls:
            try:
                adapter.calls.delete(call)
                deleted.append(call.number)
            except capi.Error:
                pass  # another one was faster

    threads = [threading.Thread(target=delete_all) for _ in range(4)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert sorted(deleted) == list("2345678")
    assert numbers_of(adapter) == "1"


def test_a_damaged_call_log_is_an_error_with_the_line_that_says_why(adapter: capi.Adapter) -> None:
    log = Path("/quorbleconf/nv/voip_call_log")
    content = log.read_bytes()
    log.write_bytes(b"no call log" + content[11:])
    with pytest.raises(capi.Error, match="failure check call log count value"):
        list(adapter.calls)
    with pytest.raises(capi.Error):
        adapter.calls.add(7, capi.CallLogRecord())
    log.write_bytes(content)
    assert list(adapter.calls) == []


def test_messages_come_from_the_oldest_to_the_newest_received_before_sent(
    adapter: capi.Adapter, capictl: Capictl
) -> None:
    adapter.messages.send("+15551230002", "gr\u00fcn")
    for text in (b"one", b"two"):
        adapter.messages.received.add(message(text, RemoteNumber="5550100"))
    assert [each.text for each in adapter.messages] == ["one", "two", "gr\u00fcn"]
    assert len(adapter.messages) == 3
    (sent,) = adapter.messages.sent
    assert (sent.RemoteNumber, sent.status) == ("+15551230002", capi.constants.SMS_STATUS_SENDING)
    assert sent.time is not None and sent.time.tzinfo == timezone.utc
    assert "gr\u00fcn" in capictl("sms", "list", "sent")


def test_a_message_is_found_read_and_removed_by_its_id(adapter: capi.Adapter) -> None:
    box = adapter.messages.received
    first = box.add(message(b"first"))
    second = box.add(message(b"second", LastTime=17))
    assert (first, second) == (1, 2)
    assert box[second].text == "second" and not box[second].is_read
    box.mark_read(second)
    assert box[second].is_read and not box[first].is_read
    assert box[second].LastTime > 17
    box.mark_read(second, False)
    assert not box[second].is_read
    box.delete(first)
    with pytest.raises(KeyError):
        box[first]
    with pytest.raises(capi.NoMessage, match="there is no message 1$"):
        box.mark_read(first)
    assert [each.id for each in box] == [2]


def test_a_file_of_messages_that_cannot_be_used_is_no_missing_message(
    adapter: capi.Adapter,
) -> None:
    box = adapter.messages.received
    box.add(message(b"there"))
    file, aside = Path("/quorbleconf/nv/sm_recv"), Path("/quorbleconf/nv/aside")
    file.rename(aside)
    file.mkdir()
    try:
        with pytest.raises(capi.Error) as failed:
            box[1]
        assert not isinstance(failed.value, KeyError)
        assert failed.value.lines
    finally:
        file.rmdir()
        aside.rename(file)
    assert box[1].text == "there"


def test_a_text_is_what_its_length_says_whatever_bytes_it_has(adapter: capi.Adapter) -> None:
    box = adapter.messages.received
    strange = b"a\0b\xff"
    box.add(message(strange))
    longest = b"z" * capi.constants.SMS_TEXT_CAPACITY
    box.add(message(longest))
    first, second = box
    assert first.data == strange
    assert first.text.encode("utf-8", "surrogateescape") == strange
    assert second.data == longest


def test_a_message_that_is_made_of_a_text_is_stored_with_it(
    adapter: capi.Adapter, capictl: Capictl
) -> None:
    box = adapter.messages.received
    box.add(capi.Message("hello", RemoteNumber="5551"))
    assert (box[1].text, box[1].RemoteNumber) == ("hello", "5551")
    assert (box[1].TextLen, box[1].TextSize) == (5, 5)
    assert "hello" in capictl("sms", "list", "received")
    again = box[1]
    again.text = "a\0b \u20ac"
    assert box[box.add(again)].text == "a\0b \u20ac"
    again.text = ""
    assert box[box.add(again)].data == b""


def test_a_text_without_its_size_is_refused_and_not_dropped(adapter: capi.Adapter) -> None:
    box = adapter.messages.received
    with pytest.raises(ValueError, match="TextSize is 0"):
        box.add(capi.SmsRecord(RemoteNumber="5551", Text="hello"))
    assert len(box) == 0
    box.add(capi.SmsRecord(Text="hello", TextLen=5, TextSize=5))
    assert box[1].text == "hello"


def test_a_message_takes_no_more_than_it_has_room_for() -> None:
    made = capi.Message("kept")
    with pytest.raises(ValueError, match="has room for 39102 bytes, not 39103"):
        made.data = bytes(capi.constants.SMS_TEXT_CAPACITY + 1)
    assert made.text == "kept"


def test_bytes_of_another_encoding_are_sent_as_they_are(adapter: capi.Adapter) -> None:
    encoded = "gr\u00fcn".encode("utf-16-be")
    adapter.messages.send("+15551230002", encoded, 8)
    (sent,) = adapter.messages.sent
    assert (sent.data, sent.TextType) == (encoded, 8)


def test_a_length_that_lies_reads_no_more_than_is_stored(adapter: capi.Adapter) -> None:
    box = adapter.messages.received
    record = message(b"four")
    record.TextLen = 1 << 31
    box.add(record)
    assert [each.data for each in box] == [b"four"]
    assert box[1].data == b"four"


def test_what_cannot_be_sent_is_an_error(adapter: capi.Adapter) -> None:
    with pytest.raises(capi.Error):
        adapter.messages.send("+15551230002", "x" * (capi.constants.SMS_MAX_TEXT + 1))
    assert list(adapter.messages.sent) == []


def test_an_iteration_may_change_what_it_goes_through(adapter: capi.Adapter) -> None:
    box = adapter.messages.received
    for number in range(5):
        box.add(message(b"%d" % number))
    for each in box:
        box.delete(each.id)
    assert len(box) == 0
