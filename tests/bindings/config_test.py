# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
"""Settings by their names."""
import pickle
from typing import Any, Callable

import capi
import pytest

Capictl = Callable[..., str]


def test_a_value_is_what_another_process_has_set(adapter: capi.Adapter, capictl: Capictl) -> None:
    capictl("config", "set", "sip_line_1.display_name", "Hall")
    assert adapter.config["sip_line_1.display_name"] == "Hall"


def test_another_process_sees_what_is_set(adapter: capi.Adapter, capictl: Capictl) -> None:
    adapter.config["sip_line_2.display_name"] = "K\u00fcche"
    assert capictl("config", "get", "sip_line_2.display_name") == "K\u00fcche\n"


def test_numbers_may_be_set_as_numbers_texts_or_names(adapter: capi.Adapter) -> None:
    adapter.config["basic_sip.local_port"] = 5070
    assert adapter.config["basic_sip.local_port"] == "5070"
    assert adapter.config.number("basic_sip.local_port") == 5070
    adapter.config["basic_sip.local_port"] = "5060"
    assert adapter.config.number("basic_sip.local_port") == 5060
    adapter.config["basic_sip.transport_protocol"] = 0
    adapter.config["basic_sip.transport_protocol"] = "TLS"
    assert adapter.config["basic_sip.transport_protocol"] == "2"
    adapter.config["sip_line_1.enable"] = True
    assert adapter.config["sip_line_1.enable"] == "1"


def test_there_are_as_many_keys_as_the_tool_lists(adapter: capi.Adapter, capictl: Capictl) -> None:
    listed = [line.split("\t")[0] for line in capictl("config", "list").splitlines()]
    assert sorted(adapter.config) == sorted(listed)
    assert len(adapter.config) == len(listed) > 300
    values = dict(adapter.config)
    assert values["hw_info.model"] == "QZX-200"
    assert "sip_line_1.enable" in adapter.config
    assert "sip_line_3.enable" not in adapter.config
    assert adapter.config.get("sip_line_3.enable", "none") == "none"


def test_an_unknown_key_is_a_key_error_that_tells_which_may_be_meant(adapter: capi.Adapter) -> None:
    with pytest.raises(KeyError) as reading:
        adapter.config["sip_line_1.display_nam"]
    said = "there is no key sip_line_1.display_nam. Did you mean sip_line_1.display_name?"
    assert str(reading.value) == said
    with pytest.raises(capi.UnknownKey):
        adapter.config["wrong"] = 1


def test_a_value_that_is_not_right_is_refused_and_nothing_is_set(adapter: capi.Adapter) -> None:
    before = adapter.config["basic_sip.rtp_port"]
    with pytest.raises(capi.InvalidValue) as refused:
        adapter.config["basic_sip.rtp_port"] = 99999
    assert refused.value.fault == capi.KeyCheck.OUT_OF_RANGE
    assert "0 to 65535" in str(refused.value)
    assert isinstance(refused.value, ValueError)
    assert adapter.config["basic_sip.rtp_port"] == before


def test_a_refusal_goes_to_another_process_as_it_is(adapter: capi.Adapter) -> None:
    with pytest.raises(capi.InvalidValue) as refused:
        adapter.config["basic_sip.rtp_port"] = 99999
    copy = pickle.loads(pickle.dumps(refused.value))
    assert isinstance(copy, capi.InvalidValue)
    assert str(copy) == str(refused.value)
    assert (copy.fault, copy.function) == (capi.KeyCheck.OUT_OF_RANGE, "capi_keys_check")
    with pytest.raises(capi.Error) as failed:
        adapter.write(capi.VoiceSipLine(), 3)
    again = pickle.loads(pickle.dumps(failed.value))
    assert (str(again), again.lines) == (str(failed.value), failed.value.lines)


def test_what_is_neither_text_nor_whole_number_is_a_type_error(adapter: capi.Adapter) -> None:
    wrong: Any
    for wrong, kind in ((5.5, "float"), (None, "NoneType"), (b"5070", "bytes")):
        for key in ("basic_sip.local_port", "sip_line_1.display_name"):
            before = adapter.config[key]
            with pytest.raises(
                TypeError, match=f"^{key} takes a text or a whole number, not a {kind}$"
            ):
                adapter.config[key] = wrong
            assert adapter.config[key] == before


def test_the_sentence_never_shows_a_secret(adapter: capi.Adapter) -> None:
    with pytest.raises(capi.InvalidValue) as refused:
        adapter.config["sip_line_1.auth_password"] = "sec ret"
    assert "sec" not in str(refused.value).replace("section", "")
    assert refused.value.fault == capi.KeyCheck.WOULD_LOSE_BLANKS


def test_unchecked_the_library_takes_what_it_is_given(adapter: capi.Adapter) -> None:
    adapter.config.set("sip_line_1.display_name", "two words", checked=False)
    assert adapter.config["sip_line_1.display_name"] == "two words"
    adapter.config.set("sip_line_1.display_name", "x" * 400, checked=False)
    assert adapter.config["sip_line_1.display_name"] == "x" * 255


def test_bytes_that_are_no_utf_8_come_and_go_as_they_are(
    adapter: capi.Adapter, capictl: Capictl
) -> None:
    strange = b"caf\xe9\xff".decode("utf-8", "surrogateescape")
    adapter.config.set("sip_line_1.display_name", strange, checked=False)
    assert adapter.config["sip_line_1.display_name"] == strange
    assert capictl("config", "get", "sip_line_1.display_name") == "caf\\xe9\\xff\n"


def test_a_text_with_a_nul_is_refused_and_not_cut(adapter: capi.Adapter) -> None:
    adapter.config["sip_line_1.display_name"] = "whole"
    with pytest.raises(ValueError, match="NUL"):
        adapter.config["sip_line_1.display_name"] = "cut\0here"
    assert adapter.config["sip_line_1.display_name"] == "whole"


def test_the_longest_value_of_all_is_read_whole(adapter: capi.Adapter) -> None:
    longest = max((adapter.config.key(label) for label in adapter.config), key=lambda k: k.capacity)
    adapter.config.set(longest.label, "y" * (longest.capacity - 1), checked=False)
    assert adapter.config[longest.label] == "y" * (longest.capacity - 1)


def test_a_key_tells_what_it_means_and_takes(adapter: capi.Adapter) -> None:
    key = adapter.config.key("basic_sip.transport_protocol")
    assert (key.section, key.name) == ("basic_sip", "option_basic_sip_transport_protocol")
    assert key.names == {2: "tls"}
    assert key.meaning.standard == "RFC 3261"
    assert adapter.config.key("basic_sip.local_port").allowed == "0 to 65535"
    adapter.config.key("basic_sip.local_port").check(5060)
    with pytest.raises(capi.InvalidValue):
        adapter.config.key("basic_sip.local_port").check("many")
    assert adapter.config.key("sip_line_2.auth_password").meaning.is_secret == 1


def test_a_section_is_a_dictionary_of_its_values(adapter: capi.Adapter) -> None:
    adapter.config["sip_line_2.user_name"] = "15551230002"
    section = adapter.config.section("sip_line_2")
    assert section["user_name"] == "15551230002"
    assert set(section) == {
        *("auth_name", "auth_password", "clir_enable", "display_name", "enable", "user_name")
    }
    with pytest.raises(capi.UnknownKey):
        adapter.config.section("sip_line_3")
