# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
"""Who may see the pages, and for how long."""

from adapter import PASSWORD
from browser_case import PAGES, BrowserCase, main


class Sessions(BrowserCase):
    def stranger(self):
        return self.new_page(self.browser.new_profile())

    def test_a_wrong_password_opens_nothing(self):
        page = self.stranger()
        page.go(self.wire.address + "/calls")
        self.assertEqual(self.where(page), "/login?next=/calls")
        for wrong in ("wrong", PASSWORD + "x", PASSWORD[:-1]):
            self.submit(page, wrong)
            self.assertTrue(page.text("[role=alert]"))
            self.assertTrue(page.evaluate("document.querySelector('#password').matches('[aria-invalid=true]')"))
            page.go(self.wire.address + "/calls")
            self.assertIn("/login", self.where(page))
        # Somebody who knows it is kept waiting, and not locked out.
        self.log_in()

    def test_after_login_one_is_where_one_wanted_to_be(self):
        page = self.stranger()
        page.go(self.wire.address + "/calls?number=15551230007")
        self.submit(page, PASSWORD)
        self.assertEqual(self.where(page), "/calls?number=15551230007")

    def test_login_leads_to_no_other_host(self):
        for elsewhere in ("//example.net/", "https://example.net/", "/\\\\example.net/"):
            page = self.stranger()
            page.go(self.wire.address + "/login?next=" + elsewhere)
            self.submit(page, PASSWORD)
            self.assertEqual(page.evaluate("location.host"), f"127.0.0.1:{self.wire.port}")

    def test_logout_ends_it_in_all_pages_of_the_browser(self):
        profile = self.browser.new_profile()
        page, other = self.log_in(profile), self.new_page(profile)
        self.go(page, "/")
        self.go(other, "/calls")
        page.evaluate("window.leaving = true")
        page.click(".logout button")
        page.wait_for_load()
        page.go(self.wire.address + "/")
        self.assertIn("/login", self.where(page))
        self.adapter.others("call", 1, 1, "15558880001", 1795340000)
        other.wait_for("location.pathname === '/login'")

    def test_a_page_goes_on_with_the_login_of_another_page(self):
        profile = self.browser.new_profile()
        page, other = self.log_in(profile), self.new_page(profile)
        self.go(other, "/messages")
        # Meanwhile nothing can lead it to the login.
        self.wire.cut()
        self.addCleanup(self.wire.mend)
        other.wait_for_text("Connection lost", "#connection")
        page.go(f"http://127.0.0.1:{self.server.port}/")
        page.evaluate("window.leaving = true")
        page.click(".logout button")
        page.wait_for_load()
        self.submit(page, PASSWORD)
        self.assertEqual(self.where(page), "/")
        self.wire.mend()
        self.adapter.others("message", "+15558880004", "Are you there?")
        other.wait_for_text("+15558880004", "#threads")
        other.fill("#number", "+15558880005")
        other.fill("textarea[name=text]", "Yes.")
        other.click("form[data-api] .primary")
        other.wait_for_text("+15558880005", "#threads")
        other.evaluate("window.leaving = true")
        other.click(".logout button")
        other.wait_for_load()
        self.assertEqual(self.where(other), "/login")

    def test_who_stays_with_what_was_typed_goes_on_with_the_next_login(self):
        secret = "sip_line_1.auth_password"
        profile = self.browser.new_profile()
        page, other = self.log_in(profile), self.new_page(profile)
        self.topic_page(other, secret)
        other.fill(self.field(secret), "xyzzy-12")
        page.evaluate("window.leaving = true")
        page.click(".logout button")
        page.wait_for_load()
        self.adapter.tool("config", "set", "sip_line_1.user_name", "15551230011")
        self.assertEqual(other.answer_dialog(False), "beforeunload")
        self.submit(page, PASSWORD)
        self.await_live(other)
        self.adapter.tool("config", "set", secret, "")
        other.wait_for(f"document.querySelector('{self.field(secret)}').placeholder === 'not set'")
        self.assertEqual(list(other.dialogs), [])
        other.click("#change-bar .primary")
        other.wait_for_text("Apply", "#review")

    def test_scripts_cannot_read_the_cookie(self):
        self.go(self.page, "/")
        self.assertEqual(self.page.evaluate("document.cookie"), "")

    def test_without_a_script_one_can_log_in_read_and_search(self):
        page = self.stranger()
        page.set_scripts(False)
        page.call("Page.navigate", url=self.wire.address + "/calls?number=15551230007")
        # Only the page's own scripts are off; what looks at it from outside still runs.
        page.wait_for("document.querySelector('#password')")
        self.submit(page, PASSWORD)
        page.wait_for_text("Anna Berg", "#calls")
        self.assertNotIn("Bruno", page.text("#calls"))
        for path in PAGES.values():
            page.evaluate("window.leaving = true")
            page.call("Page.navigate", url=self.wire.address + path)
            page.wait_for_load()
            self.assertTrue(page.text("main h1"))
            hidden = page.evaluate(
                "[...document.querySelectorAll('[data-needs-script]')]"
                ".filter((e) => e.offsetParent !== null).length"
            )
            self.assertEqual(hidden, 0, path)


class ShortSession(BrowserCase):
    options = ("--session-minutes", "0.2")

    def test_an_expired_session_leads_to_the_login_and_back(self):
        self.go(self.page, "/calls?number=15551230007")
        # What a page asks on its own does not prolong it.
        self.page.evaluate(
            "(async () => { while ((await fetch('/api/1/alerts', {headers: {'X-CAPI-Refresh': 1}}))"
            ".status !== 401) await new Promise((done) => setTimeout(done, 100)); })()"
        )
        self.adapter.others("call", 1, 1, "15558880002", 1795340000)
        self.page.wait_for("location.pathname === '/login'")
        self.submit(self.page, PASSWORD)
        self.assertEqual(self.where(self.page), "/calls?number=15551230007")


if __name__ == "__main__":
    main()
