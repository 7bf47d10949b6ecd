# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
"""Brokers that end, networks that are gone, and what follows afterwards."""
import json
import os
import re
import socket
import subprocess
import time

import fleet
from fleet import OTHERS, Bridge, Broker, Consumer, Proxy, capictl, set_values


def call(number):
    fleet.run(OTHERS, "call", "0", "1", number, "1795324200")


def text(number):
    capictl("sms", "send", number, "Hello " + number)


def change_each_section():
    """Gives a key of each section another value, and returns what sets them all back."""
    back = []
    for section, values in json.loads(capictl("config", "list", "--json")).items():
        for name, value in values.items():
            key, other = f"{section}.{name}", str(1 - value) if value in (0, 1) else "5"
            subprocess.run([*fleet.EMULATOR, fleet.CAPICTL, "config", "set", key, other],
                           stderr=subprocess.DEVNULL, timeout=fleet.PATIENCE, check=False)
            if capictl("config", "get", key).strip() != str(value):
                back += [key, str(value)]
                break
    return back


class Outage(fleet.Test):
    def test_a_broker_that_lost_all_gets_all_again(self):
        broker, consumer, bridge = self.setup_all()
        set_values("sip_line_1.display_name", "Before")
        consumer.wait_for("config/sip_line_1")
        broker.kill()
        bridge.lines.wait_for("the connection to .* is lost: .*; next try in")
        set_values("sip_line_1.display_name", "Meanwhile")
        broker.start()
        again = self.until_end(Consumer(broker))
        again.wait_for_birth()
        topics = [message.topic for message in again.seen]
        self.assertEqual(sorted(set(topics)), sorted({message.topic for message in consumer.seen}))
        self.assertEqual(topics[-1], fleet.TREE + "online")
        self.assertEqual(again.of("config/sip_line_1")[0].json["values"]["display_name"], "Meanwhile")
        self.assertEqual(again.of("config/sms")[0].json["at"], consumer.of("config/sms")[0].json["at"])

    def test_a_cut_network_costs_a_message_for_each_topic(self):
        broker = self.until_end(Broker())
        proxy = self.until_end(Proxy(broker.port))
        consumer = self.until_end(Consumer(broker))
        bridge = self.until_end(Bridge(proxy))
        consumer.wait_for_birth()
        bridge.wait_until_up()
        proxy.cut()
        bridge.lines.wait_for("is lost")
        fleet.run(OTHERS, "settings", "10000")
        count = len(consumer.seen)
        proxy.open()
        consumer.wait_for_birth()
        again = [message.topic for message in consumer.seen[count:]]
        # One more where the last changes are looked at while the topics are told.
        self.assertLessEqual(len(again), len(set(again)) + 1)

    def test_calls_and_messages_follow_once_in_order(self):
        broker = self.until_end(Broker())
        proxy = self.until_end(Proxy(broker.port))
        consumer = self.until_end(Consumer(broker))
        call("1000")
        text("1001")
        bridge = self.until_end(Bridge(proxy, events="calls,messages", state="/tmp/events"))
        consumer.wait_for_birth()
        bridge.wait_until_up()
        call("1002")
        consumer.wait_for("event/call", lambda json: json["call"]["number"] == "1002")
        consumer.wait_until_acknowledged()
        proxy.cut()
        bridge.lines.wait_for("is lost")
        for number in range(2000, 2030):
            call(str(number))
        text("2100")
        text("2101")
        bridge.kill()
        call("2030")
        proxy.open()
        bridge.start()
        consumer.wait_for("event/message", lambda json: json["message"]["remote"] == "2101")
        numbers = [message.json["call"]["number"] for message in consumer.of("event/call")]
        self.assertEqual(numbers, ["1002", *map(str, range(2000, 2031))])
        remotes = [message.json["message"]["remote"] for message in consumer.of("event/message")]
        self.assertEqual(remotes, ["2100", "2101"])
        sequence = [message.json["seq"] for message in consumer.seen if "/event/" in message.topic]
        self.assertEqual(sequence, list(range(1, 35)))
        self.assertFalse(any(one.retained for one in consumer.of("event/call")))

    def test_an_event_keeps_its_number_though_others_come_in_between(self):
        for name, ends in (("cut", lambda bridge, proxy: proxy.cut()),
                           ("killed", lambda bridge, proxy: (proxy.cut(), bridge.kill()))):
            with self.subTest(name):
                broker = self.until_end(Broker())
                proxy = self.until_end(Proxy(broker.port))
                consumer = self.until_end(Consumer(broker))
                bridge = self.until_end(Bridge(proxy, events="calls,messages", state=f"/tmp/{name}"))
                consumer.wait_for_birth()
                bridge.wait_until_up()
                proxy.swallows = True
                text("4000")
                first = consumer.wait_for("event/message")
                call("4001")
                ends(bridge, proxy)
                proxy.swallows = False
                proxy.open()
                if bridge.process.poll() is not None:
                    bridge.start()
                consumer.wait_for_birth()
                self.assertEqual(consumer.wait_for("event/call").json["seq"], 2)
                events = [m for m in consumer.seen if "/event/" in m.topic]
                self.assertEqual([m.json["seq"] for m in events], [1, 1, 2])
                self.assertEqual(events[1].text, first.text)

    def test_nothing_runs_while_a_broker_acknowledges_nothing(self):
        broker = self.until_end(Broker())
        proxy = self.until_end(Proxy(broker.port))
        consumer = self.until_end(Consumer(broker))
        back = change_each_section()
        bridge = self.until_end(Bridge(proxy, events="calls", state="/tmp/stalled"))
        consumer.wait_for_birth()
        bridge.wait_until_up()
        proxy.swallows = True
        set_values(*back)
        for _ in range(20):
            consumer.wait_for_any()
        call("5000")
        self.assertTrue(fleet.settled(bridge))
        self.assertEqual(bridge.process.poll(), None)

    def test_events_are_told_to_nobody_who_did_not_ask(self):
        _, consumer, bridge = self.setup_all(state="/tmp/off")
        call("3000")
        consumer.wait_for("stores")
        set_values("sms.sca", "+31")
        consumer.wait_for("config/sms")
        self.assertEqual(consumer.of("event/call"), [])
        bridge.stop()
        # Whoever switches it on is told what happens from then on.
        bridge.command += ["--events", "calls"]
        bridge.start()
        consumer.wait_for_birth()
        call("3001")
        self.assertEqual(consumer.wait_for("event/call").json["call"]["number"], "3001")

    def test_an_answer_that_the_network_swallowed_follows(self):
        broker = self.until_end(Broker())
        proxy = self.until_end(Proxy(broker.port))
        consumer = self.until_end(Consumer(broker))
        with open("/usr/sbin/vsdk_cmd", "w", encoding="utf-8") as file:
            file.write("#!/bin/sh\necho >/tmp/runs\nread line </tmp/gate2\n")
        os.mkfifo("/tmp/gate2")
        os.mkfifo("/tmp/runs")
        bridge = self.until_end(Bridge(proxy))
        consumer.wait_for_birth()
        bridge.wait_until_up()
        consumer.publish("do/signal", {"id": "swallowed", "name": "vop_sig_timer_expired"})
        with open("/tmp/runs", encoding="utf-8") as runs:
            runs.read()
        proxy.cut()
        with open("/tmp/gate2", "w", encoding="utf-8"):
            pass
        bridge.lines.wait_for("signal swallowed: ok")
        bridge.lines.wait_for("is lost")
        proxy.open()
        answer = consumer.wait_for("done/t").json
        self.assertEqual((answer["id"], answer["status"]), ("swallowed", "ok"))

    def test_a_will_tells_of_one_that_was_killed(self):
        _, consumer, bridge = self.setup_all()
        birth = consumer.of("online")[0].json
        bridge.kill()
        # After the will's delay, half a minute.
        death = consumer.wait_for("online", lambda json: not json["online"])
        self.assertEqual((death.json["boot"], death.json["connection"]),
                         (birth["boot"], birth["connection"]))
        self.assertNotIn("reason", death.json)

    def test_the_broker_says_how_long_may_be_silent(self):
        broker = self.until_end(Broker(max_keepalive=10))
        proxy = self.until_end(Proxy(broker.port))
        bridge = self.until_end(Bridge(proxy, state="/tmp/silent"))
        bridge.wait_until_up()
        self.assertTrue(proxy.pinged.wait(fleet.PATIENCE))
        bridge.stop()
        bridge.lines.wait_for("stopped")
        self.assertFalse([line for line in bridge.lines.seen if "is lost" in line])

    def wait_for_rarer_attempts(self, bridge, pattern, after=lambda: None):
        """Each pause is a random part of a second, and of twice as much each time: one that is
        longer than a second comes soon."""
        pause, most = 0, 1
        while pause < 2:
            line = bridge.lines.wait_for(pattern)
            pause = int(re.search(r"next try in (\d+) s", line)[1])
            self.assertLessEqual(pause, most)
            self.assertLess(most, 2 ** 16, "no pause was longer than the first may be")
            most *= 2
            after()

    def test_attempts_become_rarer(self):
        with socket.socket() as nobody:  # has a port, and does not listen there
            nobody.bind(("127.0.0.1", 0))
            bridge = self.until_end(Bridge(
                type("Nobody", (), {"port": nobody.getsockname()[1]})))
            self.wait_for_rarer_attempts(bridge, "no connection to 127.0.0.1:.*: Connection refused")
            self.assertEqual(bridge.stop(), 0)

    def test_attempts_become_rarer_though_each_is_connected(self):
        # As with two adapters of one name: each pushes the other one out.
        broker = self.until_end(Broker())
        proxy = self.until_end(Proxy(broker.port))
        bridge = self.until_end(Bridge(proxy, state="/tmp/rarer"))

        def lose():
            bridge.wait_until_up()
            proxy.cut()
            proxy.open()

        lose()
        self.wait_for_rarer_attempts(bridge, "connection to .*; next try in", lose)

    def test_nothing_runs_while_nothing_changes(self):
        _, _, bridge = self.setup_all(state="/tmp/idle")
        self.assertTrue(fleet.settled(bridge))

    def test_counters_are_kept_for_metrics(self):
        _, consumer, bridge = self.setup_all(state="/tmp/counted")
        consumer.ask("refresh")
        bridge.stop()
        with open("/tmp/counted.counters", encoding="utf-8") as file:
            counters = dict(line.split() for line in file)
        self.assertEqual((counters["connected"], counters["connections"], counters["answers_ok"]),
                         ("0", "1", "1"))
        self.assertGreater(int(counters["published"]), 30)

    def test_one_that_was_killed_does_not_count_as_connected_for_ever(self):
        broker, _, bridge = self.setup_all(state="/tmp/dead")

        def counted():
            with open("/tmp/dead.counters", encoding="utf-8") as file:
                return file.readline()

        self.assertEqual(counted(), "connected 1\n")
        bridge.kill()
        broker.kill()
        bridge.start()
        bridge.lines.wait_for("no connection to")
        self.assertEqual(counted(), "connected 0\n")


if __name__ == "__main__":
    fleet.main()
