# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
"""Many simulated adapters on one broker: what a change of one setting on all of them costs.

Each adapter is a process tree in a private view of its own, with the real library, a real master
and the real bridge. The broker has the configuration of examples/fleet, on the loopback interface.
"""
import argparse
import collections
import ctypes
import json
import os
import resource
import shutil
import signal
import socket
import ssl
import statistics
import subprocess
import sys
import tempfile
import time

import paho.mqtt.client as paho
from paho.mqtt.packettypes import PacketTypes
from paho.mqtt.properties import Properties

import plot

SOURCE = os.path.realpath(os.path.join(os.path.dirname(__file__), "../.."))
EXAMPLES = os.path.join(SOURCE, "examples/fleet")
MOST_ADAPTERS = 1000
MOST_SECONDS = 1200  # of a run
STARTING = 6         # adapters that come up at the same time
IDLE_SECONDS = 5
INSTANCES = "/proc/sys/fs/inotify/max_user_instances"
INSTANCES_EACH = 3  # two of the bridge, and one of who watches over a change


class Stop(BaseException):
    pass


def stop(number, frame):
    raise Stop(signal.Signals(number).name)


def name_of(number):
    return f"adapter-{number:04}"


def free_port():
    with socket.socket() as one:
        one.bind(("127.0.0.1", 0))
        return one.getsockname()[1]


# ---- Processes -----------------------------------------------------------------------------------

def adopt_orphans():
    """What watches over a change outlives who started it: it becomes a child of ours, and ends with
    us."""
    PR_SET_CHILD_SUBREAPER = 36
    ctypes.CDLL(None, use_errno=True).prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0)


def end_with_parent():
    PR_SET_PDEATHSIG = 1
    ctypes.CDLL(None).prctl(PR_SET_PDEATHSIG, signal.SIGTERM)


def children():
    found = []
    for task in os.listdir("/proc/self/task"):
        with open(f"/proc/self/task/{task}/children", encoding="ascii") as file:
            found += map(int, file.read().split())
    return found


def processor_seconds(pid):
    """Of a process that lives, exactly: the clock that clock_getcpuclockid() gives."""
    CPUCLOCK_SCHED = 2
    return time.clock_gettime((~pid << 3) | CPUCLOCK_SCHED)


def memory_of(pid):
    """In kilobytes, by the names of smaps."""
    with open(f"/proc/{pid}/smaps_rollup", encoding="ascii") as file:
        rows = (line.split() for line in file)
        return {row[0].rstrip(":"): int(row[1]) for row in rows if row[-1] == "kB"}


class Processes:
    """All that we start. The end of a "with" ends them."""

    def __init__(self, directory):
        self.directory = directory
        self.pids = {}
        self.orphans = 0.0  # processor seconds of those that came to us and ended

    def __enter__(self):
        return self

    def __exit__(self, *error):
        """Goodbye first, and then by force."""
        signal.signal(signal.SIGINT, signal.SIG_IGN)
        signal.signal(signal.SIGTERM, signal.SIG_IGN)
        for number in (signal.SIGTERM, signal.SIGKILL):
            end = time.monotonic() + 10
            for pid in children():
                os.kill(pid, number)
            while children() and time.monotonic() < end:
                self.reap()
                time.sleep(0.02)

    def start(self, name, command, **more):
        with open(os.path.join(self.directory, name + ".log"), "wb") as log:
            process = subprocess.Popen(command, cwd=SOURCE, stdin=subprocess.DEVNULL, stdout=log,
                                       stderr=log, preexec_fn=end_with_parent, **more)
        process.returncode = 0  # it is reaped here, with its processor time
        self.pids[process.pid] = name
        return process.pid

    def reap(self):
        """What has ended; one of ours must not."""
        ended = []
        while True:
            try:
                pid, _, usage = os.wait4(-1, os.WNOHANG)
            except ChildProcessError:
                return ended
            if pid == 0:
                return ended
            if pid in self.pids:
                ended.append(self.pids.pop(pid))
            else:
                self.orphans += usage.ru_utime + usage.ru_stime

    def check(self):
        for name in self.reap():
            with open(os.path.join(self.directory, name + ".log"), encoding="utf-8") as log:
                raise SystemExit(f"fleet: {name} has ended: {log.read()[-2000:]}")


