# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
"""Changes, and their way back."""

import fcntl
import glob
import os
import signal
import unittest

from served import Case, Held, Person, Server, await_watchers, others, tool

NAME = "sip_line_1.display_name"


def value():
    return tool("config", "get", NAME).decode().strip()


def kill_watchers(by=signal.SIGKILL):
    """Those of this view: others may have a file of this name."""
    ours = os.stat("/var/lib/capi/watcher")
    for fd in glob.glob("/proc/[0-9]*/fd/*"):
        try:
            if os.path.samestat(os.stat(fd), ours):
                os.kill(int(fd.split("/")[2]), by)
        except OSError:
            pass  # it has ended meanwhile


class Changes(Case):
    def setUp(self):
        tool("config", "cancel", codes=(0, 3))
        tool("config", "set", NAME, "Kitchen")

    def make(self, text, **more):
        answer = self.anna.change({NAME: text}, **more)
        self.assertEqual(answer.status, 201, answer.text)
        return answer.json["change"]["id"]

    def test_a_dry_run_tells_what_would_change_and_changes_nothing(self):
        answer = self.anna.change({NAME: "Hall", "sip_line_1.auth_password": "s3cret"}, dry_run=True)
        self.assertEqual(answer.json["changes"][0], {"key": NAME, "old": "Kitchen", "new": "Hall"})
        lines = answer.json["files"][0]
        self.assertEqual(lines["file"], "/tmp/vosip.conf.voip")
        self.assertIn({"section": "LINE1_SUBSCRIBER", "old": "displayname=Kitchen",
                       "new": "displayname=Hall"}, lines["lines"])
        self.assertEqual(value(), "Kitchen")
        self.assertFalse(os.path.exists("/var/lib/capi/pending"))

    def test_what_is_confirmed_stays(self):
        change = self.make("Hall")
        self.assertEqual(value(), "Hall")
        with open("/tmp/vosip.conf.voip") as file:
            self.assertIn("displayname=Hall\n", file.read())
        self.assertEqual(self.anna.call("POST", f"changes/{change}/confirm").status, 200)
        await_watchers()
        self.assertEqual(value(), "Hall")

    def test_what_is_not_confirmed_goes_back_with_its_files(self):
        self.make("Den", seconds=1)
        await_watchers()
        self.assertEqual(value(), "Kitchen")
        with open("/tmp/vosip.conf.voip") as file:
            self.assertIn("displayname=Kitchen\n", file.read())
        self.assertIn("went back at", self.anna.page("/").text)
        self.assertNotIn("went back at", Person(self.server).page("/").text)

    def test_requests_are_no_confirmation(self):
        change = self.make("Den", seconds=10)
        for path in ("/", "/changes", "/settings", f"/api/1/changes/{change}"):
            self.assertEqual(self.anna.page(path).status, 200)
        await_watchers()
        self.assertEqual(value(), "Kitchen")

    def test_what_is_cancelled_goes_back_at_once(self):
        change = self.make("Den")
        answer = self.anna.call("POST", f"changes/{change}/cancel")
        self.assertEqual(answer.json["change"]["outcome"], "cancelled")
        self.assertEqual(value(), "Kitchen")

    def test_only_the_login_that_made_it_may_keep_it_or_take_it_back(self):
        change = self.make("Den")
        other = Person(self.server)
        program = Person(self.server,
                         self.anna.call("POST", "tokens", {"name": "p"}).json["token"])
        for who in (other, program):
            for what in ("confirm", "cancel"):
                self.assert_error(who.call("POST", f"changes/{change}/{what}"), 422,
                                  code="refused", key=change)
            self.assert_error(who.change({NAME: "Attic"}), 422, code="refused", key=change)
            self.assertNotIn("/confirm", who.page("/").text)
        self.assertIn(f"/api/1/changes/{change}/confirm", self.anna.page("/").text)
        self.assertEqual(value(), "Den")
        self.assertEqual(self.anna.call("POST", f"changes/{change}/cancel").status, 200)

    def test_a_change_of_the_tool_is_not_to_be_kept_here(self):
        change = tool("config", "set", NAME, "Loft", "--confirm-within", "600").decode().strip()
        self.assert_error(self.anna.call("POST", f"changes/{change}/confirm"), 422, code="refused")
        self.assertIn("capictl, user 0, who alone may keep it here", self.anna.page("/").text)

    def test_another_one_of_the_same_login_joins_it(self):
        change = self.make("Den")
        answer = self.anna.change({"sip_line_1.user_name": "joined"})
        self.assertEqual(answer.json["change"]["id"], change, answer.text)
        self.anna.call("POST", f"changes/{change}/cancel")
        self.assertEqual(value(), "Kitchen")

    def test_each_wrong_value_is_refused_with_its_key_and_nothing_is_set(self):
        good = {"sip_line_1.user_name": "changed"}
        for key, wrong, status in (
            ("sip_line_1.enable", 7, 422),
            ("sip_line_1.enable", "on", 422),
            ("sip_line_1.enable", 1.5, 422),
            (NAME, 5, 422),
            (NAME, "x" * 500, 422),
            (NAME, "two\nlines", 422),
            ("basic_sip.local_port", 99999, 422),
            ("sip_line_1.none", 1, 422),
            ("none.none", 1, 422),
            ("sim_info.IMSI", "001010123456780", 422),
        ):
            answer = self.anna.change(good | {key: wrong})
            self.assert_error(answer, status, code="refused", key=key)
            self.assertNotEqual(answer.json["error"]["message"], "")
        for body in ("{}", '{"set":1}', '{"set":{"sip_line_1":1}}',
                     '{"set":{},"dry_run":1}', '{"set":{"sms":{"enable":1}},"seconds":0}'):
            self.assertIn(self.anna.call("POST", "changes", body).status, (400, 422), body)
        self.assertNotIn(b"changed", tool("config", "get", "sip_line_1.user_name"))
        self.assertFalse(os.path.exists("/var/lib/capi/pending"))

    def test_while_the_record_is_locked_nothing_is_set_and_the_holder_is_told(self):
        with Held(0) as pid:
            answer = self.anna.change({NAME: "Den"})
            self.assertEqual(answer.status, 503)
            self.assertIn(f"is held by process {pid} (", answer.text)
            self.assertEqual(answer.headers["Retry-After"], "2")
        self.assertEqual(value(), "Kitchen")

    def test_while_a_file_is_locked_nothing_is_set_that_is_written_with_it_nor_taken_back(self):
        port = {"basic_sip.local_port": 5099}
        with Held(10) as pid:
            answer = self.anna.change(port)
            self.assert_error(answer, 503, code="timed_out")
            self.assertIn(f"is held by process {pid} (", answer.text)
            change = self.make("Den")
        self.assertEqual(self.anna.change(port).status, 201)
        with Held(10):
            self.assert_error(self.anna.call("POST", f"changes/{change}/cancel"), 503,
                              code="timed_out")
        self.assertEqual(value(), "Den")
        self.assertEqual(self.anna.call("POST", f"changes/{change}/cancel").status, 200)

    def test_while_somebody_else_changes_something_it_is_refused_for_now(self):
        os.makedirs("/var/lib/capi", exist_ok=True)
        with open("/var/lib/capi/lock", "w") as file:
            fcntl.flock(file, fcntl.LOCK_EX)
            self.assert_error(self.anna.change({NAME: "Den"}), 503, code="timed_out")
        self.assertEqual(value(), "Kitchen")

    def test_what_could_not_be_written_is_told_with_the_change(self):
        if os.path.exists("/tmp/vosip.conf.voip"):
            os.remove("/tmp/vosip.conf.voip")
        os.mkdir("/tmp/vosip.conf.voip")
        answer = self.anna.change({NAME: "Den"})
        os.rmdir("/tmp/vosip.conf.voip")
        self.assertEqual(answer.status, 201)
        self.assertIn("/tmp/vosip.conf.voip", answer.json["change"]["trouble"])

    def test_one_that_nobody_sees_to_goes_back_when_the_server_starts(self):
        self.make("Den")
        kill_watchers()
        await_watchers()
        self.assertIn("Den", self.anna.page("/settings/sip_line_1").text)
        Server().stop()
        self.assertEqual(value(), "Kitchen")

    def test_who_sees_to_one_ends_when_it_is_told_to(self):
        self.make("Den")
        kill_watchers(signal.SIGTERM)
        await_watchers()
        self.assertTrue(os.path.exists("/var/lib/capi/pending"), "it went on to the end")

    def test_half_a_text_is_never_set(self):
        body = '{"set":{"sip_line_1":{"display_name":"Den\\u0000Attic"}}}'
        self.assertEqual(self.anna.call("POST", "changes", body).status, 400)
        self.assertEqual(value(), "Kitchen")

    def test_a_document_that_was_read_is_taken_back_and_what_was_changed_in_it_is_set(self):
        settings = self.get("settings")
        self.assertNotEqual(settings["sim_info"]["ICCID"], "")
        answer = self.anna.call("POST", "changes", {"set": settings, "dry_run": True})
        self.assertEqual((answer.status, answer.json["changes"]), (200, []))
        settings["sip_line_1"]["display_name"] = "Hall"
        answer = self.anna.call("POST", "changes", {"set": settings})
        self.assertEqual(answer.status, 201, answer.text)
        self.assertEqual(value(), "Hall")

    def test_what_the_device_tells_is_not_to_be_set(self):
        for wrong in ("8988211000000099999", "", 1, None):
            self.assert_error(self.anna.change({"sim_info.ICCID": wrong}), 422, code="refused",
                              key="sim_info.ICCID")

    def test_a_backslash_that_is_escaped_begins_no_escape(self):
        body = '{"set":{"sip_line_1":{"display_name":"Den\\\\u0000"}}}'
        self.assertEqual(self.anna.call("POST", "changes", body).status, 201)
        self.assertEqual(value(), "Den\\u0000")

    def test_a_change_without_effect_is_none(self):
        self.assert_error(self.anna.change({NAME: "Kitchen"}), 422, code="refused")

    def test_a_call_is_not_taken_for_another_one_in_its_place(self):
        others("call", 0, 1, "15551230001", 1795342320)
        call = self.get("calls?type=0")[0]
        path = f"calls/0/{call['node']}"
        self.assert_error(self.anna.call("DELETE", path + "?sequence=65000"), 404)
        self.assert_error(self.anna.call("DELETE", f"calls/1/{call['node']}"), 404)
        self.assertEqual(len(self.get("calls?type=0")), 1)
        self.assertEqual(self.anna.call("DELETE", path).status, 200)
        self.assertEqual(self.get("calls?type=0"), [])


if __name__ == "__main__":
    unittest.main()
