# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
"""What the pages show, as they come out of the server."""

import html.parser
import json
import os
import re
import subprocess
import time
import unittest

from served import PAGES, Case, Held, Person, Server, last_users, others, tool

VOID = {"meta", "link", "input", "br", "img", "rect"}


class Markup(html.parser.HTMLParser):
    """Tells what is wrong with a page: elements that are not closed, ids that come twice, and what
    the content's policy does not let run."""

    def __init__(self, text):
        super().__init__()
        self.faults, self.open, self.ids = [], [], set()
        self.feed(text)
        self.faults += [f"<{tag}> is open" for tag in self.open]

    def handle_starttag(self, tag, attrs):
        attributes = dict(attrs)
        if tag not in VOID:
            self.open.append(tag)
        if attributes.get("id") in self.ids:
            self.faults.append("twice: " + attributes["id"])
        if "id" in attributes:
            self.ids.add(attributes["id"])
        for name in attributes:
            if name == "style" or name.startswith("on"):
                self.faults.append(f"<{tag} {name}>")
        for name in ("aria-labelledby", "aria-describedby", "for"):
            self.faults += [] if attributes.get(name, "x") else [f"<{tag} {name}> is empty"]
        if tag == "script" and "src" not in attributes:
            self.faults.append("a script in the page")

    def handle_startendtag(self, tag, attrs):
        self.handle_starttag(tag, attrs)
        if tag not in VOID:
            self.open.pop()

    def handle_endtag(self, tag):
        if not self.open or self.open.pop() != tag:
            self.faults.append(f"</{tag}> closes nothing")


def words_of(text):
    """A page's text as people see it."""
    return re.sub(r"\s+", " ", re.sub(r"<[^>]*>", " ", text))


def sections():
    document = json.loads(tool("--json", "config", "list"))
    return ["/settings/" + name for name in document]


