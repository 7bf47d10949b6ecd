# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
"""What the tests of the bridge share: an adapter, a real broker, and somebody who listens to it.

Nothing here sleeps: whoever waits, waits for a message, a line or a process, and fails after a time
that only a failure takes.
"""
import ctypes
import json
import os
import queue
import re
import shutil
import signal
import socket
import subprocess
import sys
import threading
import time
import unittest
import uuid

import paho.mqtt.client as paho
from paho.mqtt.packettypes import PacketTypes
from paho.mqtt.properties import Properties

PATIENCE = int(os.environ.get("CAPI_TEST_PATIENCE", "60"))  # seconds, of a failing test
SOURCE, OTHERS, CAPICTL, BRIDGE = sys.argv[1:5]
EMULATOR = sys.argv[5:]
TREE = "capi/1/test/"
LIBC = ctypes.CDLL(None)


def run(*command, **more):
    """Runs a program of ours and returns its output."""
    return subprocess.run([*EMULATOR, *command], check=True, stdout=subprocess.PIPE, text=True,
                          timeout=PATIENCE, **more).stdout


def capictl(*arguments):
    return run(CAPICTL, *arguments)


def set_values(*words):
    capictl("config", "set", *words)


def start_adapter():
    shutil.copytree(SOURCE + "/demo/device", "/", dirs_exist_ok=True, symlinks=True)
    capictl("master", "--settings", "/quorbleconf/config/voice.settings",
            "/quorbleconf/config/network.settings")


def start(command, **more):
    """Starts a program whose standard error is read; it does not outlive this one."""
    def end_with_parent():
        LIBC.prctl(1, signal.SIGKILL)
    return subprocess.Popen(command, stderr=subprocess.PIPE, text=True, stdin=subprocess.DEVNULL,
                            stdout=subprocess.DEVNULL, preexec_fn=end_with_parent, **more)


def free_port():
    with socket.socket() as one:
        one.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
        one.bind(("127.0.0.1", 0))
        return one.getsockname()[1]


class Lines:
    """The lines that a process writes, to be waited for in their order."""

    def __init__(self, stream):
        self.seen = []
        self._lines = queue.Queue()
        threading.Thread(target=self._read, args=(stream,), daemon=True).start()

    def _read(self, stream):
        for line in stream:
            self._lines.put(line.rstrip("\n"))
        self._lines.put(None)

    def wait_for(self, pattern):
        while True:
            try:
                line = self._lines.get(timeout=PATIENCE)
            except queue.Empty:
                line = None
            if line is None:
                raise AssertionError(f"no line {pattern!r}, but {self.seen}")
            self.seen.append(line)
            if os.environ.get("SHOW"):
                print(line, flush=True)
            if re.search(pattern, line):
                return line


class Broker:
    """A real one, on the loopback interface."""

    def __init__(self, *lines, port=None, **settings):
        self.port = port or free_port()
        lines = [*(lines or [f"listener {self.port} 127.0.0.1", "allow_anonymous true"]),
                 *(f"{name} {value}" for name, value in settings.items())]
        self.path = f"/tmp/mosquitto.{self.port}"
        with open(self.path, "w", encoding="utf-8") as file:
            file.write("\n".join(["per_listener_settings false", "log_dest stderr", "user root",
                                  "log_type error", "log_type warning", "log_type notice",
                                  "log_type information",
                                  *lines, ""]))
        self.process = None
        self.start()

    def start(self):
        """Starts it, again too."""
        program = shutil.which("mosquitto") or "/usr/sbin/mosquitto"
        self.process = start([program, "-c", self.path])
        self.lines = Lines(self.process.stderr)
        self.lines.wait_for("mosquitto version .* running")

    def kill(self):
        self.process.kill()
        self.process.wait()


