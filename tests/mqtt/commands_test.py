# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
"""Commands to an adapter through a broker."""
import fcntl
import json
import os
import signal
import subprocess
import time
import unittest
import uuid

import fleet
from fleet import TREE, Bridge, Consumer, Proxy, capictl, set_values

VSDK = "/usr/sbin/vsdk_cmd"


def value(key):
    return capictl("config", "get", key).strip()


def pending():
    return json.loads(capictl("config", "pending", "--json"))


def wait_for_watcher_to_end():
    """Who watches over a change, if anybody does."""
    subprocess.run(["flock", "/var/lib/capi/watcher", "true"], check=True, timeout=fleet.PATIENCE)


class Commands(fleet.Test):
    def setUp(self):
        super().setUp()
        with open(VSDK, "w", encoding="utf-8") as file:
            file.write("#!/bin/sh\nprintf '%s\\n' \"$*\" >>/tmp/posted\n")
        if pending()["change"]["pending"]:
            capictl("config", "cancel")
        for path in ("/tmp/posted", "/tmp/vosip.conf.voip"):
            if os.path.exists(path):
                os.remove(path)
        self.broker, self.consumer, self.bridge = self.setup_all()

    def ask(self, command, **members):
        return self.consumer.ask(command, **members)

    def refused(self, code, command, **members):
        answer = self.ask(command, **members)
        self.assertEqual((answer["status"], answer["errors"][0]["code"]), ("refused", code), answer)
        return answer["errors"][0]

    def test_a_value_is_set_and_answered_once(self):
        self.consumer.publish("do/set", {"id": "a-1", "set": {"sip_line_1.display_name": "Kitchen",
                                                             "sip_line_2.enable": "off"}})
        message = self.consumer.wait_for("done/t")
        self.assertEqual(message.properties.CorrelationData, b"c")
        self.assertFalse(message.retained)
        self.assertEqual({name: message.json[name] for name in ("id", "command", "status")},
                         {"id": "a-1", "command": "set", "status": "ok"})
        self.assertEqual(value("sip_line_1.display_name"), "Kitchen")
        self.assertEqual(value("sip_line_2.enable"), "0")
        told = self.consumer.find("config/sip_line_1",
                                  lambda json: json["values"]["display_name"] == "Kitchen").json
        self.assertEqual(told["generation"], message.json["generation"])
        self.ask("refresh")
        self.assertEqual(len([one for one in self.consumer.of("done/t")]), 2)

    def test_all_or_nothing(self):
        set_values("sip_line_1.display_name", "Before")
        error = self.refused("refused", "set", set={"sip_line_1.display_name": "After",
                                                    "sip_line_2.enable": 7})
        self.assertEqual(error["key"], "sip_line_2.enable")
        self.assertEqual(error["allowed"], "0 (off) or 1 (on)")
        error = self.refused("not_found", "set", set={"sip_line_1.display_name": "After",
                                                      "sip_line_1.colour": 7})
        self.assertIn("sip_line_1.colour", error["message"])
        self.refused("refused", "set", set={"sip_line_1.display_name": 7})
        self.refused("refused", "load", document={"sip_line_1": {"display_name": "After"},
                                                  "sip_line_2": {"enable": 7}})
        self.refused("not_found", "reset", keys=["sip_line_1.display_name", "sip_line_9"])
        self.assertEqual(value("sip_line_1.display_name"), "Before")

    def test_a_document_is_loaded_and_a_section_reset(self):
        answer = self.ask("load", document={"sip_line_1": {"display_name": "Loft", "enable": 1},
                                            "sms": {"sca": "+49123"}})
        self.assertEqual(answer["status"], "ok")
        self.assertEqual((value("sip_line_1.display_name"), value("sms.sca")), ("Loft", "+49123"))
        self.assertEqual(self.ask("reset", keys=["sip_line_1", "sms.sca"])["status"], "ok")
        self.assertEqual((value("sip_line_1.display_name"), value("sms.sca")), ("", ""))

    def test_what_a_topic_shows_can_be_loaded(self):
        set_values("sip_line_2.auth_password", "hidden")
        self.consumer.wait_for("config/sip_line_2", lambda json: json["values"]["auth_password"]["set"])
        shown = {message.topic.removeprefix(TREE + "config/"): message.json["values"]
                 for message in self.consumer.seen if "/config/" in message.topic}
        self.assertIn({"set": False}, shown["voice_nat"].values())
        self.assertEqual(self.ask("load", document=shown)["status"], "ok")
        self.assertEqual(capictl("config", "get", "sip_line_2.auth_password", "--show-secrets"),
                         "hidden\n")
        self.refused("refused", "load", document={"sip_line_2": {"auth_password": {"set": "x"}}})

    def test_a_document_of_nothing_but_unknown_keys_is_refused(self):
        unknown = {f"x{number}": 1 for number in range(5000)}
        error = self.refused("refused", "load", document={"sip_line_1": unknown})
        self.assertIn("there is no key sip_line_1.x0.", error["message"])

    def test_the_connection_is_served_between_two_requests(self):
        self.bridge.stop()
        proxy = self.until_end(Proxy(self.broker.port))
        bridge = self.until_end(Bridge(proxy, state="/tmp/turns"))
        self.consumer.wait_for_birth()
        bridge.wait_until_up()
        for number in (1, 2):
            os.mkfifo(f"/tmp/gate.{number}")
            self.addCleanup(os.remove, f"/tmp/gate.{number}")
        with open(VSDK, "w", encoding="utf-8") as file:
            file.write("#!/bin/sh\necho >>/tmp/posted\n"
                       "read line </tmp/gate.$(wc -l </tmp/posted)\n")
        proxy.hold()
        requests = [uuid.uuid4().hex, uuid.uuid4().hex]
        for request in requests:
            self.consumer.publish("do/signal", {"id": request, "name": "vop_sig_timer_expired"})
        proxy.wait_until_held(b"do/signal", 2)
        # The library reads as many packets at once as it has messages without an acknowledgement.
        set_values("voice_switch.mode", "3", "basic_sip.rtp_dscp", "17", "sms.sca", "+77")
        self.consumer.wait_for("config/sms", lambda json: json["values"]["sca"] == "+77")
        proxy.release()
        with open("/tmp/gate.1", "w", encoding="utf-8") as gate:
            gate.write("\n")
        with open("/tmp/gate.2", "w", encoding="utf-8") as gate:  # while the second one runs
            self.consumer.wait_for("done/t", lambda json: json["id"] == requests[0])
            gate.write("\n")
        self.consumer.wait_for("done/t", lambda json: json["id"] == requests[1])

    def test_a_reset_without_a_name_resets_nothing(self):
        set_values("sip_line_1.display_name", "Loft", "sip_line_2.display_name", "Hall")
        self.refused("malformed", "reset", keys=[""])
        self.refused("malformed", "reset", keys=["sip_line_2", ""])
        self.assertEqual((value("sip_line_1.display_name"), value("sip_line_2.display_name")),
                         ("Loft", "Hall"))
        self.assertEqual(self.ask("reset", keys=["sip_line"])["status"], "ok")
        self.assertEqual((value("sip_line_1.display_name"), value("sip_line_2.display_name")),
                         ("", ""))

    def test_apply_writes_the_files_and_posts_the_signal(self):
        answer = self.ask("set", set={"sip_line_1.display_name": "Porch"}, apply=True)
        self.assertEqual(answer["status"], "ok")
        with open("/tmp/vosip.conf.voip", encoding="utf-8") as file:
            self.assertIn("displayname=Porch\n", file.read())
        with open("/tmp/posted", encoding="utf-8") as file:
            self.assertEqual(file.read(), "signal simple vop_sig_cfg_changed_info\n")

    def test_what_cannot_be_applied_is_told(self):
        os.mkdir("/tmp/vosip.conf.voip")
        self.addCleanup(os.rmdir, "/tmp/vosip.conf.voip")
        answer = self.ask("set", set={"sip_line_1.display_name": "Cellar"}, apply=True)
        self.assertEqual((answer["status"], answer["errors"][0]["code"]), ("failed", "failed"))
        self.assertIn("the values are set", answer["errors"][0]["message"])

    def test_stack_files_and_signals(self):
        self.assertEqual(self.ask("stack-file", types=["voip"])["status"], "ok")
        self.assertTrue(os.path.exists("/tmp/vosip.conf.voip"))
        self.refused("refused", "stack-file", types=["voip", "vo"])
        answer = self.ask("signal", name="vop_sig_vsdk_service_control", params=["restart"])
        self.assertEqual(answer["status"], "ok")
        with open("/tmp/posted", encoding="utf-8") as file:
            self.assertIn("restart", file.read())

    def test_no_text_reaches_a_shell(self):
        for name, params in (("vop_sig_timer_expired; touch /tmp/owned", []),
                             ("$(touch /tmp/owned)", []),
                             ("vop_sig_timer_expired", ["'; touch /tmp/owned; '"]),
                             ("vop_sig_timer_expired", ["a\nb"]),
                             ("vop_sig_no_such", [])):
            self.refused("refused", "signal", name=name, params=params)
        self.assertEqual(self.ask("signal", name="vop_sig_timer_expired",
                                  params=["$(touch /tmp/owned)`touch /tmp/owned`"])["status"], "ok")
        set_values("sip_line_1.display_name", "plain")
        self.ask("set", set={"sip_line_1.display_name": "$(touch /tmp/owned)"}, apply=True)
        self.assertFalse(os.path.exists("/tmp/owned"))

    def test_if_generation_lets_a_late_request_do_nothing(self):
        generation = self.ask("set", set={"sms.sca": "+9"})["generation"]
        answer = self.ask("set", set={"sms.sca": "+2"}, if_generation=generation)
        self.assertEqual(answer["status"], "ok")
        self.assertGreater(answer["generation"], generation)
        self.refused("generation", "set", set={"sms.sca": "+3"}, if_generation=generation)
        set_values("sms.sca", "+4")
        self.refused("generation", "set", set={"sms.sca": "+3"},
                     if_generation=answer["generation"])
        self.assertEqual(value("sms.sca"), "+4")

    def test_if_generation_is_that_of_the_moment_of_setting(self):
        self.ask("set", set={"sms.sca": "+0"}, confirm_within=600)
        capictl("config", "cancel")
        generation = self.ask("set", set={"sms.sca": "+9"})["generation"]
        with open("/var/lib/capi/lock", "r+", encoding="utf-8") as lock:
            fcntl.flock(lock, fcntl.LOCK_EX)
            self.consumer.publish("do/set", {"id": "turn", "set": {"sms.sca": "+2"},
                                             "if_generation": generation})
            self.wait_until_it_waits(lock)
            fleet.run(fleet.OTHERS, "settings", "1")
        answer = self.consumer.wait_for("done/t", lambda json: json["id"] == "turn").json
        self.assertEqual((answer["status"], answer["errors"][0]["code"]), ("refused", "generation"))
        self.assertEqual(value("sms.sca"), "+1")

    def test_if_generation_of_before_a_start_of_the_device_is_refused(self):
        fleet.run(fleet.OTHERS, "settings", "100")
        generation = self.ask("set", set={"sms.sca": "+3"})["generation"]
        self.bridge.stop()
        subprocess.run(["ipcrm", "--all=shm"], check=True)
        fleet.start_adapter()
        self.bridge.start()
        self.consumer.wait_for_birth()
        told = self.consumer.of("config/sms")[-1].json
        self.assertGreater(told["generation"], generation)
        self.refused("generation", "set", set={"sms.sca": "+3"}, if_generation=generation)
        answer = self.ask("set", set={"sms.sca": "+3"}, if_generation=told["generation"])
        self.assertEqual(answer["status"], "ok")

    def wait_until_it_waits(self, lock):
        """For this lock, which others hold."""
        fd = os.fstat(lock.fileno())
        wanted = f"/proc/{self.bridge.process.pid}/fd"
        end = time.monotonic() + fleet.PATIENCE
        while time.monotonic() < end:
            for one in os.listdir(wanted):
                try:
                    if os.path.samestat(os.stat(os.path.join(wanted, one)), fd):
                        return
                except OSError:
                    pass
        self.fail("it does not wait")

    def test_an_expired_request_is_not_carried_out(self):
        set_values("sms.sca", "+1")
        answer = self.ask("set", set={"sms.sca": "+2"}, expires="2026-01-01T00:00:00Z")
        self.assertEqual((answer["status"], answer["errors"][0]["code"]), ("expired", "expired"))
        answer = self.ask("set", set={"sms.sca": "+3"}, expires="2099-01-01T00:00:00Z")
        self.assertEqual(answer["status"], "ok")
        self.assertEqual(value("sms.sca"), "+3")

    def test_what_nobody_confirms_goes_back(self):
        set_values("sip_line_1.display_name", "Hall")
        answer = self.ask("set", set={"sip_line_1.display_name": "Den"}, confirm_within=1)
        self.assertEqual(answer["status"], "ok")
        self.assertRegex(answer["pending"]["id"], "^[0-9a-f]{8}$")
        end = self.consumer.wait_for("change", lambda json: json["change"].get("outcome")).json
        self.assertEqual(end["change"]["outcome"], "reverted")
        self.assertEqual(value("sip_line_1.display_name"), "Hall")

    def test_it_goes_back_though_the_bridge_was_killed(self):
        set_values("sip_line_1.display_name", "Hall")
        self.ask("set", set={"sip_line_1.display_name": "Den"}, confirm_within=2)
        self.bridge.kill()
        wait_for_watcher_to_end()
        self.assertEqual(value("sip_line_1.display_name"), "Hall")

    def test_a_change_is_confirmed_or_cancelled(self):
        answer = self.ask("set", set={"sip_line_1.display_name": "Den"}, confirm_within=600)
        another = self.ask("set", set={"sms.sca": "+7"})
        self.assertEqual((another["status"], another["errors"][0]["code"]), ("busy", "busy"))
        self.refused("not_found", "confirm", pending="12345678")
        self.assertEqual(self.ask("confirm", pending=answer["pending"]["id"])["status"], "ok")
        self.assertEqual(pending()["change"]["outcome"], "confirmed")
        self.assertEqual(value("sip_line_1.display_name"), "Den")
        answer = self.ask("reset", keys=["sip_line_1"], confirm_within=600)
        self.assertEqual(value("sip_line_1.display_name"), "")
        self.assertEqual(self.ask("cancel", pending=answer["pending"]["id"])["status"], "ok")
        self.assertEqual(value("sip_line_1.display_name"), "Den")

    def test_a_change_of_somebody_else_is_respected(self):
        made = capictl("config", "set", "sms.sca", "+1", "--confirm-within", "600").strip()
        for members in ({}, {"confirm_within": 60}):
            answer = self.ask("set", set={"sip_line_2.display_name": "x"}, **members)
            self.assertEqual(answer["status"], "busy")
            self.assertIn(made, answer["errors"][0]["message"])
        for command in ("confirm", "cancel"):
            error = self.refused("refused", command, pending=made)
            self.assertIn(f"the change {made} is one of capictl", error["message"])
        self.assertEqual(pending()["change"]["id"], made)
        capictl("config", "cancel")

    def repeated(self, request):
        self.consumer.publish("do/set", request)
        return self.consumer.wait_for("done/t", lambda json: json["id"] == request["id"])

    def test_a_request_that_found_the_adapter_busy_is_carried_out_when_it_comes_again(self):
        capictl("config", "set", "sms.sca", "+1", "--confirm-within", "600")
        request = {"id": uuid.uuid4().hex, "set": {"sip_line_2.display_name": "Attic"}}
        self.assertEqual(self.repeated(request).json["status"], "busy")
        self.bridge.kill()
        self.bridge.start()
        self.consumer.wait_for_birth()
        self.assertEqual(self.repeated(request).json["status"], "busy")
        capictl("config", "cancel")
        done = self.repeated(request)
        self.assertEqual((done.json["status"], value("sip_line_2.display_name")), ("ok", "Attic"))
        set_values("sip_line_2.display_name", "Hall")
        self.assertEqual(self.repeated(request).text, done.text)
        self.assertEqual(value("sip_line_2.display_name"), "Hall")

    def test_a_request_that_found_a_lock_held_is_carried_out_when_it_comes_again(self):
        request = {"id": uuid.uuid4().hex, "set": {"sms.sca": "+8"}}
        with fleet.Held(0):
            self.assertEqual(self.repeated(request).json["status"], "busy")
        self.assertEqual(self.repeated(request).json["status"], "ok")
        self.assertEqual(value("sms.sca"), "+8")

    def test_refresh_says_everything_again(self):
        count = len(self.consumer.seen)
        self.ask("refresh")
        for topic in ("about", "device", "config/voice_switch"):
            self.consumer.wait_for(topic)
        again = {message.topic for message in self.consumer.seen[count:]}
        first = {message.topic for message in self.consumer.seen[:count]} - {TREE + "online"}
        while not first <= again:
            again.add(self.consumer.wait_for("config/slic_parameter").topic)
            again = {message.topic for message in self.consumer.seen[count:]}

    def test_a_retained_request_is_refused(self):
        set_values("sms.sca", "+1")
        self.consumer.publish("do/set", {"id": "r-1", "set": {"sms.sca": "+2"}}, retain=True)
        answer = self.consumer.wait_for("done/t", lambda json: json["id"] == "r-1").json
        self.assertEqual((answer["status"], answer["errors"][0]["code"]), ("refused", "retained"))
        self.bridge.stop()
        self.bridge.start()
        self.consumer.wait_for_birth()
        self.ask("refresh")
        self.assertEqual(value("sms.sca"), "+1")
        self.consumer.publish("do/set", "", retain=True)
        self.assertEqual(len([one for one in self.consumer.of("done/t") if one.json["id"] == "r-1"]), 1)

    def test_hostile_payloads_get_an_error_each(self):
        hostile = [b"", b"\x00", b"{", b"null", b"[]", b"\xff\xfe", b'{"id":"\xc0\xaf"}',
                   b'{"id":"x","set":{"sms.sca":"\\u0000"}}', b"[" * 60000, b'{"id":' + b'"' * 1000,
                   b'{"id":"x","id":"y","set":{"sms.sca":"1"}}', b'{"id":"x","set":{"sms.sca":1e999}}',
                   b'{"id":"x","set":{"' + b"a" * 60000 + b'":1}}', b" " * 65537, b"{}" + b" " * 100000,
                   b'{"id":"x","set":' + b'{"a":' * 12 + b"1" + b"}" * 12 + b"}"]
        for number, payload in enumerate(hostile):
            self.consumer.publish("do/set", payload, correlation=str(number).encode())
        answered = set()
        while len(answered) < len(hostile):
            message = self.consumer.wait_for("done/t")
            self.assertEqual(message.json["status"], "refused")
            self.assertTrue(message.json["errors"][0]["message"])
            answered.add(message.properties.CorrelationData)
        for topic in ("do", "do/", "do/set/x", "do/reboot", "do/" + "x" * 1000):
            self.consumer.publish(topic, {"id": "u"})
        for _ in range(4):
            answer = self.consumer.wait_for("done/t", lambda json: json["id"] == "u").json
            self.assertEqual(answer["errors"][0]["code"], "unknown_command")
        self.assertEqual(self.ask("refresh")["status"], "ok")

    def test_a_long_request_has_a_short_answer(self):
        broker = self.until_end(fleet.Broker(max_packet_size=131072))
        consumer = self.until_end(Consumer(broker))
        self.until_end(fleet.Bridge(broker, state="/tmp/long"))
        consumer.wait_for_birth()
        head, tail = '{"id":"x","set":{"', '":1}}'
        consumer.publish("do/set", head + "a" * (65536 - len(head + tail)) + tail)
        answer = consumer.wait_for("done/t").json
        self.assertEqual((answer["id"], answer["errors"][0]["code"]), ("x", "not_found"))
        self.assertEqual(answer["errors"][0]["key"], "a" * 1024 + "...")
        answer = consumer.ask("confirm", pending="p" * 65000)
        self.assertEqual(answer["errors"][0]["code"], "not_found")
        self.assertEqual(consumer.ask("refresh")["status"], "ok")

    def test_a_broker_that_takes_little_gets_short_answers(self):
        broker = self.until_end(fleet.Broker(max_packet_size=2000))
        consumer = self.until_end(Consumer(broker))
        bridge = self.until_end(fleet.Bridge(broker, state="/tmp/little"))
        consumer.wait_for_birth()
        answer = consumer.ask("set", set={"a" * 1500: 1})
        self.assertEqual((answer["status"], answer["errors"]),
                         ("refused", [{"code": "too_large",
                                       "message": "the broker takes no answer of this length"}]))
        self.assertEqual(consumer.ask("refresh")["status"], "ok")
        bridge.lines.wait_for("the broker takes no answer of 2[0-9]{3} bytes")
        bridge.stop()
        bridge.start()
        consumer.wait_for_birth()
        self.assertEqual(consumer.ask("refresh")["status"], "ok")

    def test_long_correlation_data_is_refused(self):
        self.consumer.publish("do/refresh", {"id": "long-1"}, correlation=b"c" * 257)
        message = self.consumer.wait_for("done/t")
        self.assertEqual((message.json["id"], message.json["errors"][0]["code"]),
                         ("long-1", "too_large"))
        self.assertFalse(hasattr(message.properties, "CorrelationData"))
        self.consumer.publish("do/refresh", {"id": "long-1"}, correlation=b"c" * 256)
        message = self.consumer.wait_for("done/t")
        self.assertEqual((message.json["status"], message.properties.CorrelationData),
                         ("ok", b"c" * 256))

    def test_a_message_beyond_all_limits_is_kept_back_by_the_broker(self):
        self.consumer.publish("do/set", b"x" * 200000)
        self.assertEqual(self.ask("refresh")["status"], "ok")

    def test_an_answer_goes_to_no_topic_of_others(self):
        everything = self.until_end(Consumer(self.broker, "#"))
        for number, topic in enumerate((TREE + "online", TREE + "do/set", "elsewhere", "capi/1/b/online")):
            self.consumer.publish("do/refresh", {"id": f"w-{number}"}, response=topic)
            self.consumer.wait_for("done", lambda json: json["id"] == f"w-{number}")
        self.consumer.publish("do/refresh", {"id": "w-9"}, response=None)
        self.consumer.wait_for("done", lambda json: json["id"] == "w-9")
        self.consumer.publish("do/refresh", {"id": "w-10"}, response="capi/1/boss/done/1")
        while True:
            message = everything._messages.get(timeout=fleet.PATIENCE)
            self.assertNotIn(message.topic, ("elsewhere", "capi/1/b/online"))
            if message.topic == "capi/1/boss/done/1":
                break

    # --- at most once ---

    def test_a_repeated_request_gets_its_answer_and_does_nothing(self):
        request = {"id": uuid.uuid4().hex, "set": {"sms.sca": "+1"}}
        self.consumer.publish("do/set", request)
        first = self.consumer.wait_for("done/t", lambda json: json["id"] == request["id"])
        set_values("sms.sca", "+2")
        self.consumer.publish("do/set", request, response=TREE + "done/u", correlation=b"again")
        second = self.consumer.wait_for("done/u")
        self.assertEqual(second.text, first.text)
        self.assertEqual(second.properties.CorrelationData, b"again")
        self.assertEqual(value("sms.sca"), "+2")
        self.bridge.kill()
        self.bridge.start()
        self.consumer.wait_for_birth()
        self.consumer.publish("do/set", request, response=TREE + "done/v")
        self.assertEqual(self.consumer.wait_for("done/v").text, first.text)
        self.assertEqual(value("sms.sca"), "+2")

    def test_what_a_kill_interrupts_is_not_done_twice(self):
        os.mkfifo("/tmp/gate")
        self.addCleanup(os.remove, "/tmp/gate")
        with open(VSDK, "w", encoding="utf-8") as file:
            file.write("#!/bin/sh\necho >>/tmp/posted\nread line </tmp/gate\n")
        request = {"id": uuid.uuid4().hex, "name": "vop_sig_timer_expired"}
        self.consumer.publish("do/signal", request)
        gate = os.open("/tmp/gate", os.O_WRONLY)  # once the tool runs
        self.bridge.kill()
        os.close(gate)
        self.bridge.start()
        answer = self.consumer.wait_for("done/t", lambda json: json["id"] == request["id"]).json
        self.assertEqual((answer["status"], answer["errors"][0]["code"]),
                         ("failed", "unknown_outcome"))
        self.bridge.wait_until_up()
        self.consumer.publish("do/signal", request)
        again = self.consumer.wait_for("done/t", lambda json: json["id"] == request["id"]).json
        self.assertEqual(again, answer)
        self.assertEqual(os.path.getsize("/tmp/posted"), 1)

    def small_disk(self, name):
        path = "/tmp/" + name
        os.makedirs(path)
        subprocess.run(["mount", "-t", "tmpfs", "-o", "size=64k", "tmpfs", path], check=True)
        self.addCleanup(subprocess.run, ["umount", "-l", path], check=True)
        return path

    def fill(self, path):
        with open(path + "/filler", "wb", buffering=0) as file:
            with self.assertRaises(OSError):
                while file.write(b"x" * 512):
                    pass

    @unittest.skipUnless("CAPI_FAULTS" in os.environ, "this build takes no faults")
    def test_a_look_that_fails_changes_no_answer_and_ends_nothing(self):
        def without_looks(what):
            with open("/tmp/no-looks", "w", encoding="utf-8"):
                what()
            os.remove("/tmp/no-looks")

        self.bridge.stop()
        self.bridge.more = {"env": {**os.environ, "LD_PRELOAD": os.environ["CAPI_FAULTS"]}}
        self.bridge.start()
        self.consumer.wait_for_birth()

        def told():
            set_values("sms.sca", "+50")
            self.bridge.lines.wait_for("the shared record cannot be read")
        without_looks(told)
        self.consumer.wait_for("config/sms", lambda json: json["values"]["sca"] == "+50")

        # One that works before it is carried out, and none after that.
        with open(VSDK, "w", encoding="utf-8") as file:
            file.write("#!/bin/sh\n: >/tmp/no-looks\n")
        request = {"id": uuid.uuid4().hex, "name": "vop_sig_timer_expired"}
        self.consumer.publish("do/signal", request)
        answer = self.consumer.wait_for("done/t", lambda json: json["id"] == request["id"]).json
        self.assertEqual(answer["status"], "ok")
        # And none before.
        answer = self.ask("signal", name="vop_sig_timer_expired")
        self.assertEqual((answer["status"], answer["errors"][0]["code"]), ("failed", "failed"))
        os.remove("/tmp/no-looks")
        self.bridge.kill()
        self.bridge.start()
        self.consumer.wait_for_birth()
        self.consumer.publish("do/signal", request)
        again = self.consumer.wait_for("done/t", lambda json: json["id"] == request["id"]).json
        self.assertEqual(again["status"], "ok")

    def test_a_tool_has_no_connection_of_the_bridge(self):
        with open(VSDK, "w", encoding="utf-8") as file:
            file.write("#!/bin/sh\nls -l /proc/$$/fd >/tmp/open\n")
        self.assertEqual(self.ask("signal", name="vop_sig_timer_expired")["status"], "ok")
        with open("/tmp/open", encoding="utf-8") as file:
            self.assertNotIn("socket:", file.read())

    def test_who_watches_over_a_change_ends_when_it_is_told_to(self):
        wait_for_watcher_to_end()
        self.ask("set", set={"sms.sca": "+61"}, confirm_within=600)
        (watcher,) = [pid for pid in map(int, filter(str.isdigit, os.listdir("/proc")))
                      if self.holds(pid, "/var/lib/capi/watcher")]
        os.kill(watcher, signal.SIGTERM)
        wait_for_watcher_to_end()

    @staticmethod
    def holds(pid, path):
        try:
            return any(os.path.samestat(os.stat(f"/proc/{pid}/fd/{fd}"), os.stat(path))
                       for fd in os.listdir(f"/proc/{pid}/fd"))
        except OSError:
            return False

    def test_nothing_is_done_that_cannot_be_remembered(self):
        self.bridge.stop()
        disk = self.small_disk("small")
        self.until_end(fleet.Bridge(self.broker, state=disk + "/state"))
        self.consumer.wait_for_birth()
        self.fill(disk)
        # There is room in what the file has already.
        number = 0
        while (answer := self.ask("set", set={"sms.sca": f"+{number}"}))["status"] == "ok":
            number += 1
            self.assertLess(number, 100)
        self.assertIn("No space left on device", answer["errors"][0]["message"])
        self.assertEqual(value("sms.sca"), f"+{number - 1}")

    def test_a_full_disk_keeps_no_bridge_from_starting(self):
        self.bridge.stop()
        disk = self.small_disk("full")
        bridge = self.until_end(fleet.Bridge(self.broker, state=disk + "/state"))
        self.consumer.wait_for_birth()
        bridge.stop()
        # What has to be kept of a call that is not told.
        fleet.run(fleet.OTHERS, "call", "0", "1", "6000", "1795324200")
        os.remove(disk + "/state/requests")
        self.fill(disk)
        bridge.start()
        self.consumer.wait_for_birth()
        self.assertIn("No space left on device",
                      bridge.lines.wait_for("/state/requests cannot be written"))
        set_values("sms.sca", "+1")
        error = self.ask("set", set={"sms.sca": "+2"})["errors"][0]
        self.assertIn("No space left on device", error["message"])
        self.assertEqual(value("sms.sca"), "+1")
        os.remove(disk + "/filler")
        self.assertEqual(self.ask("set", set={"sms.sca": "+2"})["status"], "ok")
        self.assertEqual(value("sms.sca"), "+2")


if __name__ == "__main__":
    fleet.main()