class Instances:
    """Each adapter watches files, and of what that takes a user may have a small number only."""

    def __init__(self, adapters):
        with open(INSTANCES, encoding="ascii") as file:
            self.before = int(file.read())
        self.need = adapters * INSTANCES_EACH + 64

    def set(self, number):
        with open(INSTANCES, "w", encoding="ascii") as file:
            file.write(str(number))

    def __enter__(self):
        if self.before >= self.need:
            return
        try:
            self.set(self.need)
        except OSError:
            raise SystemExit(f"fleet: so many adapters need more than fs.inotify.max_user_instances "
                             f"allows: sysctl -w fs.inotify.max_user_instances={self.need}") from None
        print(f"fs.inotify.max_user_instances is {self.need} for this run, instead of {self.before}")

    def __exit__(self, *error):
        if self.before < self.need:
            self.set(self.before)


# ---- The broker, and who has the fleet in one place ----------------------------------------------

def start_broker(processes, directory):
    ports = {"8883": str(free_port()), "8884": str(free_port())}
    with open(os.path.join(EXAMPLES, "mosquitto.conf"), encoding="utf-8") as file:
        text = file.read().replace("/etc/mosquitto/fleet", directory)
    for example, port in ports.items():
        text = text.replace(f"listener {example}", f"listener {port} 127.0.0.1")
    path = os.path.join(directory, "mosquitto.conf")
    with open(path, "w", encoding="utf-8") as file:
        file.write("user root\nlog_dest stderr\nsys_interval 1\n" + text)
    for acl in ("acl-adapters", "acl-people"):
        shutil.copy(os.path.join(EXAMPLES, acl), directory)
    program = shutil.which("mosquitto") or "/usr/sbin/mosquitto"
    pid = processes.start("broker", [program, "-c", path])
    return pid, int(ports["8883"]), int(ports["8884"])


class Operator:
    def __init__(self, directory, port, tick):
        self.tick = tick
        self.messages = self.bytes = 0
        self.retained = {}  # topic to bytes
        self.online = set()
        self.last = 0.0
        self.answer = lambda adapter, answer: None
        self.change = lambda adapter, change: None
        self.client = paho.Client(client_id="operator-fleet", protocol=paho.MQTTv5)
        self.client.tls_set(os.path.join(directory, "people-ca.pem"),
                            os.path.join(directory, "operator.pem"),
                            os.path.join(directory, "operator.key"), tls_version=ssl.PROTOCOL_TLS)
        self.client.on_message = self._take
        self.is_subscribed = False
        self.client.on_subscribe = self._subscribed
        self._connect(port)
        self.client.subscribe("capi/1/#", qos=0)
        self.until(lambda: self.is_subscribed, 30, "the broker answers")

    def _connect(self, port):
        end = time.monotonic() + 30
        while True:
            try:
                self.client.connect("127.0.0.1", port)
                return
            except OSError as error:
                self.tick()
                if time.monotonic() > end:
                    raise SystemExit(f"fleet: no broker: {error}") from None
                time.sleep(0.05)

    def _subscribed(self, *arguments):
        self.is_subscribed = True

    def _take(self, client, user, message):
        self.messages += 1
        self.bytes += len(message.topic) + len(message.payload)
        self.last = time.monotonic()
        _, _, adapter, topic = message.topic.split("/", 3)
        if not topic.startswith(("do/", "done/", "event/")):
            self.retained[message.topic] = len(message.topic) + len(message.payload)
        if topic == "online" and json.loads(message.payload)["online"]:
            self.online.add(adapter)
        elif topic == "change":
            self.change(adapter, json.loads(message.payload)["change"])
        elif topic.startswith("done/"):
            self.answer(adapter, json.loads(message.payload))

    def ask(self, adapter, command, **members):
        properties = Properties(PacketTypes.PUBLISH)
        properties.ResponseTopic = f"capi/1/{adapter}/done/fleet"
        self.client.publish(f"capi/1/{adapter}/do/{command}", json.dumps(members), qos=1,
                            properties=properties)

    def loop(self, seconds):
        if self.client.loop(seconds) != paho.MQTT_ERR_SUCCESS:
            raise SystemExit("fleet: the connection to the broker is lost")
        self.tick()

    def until(self, condition, seconds, what):
        end = time.monotonic() + seconds
        while not condition():
            if time.monotonic() > end:
                raise SystemExit(f"fleet: it takes more than {seconds} s until {what}")
            self.loop(0.05)

    def until_quiet(self):
        """Nobody has said anything for a while, as what changed is told within a second."""
        self.last = time.monotonic()
        self.until(lambda: time.monotonic() - self.last > 2, 120, "nobody says anything")