class Proxy:
    """Between bridge and broker: hands on, or swallows or keeps back what the broker says, or lets
    nobody in."""

    def __init__(self, to):
        self.to = to
        self.swallows = False
        self.pinged = threading.Event()
        self._pairs = []
        self._held = self._held_for = None
        self._news = threading.Condition()
        self.port = free_port()
        self._listener = socket.socket()
        self._listener.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
        self._listener.bind(("127.0.0.1", self.port))  # by number, or shutdown() gives it away
        self.open()

    def open(self):
        self._listener.listen()
        threading.Thread(target=self._accept, daemon=True).start()

    def _accept(self):
        while True:
            try:
                one, _ = self._listener.accept()
                two = socket.create_connection(("127.0.0.1", self.to))
            except OSError:
                return
            self._pairs.append((one, two))
            for a, b, is_broker in ((one, two, False), (two, one, True)):
                threading.Thread(target=self._pump, args=(a, b, is_broker), daemon=True).start()

    def _pump(self, a, b, is_broker):
        try:
            while data := a.recv(65536):
                if data == b"\xc0\x00":
                    self.pinged.set()
                if not (is_broker and self.swallows):
                    self._hand_on(b, data, is_broker)
        except OSError:
            pass
        for one in (a, b):
            try:
                one.shutdown(socket.SHUT_RDWR)
            except OSError:
                pass

    def _hand_on(self, to, data, is_broker):
        with self._news:
            if not is_broker or self._held is None:
                to.sendall(data)
            else:
                self._held += data
                self._held_for = to
                self._news.notify_all()

    def hold(self):
        """What the broker says comes at once, later."""
        with self._news:
            self._held = b""

    def wait_until_held(self, part, count):
        with self._news:
            assert self._news.wait_for(lambda: self._held.count(part) >= count, PATIENCE)

    def release(self):
        with self._news:
            self._held_for.sendall(self._held)
            self._held = None

    def cut(self):
        """No connection survives, and none is let in. The port stays ours."""
        try:
            self._listener.shutdown(socket.SHUT_RDWR)
        except OSError:
            pass
        for pair in self._pairs:
            for one in pair:
                try:
                    one.shutdown(socket.SHUT_RDWR)
                except OSError:
                    pass
        self._pairs = []


class Bridge:
    def __init__(self, broker, *options, state="/tmp/state", name="test", events=None):
        self.command = [*EMULATOR, BRIDGE, "--host", "127.0.0.1", "--port", str(broker.port),
                        "--id", name, "--state", state, "--counters", state + ".counters", *options]
        if events:
            self.command += ["--events", events]
        self.process = None
        self.more = {}
        self.start()

    def start(self):
        self.process = start(self.command, **self.more)
        self.lines = Lines(self.process.stderr)

    def wait_until_up(self):
        """Until it knows itself that it is."""
        self.lines.wait_for("connected to .* as ")

    def stop(self):
        self.process.terminate()
        return self.process.wait(PATIENCE)

    def kill(self):
        self.process.kill()
        self.process.wait()