class Pages(Case):
    def page(self, path, status=200):
        answer = self.anna.page(path)
        self.assertEqual(answer.status, status, answer.text)
        self.assertEqual(Markup(answer.text).faults, [], path)
        return answer.text

    def test_all_are_well_formed_and_have_nothing_that_the_policy_forbids(self):
        others("calls")
        others("lines")
        others("message", "+15551230100", "Hello")
        for path in [*PAGES, *sections()]:
            self.assertIn("<main", self.page(path))
        for path in ("/nothing", "/settings/nothing"):
            self.assertIn("<main", self.page(path, 404))
        self.assertIn("type is 0 to 2", words_of(self.page("/calls?type=7", 400)).lower())

    def test_texts_from_elsewhere_are_never_markup(self):
        evil = "<script>alert(1)</script>\"'&<img src=x onerror=y>"
        others("message", "<b>55\"5</b>", evil)
        others("call", 1, 1, "<i>5</i>", int(time.time()), evil[:60])
        tool("config", "set", "--force", "sip_line_1.display_name", evil)
        paths = [*PAGES, "/settings/sip_line_1", "/messages?number=%3Cb%3E55%225%3C%2Fb%3E",
                 "/calls?number=" + "%22%3E%3Cscript%3E", "/settings?q=" + "%22%3E%3Cscript%3E"]
        for path in paths:
            text = self.page(path)
            for markup in ("<script>", "<img src=x", "<b>", "<i>"):
                self.assertNotIn(markup, text, path)
        self.assertIn("&lt;script&gt;alert(1)&lt;/script&gt;", self.page(paths[-3]))
        self.assertIn("&lt;i&gt;5&lt;/i&gt;", self.page("/calls"))
        tool("config", "set", "sip_line_1.display_name", "Kitchen")

    def test_the_overview_tells_in_plain_words_what_is_wrong(self):
        tool("config", "set", "sip_line_2.enable", "1")
        others("lines")
        text = words_of(self.page("/"))
        self.assertIn("Line 2: server rejected, 403 since 2001-09-09 01:47", text)
        self.assertIn("Line 1: voice mail is waiting", text)
        for fact in ("QZX-200", "8988211000000012345", "first that fits the IMSI", "off the hook",
                     "CAPI_LOCK_VOICE_SMS", "192.0.2.20"):
            self.assertIn(fact, text)

    def test_what_a_telephone_does_is_told_once_unless_the_adapter_tells_two_things(self):
        def telephones():
            text = self.page("/")
            lines = text[text.index('id="lines-t"'):text.index('id="registrations-t"')]
            return [words_of(cell).strip() for cell in
                    re.findall(r'<td data-label="Telephone">(.*?)</td>', lines, re.S)], lines

        others("lines")
        cells, lines = telephones()
        self.assertEqual(cells, ["off the hook", "on the hook"])
        self.assertNotIn("Unknown", lines)
        self.assertNotIn("Off-hook", lines)
        # Now one of the two things that are published says so still.
        others("talk")
        self.assertEqual(telephones()[0], ["on the hook (status: Off-hook)", "on the hook"])
        others("lines")

    def test_calls_are_found_by_number_type_line_and_age(self):
        tool("calls", "clear", "--yes")
        now = int(time.time())
        others("call", 0, 1, "15551230001", now, "Anna")
        others("call", 2, 2, "15551230002", now - 8 * 86400, "Bruno")
        for query, there, gone in (("", "Anna", "Clara"), ("?number=1-555-123-0001", "Anna", "Bruno"),
                                   ("?type=2", "Bruno", "Anna"), ("?line=2", "Bruno", "Anna"),
                                   ("?since=2d", "Anna", "Bruno")):
            text = words_of(self.page("/calls" + query))
            self.assertIn(there, text, query)
            self.assertNotIn(gone, text, query)
        text = self.page("/calls")
        self.assertEqual(len(re.findall(r'<rect class="type-\d"', text)), 2)

    def test_a_time_that_is_none_is_refused_with_the_name_of_its_parameter(self):
        for path in ("calls", "call-days", "messages/received"):
            self.assert_error(self.anna.call("GET", path + "?since=soon"), 400, code="usage",
                              key="since", allowed="2026-11-22, 2026-11-22T08:30:00Z, 30m, 2h, 3d or 1w")

    def test_long_lists_have_pages(self):
        tool("calls", "clear", "--yes")
        for at in range(60):
            others("call", 1, 1, "1555%04d" % at, 1700000000 + at)
        first, second = self.page("/calls?type=1"), self.page("/calls?type=1&from=50")
        self.assertEqual(first.count("<tr data-key="), 50)
        self.assertEqual(second.count("<tr data-key="), 10)
        self.assertIn('href="/calls?type=1&amp;from=50"', first)
        self.assertIn('href="/calls?type=1&amp;from=0"', second)
        tool("calls", "clear", "--yes")

    def test_calls_come_as_the_same_values_that_the_tool_writes(self):
        others("calls")
        others("call", 1, 2, '1"5', 1795342320, "\xff")
        answer = self.anna.page("/calls.csv")
        self.assertEqual(answer.body, tool("calls", "export"))
        self.assertEqual(answer.headers["Content-Type"], "text/csv; charset=utf-8")
        self.assertEqual(self.anna.page("/calls.csv?type=1").body,
                         tool("calls", "export", "--type", "1"))

    def test_no_name_is_a_formula_for_a_spreadsheet(self):
        tool("calls", "clear", "--yes")
        for name, told in (("=1+1|x", "'=1+1|x"), ("+1+cmd", "'+1+cmd"), ("-2-x", "'-2-x"),
                           ("@SUM(A1)", "'@SUM(A1)"), ("\t=1", "'\t=1"), ("a=1", "a=1"),
                           ("+15551230001", "+15551230001"), ("", "")):
            others("call", 0, 1, "+15551230001", 1795342320, name)
            row = self.anna.page("/calls.csv").text.splitlines()[1]
            self.assertIn(f',"{told}","+15551230001",', row)
        others("call", 0, 1, "=1+1", 1795342320, "Anna")
        self.assertIn(',"Anna","\'=1+1",', self.anna.page("/calls.csv").text)
        tool("calls", "clear", "--yes")

    def test_messages_are_threads_with_what_nobody_has_read(self):
        tool("sms", "clear", "received", "--yes")
        others("message", "+15551230100", "First")
        others("message", "+15551230200", "Other")
        self.anna.call("POST", "messages", {"number": "+15551230100", "text": "Reply"})
        text = self.page("/messages?number=%2B15551230100")
        thread = text[text.index('id="thread"'):]
        self.assertLess(thread.index("First"), thread.index("Reply"))
        self.assertNotIn("Other", thread)
        self.assertRegex(text, r'\+15551230100 <span class="badge">1<')
        self.anna.call("POST", "messages/received/1/read")
        self.assertNotRegex(self.page("/messages"), r'\+15551230100 <span class="badge">')

    def test_fields_tell_what_a_key_is_and_whether_it_was_changed(self):
        tool("config", "set", "sip_registration.reg_interval", "1800")
        text = self.page("/settings/sip_registration")
        field = re.search(r'<div class="field changed"[^>]*data-field="sip_registration.reg_interval".*?\n</div>',
                          text, re.S)[0]
        for part in ('type="number"', 'min="', 'max="', 'value="1800"', 'data-value="1800"',
                     '<span class="unit">s</span>', "Set by a program"):
            self.assertIn(part, field)
        text = self.page("/settings/sip_line_1")
        self.assertRegex(text, r'<select[^>]*data-key="sip_line_1.enable"')
        self.assertRegex(text, r'<option value="1" selected>1 – on</option>')

    def test_what_the_device_tells_is_shown_and_not_to_be_written(self):
        text = self.page("/settings/sim_info")
        for control in re.findall(r"<(?:input|select)[^>]*data-key=[^>]*>", text):
            self.assertIn(" disabled", control)

    def test_settings_are_found_by_words_of_their_meaning(self):
        self.assertIn("sip_line_1.display_name", self.page("/settings?q=DISPLAY+line_1"))
        self.assertIn("0 settings found", words_of(self.page("/settings?q=no+such+thing+xyz")))

    def test_no_page_is_huge(self):
        for path in [*PAGES, *sections(), "/settings?q=e"]:
            self.assertLess(len(self.anna.page(path).body), 128 * 1024, path)

    def test_diagnostics_tell_what_is_wrong_with_a_store_and_leave_it(self):
        path = "/quorbleconf/nv/sm_recv"
        others("message", "+15551230100", "Hello")
        with open(path, "rb") as file:
            content = file.read()
        with open(path, "r+b") as file:
            file.write(b"\xff\xff")
        damaged = b"\xff\xff" + content[2:]
        text = words_of(self.page("/diagnostics"))
        self.assertIn("instead of 1", text)
        self.assertIn("begins an empty one", text)
        self.assertIn("The file of the received messages is damaged", words_of(self.page("/")))
        answer = self.anna.page("/messages")
        self.assertEqual(answer.status, 500)
        self.assertIn("the file is damaged", answer.text)
        with open(path, "rb") as file:
            self.assertEqual(file.read(), damaged)
        self.assertFalse(os.path.exists(path + ".err"))
        with open(path, "wb") as file:
            file.write(content)
        self.assertIn("Hello", self.page("/messages"))

    def test_a_locked_store_is_told_of_in_time_with_who_holds_it(self):
        others("message", "+15551230100", "Hello")
        self.assertIn("Hello", self.page("/messages"))
        self.page("/calls")
        for lock in (0, 2, 10, 18):
            # The machine may stall, but not each time.
            for _ in range(4):
                longest = self.longest_answer_without(lock)
                if longest < 2:
                    break
            self.assertLess(longest, 2, f"lock {lock}")

    def longest_answer_without(self, lock):
        longest = 0
        others("calls")
        with Held(lock) as pid:
            for path in [*PAGES, "/api/1/status", "/api/1/export", "/calls.csv"]:
                begin = time.monotonic()
                answer = self.anna.page(path)
                longest = max(longest, time.monotonic() - begin)
                self.assertIn(answer.status, (200, 503), answer.text)
                if answer.status == 503:
                    self.assertIn(f"is held by process {pid} (", answer.text)
                    self.assertEqual(answer.headers["Retry-After"], "2")
            if lock in (0, 2):
                overview = self.anna.page("/")
                self.assertIn(f"Lock {lock} (", words_of(overview.text))
                self.assertEqual(overview.headers["Retry-After"], "2")
        self.assertNotIn("Retry-After", self.anna.page("/").headers)
        return longest

    def test_a_message_of_more_bytes_than_there_may_be_is_refused_with_its_field(self):
        def send(text):
            body = json.dumps({"number": "+15551230100", "text": text}, ensure_ascii=False)
            return self.anna.call("POST", "messages", body.encode())

        for text in ("x" * 39101, "ä" * 19551):
            self.assert_error(send(text), 422, code="refused", key="text",
                              allowed="up to 39100 bytes")
        for text in ("x" * 39100, "ä" * 19550):
            self.assertEqual(send(text).status, 201)
        tool("sms", "clear", "sent", "--yes")

    def test_a_message_that_a_lock_keeps_from_being_sent_is_refused_in_time(self):
        message = {"number": "+15551230100", "text": "Hello"}
        for lock in (0, 10, 18):
            with Held(lock) as pid:
                answer = self.anna.call("POST", "messages", message)
                self.assert_error(answer, 503, code="timed_out")
                self.assertIn(f"is held by process {pid} (", answer.text)
                self.assertEqual(answer.headers["Retry-After"], "2")
        self.assertEqual(self.anna.call("POST", "messages", message).status, 201)

    def test_what_was_read_is_shown_without_its_lock(self):
        others("message", "+15551230100", "Hello")
        self.assertIn("Hello", self.page("/messages"))
        with Held(18):
            self.assertIn("Hello", self.page("/messages"))

    def test_pages_of_which_nothing_changed_take_no_lock(self):
        others("calls")
        paths = [*PAGES, *sections(), "/api/1/status", "/api/1/alerts", "/export.json"]
        for path in paths:
            self.assertEqual(self.anna.page(path).status, 200)
        self.assertIn(self.server.process.pid, last_users())
        for lock in (0, 2, 10, 18):
            with Held(lock):
                pass
        others("lines")  # and what has changed needs none either, where it is in the record
        for path in paths * 2:
            self.assertEqual(self.anna.page(path).status, 200)
        self.assertNotIn(self.server.process.pid, last_users())

    def test_the_export_is_a_file_with_all_that_helps(self):
        answer = self.anna.page("/export.json")
        self.assertIn("attachment", answer.headers["Content-Disposition"])
        self.assertLessEqual({"config", "calls", "alerts", "log", "checks"}, set(answer.json))