# ---- What is measured ----------------------------------------------------------------------------

class Rollout:
    """One setting of all adapters, with a way back, confirmed by who made the change."""

    def __init__(self, operator, adapters, value):
        self.operator = operator
        self.adapters = adapters
        self.value = value
        self.confirmed = {}
        self.settled = set()

    def _answer(self, adapter, answer):
        if answer["status"] != "ok":
            raise SystemExit(f"fleet: {adapter} answers {answer}")
        if answer["command"] == "set":
            self.operator.ask(adapter, "confirm", id=f"confirm.{len(self.adapters)}",
                              pending=answer["pending"]["id"])
        else:
            self.confirmed[adapter] = time.monotonic() - self.begin

    def _change(self, adapter, change):
        if not change["pending"] and change.get("outcome") == "confirmed":
            self.settled.add(adapter)

    def run(self):
        self.operator.answer = self._answer
        self.operator.change = self._change
        self.begin = time.monotonic()
        for adapter in self.adapters:
            self.operator.ask(adapter, "set", id=f"set.{len(self.adapters)}", confirm_within=300,
                              set={"sip_line_1.display_name": self.value})
        self.operator.until(lambda: len(self.confirmed) == len(self.adapters), 290,
                            "all have confirmed")
        self.operator.until(lambda: len(self.settled) == len(self.adapters), 60,
                            "all have told so")
        self.operator.until_quiet()
        return sorted(self.confirmed.values())


class Fleet:
    def __init__(self, tools, directory, processes):
        self.tools = tools
        self.directory = directory
        self.processes = processes
        self.deadline = time.monotonic() + MOST_SECONDS
        self._certify([])
        self.broker, self.port, port = start_broker(processes, directory)
        self.operator = Operator(directory, port, self.tick)
        self.pids = {}

    def tick(self):
        self.processes.check()
        if time.monotonic() > self.deadline:
            raise SystemExit(f"fleet: it takes more than {MOST_SECONDS} s")

    def _certify(self, names):
        subprocess.run([os.path.join(EXAMPLES, "make-certificates"), self.directory, "127.0.0.1",
                        *names], check=True, stdin=subprocess.DEVNULL)

    def _path(self, name):
        return os.path.join(self.directory, name)

    def _start(self, name):
        keep = [word for tool in self.tools for word in ("--keep", os.path.dirname(tool))]
        self.pids[name] = self.processes.start(name, [
            os.path.join(SOURCE, "tests/support/private-view"), *keep, "--keep", self.directory,
            os.path.join(SOURCE, "bench/fleet/adapter"), *self.tools, "--host", "127.0.0.1",
            "--port", str(self.port), "--id", name, "--cafile", self._path("people-ca.pem"),
            "--cert", self._path(name + ".pem"), "--key", self._path(name + ".key"),
            "--counters", "/tmp/counters"])

    def grow(self, count):
        """Until there are so many. Returns the seconds that it took."""
        names = [name_of(i) for i in range(len(self.pids), count)]
        self._certify(names)
        begin = time.monotonic()
        for name in names:
            self.operator.until(lambda: len(self.pids) - len(self.operator.online) < STARTING, 120,
                                "an adapter is online")
            self._start(name)
        self.operator.until(lambda: len(self.operator.online) == count, 120, "all are online")
        seconds = time.monotonic() - begin
        self.operator.until_quiet()
        return seconds

    def processor(self):
        """By who used it: seconds."""
        return {"bridges": sum(map(processor_seconds, self.pids.values())),
                "watchers": self.processes.orphans,
                "broker": processor_seconds(self.broker),
                "operator": sum(resource.getrusage(resource.RUSAGE_SELF)[:2])}

    def measure(self, count):
        load = os.getloadavg()[0]
        up = self.grow(count)
        begin = self.processor()
        end = time.monotonic() + IDLE_SECONDS
        while time.monotonic() < end:
            self.operator.loop(0.1)
        before = self.processor()
        messages, size = self.operator.messages, self.operator.bytes
        times = Rollout(self.operator, list(self.pids), f"Fleet-of-{count}").run()
        after = self.processor()
        memory = [memory_of(pid) for pid in self.pids.values()]
        each = {who: (after[who] - before[who]) / count * 1e3 for who in after}
        return {
            "adapters": count,
            "load": load,
            "up_seconds": up,
            "all_confirmed_seconds": times[-1],
            "median_confirmed_seconds": statistics.median(times),
            "messages_each": (self.operator.messages - messages) / count,
            "bytes_each": (self.operator.bytes - size) / count,
            "bridge_ms_each": each["bridges"] + each["watchers"],
            "broker_ms_each": each["broker"],
            "operator_ms_each": each["operator"],
            "idle_ms_each_second": (before["bridges"] - begin["bridges"]) / count / IDLE_SECONDS * 1e3,
            "private_kb_each": statistics.median(one["Private_Dirty"] for one in memory),
            "private_kb_most": max(one["Private_Dirty"] for one in memory),
            "resident_kb_each": statistics.median(one["Rss"] for one in memory),
            "broker_private_kb": memory_of(self.broker)["Private_Dirty"],
            "retained_topics_each": len(self.operator.retained) / count,
            "retained_bytes_each": sum(self.operator.retained.values()) / count,
        }


