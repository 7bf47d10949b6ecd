# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
"""The server as a process, and what talks to it byte by byte."""
import contextlib
import ctypes
import http.client
import os
import re
import resource
import shutil
import signal
import socket
import struct
import subprocess
import tempfile
import time

PASSWORD = "correct horse"
# For what would hang; no expectation.
PATIENCE = 120


def await_that(condition, what):
    end = time.monotonic() + PATIENCE
    while not condition():
        assert time.monotonic() < end, "it never comes to this: " + what
        time.sleep(0.01)


class Answer:
    def __init__(self, status, headers, body):
        self.status, self.headers, self.body = status, headers, body


class Server:
    """capi-web on a port of its own, with a password."""

    def __init__(self, command, *options, descriptors=None):
        self.directory = tempfile.mkdtemp()
        self.command = command
        password_file = self.directory + "/password"
        self.set_password(PASSWORD)

        def limit():
            if descriptors:
                resource.setrlimit(resource.RLIMIT_NOFILE, (descriptors, descriptors))

        self.process = subprocess.Popen(
            [*command, "--password-file", password_file, "--token-file",
             self.directory + "/tokens", "--listen", "127.0.0.1:0", *options],
            stdout=subprocess.PIPE, text=True, preexec_fn=limit)
        line = self.process.stdout.readline()
        self.port = int(re.fullmatch(r"Listening on http://127\.0\.0\.1:(\d+)/\n", line)[1])
        self.host = f"127.0.0.1:{self.port}"
        self.secret = None

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.send_signal(signal.SIGTERM)
        code = self.process.wait(PATIENCE)
        self.process.stdout.close()
        assert code == 0, f"the server ended with {code}"

    def set_password(self, password):
        subprocess.run([*self.command, "password", "--stdin", "--password-file",
                        self.directory + "/password"], input=password + "\n", text=True, check=True)

    def connect(self, source=None):
        return Connection(self, source=source)

    def log_in(self):
        connection = http.client.HTTPConnection("127.0.0.1", self.port, timeout=PATIENCE)
        connection.request("POST", "/login", "password=correct+horse",
                           {"Origin": "http://" + self.host,
                            "Content-Type": "application/x-www-form-urlencoded"})
        answer = connection.getresponse()
        assert answer.status == 303, f"the login is answered with {answer.status}"
        self.secret = re.match(r"capi_session=([0-9a-f]{64});", answer.getheader("Set-Cookie"))[1]
        with_it = self.descriptors()
        connection.close()
        await_that(lambda: self.descriptors() < with_it, "the login's connection is closed")

    def head(self, target, method="GET", *fields):
        lines = [f"{method} {target} HTTP/1.1", "Host: " + self.host, *fields]
        if self.secret:
            lines.append("Cookie: capi_session=" + self.secret)
        return ("\r\n".join(lines) + "\r\n\r\n").encode()

    def get(self, target, *fields):
        with self.connect() as connection:
            return connection.ask(self.head(target, "GET", *fields))

    def send(self, method, target, kind, body, *fields):
        """As a page of ours does."""
        with self.connect() as connection:
            return connection.ask(
                self.head(target, method, "Origin: http://" + self.host, "Content-Type: " + kind,
                          f"Content-Length: {len(body)}", *fields) + body.encode())

    def send_form(self, target, body):
        return self.send("POST", target, "application/x-www-form-urlencoded", body)

    def call(self, method, target, body, token):
        return self.send(method, target, "application/json", body, "X-CAPI-Token: " + token)

    def token(self):
        """That a page sends besides its cookie."""
        return re.search(rb'name="capi-token" content="([^"]+)"', self.get("/").body)[1].decode()

    def stream(self, receive_buffer=None, fields=()):
        connection = Connection(self, receive_buffer)
        connection.send(self.head("/api/1/events", "GET", *fields))
        return connection

    # --- what it costs ---

    def status_field(self, name):
        with open(f"/proc/{self.process.pid}/status", encoding="ascii") as file:
            return int(re.search(rf"^{name}:\s+(\d+)", file.read(), re.MULTILINE)[1])

    def private_kib(self):
        with open(f"/proc/{self.process.pid}/smaps_rollup", encoding="ascii") as file:
            text = file.read()
        return sum(int(size) for size in re.findall(r"^Private_\w+:\s+(\d+)", text, re.MULTILINE))

    def processor_seconds(self):
        with open(f"/proc/{self.process.pid}/stat", encoding="ascii") as file:
            fields = file.read().rpartition(")")[2].split()
        return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")

    def wake_ups(self):
        return (self.status_field("voluntary_ctxt_switches"),
                self.status_field("nonvoluntary_ctxt_switches"))

    def descriptors(self):
        return len(os.listdir(f"/proc/{self.process.pid}/fd"))


