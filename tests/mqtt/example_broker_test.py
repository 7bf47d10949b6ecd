# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
"""The broker that examples/fleet sets up: who comes in, and what each may."""
import os
import shutil
import ssl
import subprocess
import threading
import time

import paho.mqtt.client as paho

import fleet
from fleet import TREE, Bridge, Broker
from recorder import Recorder

EXAMPLES = os.path.join(fleet.SOURCE, "examples/fleet")
CERTIFICATES = "/tmp/certificates"


def path(name):
    return os.path.join(CERTIFICATES, name)


def certify(directory, *names):
    subprocess.run([os.path.join(EXAMPLES, "make-certificates"), directory, "127.0.0.1", *names],
                   check=True)


def tls(holder, directory=CERTIFICATES):
    """What a client that has this certificate is told."""
    return {"ca_certs": path("people-ca.pem"), "tls_version": ssl.PROTOCOL_TLS,
            "certfile": holder and os.path.join(directory, holder + ".pem"),
            "keyfile": holder and os.path.join(directory, holder + ".key")}


class Port:
    """One of a broker's ports."""

    def __init__(self, port):
        self.port = port


class ExampleBroker(fleet.Test):
    @classmethod
    def setUpClass(cls):
        certify(CERTIFICATES, "test", "other")
        for acl in ("acl-adapters", "acl-people"):
            shutil.copy(os.path.join(EXAMPLES, acl), CERTIFICATES)

    def setUp(self):
        super().setUp()
        self.adapters, self.people = Port(fleet.free_port()), Port(fleet.free_port())
        with open(os.path.join(EXAMPLES, "mosquitto.conf"), encoding="utf-8") as file:
            text = file.read().replace("/etc/mosquitto/fleet", CERTIFICATES)
        text = text.replace("listener 8883", f"listener {self.adapters.port} 127.0.0.1")
        text = text.replace("listener 8884", f"listener {self.people.port} 127.0.0.1")
        self.until_end(Broker(*text.splitlines(), port=self.people.port))

    def consumer(self, holder, topic=TREE + "#", port=None):
        return self.until_end(Recorder(port or self.people, topic, tls_set=tls(holder)))

    def bridge(self):
        return self.until_end(Bridge(self.adapters, "--cafile", path("people-ca.pem"), "--cert",
                                     path("test.pem"), "--key", path("test.key")))

    def comes_in(self, port, options):
        """Whether a client does with these options of TLS; none for one without."""
        answered = threading.Event()
        client = paho.Client(client_id="somebody", protocol=paho.MQTTv5)
        client.on_connect = lambda *arguments: answered.set()
        try:
            if options:
                client.tls_set(**options)
            client.connect("127.0.0.1", port.port)
            end = time.monotonic() + fleet.PATIENCE
            while client.loop(0.1) == paho.MQTT_ERR_SUCCESS and not answered.is_set():
                self.assertLess(time.monotonic(), end, "neither let in nor sent away")
        except OSError:
            pass
        return answered.is_set()

    def test_an_operator_sees_the_adapter_and_has_it_do_things(self):
        operator = self.consumer("operator")
        self.bridge()
        operator.wait_for_birth()
        answer = operator.ask("set", set={"sip_line_1.display_name": "Pantry"})
        self.assertEqual(answer["status"], "ok")
        operator.find("config/sip_line_1", lambda json: json["values"]["display_name"] == "Pantry")

    def test_a_dashboard_sees_and_does_nothing(self):
        self.bridge()
        dashboard, operator = self.consumer("dashboard"), self.consumer("operator", "#")
        dashboard.wait_for_birth()
        for topic in ("do/refresh", "online", "done/t"):
            for tree in (TREE, "capi/1/dashboard/"):
                dashboard.client.publish(tree + topic, '{"from": "dashboard"}',
                                         qos=1).wait_for_publish(fleet.PATIENCE)
        self.assertEqual(operator.ask("stack-file", types=["voip"])["status"], "ok")
        # Who is sent the second round trip would have been sent what came before it.
        dashboard.wait_for("done/t", lambda json: "status" in json)
        self.assertFalse([m for m in operator.seen + dashboard.seen if "dashboard" in m.text])

    def test_an_adapter_cannot_write_the_topics_of_another(self):
        operator = self.consumer("operator", "#")
        other = self.consumer("other", "capi/1/other/do/#", self.adapters)
        for topic in ("capi/1/test/online", "capi/1/test/do/set", "capi/1/test/done/t",
                      "capi/1/other/do/../../test", "capi/2/other/x", "anything", "$SYS/x"):
            other.client.publish(topic, "{}", qos=1)
        other.client.publish("capi/1/other/online", '{"online": true}', qos=1)
        operator.wait_until(lambda message: message.topic == "capi/1/other/online")
        self.assertEqual([m.topic for m in operator.seen if "/other/" not in m.topic], [])

    def test_an_adapter_reads_only_what_it_is_to_do(self):
        operator = self.consumer("operator")
        other = self.consumer("other", "#", self.adapters)
        operator.publish("do/refresh", {"id": "to-test"})
        operator.client.publish("capi/1/other/do/refresh", '{"id": "to-other"}', qos=1)
        message = other.wait_until(lambda message: True)
        self.assertEqual((message.topic, message.json["id"]), ("capi/1/other/do/refresh", "to-other"))

    def test_an_adapter_whose_name_is_that_of_an_operator_is_none(self):
        subprocess.run(["openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt",
                        "ec_paramgen_curve:prime256v1", "-noenc", "-days", "2", "-subj",
                        "/CN=operator", "-keyout", path("false.key"), "-out", path("false.pem"), "-CA",
                        path("adapters-ca.pem"), "-CAkey", path("adapters-ca.key"), "-addext",
                        "basicConstraints=critical,CA:FALSE", "-addext", "extendedKeyUsage=clientAuth"],
                       check=True, stderr=subprocess.DEVNULL)
        operator = self.consumer("operator", "#")
        false = self.consumer("false", "#", self.adapters)
        false.client.publish(TREE + "do/set", '{"from": "false"}', qos=1)
        false.client.publish("capi/1/operator/online", '{"from": "false"}', qos=1)
        own = operator.wait_until(lambda message: "false" in message.text)
        self.assertEqual(own.topic, "capi/1/operator/online")
        operator.publish("do/refresh", {"id": "to-test"})
        operator.client.publish("capi/1/operator/do/refresh", '{"id": "to-false"}', qos=1)
        self.assertEqual(false.wait_until(lambda message: True).json["id"], "to-false")

    def test_an_adapter_cannot_push_out_another_by_its_client_id(self):
        operator = self.consumer("operator")
        self.bridge()
        operator.wait_for_birth()
        self.assertTrue(self.comes_in_as("test", "other"))
        self.assertEqual(operator.ask("stack-file", types=["voip"])["status"], "ok")

    def comes_in_as(self, client_id, holder):
        answered = threading.Event()
        client = paho.Client(client_id=client_id, protocol=paho.MQTTv5)
        client.on_connect = lambda *arguments: answered.set()
        client.tls_set(**tls(holder))
        client.connect("127.0.0.1", self.adapters.port)
        client.loop_start()
        self.addCleanup(client.loop_stop)
        return answered.wait(fleet.PATIENCE)

    def test_nobody_comes_in_without_a_certificate_that_is_for_the_place(self):
        certify("/tmp/strangers", "test")
        strangers = {"adapters": tls("test", "/tmp/strangers"),
                     "people": tls("operator", "/tmp/strangers")}
        for place, own, foreign in (("adapters", "test", "operator"),
                                    ("people", "operator", "test")):
            port = getattr(self, place)
            self.assertTrue(self.comes_in(port, tls(own)), place)
            self.assertFalse(self.comes_in(port, tls(foreign)), place)
            self.assertFalse(self.comes_in(port, tls(None)), place)
            self.assertFalse(self.comes_in(port, strangers[place]), place)
            self.assertFalse(self.comes_in(port, None), place)

    def test_no_certificate_is_made_for_a_name_that_means_something_else(self):
        for name in ("operator", "dashboard", "broker", "people-ca", "a/b", "+", "#", "", ".."):
            made = subprocess.run([os.path.join(EXAMPLES, "make-certificates"), "/tmp/refused",
                                   "127.0.0.1", name], stderr=subprocess.PIPE, text=True, check=False)
            self.assertEqual((made.returncode, made.stderr),
                             (2, f'make-certificates: "{name}" cannot be an adapter\n'))
        self.assertFalse(os.path.exists("/tmp/refused"))


if __name__ == "__main__":
    fleet.main()
