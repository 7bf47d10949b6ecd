# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
"""docs/fleet-asyncapi.json against what a bridge says and takes, both ways."""
import json
import os
import re
import sys
import time

import jsonschema

import fleet
from fleet import TREE, Bridge, Broker, capictl
from recorder import Recorder

sys.path.insert(0, os.path.join(fleet.SOURCE, "tests/support"))
from shapes import closed

DOCS = os.path.join(fleet.SOURCE, "docs")
META = os.path.join(fleet.SOURCE, "build/npm/node_modules/@asyncapi/specs/schemas/3.0.0.json")


def read(name):
    with open(os.path.join(DOCS, name), encoding="utf-8") as file:
        return json.load(file)


def store():
    """The documents that refer to each other, by the names that they use for that."""
    documents = {"file://" + os.path.join(DOCS, name): closed(read(name))
                 for name in ("fleet-asyncapi.json", "json/capictl.json", "settings.schema.json")}
    for document in documents.values():
        document.pop("$id", None)
    return documents


class Document:
    def __init__(self):
        self.base = "file://" + os.path.join(DOCS, "fleet-asyncapi.json")
        self.text = read("fleet-asyncapi.json")
        self.store = store()
        self.patterns = {name: self._pattern(channel)
                         for name, channel in self.text["channels"].items()}

    @staticmethod
    def _pattern(channel):
        pattern = channel["address"].replace("{adapter}", "test")
        for name, parameter in channel["parameters"].items():
            values = "|".join(map(re.escape, parameter.get("enum", []))) or ".+"
            pattern = pattern.replace("{" + name + "}", f"({values})")
        return re.compile(pattern)

    def channel_of(self, topic):
        fitting = [name for name, pattern in self.patterns.items() if pattern.fullmatch(topic)]
        if len(fitting) != 1:
            raise AssertionError(f"{topic} is in the channels {fitting}")
        return fitting[0]

    def message_of(self, channel):
        (name,) = self.text["channels"][channel]["messages"]
        return name

    def properties_of(self, message):
        return set(self.text["components"]["messages"][message]["payload"]["properties"])

    def is_retained(self, channel):
        own = {"$ref": "#/channels/" + channel}
        return any(operation["channel"] == own and operation["bindings"]["mqtt"]["retain"]
                   for operation in self.text["operations"].values())

    def check(self, channel, value):
        pointer = f"#/components/messages/{self.message_of(channel)}/payload"
        resolver = jsonschema.RefResolver(self.base, self.store[self.base], store=self.store)
        validator = jsonschema.Draft202012Validator({"$ref": self.base + pointer}, resolver=resolver)
        errors = [f"{error.json_path}: {error.message}" for error in validator.iter_errors(value)]
        if errors:
            raise AssertionError(f"{channel}: {value}: {errors}")

    def topics(self):
        """Every topic of an adapter, where the document says all that there may be."""
        for channel in self.text["channels"].values():
            topics = [channel["address"].replace("{adapter}", "test")]
            for name, parameter in channel["parameters"].items():
                topics = [topic.replace("{" + name + "}", value) for topic in topics
                          for value in parameter.get("enum", ["{" + name + "}"])]
            yield from topics


