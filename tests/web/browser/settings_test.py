# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
"""Settings are drafted, reviewed, applied, and kept or taken back."""

import os

from browser_case import BrowserCase, main

NAME = "sip_line_1.display_name"
PASSWORD = "sip_line_1.auth_password"
INTERVAL = "sip_registration.reg_interval"


class Settings(BrowserCase):
    def setUp(self):
        super().setUp()
        self.adapter.tool("config", "set", NAME, "Kitchen")
        self.topic_page(self.page, NAME)

    def value_in_field(self, key=NAME):
        return self.page.evaluate(f"document.querySelector('{self.field(key)}').value")

    def test_a_review_shows_settings_and_lines_of_files_before_anything_is_set(self):
        self.page.fill(self.field(NAME), "Hall")
        self.page.wait_for_text("1 unsaved change", "#change-bar")
        self.page.click("#change-bar .primary")
        self.page.wait_for_text("Apply", "#review")
        review = self.page.text("#review")
        for text in (NAME, "Kitchen", "Hall", "LINE1_SUBSCRIBER", "displayname", "have a minute"):
            self.assertIn(text, review)
        self.assertEqual(self.adapter.value(NAME), "Kitchen")

    def test_a_review_is_of_what_stands_in_the_fields(self):
        self.page.fill(self.field(NAME), "Hall")
        self.page.click("#change-bar .primary")
        self.page.wait_for_text("Apply", "#review")
        self.assertTrue(self.page.evaluate("document.querySelector('#change-bar').hidden"))
        self.page.fill(self.field(NAME), "Attic")
        self.page.wait_for("document.querySelector('#review').hidden")
        self.page.wait_for_text("1 unsaved change", "#change-bar")

    def test_a_review_of_what_somebody_else_changes_has_to_be_made_again(self):
        self.page.fill(self.field(NAME), "Hall")
        self.page.click("#change-bar .primary")
        self.page.wait_for_text("Kitchen", "#review")
        # Of other settings it does not matter.
        self.adapter.tool("config", "set", "sip_line_2.display_name", "Elsewhere")
        asked = "performance.getEntriesByName(location.origin + '/api/1/changes').length"
        self.page.wait_for(asked + " === 2")
        self.assertFalse(self.page.evaluate("document.querySelector('#review').hidden"))
        self.adapter.tool("config", "set", NAME, "Cellar")
        self.page.wait_for("document.querySelector('#review').hidden")
        self.page.wait_for_text("Somebody has changed meanwhile", "#status.bad")
        self.page.wait_for("document.activeElement.matches('#change-bar .primary')")
        self.page.press("Enter")
        self.page.wait_for_text("Cellar", "#review")
        self.assertEqual(self.adapter.value(NAME), "Cellar")

    def test_apply_sets_writes_the_files_and_signals(self):
        if os.path.exists("/tmp/posted_signals"):
            os.remove("/tmp/posted_signals")
        self.page.fill(self.field(NAME), "Hall")
        self.apply(self.page)
        self.assertEqual(self.adapter.value(NAME), "Hall")
        with open("/tmp/posted_signals") as posted:
            self.assertIn("vop_sig_cfg_changed_info", posted.read())
        self.page.click("#pending .primary")
        self.page.wait_for("!document.querySelector('#pending')")
        self.assertIn('"pending":\tfalse', self.adapter.tool("config", "pending", "--json"))
        self.assertEqual(self.adapter.value(NAME), "Hall")

    def test_what_could_not_be_applied_is_told_of_until_it_is_mended(self):
        stack_file = "/tmp/vosip.conf.voip"
        if os.path.exists(stack_file):
            os.remove(stack_file)
        os.mkdir(stack_file)
        self.addCleanup(lambda: os.path.isdir(stack_file) and os.rmdir(stack_file))
        self.page.fill(self.field(NAME), "Hall")
        self.apply(self.page)
        self.page.wait_for_text(stack_file, "#status.bad")
        self.page.wait_for_text(stack_file, "#pending .trouble")
        self.page.click("#pending .primary")
        self.page.wait_for_text(stack_file, "#outcome .trouble")
        self.assertIn("Your change was kept.", self.page.text("#outcome"))
        os.rmdir(stack_file)
        self.page.fill(self.field(NAME), "Attic")
        self.apply(self.page)
        self.page.click("#pending .primary")
        self.page.wait_for("!document.querySelector('#pending, #outcome')")

    def test_go_back_now_restores(self):
        self.page.fill(self.field(NAME), "Hall")
        self.apply(self.page)
        self.page.wait_for_text("Go back now", "#pending")
        self.page.click("#pending button:not(.primary)")
        self.page.wait_for("!document.querySelector('#pending')")
        self.page.wait_for(f"document.querySelector('{self.field(NAME)}').value === 'Kitchen'")
        self.assertEqual(self.adapter.value(NAME), "Kitchen")

    def test_another_login_cannot_keep_it(self):
        self.page.fill(self.field(NAME), "Hall")
        self.apply(self.page)
        other = self.log_in()
        self.go(other, "/")
        other.wait_for("document.querySelector('#pending')")
        self.assertEqual(other.evaluate("document.querySelectorAll('#pending button').length"), 0)
        status = other.evaluate(
            "fetch(`/api/1/changes/${document.querySelector('#pending').dataset.change}/confirm`,"
            "{method: 'POST', body: '{}', headers: {'Content-Type': 'application/json',"
            "'X-CAPI-Token': document.querySelector('meta[name=capi-token]').content}})"
            ".then((answer) => answer.status)"
        )
        self.assertEqual(status, 422)
        self.assertIn('"pending":\ttrue', self.adapter.tool("config", "pending", "--json"))
        self.page.click("#pending .primary")
        self.page.wait_for("!document.querySelector('#pending')")

    def test_a_refused_value_is_told_of_at_its_field(self):
        self.topic_page(self.page, INTERVAL)
        before = self.adapter.value(INTERVAL)
        self.page.fill(self.field(INTERVAL), "-7")
        self.page.press("Enter")
        self.page.wait_for("document.querySelector('.field .error')")
        field = self.field(INTERVAL)
        self.assertEqual(
            self.page.evaluate(f"document.querySelector('{field}').getAttribute('aria-invalid')"),
            "true",
        )
        self.assertTrue(self.page.evaluate(f"document.activeElement.matches('{field}')"))
        self.assertEqual(self.adapter.value(INTERVAL), before)

    def test_drafts_outlive_a_reload_and_a_look_at_other_pages(self):
        self.page.fill(self.field(NAME), "Hall")
        self.page.reload()
        self.assertEqual(self.value_in_field(), "Hall")
        self.go(self.page, "/calls")
        self.page.wait_for_text("1 unsaved change", "#change-bar")
        self.topic_page(self.page, NAME)
        self.assertEqual(self.value_in_field(), "Hall")
        self.page.click(".draft button")
        self.assertEqual(self.value_in_field(), "Kitchen")
        self.page.wait_for("document.querySelector('#change-bar').hidden")

    def test_secrets_are_written_and_never_read_back(self):
        self.topic_page(self.page, PASSWORD)
        self.page.fill(self.field(PASSWORD), "xyzzy-9")
        self.page.wait_for_text("1 unsaved change", "#change-bar")
        self.assertNotIn("xyzzy-9", self.page.evaluate("JSON.stringify({...sessionStorage})"))
        self.page.click("#change-bar .primary")
        self.page.wait_for_text("Apply", "#review")
        self.assertNotIn("xyzzy-9", self.page.text("#review"))
        self.page.click("#review .primary")
        self.page.wait_for("document.querySelector('#pending')")
        self.assertEqual(
            self.adapter.tool("config", "get", "--show-secrets", PASSWORD), "xyzzy-9"
        )
        self.page.click("#pending .primary")
        self.page.wait_for("!document.querySelector('#pending')")
        self.topic_page(self.page, PASSWORD)
        self.assertNotIn("xyzzy-9", self.page.evaluate("document.documentElement.outerHTML"))
        self.assertEqual(self.value_in_field(PASSWORD), "")
        self.assertEqual(
            self.page.evaluate(f"document.querySelector('{self.field(PASSWORD)}').placeholder"),
            "set",
        )

    def test_a_secret_that_is_given_anew_is_told_as_another_one(self):
        self.adapter.tool("config", "set", PASSWORD, "xyzzy-12")
        self.topic_page(self.page, PASSWORD)
        self.page.fill(self.field(PASSWORD), "xyzzy-13")
        self.page.click("#change-bar .primary")
        self.page.wait_for_text("(another one)", "#review tbody")
        self.page.click("#review .primary")
        self.page.wait_for("document.querySelector('#pending')")
        self.page.click("#pending summary")
        self.page.wait_for_text("(another one)", "#pending tbody")
        self.page.click("#pending .primary")
        self.page.wait_for("!document.querySelector('#pending')")

    def test_a_secret_is_emptied_when_one_says_so(self):
        self.adapter.tool("config", "set", PASSWORD, "xyzzy-10")
        self.topic_page(self.page, PASSWORD)
        empty = f'[data-empties="{PASSWORD}"]'
        self.page.click(empty)
        self.page.wait_for_text("Will be emptied.", ".draft")
        self.page.click(".draft button")
        self.page.wait_for("document.querySelector('#change-bar').hidden")
        self.page.click(empty)
        self.page.wait_for_text("1 unsaved change", "#change-bar")
        self.apply(self.page)
        self.assertEqual(self.adapter.tool("config", "get", "--show-secrets", PASSWORD), "")
        self.page.click("#pending .primary")
        self.page.wait_for("!document.querySelector('#pending')")
        self.page.wait_for(f"!document.querySelector('{empty}')")

    def test_a_value_that_was_changed_is_marked_so_in_a_word(self):
        box = f"document.querySelector('{self.field(NAME)}').closest('.field').querySelector('.state')"
        self.assertEqual(self.page.evaluate(box + ".innerText"), "changed")
        self.assertGreater(self.page.evaluate(box + ".getBoundingClientRect().width"), 40)
        self.adapter.tool("config", "reset", NAME)
        self.page.wait_for(f"!{box}")

    def test_the_keyboard_alone_is_enough(self):
        self.go(self.page, "/settings")
        self.tab_to("#q")
        self.page.type(NAME)
        self.page.evaluate("window.leaving = true")
        self.page.press("Enter")
        self.page.wait_for_load()
        self.await_live(self.page)
        self.tab_to(self.field(NAME))
        self.page.type("Hall")
        self.page.press("Enter")
        self.page.wait_for_text("Apply", "#review")
        self.tab_to("#review .primary")
        self.page.press("Enter")
        # What is next to be done has the focus already.
        self.page.wait_for("document.activeElement.matches('#pending .primary')")
        self.assertEqual(self.adapter.value(NAME), "Hall")
        self.page.press("Enter")
        self.page.wait_for("!document.querySelector('#pending')")
        self.assertEqual(self.adapter.value(NAME), "Hall")

    def tab_to(self, selector):
        for _ in range(80):
            if self.page.evaluate(f"document.activeElement.matches('{selector}')"):
                return
            self.page.press("Tab")
        self.fail(f"the focus never comes to {selector}")


class ShortTime(BrowserCase):
    options = ("--confirm-seconds", "8")

    def test_what_nobody_keeps_goes_back_by_itself(self):
        self.adapter.tool("config", "set", NAME, "Kitchen")
        self.topic_page(self.page, NAME)
        self.page.fill(self.field(NAME), "Hall")
        self.page.click("#change-bar .primary")
        self.page.wait_for_text("you have 8 s to keep the changes", "#review")
        self.page.click("#review .primary")
        self.page.wait_for("document.querySelector('#pending')")
        self.assertEqual(self.adapter.value(NAME), "Hall")
        self.page.wait_for("!document.querySelector('#pending')")
        self.page.wait_for(f"document.querySelector('{self.field(NAME)}').value === 'Kitchen'")
        self.page.wait_for_text("went back", "#notices")
        self.assertEqual(self.adapter.value(NAME), "Kitchen")


if __name__ == "__main__":
    main()
