# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
"""attacks_test.py CHECKOUT WRITER CAPICTL CAPI-WEB [EMULATOR...]: what others may try on the
server, with bytes of their own, and what it costs."""
import glob
import json
import os
import re
import subprocess
import sys
import time
import unittest

from server import PATIENCE, Adapter, Server, await_that, cpu_share

CHECKOUT, WRITER, CAPICTL, CAPI_WEB, *EMULATOR = sys.argv[1:]
ADAPTER = Adapter(CHECKOUT, EMULATOR, CAPICTL, WRITER)


def server(*options, **more):
    return Server([*EMULATOR, CAPI_WEB], *options, **more)


class Requests(unittest.TestCase):
    """What the library in front would have let through, or answered in its own way."""

    def refuse(self, data, *statuses):
        with self.running.connect() as connection:
            answer = connection.ask(data)
            self.assertIn(answer.status, statuses, data)
            self.assertEqual(answer.headers["Connection"], "close", data)
            self.assertIn("default-src 'none'", answer.headers["Content-Security-Policy"], data)
            self.assertEqual(connection.read_to_end(), b"", data)

    def setUp(self):
        self.running = server("--timeout-seconds", "60")
        self.addCleanup(self.running.__exit__)

    def test_of_two_meanings_are_refused_and_end_the_connection(self):
        for fields in (["Content-Length: 4", "Transfer-Encoding: chunked"],
                       ["Transfer-Encoding: chunked", "Content-Length: 4"],
                       ["Content-Length: 4", "Content-Length: 5"], ["Content-Length: +4"],
                       ["Content-Length: -4"], ["X: a\0b"], ["X: a\x01b"], ["X : a"], ["X: a\r b"],
                       ["X: a\n\tb"], [" X: a"], ["Host: other"]):
            self.refuse(self.running.head("/login", "POST", *fields) + b"abcd", 400)
        self.refuse(b"GET /login HTTP/1.1\r\n\r\n", 400)
        self.refuse(b"GET /login HTTP/1.1\nHost: localhost\n\n", 400)
        self.refuse(b"\0", 400)
        self.refuse(b"\x16\x03\x01\x02\x00\x01\x00\x01\xfc\x03\x03", 400)  # a browser with https
        self.refuse(self.running.head("/login", "POST", "Transfer-Encoding: chunked"), 411)
        self.refuse(self.running.head("/login", "POST"), 411)
        self.refuse(self.running.head("/login", "POST", "Content-Length: 4",
                                      "Expect: 100-continue"), 417)
        self.refuse(self.running.head("/login", "BREW"), 501)

    def test_that_are_too_long_are_refused_before_they_are_whole(self):
        self.refuse(self.running.head("/login", "POST", "Content-Length: 65537"), 413)
        self.refuse(self.running.head("/login", "POST", "Content-Length: " + "9" * 40), 413)
        self.refuse(b"GET /" + b"x" * 8192, 431)
        self.refuse(self.running.head("/login", "GET", "X: " + "x" * 8192), 431)

    def test_for_programs_that_are_refused_are_told_why_as_programs_are(self):
        for data, status, code in (
                (self.running.head("/api/1/lint", "POST"), 411, "length_required"),
                (self.running.head("/api/1/lint", "POST", "Content-Length: 65537"), 413,
                 "content_too_large"),
                (b"GET /api/1/" + b"x" * 8192, 431, "request_header_fields_too_large"),
                (self.running.head("/api/1/status", "GET", "X: a\0b"), 400, "bad_request")):
            with self.running.connect() as connection:
                answer = connection.ask(data)
                self.assertEqual(answer.status, status)
                self.assertEqual(answer.headers["Content-Type"], "application/json")
                self.assertEqual(json.loads(answer.body)["error"]["code"], code)
        with self.running.connect() as connection:
            answer = connection.ask(self.running.head("/login", "POST"))
            self.assertEqual(answer.headers["Content-Type"], "text/html; charset=utf-8")

    def test_that_are_too_long_may_come_to_their_end_before_their_answer_is_read(self):
        size = 8 << 20
        with self.running.connect() as connection:
            connection.send(self.running.head("/login", "POST", f"Content-Length: {size}"))
            connection.send(b"x" * size)
            self.assertEqual(connection.read_answer().status, 413)
            self.assertEqual(connection.read_to_end(), b"")

    def test_for_other_names_and_paths_are_answered_with_why(self):
        for target, status in (("/none", 404), ("/../etc/passwd", 404), ("/assets/../x", 404),
                               ("/assets/%2e%2e%2fx", 400), ("/%", 400), ("/%zz", 400),
                               ("/%00", 400), ("/?%", 400), ("/login?a=%f", 400)):
            self.assertEqual(self.running.get(target).status, status, target)
        with self.running.connect() as connection:
            self.assertEqual(connection.ask(b"GET / HTTP/1.1\r\nHost: evil.example\r\n\r\n").status,
                             421)

    def test_with_other_methods_are_told_which_are_allowed(self):
        for method in ("PUT", "OPTIONS", "TRACE", "DELETE", "PATCH", "CONNECT"):
            with self.running.connect() as connection:
                answer = connection.ask(self.running.head("/login", method))
                self.assertEqual(answer.status, 405, method)
                self.assertEqual(answer.headers["Allow"], "GET, HEAD, POST", method)

    def test_for_a_head_have_the_headers_of_the_whole(self):
        with self.running.connect() as connection:
            head = connection.ask(self.running.head("/login", "HEAD"), has_body=False)
            whole = connection.ask(self.running.head("/login"))
            for headers in (head.headers, whole.headers):
                del headers["Date"]
            self.assertEqual(head.headers, whole.headers)
            self.assertGreater(len(whole.body), 0)

    def test_that_come_together_are_answered_in_their_order(self):
        targets = ["/none", "/login", "/", "/%", "/login"]
        with self.running.connect() as connection:
            connection.send(b"".join(self.running.head(target) for target in targets))
            self.assertEqual([connection.read_answer().status for _ in targets],
                             [404, 200, 303, 400, 200])

    def test_that_come_by_the_byte_are_answered_as_one(self):
        with self.running.connect() as connection:
            for byte in self.running.head("/login"):
                connection.send(bytes([byte]))
            self.assertEqual(connection.read_answer().status, 200)

    def test_without_end_on_one_connection_are_cut(self):
        with self.running.connect() as connection:
            try:
                connection.send(self.running.head("/login") * 20000)
            except OSError:
                pass
            self.assertIn(b" 400 ", connection.read_to_end())


