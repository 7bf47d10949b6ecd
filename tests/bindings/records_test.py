# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
"""Records as objects, and snapshots."""
import copy
from pathlib import Path
from typing import Any, Callable, List

import capi
import pytest
from capi._adapter import _KIND_OF

Capictl = Callable[..., str]


def test_members_have_names_and_types() -> None:
    line = capi.VoiceSipLine(display_name="Hall", enable=1)
    assert (line.display_name, line.user_name, line.enable) == ("Hall", "", 1)
    line.user_name = "u"
    assert line.to_dict() == {
        "display_name": "Hall",
        "user_name": "u",
        "auth_name": "",
        "auth_password": "",
        "enable": 1,
        "clir_enable": 0,
    }
    with pytest.raises(TypeError, match="no member colour"):
        capi.VoiceSipLine(colour="red")


def test_a_misspelled_member_is_refused() -> None:
    shared = capi.SharedRecord()
    misspelled: List[Any] = [
        *(getattr(capi.records, name)() for name in capi.records.__all__),
        *(shared.sip_line, shared.sip_line[0], shared.shared_call_state[1].call[2]),
        *(capi.Call(), capi.Message("text"), capi.Snapshot()),
        *(capi.VoiceSipLine().copy(), copy.deepcopy(shared), capi.Snapshot().copy()),
    ]
    for each in misspelled:
        with pytest.raises(AttributeError, match="dispay_name"):
            each.dispay_name = "x"


def test_a_text_that_has_no_room_is_refused_and_not_cut() -> None:
    cell = capi.LteNetInfo(mcc="1234567")
    with pytest.raises(ValueError, match="room for 7 bytes, not 8"):
        cell.mcc = "12345678"
    with pytest.raises(ValueError, match="NUL"):
        cell.mcc = "1\0"
    assert cell.mcc == "1234567"


def test_a_text_without_a_terminator_ends_with_its_array() -> None:
    cell = capi.LteNetInfo()
    capi.ffi.buffer(cell._pointer.mcc)[:] = b"12345678"
    cell.mnc = "01"
    assert cell.mcc == "12345678"


def test_a_shorter_text_leaves_nothing_of_the_longer_one() -> None:
    cell = capi.LteNetInfo(mcc="1234567")
    cell.mcc = "1"
    assert bytes(capi.ffi.buffer(cell._pointer.mcc)) == b"1" + bytes(7)


def test_a_number_that_does_not_fit_is_refused() -> None:
    line = capi.VoiceSipLine()
    with pytest.raises(OverflowError):
        line.enable = 1 << 31
    with pytest.raises(OverflowError):
        capi.CallLogRecord().endpt = -1


def test_records_and_arrays_within_a_record_are_views_that_keep_it() -> None:
    state = capi.SharedCallState().call
    state[2].number = "5550100"
    assert [call.number for call in state] == ["", "", "5550100"]
    assert state[-1].number == "5550100"
    with pytest.raises(IndexError):
        state[3]
    dials = capi.VoiceSpeedDial()
    dials.entry[9] = "911"
    assert list(dials.entry) == [""] * 9 + ["911"]
    dials.entry = [str(number) for number in range(10)]
    assert dials.entry[4:6] == ["4", "5"]
    with pytest.raises(ValueError, match="has 10 entries, not 2"):
        dials.entry = ["1", "2"]


def test_arrays_of_bytes_are_bytes() -> None:
    summary = capi.SharedRegSummary(opaque=bytes(range(72)))
    assert summary.opaque == bytes(range(72))
    with pytest.raises(ValueError, match="takes 72 bytes, not 1"):
        summary.opaque = b"x"


def test_records_of_equal_values_are_equal_and_copies_are_apart() -> None:
    line = capi.VoiceSipLine(display_name="a")
    other = line.copy()
    assert other == line
    other.display_name = "b"
    assert other != line and line.display_name == "a"
    assert capi.VoiceSipLine() != capi.VoiceSwitch()


@pytest.mark.parametrize("duplicate", [copy.copy, copy.deepcopy])
def test_what_the_copy_module_copies_is_apart(
    adapter: capi.Adapter, duplicate: Callable[[Any], Any]
) -> None:
    line = capi.VoiceSipLine(display_name="a")
    other = duplicate(line)
    assert isinstance(other, capi.VoiceSipLine) and other == line
    other.display_name = "b"
    assert line.display_name == "a"
    adapter.config["sip_line_1.display_name"] = "before"
    snapshot = adapter.snapshot()
    kept, part = duplicate(snapshot), duplicate(snapshot.sip_line[0])
    adapter.config["sip_line_1.display_name"] = "after"
    assert not kept.changes_to(snapshot) and kept.generation == snapshot.generation
    assert snapshot.refresh()
    assert kept["sip_line_1.display_name"] == part.display_name == "before"


