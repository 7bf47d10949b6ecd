# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
"""The state of an adapter on a broker."""
import json
import os
import time

import fleet
from fleet import Bridge, Broker, Consumer, capictl, set_values

RUN_INFO = 10  # the lock on what is known of the SIM
SECRET = "pa55-word-of-line-1"


class State(fleet.Test):
    def test_all_topics_are_there_and_online_last(self):
        _, consumer, _ = self.setup_all()
        topics = [message.topic.removeprefix(fleet.TREE) for message in consumer.seen]
        self.assertEqual(topics[-1], "online")
        self.assertEqual(topics[:-1].count("online"), 0)
        sections = {topic.removeprefix("config/") for topic in topics if topic.startswith("config/")}
        self.assertEqual(sections, set(json.loads(capictl("config", "list", "--json"))))
        for topic in ("about", "device", "sim", "line/1", "line/2", "stores", "alerts", "change"):
            self.assertEqual(topics.count(topic), 1, topic)
        for message in consumer.seen:
            self.assertRegex(message.json["at"], r"^20\d\d-\d\d-\d\dT\d\d:\d\d:\d\dZ$", message)

    def test_who_comes_late_gets_them_too(self):
        broker, first, _ = self.setup_all()
        late = self.until_end(Consumer(broker))
        late.wait_for_birth()
        while {m.topic for m in late.seen} != {m.topic for m in first.seen}:
            late.wait_for("config/sms")
        self.assertTrue(all(message.retained for message in late.seen))

    def test_documents_are_those_of_capictl(self):
        _, consumer, _ = self.setup_all()
        status = json.loads(capictl("status", "--json"))
        self.assertEqual(consumer.of("device")[0].json["device"], status["device"])
        self.assertEqual(consumer.of("sim")[0].json["sim"], status["sim"])
        self.assertEqual(consumer.of("stores")[0].json["stores"], status["stores"])
        self.assertEqual(consumer.of("line/2")[0].json["line"], status["lines"][1])
        settings = json.loads(capictl("config", "list", "--json"))
        for section, values in settings.items():
            told = consumer.of("config/" + section)[0].json["values"]
            for name, value in values.items():
                if value in ("(set)", "(not set)"):
                    value = {"set": value == "(set)"}
                self.assertEqual(told[name], value, section + "." + name)

    def test_a_change_is_told_in_its_section_only(self):
        _, consumer, _ = self.setup_all()
        before = consumer.of("config/sip_line_1")[0].json["generation"]
        set_values("sip_line_1.display_name", "Attic1")
        message = consumer.wait_for("config/sip_line_1")
        self.assertEqual(message.json["values"]["display_name"], "Attic1")
        self.assertGreater(message.json["generation"], before)
        set_values("sms.enable", "0")
        consumer.wait_for("config/sms", lambda json: json["values"]["enable"] == 0)
        set_values("sms.enable", "1")
        consumer.wait_for("config/sms", lambda json: json["values"]["enable"] == 1)
        self.assertEqual(len(consumer.of("config/sip_line_1")), 2)
        self.assertEqual(len(consumer.of("config/sip_line_2")), 1)

    def test_an_alert_is_told_and_its_end(self):
        _, consumer, _ = self.setup_all()
        made = capictl("config", "set", "sms.sca", "+77", "--confirm-within", "600").strip()
        told = consumer.wait_for("alerts", lambda json: any(made in one["text"] or "change" in one["id"]
                                                            for one in json["alerts"])).json
        self.assertEqual(set(told["alerts"][0]), {"id", "severity", "text", "since"})
        count = len(told["alerts"])
        capictl("config", "cancel")
        consumer.wait_for("alerts", lambda json: len(json["alerts"]) < count)

    def test_what_is_locked_at_the_start_follows(self):
        broker = self.until_end(Broker())
        consumer = self.until_end(Consumer(broker))
        with fleet.Held(RUN_INFO):
            self.until_end(Bridge(broker, state="/tmp/locked"))
            consumer.wait_for_birth()
            self.assertEqual(consumer.of("sim") + consumer.of("alerts"), [])
        told = {consumer.wait_for_any().topic: None for _ in range(2)}
        self.assertEqual(set(told), {fleet.TREE + "sim", fleet.TREE + "alerts"})
        for message in consumer.of("sim") + consumer.of("alerts"):
            self.assertRegex(message.json["at"], r"^20\d\d-\d\d-\d\dT\d\d:\d\d:\d\dZ$", message)

    def test_an_alert_that_a_lock_kept_back_follows(self):
        _, consumer, _ = self.setup_all()
        with fleet.Held(RUN_INFO):
            capictl("config", "set", "sms.sca", "+78", "--confirm-within", "600")
            consumer.wait_for("change", lambda json: json["change"]["pending"])
        consumer.wait_for("alerts", lambda json: any("change" in one["id"] for one in json["alerts"]))
        capictl("config", "cancel")

    def test_a_registration_is_told_with_its_line(self):
        _, consumer, _ = self.setup_all()
        fleet.run(fleet.OTHERS, "lines")
        consumer.wait_for("line/1", lambda json: any(
            one["stack"] == 2 and one["status"] == "Registered" for one in json["registrations"]))

    def test_a_secret_is_told_by_no_message(self):
        broker = self.until_end(Broker())
        consumer = self.until_end(Consumer(broker, "#"))
        set_values("sip_line_1.auth_password", SECRET)
        self.until_end(Bridge(broker))
        consumer.wait_for_birth()
        answer = consumer.ask("set", set={"sip_line_2.auth_password": SECRET + "2"},
                              confirm_within=600)
        self.assertEqual(answer["status"], "ok")
        consumer.find("change", lambda json: json["change"]["pending"])
        consumer.find("config/sip_line_2", lambda json: json["values"]["auth_password"] == {"set": True})
        consumer.ask("cancel", pending=answer["pending"]["id"])
        refused = consumer.ask("set", set={"sip_line_1.auth_password": SECRET + "x" * 300})
        self.assertEqual(refused["status"], "refused")
        self.assertEqual(consumer.of("config/sip_line_1")[0].json["values"]["auth_password"],
                         {"set": True})
        set_values("sip_line_1.auth_password", "")
        consumer.wait_for("config/sip_line_1",
                          lambda json: json["values"]["auth_password"] == {"set": False})
        self.assertFalse([message for message in consumer.seen if SECRET in message.text])

    def test_a_burst_costs_a_message_a_second(self):
        _, consumer, _ = self.setup_all()
        begin = time.monotonic()
        fleet.run(fleet.OTHERS, "settings", "10000")
        set_values("sms.sca", "+3")
        consumer.wait_for("config/sms", lambda json: json["values"]["sca"] == "+3")
        seconds = time.monotonic() - begin
        count = len(consumer.seen) - consumer.seen.index(consumer.of("online")[0]) - 1
        print(f"10000 changes in {seconds:.1f} s: {count} messages")
        self.assertLessEqual(count, seconds + 2)

    def test_nothing_new_is_not_said_again(self):
        _, consumer, _ = self.setup_all()
        set_values("sip_line_1.display_name", "Attic2")
        consumer.wait_for("config/sip_line_1")
        count = len(consumer.seen)
        set_values("sip_line_1.display_name", "Attic2")  # as it is
        set_values("sms.sca", "+4912345")
        consumer.wait_for("config/sms")
        self.assertEqual([message.topic for message in consumer.seen[count:]],
                         [fleet.TREE + "config/sms"])

    def test_who_is_stopped_says_goodbye(self):
        _, consumer, bridge = self.setup_all()
        birth = consumer.of("online")[0].json
        self.assertEqual(bridge.stop(), 0)
        death = consumer.wait_for("online").json
        self.assertEqual((death["online"], death["reason"]), (False, "stopped"))
        self.assertEqual((death["boot"], death["connection"]), (birth["boot"], birth["connection"]))

    def test_a_later_connection_has_a_higher_number(self):
        _, consumer, bridge = self.setup_all()
        first = consumer.of("online")[0].json
        bridge.stop()
        bridge.start()
        second = consumer.wait_for_birth().json
        self.assertEqual(first["boot"], second["boot"])
        self.assertGreater(second["connection"], first["connection"])

    def test_nothing_is_told_where_changes_cannot_be_watched(self):
        os.makedirs("/var/lib/capi", exist_ok=True)
        os.rename("/var/lib/capi", "/var/lib/capi.away")
        os.symlink("/nowhere", "/var/lib/capi")
        try:
            bridge = self.until_end(Bridge(self.until_end(Broker())))
            bridge.lines.wait_for("changes cannot be watched: No such file or directory")
            self.assertEqual(bridge.process.wait(fleet.PATIENCE), 1)
        finally:
            os.remove("/var/lib/capi")
            os.rename("/var/lib/capi.away", "/var/lib/capi")

    def test_a_change_that_waits_is_told_and_how_it_ends(self):
        _, consumer, _ = self.setup_all()
        made = capictl("config", "set", "sip_line_1.display_name", "Den", "--confirm-within", "600")
        change = consumer.wait_for("change", lambda json: json["change"]["pending"]).json
        self.assertEqual(change["change"]["id"], made.strip())
        self.assertEqual(change["values"][0]["key"], "sip_line_1.display_name")
        capictl("config", "cancel")
        end = consumer.wait_for("change", lambda json: not json["change"]["pending"]).json
        self.assertEqual(end["change"]["outcome"], "cancelled")


if __name__ == "__main__":
    fleet.main()