class Connections(unittest.TestCase):
    def test_that_stop_within_a_request_are_cut_while_others_are_served(self):
        with server("--timeout-seconds", "4") as running:
            halves = [running.connect() for _ in range(4)]
            for half, data in zip(halves, (b"", b"G", running.head("/login")[:-1],
                                           running.head("/login", "POST", "Content-Length: 9"))):
                half.send(data)
            self.assertEqual(running.get("/login").status, 200)
            for half in halves:
                self.assertEqual(half.read_to_end(), b"")
                half.close()

    def test_that_drip_are_cut_however_lively_they_are(self):
        with server("--timeout-seconds", "4") as running, running.connect() as connection:
            connection.socket.settimeout(0.1)
            connection.send(b"GET / HTTP/1.1\r\nX: ")
            answer, end = None, time.monotonic() + PATIENCE
            while answer is None and time.monotonic() < end:
                connection.send(b"x")
                try:
                    answer = connection.receive()
                except TimeoutError:
                    pass
            self.assertIn(b" 408 ", answer)

    def test_that_were_refused_and_go_on_are_cut(self):
        with server("--timeout-seconds", "1") as running, running.connect() as connection:
            connection.send(running.head("/login", "POST", "Content-Length: " + "9" * 18))
            end = time.monotonic() + PATIENCE
            with self.assertRaises(OSError):
                while time.monotonic() < end:
                    connection.send(b"x")
                    time.sleep(0.01)

    def test_beyond_the_limit_wait_for_their_turn(self):
        with server("--connections", "4", "--timeout-seconds", "1000") as running:
            running.log_in()
            first = []
            for _ in range(4):
                first.append(running.connect())
                self.assertEqual(first[-1].ask(running.head("/login")).status, 200)
            open_at_limit = running.descriptors()
            late = running.connect()
            late.send(running.head("/login"))
            for connection in first:
                self.assertEqual(connection.ask(running.head("/login")).status, 200)
            self.assertEqual(running.descriptors(), open_at_limit)
            first[0].close()
            self.assertEqual(late.read_answer().status, 200)
            for connection in (*first, late):
                connection.close()

    def test_of_strangers_of_one_address_leave_places_to_others(self):
        with server("--connections", "8", "--timeout-seconds", "1000") as running:
            alone = running.descriptors()
            silent = [running.connect() for _ in range(20)]
            self.assertEqual(running.get("/login").status, 200)
            self.assertLessEqual(running.descriptors(), alone + 8)
            for connection in silent[:10]:
                self.assertEqual(connection.read_to_end(), b"")
            for connection in silent:
                connection.close()

    def test_of_many_strangers_end_with_their_answer_and_logins_go_on(self):
        with server("--connections", "8", "--timeout-seconds", "1000") as running:
            stranger = running.head("/login")
            running.log_in()
            owner = running.connect()
            self.assertEqual(owner.ask(running.head("/login")).status, 200)
            many, ended = [], []
            for at in range(20):
                many.append(running.connect(f"127.0.0.{10 + at}"))
                answer = many[-1].ask(stranger)
                self.assertEqual(answer.status, 200)
                ended.append(answer.headers.get("Connection") == "close")
                if ended[-1]:
                    self.assertEqual(many[-1].read_to_end(), b"")
            self.assertEqual(ended, [False] * 4 + [True] * 16)
            self.assertNotIn("Connection", owner.ask(running.head("/login")).headers)
            for connection in (owner, *many):
                connection.close()

    def test_without_a_descriptor_left_cost_no_processor(self):
        with server("--connections", "1000", "--timeout-seconds", "1000", descriptors=24) as running:
            many = [running.connect() for _ in range(60)]
            self.assertEqual(many[0].ask(running.head("/login")).status, 200)
            self.assertEqual(running.descriptors(), 24)
            self.assertLess(cpu_share(running, 1), 0.1)
            for connection in many[1:55]:
                connection.close()
            self.assertEqual(many[59].ask(running.head("/login")).status, 200)
            for connection in many:
                connection.close()