class Secrets(Case):
    SECRET = "hunter2-Zq7"

    def test_secrets_are_in_no_answer(self):
        keys = [key for key in self.get("keys") if key["secret"]]
        self.assertGreater(len(keys), 2)
        for key in keys:
            tool("config", "set", "--force", key["key"], self.SECRET[: key["max_length"]])
        answers = [self.anna.page(path) for path in [*PAGES, *sections(), "/export.json"]]
        for path in ("status alerts carriers checks log export keys settings calls call-days "
                     "changes messages/received").split():
            answers.append(self.anna.call("GET", path))
        for key in keys:
            answers.append(self.anna.call("GET", "keys/" + key["key"]))
        first = keys[0]["key"]
        answers.append(self.anna.change({first: self.SECRET + "9"}, dry_run=True))
        answers.append(self.anna.change({first: self.SECRET + "9"}))
        answers += [self.anna.page(path) for path in PAGES]
        answers.append(self.anna.call("GET", "changes"))
        answers.append(self.anna.change({first: "two\nlines" + self.SECRET}))
        for answer in answers:
            self.assertNotIn(self.SECRET, answer.text)
        self.assertIn("(set)", answers[-2].text)
        self.assertEqual(tool("config", "get", first, "--show-secrets").decode().strip(),
                         self.SECRET + "9")


