# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
"""A simulated adapter with its page, in a private view of the machine, and what happens around it."""

import contextlib
import os
import re
import select
import selectors
import shutil
import socket
import subprocess
import threading
import time

PATIENCE = 30  # seconds
PASSWORD = "correct horse battery"


class Adapter:
    """An adapter as the voice application leaves it: two lines, a few calls and messages."""

    def __init__(self, source, tool, others):
        self.tool_path = tool
        self.others_path = others
        shutil.copytree(os.path.join(source, "demo/device"), "/", dirs_exist_ok=True)

    def start(self):
        config = "/quorbleconf/config/"
        self.tool(
            "master", "--settings", config + "voice.settings", config + "network.settings"
        )

    def tool(self, *words):
        """What capictl prints."""
        done = subprocess.run([self.tool_path, *words], capture_output=True, text=True)
        if done.returncode != 0:
            raise AssertionError(f"capictl {words}: {done.returncode}, {done.stderr}")
        return done.stdout.strip()

    def others(self, *words):
        """Lets another process do something."""
        subprocess.run([self.others_path, *map(str, words)], check=True)

    @contextlib.contextmanager
    def holds(self, lock):
        """Another process holds a lock meanwhile."""
        holder = subprocess.Popen([self.others_path, "hold", str(lock)],
                                  stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        try:
            assert holder.stdout.readline() == b"held\n"
            yield
        finally:
            holder.communicate(timeout=PATIENCE)

    def settle(self):
        """Takes back a change that a test has left waiting."""
        if '"pending":\ttrue' in self.tool("config", "pending", "--json"):
            self.tool("config", "cancel")

    def value(self, key):
        return self.tool("config", "get", key)

    def publish(self):
        """The lines' states, and calls and messages of the last two weeks."""
        self.tool("config", "set", "sip_line_2.enable", "1")
        self.others("lines")
        now = int(time.time())
        names = ["Anna Berg", "Bruno Dahl", "", "Workshop"]
        for at in range(24):
            number = "1555123%04d" % (7 + at % 4)
            start = now - 3600 * (2 + 13 * (23 - at))
            self.others("call", at * 7 % 3, 1 + at % 2, number, start, names[at % 4])
        for number, text in (
            ("+15551230100", "The workshop is closed today."),
            ("+15551230100", "Open again tomorrow at 8."),
            ("+4930555010", "Your parcel comes between 10 and 12."),
        ):
            self.others("message", number, text)
        self.tool("sms", "mark-read", "received", "1")
        self.tool("sms", "send", "+15551230100", "Thank you, see you tomorrow.")


class Server:
    """capi-web, on a port of its own."""

    def __init__(self, program, *options, port=0):
        self.program = program
        if not os.path.exists("/etc/capi/web.password"):
            subprocess.run(
                [program, "password", "--stdin"], input=PASSWORD + "\n", text=True, check=True
            )
        self.log = open("/tmp/web.log", "a")
        self.process = subprocess.Popen(
            [program, "--listen", f"127.0.0.1:{port}", *options],
            stdout=subprocess.PIPE,
            stderr=self.log,
            text=True,
        )
        self.port = self.await_port()

    def await_port(self):
        deadline = time.monotonic() + PATIENCE
        while time.monotonic() < deadline:
            ready, _, _ = select.select([self.process.stdout], [], [], PATIENCE)
            line = self.process.stdout.readline() if ready else ""
            found = re.search(r"http://[^/]*:(\d+)", line)
            if found:
                return int(found[1])
            if not line:
                break
        with open("/tmp/web.log") as log:
            raise AssertionError("capi-web does not start: " + log.read())

    def stop(self):
        self.process.terminate()
        self.process.wait(PATIENCE)
        self.process.stdout.close()
        self.log.close()


class Wire:
    """The network between browser and server: counts what is asked for, and can be cut."""

    def __init__(self, port):
        self.server_port = port
        self.requests = []  # "GET /calls"
        self.is_cut = False
        self._pairs = {}
        self._streams = set()
        self._lock = threading.Lock()
        self._listener = socket.create_server(("127.0.0.1", 0))
        self.port = self._listener.getsockname()[1]
        self._selector = selectors.DefaultSelector()
        self._selector.register(self._listener, selectors.EVENT_READ)
        self._wake, wake = socket.socketpair()
        self._selector.register(wake, selectors.EVENT_READ)
        self._thread = threading.Thread(target=self._run, daemon=True)
        self._thread.start()

    @property
    def address(self):
        return f"http://127.0.0.1:{self.port}"

    def close(self):
        self._wake.close()
        self._thread.join(PATIENCE)

    def cut(self):
        with self._lock:
            self.is_cut = True
            # Their ends are then readable, and the one who passes things on drops them.
            for end in self._pairs:
                try:
                    end.shutdown(socket.SHUT_RDWR)
                except OSError:
                    pass  # it was reset

    def mend(self):
        with self._lock:
            self.is_cut = False

    def streams(self):
        """How many event streams are open."""
        with self._lock:
            return len(self._streams)

    def count(self):
        with self._lock:
            return len(self.requests)

    def _run(self):
        while True:
            for key, _ in self._selector.select():
                if key.fileobj is self._listener:
                    self._accept()
                elif key.fileobj in self._pairs:
                    self._pass_on(key.fileobj)
                elif key.data is None and key.fileobj.fileno() >= 0:
                    self._listener.close()
                    return

    def _accept(self):
        client, _ = self._listener.accept()
        with self._lock:
            if self.is_cut:
                client.close()
                return
            try:
                server = socket.create_connection(("127.0.0.1", self.server_port))
            except OSError:
                client.close()
                return
            for one, other in ((client, server), (server, client)):
                self._pairs[one] = (other, one is client)
                self._selector.register(one, selectors.EVENT_READ, True)

    def _pass_on(self, end):
        with self._lock:
            if end not in self._pairs:
                return
            other, is_client = self._pairs[end]
            try:
                data = end.recv(1 << 16)
                if data:
                    if is_client:
                        self._note(end, data)
                    other.sendall(data)
                    return
            except OSError:
                pass
            self._drop(end)

    def _note(self, client, data):
        """A request's head comes in one piece from a browser."""
        found = re.match(rb"([A-Z]+ \S+) HTTP/1", data)
        if found:
            request = found[1].decode()
            self.requests.append(request)
            if request.startswith("GET /api/1/events"):
                self._streams.add(client)

    def _drop(self, end):
        if end not in self._pairs:
            return
        for one in (end, self._pairs[end][0]):
            self._pairs.pop(one, None)
            self._streams.discard(one)
            try:
                self._selector.unregister(one)
            except KeyError:
                pass
            one.close()