class Held:
    """A lock of the library's that another program holds, in a with statement."""

    def __init__(self, lock):
        self.process = subprocess.Popen([*EMULATOR, OTHERS, "hold", str(lock)],
                                        stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        assert self.process.stdout.readline() == "held\n"

    def __enter__(self):
        return self

    def __exit__(self, *error):
        self.process.communicate("", timeout=PATIENCE)


def settled(bridge):
    """Whether a bridge waits for news and nothing else: it does not run while others do.

    One that looks every second looks in each of the tries. What is left of something before may come
    in the first."""
    def runs():
        with open(f"/proc/{bridge.process.pid}/status", encoding="utf-8") as file:
            status = file.read()
        return "State:\tS" in status and re.findall(r"ctxt.*", status)

    for _ in range(5):
        before = runs()
        begin = time.monotonic()
        while time.monotonic() - begin < 2:
            capictl("config", "get", "sms.sca")
        if before and runs() == before:
            return True
    return False


class Message:
    def __init__(self, message):
        self.topic = message.topic
        self.text = message.payload.decode()
        self.retained = message.retain
        self.properties = message.properties
        self.json = json.loads(self.text) if self.text else None

    def __repr__(self):
        return f"{self.topic} {self.text}"


class Consumer:
    """Whoever has the fleet in one place. Sees all messages, and asks for things."""

    def __init__(self, broker, topic=TREE + "#", **options):
        self._messages = queue.Queue()
        self.seen = []
        self.client = paho.Client(client_id="consumer-" + uuid.uuid4().hex, protocol=paho.MQTTv5)
        self.client.on_message = self._take
        subscribed = threading.Event()
        self.client.on_subscribe = lambda *arguments: subscribed.set()
        self.client.on_connect = lambda client, *arguments: client.subscribe(topic, qos=1)
        for name, value in options.items():
            getattr(self.client, name)(**value)
        self.client.connect("127.0.0.1", broker.port)
        self.client.loop_start()
        assert subscribed.wait(PATIENCE)

    def _take(self, client, user, message):
        if "/do/" not in message.topic:  # what we asked ourselves
            self._messages.put(Message(message))

    def close(self):
        self.client.disconnect()
        self.client.loop_stop()

    def wait_for_any(self, what="message"):
        try:
            message = self._messages.get(timeout=PATIENCE)
        except queue.Empty:
            raise AssertionError(f"no {what}, but {self.seen[-50:]}") from None
        self.seen.append(message)
        return message

    def wait_for(self, topic, test=lambda json: True):
        """The next message of this topic for which it is so."""
        while True:
            message = self.wait_for_any(topic)
            if message.topic == TREE + topic and test(message.json):
                return message

    def find(self, topic, test):
        """One that came already or comes, where there is no telling which of two comes first."""
        for message in self.of(topic):
            if test(message.json):
                return message
        return self.wait_for(topic, test)

    def wait_for_birth(self):
        return self.wait_for("online", lambda json: json["online"])

    def of(self, topic):
        return [message for message in self.seen if message.topic == TREE + topic]

    def publish(self, topic, payload, retain=False, response=TREE + "done/t", correlation=b"c"):
        properties = Properties(PacketTypes.PUBLISH)
        if response:
            properties.ResponseTopic = response
        if correlation:
            properties.CorrelationData = correlation
        if not isinstance(payload, (str, bytes)):
            payload = json.dumps(payload)
        self.client.publish(TREE + topic, payload, qos=1, retain=retain, properties=properties)

    def ask(self, command, **members):
        """A request with an id of its own; returns its answer."""
        request = {"id": uuid.uuid4().hex, **members}
        self.publish("do/" + command, request)
        return self.wait_for("done/t", lambda json: json["id"] == request["id"]).json

    def wait_until_acknowledged(self):
        """Until the bridge knows that the broker has what came here: a request follows behind it."""
        self.ask("refresh")


class Test(unittest.TestCase):
    def setUp(self):
        self.addCleanup(self._end)
        self.ended = []
        shutil.copy(SOURCE + "/demo/device/usr/sbin/vsdk_cmd", "/usr/sbin/vsdk_cmd")
        # The bridge of another test may have had no time to know that its answers had arrived.
        shutil.rmtree("/tmp/state", ignore_errors=True)

    def until_end(self, thing):
        """A broker, bridge or consumer that ends with the test."""
        self.ended.append(thing)
        return thing

    def _end(self):
        for thing in reversed(self.ended):
            if isinstance(thing, Consumer):
                thing.close()
            elif isinstance(thing, Proxy):
                thing.cut()
            elif thing.process.poll() is None:
                thing.kill()

    def setup_all(self, *options, **more):
        """A broker, somebody who listens to it, and a bridge that is up."""
        broker = self.until_end(Broker())
        consumer = self.until_end(Consumer(broker))
        bridge = self.until_end(Bridge(broker, *options, **more))
        consumer.wait_for_birth()
        bridge.wait_until_up()
        return broker, consumer, bridge


def main():
    os.environ.setdefault("LC_ALL", "C.UTF-8")
    signal.signal(signal.SIGPIPE, signal.SIG_IGN)
    start_adapter()
    unittest.main(argv=sys.argv[:1] + os.environ.get("ONLY", "").split(), verbosity=2)