class Adapter:
    """The adapter of this view, which is made of the demo's files."""

    def __init__(self, checkout, emulator, capictl, writer):
        self.checkout = checkout
        self.master = [*emulator, capictl, "master", "--settings"]
        self.writer = [*emulator, writer]

    def start(self):
        self.remove()
        shutil.copytree(self.checkout + "/demo/device", "/", dirs_exist_ok=True)
        config = "/quorbleconf/config/"
        subprocess.run([*self.master, config + "voice.settings", config + "network.settings"],
                       check=True)

    @staticmethod
    def remove():
        subprocess.run(["ipcrm", "--all"], check=True)

    @contextlib.contextmanager
    def writes(self, *count):
        """Changes a setting as often as it can meanwhile, or so many times."""
        with subprocess.Popen([*self.writer, *map(str, count)]) as process:
            try:
                yield
            finally:
                process.kill()


class Connection:
    def __init__(self, server, receive_buffer=None, source=None):
        self.socket = socket.socket()
        if source:
            self.socket.bind((source, 0))
        if receive_buffer:
            self.socket.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, receive_buffer)
        self.socket.settimeout(PATIENCE)
        self.socket.connect(("127.0.0.1", server.port))
        self.pending = b""

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    def close(self):
        self.socket.close()

    def vanish(self):
        """What comes is dropped in front of this side, which neither confirms nor refuses it."""
        drop_all = ctypes.create_string_buffer(struct.pack("HBBI", 0x06, 0, 0, 0))
        program = struct.pack("HP", 1, ctypes.addressof(drop_all))
        self.socket.setsockopt(socket.SOL_SOCKET, 26, program)  # SO_ATTACH_FILTER

    def send(self, data):
        self.socket.sendall(data)

    def receive(self):
        """More bytes; none at the end."""
        try:
            return self.socket.recv(65536)
        except ConnectionResetError:
            return b""

    def read_to_end(self):
        data, self.pending = self.pending, b""
        end = time.monotonic() + PATIENCE
        while more := self.receive():
            data += more
            assert time.monotonic() < end, f"it never ends: {data[-200:]}"
        return data

    def read_until(self, end):
        while end not in self.pending:
            more = self.receive()
            assert more, f"the connection ended before {end}: {self.pending}"
            self.pending += more
        data, _, self.pending = self.pending.partition(end)
        return data

    def read_answer(self, has_body=True):
        lines = self.read_until(b"\r\n\r\n").decode("ascii").split("\r\n")
        headers = dict(line.split(": ", 1) for line in lines[1:])
        length = int(headers.get("Content-Length", 0)) if has_body else 0
        while len(self.pending) < length:
            more = self.receive()
            assert more, "the connection ended within a body"
            self.pending += more
        body, self.pending = self.pending[:length], self.pending[length:]
        return Answer(int(lines[0].split()[1]), headers, body)

    def ask(self, data, has_body=True):
        self.send(data)
        return self.read_answer(has_body)

    def read_event(self):
        """The next event of a stream, without the chunks around it."""
        end = time.monotonic() + PATIENCE
        while time.monotonic() < end:
            part = self.read_until(b"\n\n").decode("ascii")
            if "event: change" in part:
                return part
        raise AssertionError("nothing but comments comes")


def cpu_share(server, seconds):
    """How much of a processor the server takes while nothing else is done."""
    before, begin = server.processor_seconds(), time.monotonic()
    time.sleep(seconds)
    return (server.processor_seconds() - before) / (time.monotonic() - begin)