ROWS = (
    ("adapters", "adapters", "{:.0f}"),
    ("load of the machine before", "load", "{:.1f}"),
    ("s until those that are new are online", "up_seconds", "{:.1f}"),
    ("s until all have confirmed the change", "all_confirmed_seconds", "{:.2f}"),
    ("s until half of them have", "median_confirmed_seconds", "{:.2f}"),
    ("messages of the change, each", "messages_each", "{:.1f}"),
    ("bytes of these (topic, payload), each", "bytes_each", "{:.0f}"),
    ("processor ms of bridge and watcher, each", "bridge_ms_each", "{:.1f}"),
    ("processor ms of the broker, each", "broker_ms_each", "{:.1f}"),
    ("processor ms of the operator, each", "operator_ms_each", "{:.1f}"),
    ("processor ms a second of an idle bridge", "idle_ms_each_second", "{:.3f}"),
    ("private memory of a bridge, KB (median)", "private_kb_each", "{:.0f}"),
    ("private memory of a bridge, KB (most)", "private_kb_most", "{:.0f}"),
    ("resident memory of a bridge, KB", "resident_kb_each", "{:.0f}"),
    ("private memory of the broker, KB", "broker_private_kb", "{:.0f}"),
    ("retained topics, each", "retained_topics_each", "{:.1f}"),
    ("retained bytes (topic, payload), each", "retained_bytes_each", "{:.0f}"),
)


def print_table(figures):
    for title, name, form in ROWS:
        print(f"{title:<44}" + "".join(f"{form.format(one[name]):>10}" for one in figures))


def number_of_adapters(text):
    number = int(text)
    if not 1 <= number <= MOST_ADAPTERS:
        raise argparse.ArgumentTypeError(f"from 1 to {MOST_ADAPTERS}")
    return number


def options():
    parser = argparse.ArgumentParser(prog="fleet")
    parser.add_argument("--tools", nargs=2, metavar=("CAPICTL", "CAPI-MQTT"), required=True,
                        help=argparse.SUPPRESS)
    parser.add_argument("--growth", metavar="FILE.svg",
                        help="draw what 10, 50, 100 and 200 adapters cost")
    parser.add_argument("--json", metavar="FILE", help="write the figures")
    parser.add_argument("adapters", type=number_of_adapters, nargs="*", metavar="N",
                        help="so many adapters; of several numbers the lower ones come first")
    chosen = parser.parse_args()
    if not chosen.adapters:
        if not chosen.growth:
            parser.error("how many adapters?")
        chosen.adapters = [10, 50, 100, 200]
    chosen.adapters.sort()
    return chosen


def measure_all(chosen, directory, figures):
    with Instances(chosen.adapters[-1]), Processes(directory) as processes:
        fleet = Fleet(chosen.tools, directory, processes)
        for count in chosen.adapters:
            print(f"{count} adapters", file=sys.stderr)
            figures.append(fleet.measure(count))


def main():
    chosen = options()
    for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
        signal.signal(number, stop)
    adopt_orphans()
    os.makedirs(os.path.join(SOURCE, "build"), exist_ok=True)
    with tempfile.TemporaryDirectory(prefix="fleet.", dir=os.path.join(SOURCE, "build")) as directory:
        figures = []
        try:
            measure_all(chosen, directory, figures)
        except Stop as why:
            raise SystemExit(f"fleet: {why}: all that was started has ended") from None
        finally:
            if figures:
                print_table(figures)
    if chosen.json:
        with open(chosen.json, "w", encoding="utf-8") as file:
            json.dump(figures, file, indent=1)
    if chosen.growth:
        plot.draw(chosen.growth, figures)


main()
