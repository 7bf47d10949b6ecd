# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
"""An adapter in a private view, its page's server, and people and programs who use it."""

import fcntl
import http.client
import json
import os
import re
import shutil
import subprocess
import time
import unittest
import urllib.parse

SOURCE = os.environ["CAPI_TEST_SOURCE"]
TOOL = os.environ["CAPI_TEST_TOOL"]
OTHERS = os.environ["CAPI_TEST_OTHERS"]
WEB = os.environ["CAPI_TEST_WEB"]
PASSWORD = "correct horse battery"
PATIENCE = 60  # seconds


def tool(*words, codes=(0,)):
    """What capictl prints."""
    done = subprocess.run([TOOL, *words], capture_output=True, check=False)
    if done.returncode not in codes:
        raise AssertionError(f"capictl {words}: {done.returncode}: {done.stderr}")
    return done.stdout


def others(*words):
    """Lets another process do something."""
    subprocess.run([OTHERS, *map(str, words)], check=True)


def start_adapter(*more):
    shutil.copytree(os.path.join(SOURCE, "demo/device"), "/", dirs_exist_ok=True)
    config = "/quorbleconf/config/"
    tool("master", "--settings", config + "voice.settings", config + "network.settings", *more)


class Held:
    """A lock that another process holds: with Held(2): ..."""

    def __init__(self, lock):
        self.holder = subprocess.Popen(
            [OTHERS, "hold", str(lock)], stdin=subprocess.PIPE, stdout=subprocess.PIPE
        )

    def __enter__(self):
        assert self.holder.stdout.readline() == b"held\n"
        return self.holder.pid

    def __exit__(self, *_):
        self.holder.communicate(timeout=PATIENCE)


def last_users():
    """Who has last done something with each lock."""
    sets = subprocess.run(["ipcs", "-s"], capture_output=True, text=True, check=True).stdout
    identity = re.search(r"^0x\w+ +(\d+)", sets, re.M)[1]
    rows = subprocess.run(
        ["ipcs", "-s", "-i", identity], capture_output=True, text=True, check=True
    ).stdout
    return {int(pid) for pid in re.findall(r"^\d+ +\d+ +\d+ +\d+ +(\d+)", rows, re.M)}


def await_watchers():
    """Waits until nobody sees to a change any more."""
    end = time.monotonic() + PATIENCE
    with open("/var/lib/capi/watcher", "w") as file:
        while True:
            try:
                return fcntl.flock(file, fcntl.LOCK_EX | fcntl.LOCK_NB)
            except BlockingIOError:
                assert time.monotonic() < end, "somebody still sees to a change"
            time.sleep(0.01)


class Answer:
    def __init__(self, answer):
        self.status = answer.status
        self.headers = answer.headers
        self.body = answer.read()

    @property
    def text(self):
        return self.body.decode()

    @property
    def json(self):
        return json.loads(self.body)


class Server:
    def __init__(self, *options):
        password_file = "/tmp/web.password"
        # Set again it would end the logins at another server.
        if not os.path.exists(password_file):
            command = [WEB, "password", "--stdin", "--password-file", password_file]
            subprocess.run(command, input=PASSWORD + "\n", text=True, check=True)
        self.process = subprocess.Popen(
            [WEB, "--password-file", password_file, "--token-file", "/tmp/web.tokens",
             "--listen", "127.0.0.1:0", *options],
            stdout=subprocess.PIPE,
            text=True,
        )
        line = self.process.stdout.readline()
        self.port = int(re.search(r":(\d+)/$", line.strip())[1])

    def stop(self):
        self.process.terminate()
        self.process.wait(PATIENCE)
        self.process.stdout.close()


class Person:
    """Somebody who is logged in, or a program with a token."""

    def __init__(self, server, token=None):
        self.server = server
        self.origin = f"http://127.0.0.1:{server.port}"
        if token:
            self.headers = {"Authorization": "Bearer " + token}
            return
        answer = self.ask(
            "POST",
            "/login",
            {"Origin": self.origin, "Content-Type": "application/x-www-form-urlencoded"},
            urllib.parse.urlencode({"password": PASSWORD}),
        )
        assert answer.status == 303, answer.text
        self.headers = {"Cookie": answer.headers["Set-Cookie"].split(";")[0]}
        token = re.search(r'name="capi-token" content="([^"]+)"', self.page("/").text)[1]
        self.headers |= {"X-CAPI-Token": token, "Origin": self.origin}

    def ask(self, method, path, headers=None, body=None):
        connection = http.client.HTTPConnection("127.0.0.1", self.server.port, timeout=PATIENCE)
        connection.request(method, path, body, self.headers if headers is None else headers)
        answer = Answer(connection.getresponse())
        connection.close()
        return answer

    def page(self, path):
        return self.ask("GET", path)

    def call(self, method, path, body=None):
        """Of the API."""
        headers = dict(self.headers)
        text = None
        if method != "GET":
            headers["Content-Type"] = "application/json"
            text = body if isinstance(body, (bytes, str)) else json.dumps(body or {})
        return self.ask(method, "/api/1/" + path, headers, text)

    def change(self, keys, **more):
        """Asks for values: {"sip_line_1.display_name": "Hall"}."""
        sections = {}
        for key, value in keys.items():
            section, name = key.split(".")
            sections.setdefault(section, {})[name] = value
        return self.call("POST", "changes", {"set": sections, **more})


PAGES = (
    "/",
    "/calls",
    "/calls?type=1&since=3d",
    "/messages",
    "/settings",
    "/settings?q=password",
    "/changes",
    "/diagnostics",
)


class Case(unittest.TestCase):
    """A test on the adapter that its file has started."""

    maxDiff = None
    options = ()

    @classmethod
    def setUpClass(cls):
        start_adapter("--force")
        cls.server = Server(*cls.options)
        cls.anna = Person(cls.server)

    @classmethod
    def tearDownClass(cls):
        cls.server.stop()

    def get(self, path, status=200):
        answer = self.anna.call("GET", path)
        self.assertEqual(answer.status, status, answer.text)
        return answer.json

    def assert_error(self, answer, status, **error):
        self.assertEqual(answer.status, status, answer.text)
        told = answer.json["error"]
        self.assertEqual({name: told.get(name) for name in error}, error)