class Streams(unittest.TestCase):
    def test_of_one_login_are_limited(self):
        with server() as running:
            running.log_in()
            streams = [running.stream() for _ in range(24)]
            for stream in streams:
                stream.read_event()
            answer = running.get("/api/1/events")
            self.assertEqual((answer.status, json.loads(answer.body)["error"]["code"]),
                             (429, "too_many_requests"))
            before = running.descriptors()
            streams.pop(0).close()
            await_that(lambda: running.descriptors() < before, "the stream is closed")
            streams.append(running.stream())
            streams[-1].read_event()
            for stream in streams:
                stream.close()

    def test_end_with_their_login(self):
        with server("--session-minutes", "0.08", "--comment-seconds", "0.2") as running:
            running.log_in()
            with running.stream() as stream:
                stream.read_event()
                stream.read_to_end()
            self.assertEqual(running.get("/api/1/events").status, 401)

    def test_are_cut_by_the_request_that_ends_their_login(self):
        for target, body in (("/logout", "token={}"), ("/login", "password=correct+horse")):
            with self.subTest(target), server("--comment-seconds", "1000") as running:
                running.log_in()
                with running.stream() as stream:
                    stream.read_event()
                    answer = running.send_form(target, body.format(running.token()))
                    self.assertEqual(answer.status, 303)
                    self.assertNotIn(b"event", stream.read_to_end())

    def test_of_a_token_are_not_told_that_it_was_revoked(self):
        with server("--comment-seconds", "1000") as running:
            running.log_in()
            key = running.token()
            made = json.loads(running.call("POST", "/api/1/tokens", '{"name": "a"}', key).body)
            with running.stream(fields=["Authorization: Bearer " + made["token"]]) as stream, \
                    running.stream() as other:
                stream.read_event()
                other.read_event()
                answer = running.call("DELETE", "/api/1/tokens/" + made["id"], "", key)
                self.assertEqual(answer.status, 204)
                self.assertNotIn(b"event", stream.read_to_end())
                self.assertIn('"changes"', other.read_event())

    def test_of_logins_before_another_password_are_told_nothing(self):
        ADAPTER.start()
        with server("--comment-seconds", "1000") as running:
            running.log_in()
            with running.stream() as stream:
                stream.read_event()
                running.set_password("battery staple")
                with ADAPTER.writes(1):
                    self.assertNotIn(b"event", stream.read_to_end())

    def test_that_nobody_reads_take_no_memory_and_are_cut(self):
        ADAPTER.start()
        with server("--comment-seconds", "2") as running:
            running.log_in()
            alone = running.descriptors()
            deaf = [running.stream(receive_buffer=4096) for _ in range(4)]
            with running.stream() as reader, ADAPTER.writes():
                reader.read_event()
                before = running.private_kib()
                told, end = 0, time.monotonic() + 2 * PATIENCE
                # They are cut once more is on its way to them than the kernel holds.
                while told < 5000 or running.descriptors() > alone + 1:
                    self.assertLess(time.monotonic(), end, f"{told} events, not all are cut")
                    told = int(reader.read_event().partition('"generation":')[2].split("}")[0])
                grown = running.private_kib() - before
            # A part of what a queue for one of them would have taken. A sanitizer keeps what was freed.
            if "CAPI_IS_SANITIZED" not in os.environ:
                self.assertLess(grown, told * 90 // 1024 // 4)
            for stream in deaf:
                stream.read_to_end()
                stream.close()

    def test_whose_other_side_has_vanished_are_cut(self):
        with server("--comment-seconds", "0.5") as running:
            running.log_in()
            alone = running.descriptors()
            stream = running.stream()
            stream.read_event()
            self.assertEqual(running.descriptors(), alone + 1)
            stream.vanish()
            await_that(lambda: running.descriptors() == alone, "the stream is cut")
            stream.close()

    def test_tell_of_an_adapter_that_comes_and_of_its_changes(self):
        ADAPTER.remove()
        with server() as running:
            running.log_in()
            with running.stream() as stream:
                stream.read_event()
                ADAPTER.start()
                self.assertIn('"adapter"', stream.read_event())
                with ADAPTER.writes(1):
                    while '"topics":["config"]' not in stream.read_event():
                        pass  # the rest of the start

    def test_tell_of_an_adapter_that_goes_and_of_the_next_one(self):
        ADAPTER.start()
        with server("--comment-seconds", "0.2") as running:
            running.log_in()
            with running.stream() as stream:
                stream.read_event()
                ADAPTER.remove()
                self.assertIn('"topics":["adapter"]', stream.read_event())
                self.assertIn(b"No adapter is up", running.get("/").body)
                ADAPTER.start()
                self.assertIn('"config"', stream.read_event())
                self.assertNotIn(b"No adapter is up", running.get("/").body)
                self.change(stream)

    def test_go_on_once_there_are_descriptors_again(self):
        ADAPTER.remove()
        with server("--connections", "1000", "--timeout-seconds", "1000", "--comment-seconds",
                    "0.2", descriptors=24) as running:
            running.log_in()
            with running.stream() as stream:
                stream.read_event()
                many = self.take_all(running)
                # What is to be watched is attached to without being watched.
                ADAPTER.start()
                self.assertIn('"adapter"', stream.read_event())
                self.give_back(many)
                # That it is watched now is an event, and so is each change.
                self.assertIn('"adapter"', stream.read_event())
                self.change(stream)
                many = self.take_all(running)
                # The library's files that tell of changes, which it cannot make anew for now.
                for path in glob.glob("/tmp/capi_news*"):
                    os.remove(path)
                self.give_back(many)
                self.change(stream)

    def take_all(self, running):
        many = [running.connect() for _ in range(30)]
        await_that(lambda: running.descriptors() == 24, "no descriptor is left")
        return many

    def give_back(self, many):
        for connection in many:
            connection.close()

    def change(self, stream):
        with ADAPTER.writes(1):
            while '"config"' not in stream.read_event():
                pass


class Start(unittest.TestCase):
    def test_without_a_password_is_refused_with_what_to_do(self):
        result = subprocess.run([*EMULATOR, CAPI_WEB, "--password-file", "/tmp/none"], text=True,
                                capture_output=True, check=False)
        self.assertEqual((result.returncode, result.stdout, result.stderr), (1, "", (
            "capi-web: there is no password; set one: capi-web password --password-file "
            "/tmp/none\n")))

    def test_with_a_short_password_changes_nothing(self):
        result = subprocess.run([*EMULATOR, CAPI_WEB, "password", "--stdin", "--password-file",
                                 "/tmp/none"], input="seven77\n", text=True, capture_output=True,
                                check=False)
        self.assertEqual((result.returncode, result.stderr), (
            4, "capi-web: a password has 8 to 256 characters; nothing was changed\n"))
        self.assertFalse(os.path.exists("/tmp/none"))

    def test_a_password_for_the_service_tells_what_makes_it_take_it(self):
        for path, told in (("/etc/capi/web.password", "A service of systemd takes it when it "
                            "starts: systemctl restart capi-web\n"), ("/tmp/other", "")):
            result = subprocess.run([*EMULATOR, CAPI_WEB, "password", "--stdin",
                                     "--password-file", path], input="correct horse\n", text=True,
                                    capture_output=True, check=True)
            self.assertEqual((result.stdout, result.stderr), ("", told))

    def test_tells_its_options_as_the_manual_page_does(self):
        result = subprocess.run([*EMULATOR, CAPI_WEB, "--help"], text=True, capture_output=True,
                                check=True)
        with open(CHECKOUT + "/tools/capi-web/capi-web.8", encoding="utf-8") as file:
            page = file.read().replace("\\-", "-")
        told = set(re.findall(r"(--[a-z-]+)", result.stdout)) | {"--stdin"}
        self.assertEqual(told, set(re.findall(r"(--[a-z-]+)", page)))


class Idleness(unittest.TestCase):
    def test_is_without_a_single_wake_up(self):
        ADAPTER.start()
        with server() as running:
            running.log_in()
            with running.stream() as stream:
                stream.read_event()
                periods = [self.wake_ups_within_a_while(running) for _ in range(4)]
                # What the login's connection leaves is done in the first ones.
                self.assertEqual(periods[-1], (0, 0), periods)

    def wake_ups_within_a_while(self, running):
        before = running.wake_ups()
        self.assertLess(cpu_share(running, 2), 0.05)
        return tuple(now - then for now, then in zip(running.wake_ups(), before))


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0]], verbosity=2, warnings="ignore")
