# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
"""Calls and messages are found, sent and deleted; what they contain is text."""

from browser_case import BrowserCase, main

MARKUP = "<script>document.title='x'</script><b>Eve</b>"


class Actions(BrowserCase):
    def wait_gone(self, text, selector):
        self.page.wait_for(f"!document.querySelector('{selector}').innerText.includes('{text}')")

    def test_names_and_messages_are_never_markup(self):
        self.adapter.others("call", 2, 1, "15556660001", 1795340000, MARKUP[:31])
        self.adapter.others("message", "+15556660001", MARKUP)
        self.adapter.tool("config", "set", "sip_line_1.display_name", MARKUP)
        for path, selector, text in (
            ("/calls", "#calls", MARKUP[:31]),
            ("/messages?number=%2B15556660001", "#thread", MARKUP),
            ("/", "#lines", MARKUP),
        ):
            self.go(self.page, path)
            self.page.wait_for_text(text, selector)
            self.assertNotEqual(self.page.evaluate("document.title"), "x")
            self.assertEqual(self.page.evaluate("document.querySelectorAll('main b, main script').length"), 0)
        # As it comes by an event, too.
        self.adapter.tool("config", "set", "sip_line_2.display_name", MARKUP)
        self.page.wait_for("document.querySelector('#lines').innerText.split('Eve').length === 3")
        self.assertEqual(self.page.evaluate("document.querySelectorAll('main b, main script').length"), 0)
        self.adapter.tool("config", "set", "sip_line_1.display_name", "Kitchen")
        self.adapter.tool("config", "set", "sip_line_2.display_name", "Fax")

    def test_calls_are_searched(self):
        self.go(self.page, "/calls")
        self.page.fill("input[name=number]", "15551230007")
        self.page.evaluate("window.leaving = true")
        self.page.press("Enter")
        self.page.wait_for_load()
        self.page.wait_for_text("Anna Berg", "#calls")
        self.assertNotIn("Bruno", self.page.text("#calls"))

    def test_a_call_is_deleted_after_a_question(self):
        self.adapter.others("call", 2, 1, "15556660002", 1795340000)
        self.go(self.page, "/calls?q=15556660002")
        button = "#calls tbody button[data-method=DELETE]"
        self.page.click(button)
        self.page.wait_for("document.querySelector('dialog[open]')")
        self.page.press("Escape")
        self.page.wait_for("!document.querySelector('dialog')")
        self.assertIn("15556660002", self.adapter.tool("calls", "list"))
        self.page.click(button)
        self.page.click("dialog .danger")
        self.wait_gone("15556660002", "#calls tbody, #calls")
        self.assertNotIn("15556660002", self.adapter.tool("calls", "list"))

    def test_calls_are_drawn_by_day_and_type(self):
        self.go(self.page, "/calls")
        count = self.page.evaluate("document.querySelectorAll('#chart rect').length")
        self.assertGreater(count, 10)
        self.assertTrue(self.page.evaluate("document.querySelector('#chart svg title').textContent"))

    def test_calls_are_had_as_a_file(self):
        self.go(self.page, "/calls")
        text = self.page.evaluate(
            "fetch(document.querySelector('a[download]').href).then((a) => a.text())"
        )
        self.assertIn("Anna Berg", text)
        self.assertIn(",", text.splitlines()[0])

    def test_a_message_is_sent(self):
        self.go(self.page, "/messages")
        self.page.fill("#number", "+15556660003")
        self.page.fill("textarea[name=text]", "Line one\nand two")
        self.page.click("form[data-api] .primary")
        self.page.wait_for_text("+15556660003", "#threads")
        self.assertIn("Line one", self.adapter.tool("sms", "list", "sent"))
        self.page.wait_for("document.querySelector('textarea[name=text]').value === ''")

    def test_a_message_is_sent_once_however_often_enter_is_pressed(self):
        self.go(self.page, "/messages")
        before = self.wire.requests.count("POST /api/1/messages")
        self.page.fill("#number", "+15556660006")
        self.page.fill("textarea[name=text]", "Just once")
        self.page.evaluate(
            "{ const form = document.querySelector('textarea[name=text]').form;"
            "form.requestSubmit(); form.requestSubmit(); form.requestSubmit(); }"
        )
        self.page.wait_for("document.querySelector('textarea[name=text]').value === ''")
        self.page.fill("#number", "+15556660006")
        self.page.fill("textarea[name=text]", "And again")
        self.page.click("form[data-api] .primary")
        self.page.wait_for("document.querySelector('textarea[name=text]').value === ''")
        self.assertEqual(self.wire.requests.count("POST /api/1/messages") - before, 2)
        self.assertEqual(self.adapter.tool("sms", "list", "sent").count("Just once"), 1)

    def test_a_message_without_a_number_is_refused_where_it_is_written(self):
        self.go(self.page, "/messages")
        before = self.adapter.tool("sms", "list", "sent")
        self.page.evaluate("document.querySelector('#number').required = false")
        self.page.fill("#number", "no number")
        self.page.fill("textarea[name=text]", "Lost")
        self.page.click("form[data-api] .primary")
        self.page.wait_for("document.querySelector('#number').matches('[aria-invalid=true]')")
        self.assertEqual(self.adapter.tool("sms", "list", "sent"), before)

    def test_a_message_that_is_too_long_is_told_of_as_such(self):
        self.go(self.page, "/messages")
        self.page.fill("#number", "+15556660005")
        self.page.evaluate(
            "document.querySelector('textarea[name=text]').value = '\u20ac'.repeat(39100)"
        )
        self.page.click("form[data-api] .primary")
        self.page.wait_for_text("The content of the request is too long.", "#status")

    def test_a_message_is_deleted(self):
        self.adapter.others("message", "+15556660004", "Delete me.")
        self.go(self.page, "/messages?number=%2B15556660004")
        self.page.click("#thread button[data-method=DELETE]")
        self.page.click("dialog .danger")
        self.wait_gone("Delete me.", "#thread")
        self.assertNotIn("Delete me.", self.adapter.tool("sms", "list", "received"))

    def test_a_file_of_settings_is_checked(self):
        self.go(self.page, "/diagnostics")
        self.page.fill("form[data-result] textarea", "[sms]\noption_sms_enable=7\nnonsense\n")
        self.page.click("form[data-result] button")
        self.page.wait_for(
            "document.getElementById(document.querySelector('form[data-result]').dataset.result)"
            ".querySelectorAll('tbody tr').length >= 2"
        )

    def test_a_token_is_made_shown_once_and_revoked(self):
        self.go(self.page, "/diagnostics")
        other = self.log_in()
        self.go(other, "/diagnostics")
        self.page.fill("#token-name", "nightly backup")
        self.page.click("#tokens form button")
        self.page.wait_for_text("capi_", "#token-result")
        token = self.page.evaluate(
            "document.querySelector('#token-result').innerText.match(/capi_[0-9a-f]+_[0-9a-f]+/)[0]"
        )
        self.assertEqual(self.status_with(token), 200)
        self.assertEqual(self.page.text("#token-result code"), token)
        self.assertNotIn("made_at", self.page.text("#token-result"))
        # Enter once more makes no second one.
        self.assertEqual(self.page.evaluate("document.querySelector('#token-name').value"), "")
        for page in (self.page, other):
            page.wait_for_text("nightly backup", "#tokens-list")
        # What the list does on its own leaves the token where it is.
        self.assertIn(token, self.page.text("#token-result"))
        self.assertNotIn(token, other.evaluate("document.documentElement.outerHTML"))
        other.click("#tokens-list button")
        other.click("dialog .danger")
        for page in (self.page, other):
            page.wait_for_text("There is no token.", "#tokens-list")
        self.assertEqual(self.status_with(token), 401)

    def status_with(self, token):
        return self.page.evaluate(
            "fetch('/api/1/tokens', {headers: {Authorization: 'Bearer " + token + "'}})"
            ".then((answer) => answer.status)"
        )

    def test_the_export_has_no_secrets(self):
        self.adapter.tool("config", "set", "sip_line_2.auth_password", "xyzzy-11")
        self.go(self.page, "/diagnostics")
        text = self.page.evaluate(
            "fetch(document.querySelector('a[download]').href).then((a) => a.text())"
        )
        self.assertIn("QZX-200", text)
        self.assertNotIn("xyzzy-11", text)


if __name__ == "__main__":
    main()
