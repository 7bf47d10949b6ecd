# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
"""Pages without an adapter say so, and show one as soon as it is up."""

from browser_case import PAGES, BrowserCase, main


class Absence(BrowserCase):
    has_adapter = False

    def test_pages_say_that_no_adapter_is_up_and_show_the_one_that_comes(self):
        for path in PAGES.values():
            self.go(self.page, path)
            self.page.wait_for_text("o adapter is up")
        calls = self.new_page(self.page.profile)
        self.go(calls, "/calls")
        self.go(self.page, "/")
        self.adapter.start()
        self.page.wait_for_text("Frontdesk", "#lines")
        calls.wait_for("document.querySelector('#calls')")
        for page in (self.page, calls):
            page.wait_for("!document.body.innerText.includes('o adapter is up')")


if __name__ == "__main__":
    main()