class WithoutAdapter(Case):
    @classmethod
    def setUpClass(cls):
        subprocess.run(["ipcrm", "--all"], check=True)
        cls.server = Server()
        cls.anna = Person(cls.server)

    def test_pages_say_so_and_keys_are_told_all_the_same(self):
        for path in ("/", "/settings", "/settings/sip_line_1", "/diagnostics", "/changes"):
            answer = self.anna.page(path)
            self.assertEqual(answer.status, 200, path)
            self.assertIn("No adapter is up", answer.text, path)
            self.assertEqual(Markup(answer.text).faults, [], path)
        controls = re.findall(r"<(?:input|select)[^>]*data-key=[^>]*>",
                              self.anna.page("/settings/sip_line_1").text)
        self.assertTrue(all(" disabled" in control for control in controls))
        self.assertEqual(self.anna.page("/calls").status, 503)
        for path in ("status", "calls", "settings", "messages/sent", "export", "carriers"):
            self.assert_error(self.anna.call("GET", path), 503, code="no_adapter")
        self.assertEqual([alert["id"] for alert in self.get("alerts")], ["adapter"])
        self.assertGreater(len(self.get("keys")), 300)
        self.assert_error(self.anna.change({"sip_line_1.display_name": "Hall"}), 503,
                          code="no_adapter")


if __name__ == "__main__":
    unittest.main()