def test_what_is_printed_of_a_record_shows_no_password() -> None:
    line = capi.VoiceSipLine(display_name="Hall", auth_password="tulip-47")
    assert "display_name='Hall'" in repr(line)
    assert "tulip" not in repr(line)


def test_a_record_is_read_and_written_whole(adapter: capi.Adapter, capictl: Capictl) -> None:
    line = adapter.read(capi.VoiceSipLine, 2)
    line.display_name = "Fax machine"
    line.enable = 1
    adapter.write(line, 2)
    assert capictl("config", "get", "sip_line_2.display_name", "sip_line_2.enable") == (
        "sip_line_2.display_name\tFax machine\nsip_line_2.enable\t1\n"
    )
    basic = adapter.read(capi.VoiceBasic)
    basic.local_port = 5062
    adapter.write(basic)
    assert adapter.read(capi.VoiceBasic) == basic


def test_a_number_out_of_range_is_an_error_with_the_line_of_the_log(adapter: capi.Adapter) -> None:
    with pytest.raises(capi.Error) as failed:
        adapter.write(capi.VoiceSipLine(), 3)
    assert "line index-3, error" in str(failed.value)
    assert [line.level for line in failed.value.lines] == [4]
    assert failed.value.function == "capi_set_voice_sip_line"
    assert failed.value.result == -1
    with pytest.raises(capi.Error, match="^there is no VoiceSipLine 3$"):
        adapter.read(capi.VoiceSipLine, 3)


def test_only_what_the_library_sets_as_a_whole_is_written(adapter: capi.Adapter) -> None:
    with pytest.raises(TypeError, match="SimInfo is not set as a whole"):
        adapter.write(capi.SimInfo())
    with pytest.raises(TypeError, match="no part of the shared record"):
        adapter.read(capi.CallLogRecord)


def test_every_part_of_the_shared_record_is_read_by_its_class(adapter: capi.Adapter) -> None:
    snapshot = adapter.snapshot()
    for kind, number in _KIND_OF.items():
        part = getattr(snapshot, number.name.lower())
        is_array = isinstance(part, capi.Array)
        assert adapter.read(kind, 1 if is_array else 0) == (part[0] if is_array else part)
    # All but two blocks and a text, which are no records.
    assert len(_KIND_OF) == len(capi.RecordKind) - 3
    assert len(adapter.vendor()) == 160 and len(adapter.ims_voice()) == 484


def test_a_snapshot_stays_as_it_was_until_it_is_refreshed(adapter: capi.Adapter) -> None:
    adapter.config["sip_line_1.display_name"] = "before"
    snapshot = adapter.snapshot()
    generation = snapshot.generation
    assert not snapshot.refresh()
    adapter.config["sip_line_1.display_name"] = "after"
    assert snapshot["sip_line_1.display_name"] == "before"
    assert snapshot.refresh() and snapshot.generation > generation
    assert snapshot.sip_line[0].display_name == "after"


def test_two_snapshots_tell_what_differs(adapter: capi.Adapter) -> None:
    adapter.config["sip_line_1.display_name"] = "before"
    before = adapter.snapshot()
    same = before.copy()
    adapter.config["sip_line_1.display_name"] = "after"
    assert before.changes_to(adapter.snapshot()) == [
        capi.Change("sip_line_1.display_name", "before", "after")
    ]
    assert before.changes_to(same) == []
    assert capi.Change("hw_info.model", "", "QZX-200") in adapter.snapshot().changes_since_start()


def test_a_snapshot_is_written_as_a_voice_stack_has_it(
    adapter: capi.Adapter, tmp_path: Path
) -> None:
    adapter.config["sip_line_1.display_name"] = "Porch"
    adapter.snapshot().write_stack_file(1, tmp_path / "voip.conf")
    assert "displayname=Porch\n" in (tmp_path / "voip.conf").read_text()
    with pytest.raises(capi.Error):
        adapter.snapshot().write_stack_file(1, tmp_path / "missing" / "voip.conf")