class AsyncApi(fleet.Test):
    def test_the_document_is_what_asyncapi_says(self):
        self.assertTrue(os.path.exists(META), "script/install-deps test brings what judges it")
        with open(META, encoding="utf-8") as file:
            meta = json.load(file)
        errors = jsonschema.Draft7Validator(meta).iter_errors(read("fleet-asyncapi.json"))
        self.assertEqual([f"{error.json_path}: {error.message}" for error in errors], [])

    def test_every_reference_leads_somewhere(self):
        document = Document()
        resolver = jsonschema.RefResolver(document.base, document.store[document.base],
                                          store=document.store)

        def follow(value):
            if isinstance(value, dict):
                if "$ref" in value:
                    resolver.resolve(value["$ref"])
                value = list(value.values())
            if isinstance(value, list):
                for item in value:
                    follow(item)

        follow(document.text)

    def test_the_table_of_topics_has_the_same(self):
        with open(os.path.join(DOCS, "fleet-topics.md"), encoding="utf-8") as file:
            rows = re.findall(r"^\| (`.*?) \|", file.read().split("## Birth")[0], re.MULTILINE)
        told = {topic for row in rows for topic in re.findall("`([^`]*)`", row)}
        documented = set()
        for topic in Document().topics():
            name = topic.removeprefix(TREE)
            name = re.sub("^config/.*", "config/SECTION", re.sub("^do/.*", "do/COMMAND", name))
            documented.add(re.sub("^done/.*", "done", name))
        self.assertEqual(told, documented)

    def ask(self, wanted, command, **members):
        later = time.strftime("%Y-%m-%dT%H:%M:%SZ", time.gmtime(time.time() + 3600))
        answer = self.consumer.ask(command, **{"expires": later, **members})
        self.assertEqual(answer["status"], wanted, answer)
        return answer

    def ask_everything(self):
        """Each command and each way in which one ends."""
        generation = self.consumer.of("config/sms")[0].json["generation"]
        waiting = self.ask("ok", "set", set={"sip_line_1.display_name": "Den"},
                           if_generation=generation, confirm_within=600, apply=True)
        self.consumer.wait_for("change", lambda json: json["change"]["pending"])
        self.ask("busy", "set", set={"sip_line_1.display_name": "Attic"})
        self.ask("ok", "confirm", pending=waiting["pending"]["id"])
        self.consumer.wait_for("change", lambda json: not json["change"]["pending"])
        waiting = self.ask("ok", "load", document={"sip_line_2": {"display_name": "Attic"}},
                           if_generation=waiting["generation"], confirm_within=600, apply=False)
        self.ask("ok", "cancel", pending=waiting["pending"]["id"])
        waiting = self.ask("ok", "reset", keys=["sip_line_2"], if_generation=self.generation(),
                           confirm_within=600, apply=True)
        self.ask("ok", "confirm", pending=waiting["pending"]["id"])
        self.ask("ok", "stack-file", types=["voip"])
        self.ask("ok", "signal", name="vop_sig_voip_vm_on", params=["1"])
        self.ask("refused", "set", set={"sip_line_1.enable": 7})
        self.ask("expired", "set", set={"sip_line_1.enable": 1}, expires="2020-01-01T00:00:00Z")
        self.ask("ok", "refresh", spread=0)
        self.consumer.wait_for("about")

    def generation(self):
        last = self.ask("ok", "stack-file", types=["voip"])
        return last["generation"]

    def ask_wrongly(self):
        """What is no request as the document has them; only the answers are."""
        os.mkdir("/tmp/vosip.conf.volte")
        self.ask("failed", "stack-file", types=["volte"])
        wrong = "{}"
        self.consumer.publish("do/set", wrong, response=None)
        self.assertIsNone(self.consumer.wait_for("done").json["id"])
        return wrong

    def fill_stores(self):
        fleet.run(fleet.OTHERS, "calls")
        capictl("sms", "send", "+15551230002", "hello")
        self.consumer.wait_for("event/call")
        self.consumer.wait_for("event/message")

    def test_what_is_said_is_documented_and_what_is_documented_is_said(self):
        document = Document()
        broker = self.until_end(Broker())
        self.consumer = self.until_end(Recorder(broker))
        bridge = self.until_end(Bridge(broker, events="calls,messages"))
        self.consumer.wait_for_birth()
        self.ask_everything()
        wrong = self.ask_wrongly()
        self.fill_stores()
        bridge.stop()
        self.consumer.wait_for("online", lambda json: "reason" in json)

        topics, members = set(), {}
        for message in self.consumer.seen:
            channel = document.channel_of(message.topic)
            topics.add(re.sub("/done/.*", "/done/{requester}", message.topic))
            if message.text == wrong:
                continue
            document.check(channel, message.json)
            members.setdefault(document.message_of(channel), set()).update(message.json)
        self.assertEqual(topics, set(document.topics()))
        for message, seen in members.items():
            self.assertEqual(seen, document.properties_of(message), message)
        statuses = {m.json["status"] for m in self.consumer.seen if m.topic.startswith(TREE + "done")}
        self.assertEqual(statuses, set(document.text["components"]["messages"]["answer"]["payload"]
                                       ["properties"]["status"]["enum"]))
        (about, *_) = self.consumer.of("about")
        self.assertEqual({"do-" + command for command in about.json["features"]},
                         {channel for channel in document.patterns if channel.startswith("do-")})

    def test_what_is_documented_as_retained_is(self):
        document = Document()
        broker, consumer, _ = self.setup_all()
        consumer.ask("stack-file", types=["voip"])
        late = self.until_end(Recorder(broker))
        late.wait_for_birth()
        consumer.publish("done/end", "{}")
        late.wait_for("done/end")
        topics = {topic for topic in document.topics()
                  if document.is_retained(document.channel_of(topic))}
        self.assertEqual({message.topic for message in late.seen if message.retained}, topics)


if __name__ == "__main__":
    fleet.main()
