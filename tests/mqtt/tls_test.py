# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
"""Certificates, names, passwords and rights."""
import os
import re
import subprocess
import sys
import time

import fleet
from fleet import Bridge, Broker, Consumer

CERTS = "/tmp/certs"


def openssl(*words):
    subprocess.run(["openssl", *words], check=True, cwd=CERTS, stdout=subprocess.DEVNULL,
                   stderr=subprocess.PIPE, timeout=fleet.PATIENCE)


def make_authority(name):
    openssl("req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes",
            "-subj", f"/CN={name}", "-keyout", f"{name}.key", "-out", f"{name}.pem", "-days", "2")


def make_certificate(authority, name, subject, days="2"):
    with open(f"{CERTS}/{name}.ext", "w", encoding="utf-8") as file:
        file.write(f"subjectAltName={subject}\n")
    openssl("req", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes",
            "-subj", f"/CN={name}", "-keyout", f"{name}.key", "-out", f"{name}.csr")
    openssl("x509", "-req", "-in", f"{name}.csr", "-CA", f"{authority}.pem", "-CAkey",
            f"{authority}.key", "-CAcreateserial", "-days", days, "-extfile", f"{name}.ext", "-out",
            f"{name}.pem")


def setUpModule():
    os.makedirs(CERTS, exist_ok=True)
    make_authority("ours")
    make_authority("theirs")
    make_certificate("ours", "broker", "IP:127.0.0.1")
    make_certificate("ours", "elsewhere", "DNS:broker.example.net")
    make_certificate("ours", "old", "IP:127.0.0.1", days="0")
    make_certificate("ours", "test", "DNS:test")
    make_certificate("ours", "boss", "DNS:boss")
    make_certificate("theirs", "stranger", "DNS:test")


class Tls(fleet.Test):
    def broker(self, name="broker"):
        port = fleet.free_port()
        with open("/tmp/acl", "w", encoding="utf-8") as file:
            file.write("pattern write capi/1/%u/#\npattern read capi/1/%u/do/#\n"
                       "user boss\ntopic readwrite capi/1/#\n")
        return self.until_end(Broker(
            f"listener {port} 127.0.0.1", f"cafile {CERTS}/ours.pem",
            f"certfile {CERTS}/{name}.pem", f"keyfile {CERTS}/{name}.key",
            "require_certificate true", "use_identity_as_username true", "acl_file /tmp/acl",
            port=port))

    def bridge(self, broker, *options, certificate="test", **more):
        return self.until_end(Bridge(
            broker, "--cafile", f"{CERTS}/ours.pem", "--cert", f"{CERTS}/{certificate}.pem", "--key",
            f"{CERTS}/{certificate}.key", *options, state="/tmp/tls", **more))

    def consumer(self, broker):
        return self.until_end(Consumer(broker, tls_set={
            "ca_certs": f"{CERTS}/ours.pem", "certfile": f"{CERTS}/boss.pem",
            "keyfile": f"{CERTS}/boss.key"}))

    def test_certificates_of_both_let_it_in(self):
        broker = self.broker()
        consumer = self.consumer(broker)
        self.bridge(broker)
        consumer.wait_for_birth()
        self.assertEqual(consumer.ask("refresh")["status"], "ok")

    def test_a_wrong_certificate_is_told(self):
        for name in ("elsewhere", "old"):
            bridge = self.bridge(self.broker(name))
            bridge.lines.wait_for(
                "no connection to 127.0.0.1:.*: TLS: certificate verify failed: the broker's "
                f"certificate is not from who {CERTS}/ours.pem names, not for \"127.0.0.1\", or out "
                "of date; next try in")
        bridge = self.until_end(Bridge(self.broker(), "--cafile", f"{CERTS}/theirs.pem"))
        bridge.lines.wait_for("certificate verify failed")

    def test_an_adapter_of_strangers_is_not_let_in(self):
        bridge = self.bridge(self.broker(), certificate="stranger")
        bridge.lines.wait_for("no connection to 127.0.0.1:.*: ")
        self.assertFalse(any("connected to" in line for line in bridge.lines.seen))

    def test_a_file_that_is_missing_is_told(self):
        bridge = self.until_end(Bridge(self.broker(), "--cafile", "/nowhere"))
        bridge.lines.wait_for("TLS cannot be used: /nowhere, the certificate or its key cannot be read")

    def test_who_may_not_write_is_not_connected(self):
        # Its name is another one than that of its certificate.
        bridge = self.bridge(self.broker(), name="other")
        bridge.lines.wait_for("the broker does not take a message: Not authori[sz]ed")
        bridge.lines.wait_for("no connection to 127.0.0.1:.*: the broker does not take "
                              "capi/1/other/online: Not authori[sz]ed; next try in")
        bridge.stop()
        self.assertFalse(any("connected to" in line for line in bridge.lines.seen))
        with open("/tmp/tls.counters", encoding="utf-8") as file:
            counters = dict(line.split() for line in file)
        self.assertEqual((counters["connected"], counters["connections"]), ("0", "0"))

    def test_a_password_comes_from_a_file_and_is_seen_nowhere(self):
        port = fleet.free_port()
        with open("/tmp/password", "w", encoding="utf-8") as file:
            file.write("hush-hush\n")
        subprocess.run(["mosquitto_passwd", "-b", "-c", "/tmp/passwords", "adapter", "hush-hush"],
                       check=True)
        broker = self.until_end(Broker(f"listener {port} 127.0.0.1", "allow_anonymous false",
                                       "password_file /tmp/passwords", port=port))
        consumer = self.until_end(Consumer(broker, username_pw_set={
            "username": "adapter", "password": "hush-hush"}))
        bridge = self.until_end(Bridge(broker, "--user", "adapter", "--password-file", "/tmp/password"))
        consumer.wait_for_birth()
        with open(f"/proc/{bridge.process.pid}/cmdline", encoding="utf-8") as file:
            self.assertNotIn("hush", file.read())
        bridge.stop()
        with open("/tmp/password", "w", encoding="utf-8") as file:
            file.write("wrong\n")
        bridge.start()
        bridge.lines.wait_for("the broker refuses it: Not authori[sz]ed")
        self.assertFalse([line for line in bridge.lines.seen if "hush" in line])

    def test_it_takes_little_memory(self):
        broker = self.broker()
        consumer = self.consumer(broker)
        bridge = self.bridge(broker)
        consumer.wait_for_birth()
        consumer.ask("refresh")
        consumer.ask("set", set={"sms.sca": "+1"})
        most = 1536 if "CAPI_IS_RELEASE" in os.environ else sys.maxsize
        # What the last messages took is given back once the broker has acknowledged them.
        end = time.monotonic() + fleet.PATIENCE
        while True:
            with open(f"/proc/{bridge.process.pid}/smaps_rollup", encoding="utf-8") as file:
                sizes = dict(re.findall(r"^(\w+): +(\d+) kB$", file.read(), re.MULTILINE))
            private = int(sizes["Private_Dirty"])
            if private <= most or time.monotonic() > end:
                break
        print(f"private {private} kB, resident {sizes['Rss']} kB")
        self.assertLessEqual(private, most)


if __name__ == "__main__":
    fleet.main()
